// index.cgi: whole pages as each kind of caller gets them.
import assert from "node:assert/strict";
import { readdirSync, statSync } from "node:fs";
import { before, test } from "node:test";
import { agents } from "./agents.mjs";
import { assertGolden } from "./golden.mjs";
import { account, idle, keepSettings, login, makeAccounts, passwords, run, sessionFile, writeSetting } from "./program.mjs";

const kPhone = agents["an iPhone"].agent;
const kTablet = agents["an iPad"].agent;

let admin;
let anna;

before(() => {
  makeAccounts();
  admin = login("admin");
  anna = login("anna");
});

const open = (page, { agent, env, ...request } = {}) =>
  run("index", { cookie: admin, ...request, env: { PATH_INFO: `/${page}`, ...(agent && { HTTP_USER_AGENT: agent }), ...env } });

const isMobile = (reply) => {
  const mobile = reply.text.includes('<body class="mobile"');
  assert.equal(mobile, !reply.text.includes('<div class="top">'), "one layout and not the other");
  return mobile;
};

for (const [name, page, request] of [
  ["frame_administrator", "logout", () => ({})],
  ["frame_administrator_german", "logout", () => ({ cookie: `${admin}; lang=de` })],
  ["frame_account", "logout", () => ({ cookie: anna })],
  ["frame_phone", "logout", () => ({ agent: kPhone })],
  ["frame_ipad", "logout", () => ({ agent: kTablet })],
  ["frame_old_browser", "logout", () => ({ agent: agents["Internet Explorer 6"].agent })],
  ["frame_no_session", "logout", () => ({ cookie: undefined })],
  ["frame_unknown_page", "nowhere", () => ({})],
]) {
  test(`The page is, to the byte, ${name}`, () => assertGolden(name, open(page, request())));
}

test("Every page is served, with its head and its content whole", () => {
  const pages = readdirSync("/usr/kest/kestman/site/pages").map((name) => name.replace(".html", ""));
  assert.ok(pages.includes("index") && pages.length > 3);
  for (const page of pages) {
    const { status, headers, text } = open(page);
    assert.equal(status, 200, page);
    assert.equal(headers.get("content-type"), 'text/html; charset="UTF-8"');
    assert.equal(headers.get("cache-control"), "no-store");
    assert.match(text, /<title data-text="\w+:\w+">[^<]+<\/title>\n(<link [^>]+>\n)*(<script [^>]+><\/script>\n)+<\/head>/, page);
    assert.match(text, /<\/header>\n<main id="content"[^]*<\/main>\n\n<\/body>\n<\/html>\n$/, page);
    assert.doesNotMatch(text, /\{[a-z_]+\}/, `${page}: a placeholder is left`);
  }
});

test("What is no page is said so in the frame, whatever the path holds", () => {
  for (const page of ["", "nowhere", "general.html", "General", "../frame/desktop", "../pages/general", "..", ".", "a/b", "/", "general/", "a".repeat(65), "a".repeat(5000), "%2e%2e", "not-found", "gen\u00e4ral"]) {
    const { status, text } = open(page);
    assert.equal(status, 404, page);
    assert.match(text, /<h1 data-text="frame:not_found">/, page);
  }
  assert.equal(run("index", { cookie: admin }).status, 404, "no path at all");
});

test("Without a session every page leads to the login, and back to none but itself", () => {
  const leads = (page, cookie) => {
    const { status, headers, text } = open(page, { cookie });
    assert.deepEqual([status, text], [302, ""]);
    return headers.get("location");
  };
  for (const cookie of [undefined, "id=", `id=${"0".repeat(32)}`, "id=../../etc/passwd"]) {
    assert.equal(leads("index", cookie), "/login.html?next=/");
    assert.equal(leads("general", cookie), "/login.html?next=/general.html");
    assert.equal(leads("nowhere", cookie), "/login.html?next=/nowhere.html");
    assert.equal(leads("//elsewhere.example", cookie), "/login.html?next=/");
    assert.equal(leads("x\r\nSet-Cookie: id=1", cookie), "/login.html?next=/");
  }
});

test("A page counts as activity, a session idle for too long is over", () => {
  const cookie = login("anna");
  idle(cookie, 10);
  assert.equal(open("index", { cookie }).status, 200);
  assert.ok(Date.now() - statSync(sessionFile(cookie)).mtimeMs < 100_000);
  idle(cookie, 60);
  assert.equal(open("index", { cookie }).headers.get("location"), "/login.html?next=/");
});

for (const [what, { agent, headers = {}, mobile, tablet }] of Object.entries(agents)) {
  const env = Object.fromEntries(Object.entries(headers).map(([name, value]) => [`HTTP_${name.toUpperCase().replaceAll("-", "_")}`, value]));

  test(`${what} gets the ${mobile ? "phone's" : "desktop's"} layout`, () => assert.equal(isMobile(open("index", { agent, env })), mobile));

  test(`${what} ${mobile || tablet ? "can have the other layout, and it sticks" : "has nothing to choose"}`, () => {
    const choice = mobile ? "1" : "0";
    const link = `href="?forceDesktop=${choice}"`;
    assert.equal(open("index", { agent, env }).text.includes(link), Boolean(mobile || tablet));
    if (!mobile && !tablet) return;

    const chosen = open("general", { agent, env, query: { forceDesktop: choice } });
    assert.equal(isMobile(chosen), !mobile);
    assert.match(chosen.headers.get("set-cookie"), new RegExp(`^forceDesktop=${choice};.*path=/`, "i"));
    const cookie = `${admin}; forceDesktop=${choice}`;
    assert.equal(isMobile(open("index", { agent, env, cookie })), !mobile);
    assert.equal(open("index", { agent, env, cookie, query: { forceDesktop: choice } }).headers.get("set-cookie"), null, "chosen already");
    assert.equal(isMobile(open("index", { agent, env, cookie, query: { forceDesktop: mobile ? "0" : "1" } })), mobile, "and back");
  });
}

test("A choice of the layout that is no number is none", () => {
  for (const forceDesktop of ["", "yes", "1x", "0x1", " "]) {
    const reply = open("index", { agent: kPhone, query: { forceDesktop } });
    assert.equal(isMobile(reply), true, forceDesktop);
    assert.equal(reply.headers.get("set-cookie"), null, forceDesktop);
  }
});

test("The rule for transparent images is there for browsers that need it, and no other", () => {
  const rule = /<style>img, \.fixpng \{behavior: url\("\/scripts\/iepngfix\.htc"\);\}<\/style>/;
  assert.match(open("index", { agent: "Mozilla/4.0 (compatible; MSIE 5.5; Windows NT 5.0)" }).text, rule);
  assert.doesNotMatch(open("index", { agent: "Mozilla/4.0 (compatible; MSIE 7.0; Windows NT 5.1)" }).text, /<style/);
});

const shown = (text) => [...text.matchAll(/<span id="application-link-(\w+)"(.*?)>/g)].map(([, name, style]) => name + (style ? " (hidden)" : ""));

test("An account sees the applications that it may use and that run; what does not run is hidden", (t) => {
  keepSettings(t);
  account("applications", "admin", "file,audio,download,surveillance");
  assert.deepEqual(shown(open("index").text), ["management", "file", "audio (hidden)", "surveillance (hidden)", "download (hidden)"]);
  writeSetting("runfilevento", "no");
  assert.deepEqual(shown(open("index").text).slice(0, 2), ["management", "file (hidden)"]);
  writeSetting("runaudiovento", "yes");
  assert.equal(shown(open("index").text)[2], "audio (hidden)", "what this site does not have leads nowhere");
});

test("Applications taken away are gone with the next page", () => {
  account("add", "carla", "right");
  passwords.carla = "right";
  const cookie = login("carla");
  assert.deepEqual(shown(open("index", { cookie }).text), ["file"]);
  account("applications", "carla", "");
  assert.deepEqual(shown(open("index", { cookie }).text), []);
  account("applications", "carla", "file,download");
  assert.deepEqual(shown(open("index", { cookie }).text), ["file", "download (hidden)"]);
});

test("Another administrator has the administrator's pages, the power menu is admin's", () => {
  account("add", "dora", "admin", "right");
  passwords.dora = "right";
  const { text } = open("index", { cookie: login("dora") });
  assert.match(text, /<a href="\/general\.html"/);
  assert.match(text, /data-may="settings upload"/);
  assert.doesNotMatch(text, /appbanner-powermenu-trigger/);
});

test("A name is text, whatever it holds", () => {
  const name = "<img src=x onerror='alert(1)'> & {skip} {pages}";
  account("add", name, "right");
  passwords[name] = "right";
  const { text } = open("index", { cookie: login(name) });
  const escaped = "&lt;img src=x onerror='alert(1)'&gt; &amp; {skip} {pages}";
  assert.ok(text.includes(`<body data-user="${escaped}"`), text);
  assert.ok(text.includes(`<span id="welcome">Welcome ${escaped}</span>`));
  assert.ok(!text.includes("<img src=x"));
});

test("A request that the platform refuses gets no page", () => {
  const reply = open("index", { query: undefined, env: { QUERY_STRING: "forceDesktop=%00" } });
  assert.equal(reply.status, 400);
  assert.equal(reply.headers.get("x-request-refused"), "nul_byte");
  assert.doesNotMatch(reply.text, /<html/);
});

test("An agent of 64 KiB gets its page", () => {
  for (const agent of ["x".repeat(65_536), "PPC".repeat(20_000), `${"(".repeat(60_000)} Android`]) assert.equal(open("index", { agent }).status, 200);
});
