// The frame around the pages: where its links lead, the way out and who may take it, the power menu, words and layouts.
import assert from "node:assert/strict";
import { access, readFile, writeFile } from "node:fs/promises";
import http from "node:http";
import { test } from "node:test";
import { agents } from "../program/agents.mjs";
import { sessionCookie, withSite } from "./harness.mjs";
import { comesTrue } from "./inside.mjs";
import { focused, goByNavigation, openForm, tabTo } from "./person.mjs";

const kTrigger = "#appbanner-powermenu-trigger";
const kLogout = '#appbanner a[href$="/logout.cgi"]';
const kFinger = 44;
const phone = { viewport: { width: 360, height: 740 }, isMobile: true, hasTouch: true, userAgent: agents["an iPhone"].agent };

const settled = (page) => page.waitForSelector("html:not(.waiting)");
const pidOf = (state) => readFile(`${state}/run/httpd.pid`, "utf8").catch(() => "");

async function openPage({ page, url }, path = "/") {
  await page.goto(url + path);
  await settled(page);
}

// A page of somebody else: on another port of this machine, reached by the name `host`.
async function withPageElsewhere(host, html, body) {
  const server = http.createServer((_, reply) => reply.setHeader("content-type", "text/html").end(html)).listen(0, "127.0.0.1");
  await new Promise((resolve) => server.once("listening", resolve));
  try {
    await body(`http://${host}:${server.address().port}/`);
  } finally {
    server.closeAllConnections();
    server.close();
  }
}

for (const account of ["admin", "anna"]) {
  test(`Everything that ${account} sees in the frame leads somewhere`, () =>
    withSite(
      `frame-links-${account}`,
      async (site) => {
        const { page, login, context } = site;
        await login(account);
        await openPage(site);
        const links = await page.locator("header a:visible, nav a").evaluateAll((all) => all.map((link) => link.href));
        assert.ok(links.length >= 5, links.join(" "));
        for (const link of links.filter((address) => !address.endsWith("#") && !address.endsWith("/logout.cgi"))) {
          const reply = await context.request.get(link);
          assert.equal(reply.status(), 200, link);
          assert.match(await reply.text(), /<header class="frame">/, link);
        }
        const images = await page.locator("header img").evaluateAll((all) => all.map(({ src }) => src));
        assert.equal(images.length, account === "admin" ? 5 : 1);
        for (const image of images) assert.equal((await context.request.get(image)).headers()["content-type"], "image/png", image);
        assert.equal(await page.isVisible("#application-link-file"), true);
        if (account === "admin") assert.equal(await page.isVisible("#application-link-audio"), false, "what does not run is hidden");
        assert.equal(await page.locator(kTrigger).count(), account === "admin" ? 1 : 0);
      },
      {},
    ));
}

test("Every address that the library names answers, and the parts of the pages by themselves do not", () =>
  withSite(
    "frame-addresses",
    async (site) => {
      const { url } = site;
      const headers = { Cookie: await sessionCookie(site) };
      const of = async (path, options = {}) => {
        const reply = await fetch(url + path, { headers, redirect: "manual", ...options });
        return { status: reply.status, type: reply.headers.get("content-type"), text: await reply.text() };
      };
      for (const [path, heading] of Object.entries({
        "/": "home:title",
        "/index.html": "home:title",
        "/index.cgi?desktop=1": "home:title",
        "/tarvel/index.cgi": "general:title",
        "/webfm/index.cgi": "files:title",
        "/logout.html": "common:logout",
      })) {
        const { status, text } = await of(path);
        assert.equal(status, 200, path);
        assert.match(text, new RegExp(`<h1[^>]* data-text="${heading}"`), path);
      }
      for (const name of ["management", "file", "audio", "surveillance", "download"]) {
        assert.equal((await of(`/tarvel/images/application_${name}.png`)).type, "image/png", name);
      }
      assert.deepEqual(await of("/scripts/iepngfix.htc").then(({ status, type }) => [status, type]), [200, "text/x-component"]);
      assert.deepEqual(await of("/scripts/blank.gif").then(({ status, type }) => [status, type]), [200, "image/gif"]);

      for (const path of ["/nowhere.html", "/pages.html", "/not_found.html"]) {
        const { status, text } = await of(path);
        assert.equal(status, 404, path);
        assert.match(text, /<h1 data-text="frame:not_found">/, path);
      }
      for (const path of ["/pages/general.html", "/frame/desktop.html", "/frame/", "/pages", "/PAGES/general.html", "//pages/general.html", "/pages/%67eneral.html"]) {
        assert.ok([403, 404].includes((await of(path)).status), path);
      }
      assert.equal((await of("/general.html", { method: "POST" })).status, 405);
      assert.equal((await of("/tarvel/modules/logout.cgi", { method: "POST" })).status, 405);
      assert.equal((await of("/general.html", { headers: {} })).status, 302, "without a session");
    },
    { browser: false },
  ));

test("The banner's link ends the session", () =>
  withSite("frame-logout", async (site) => {
    const { page, url, login, context } = site;
    await login();
    await openPage(site);
    await page.click(kLogout);
    await page.waitForURL(`${url}/login.html`);
    assert.equal((await context.request.get(`${url}/cgi/whoami.cgi`)).headers()["x-request-error"], "timeout");
  }));

test("A page elsewhere ends no session, and its link leads to a question", () =>
  withSite("frame-logout-elsewhere", async (site) => {
    const { page, url, login, context, shot } = site;
    const stands = async () => (await (await context.request.get(`${url}/cgi/whoami.cgi`)).json()).success;
    const html = `<img src="${url}/tarvel/modules/logout.cgi"><a href="${url}/tarvel/modules/logout.cgi" referrerpolicy="no-referrer">prize</a>`;
    await login();
    // 127.0.0.1 is the same site on another port, localhost is another site.
    for (const host of ["127.0.0.1", "localhost"]) {
      await withPageElsewhere(host, html, async (elsewhere) => {
        await page.goto(elsewhere);
        await page.waitForLoadState("networkidle");
        assert.ok(await stands(), `${host}: an image`);
        await page.click("a");
        await page.waitForURL(`${url}/logout.html`);
        await page.waitForSelector("#leave");
        assert.ok(await stands(), `${host}: a link`);
      });
    }
    await settled(page);
    await shot("question");
    await page.click("#leave a");
    await page.waitForURL(`${url}/`);
    await openPage(site, "/logout.html");
    await page.click("#leave button");
    await page.waitForURL(`${url}/login.html`);
    assert.equal(await stands(), false);
  }));

test("A link from elsewhere finds the session that stands, without a login", () =>
  withSite("frame-link-elsewhere", async (site) => {
    const { page, url, login } = site;
    await login();
    await withPageElsewhere("localhost", `<a href="${url}/files.html">files</a>`, async (elsewhere) => {
      await page.goto(elsewhere);
      await page.click("a");
      await page.waitForURL(`${url}/files.html`);
      await page.waitForSelector("#tree li");
    });
  }));

test("The power menu restarts the appliance by mouse, and the page comes back", () =>
  withSite("frame-restart", async (site) => {
    const { page, login, state, shot } = site;
    await login();
    await openPage(site);
    const before = await pidOf(state);
    await page.click(kTrigger);
    await page.waitForSelector("#powermenu");
    assert.equal(await page.getAttribute(kTrigger, "aria-expanded"), "true");
    await shot("menu");
    await page.mouse.click(20, 600);
    assert.equal(await page.isVisible("#powermenu"), false, "a click elsewhere closes it");

    await page.click(kTrigger);
    await page.click("#powermenu >> text=Restart");
    await page.waitForSelector("dialog[open]");
    await shot("question");
    await page.click("dialog[open] >> text=Cancel");
    assert.equal(await page.locator("dialog[open]").count(), 0);
    assert.equal(await pidOf(state), before, "nothing was done");

    const left = `${state}/volume1/@tmp/upload.${"0".repeat(32)}`;
    await writeFile(left, "of an upload that was killed on its way into place");
    await page.click(kTrigger);
    await page.click("#powermenu >> text=Restart");
    const comesBack = page.waitForEvent("load");
    await page.click("dialog[open] button.primary");
    await page.waitForFunction(() => /comes back by itself/.test(document.querySelector("dialog[open] p:not([hidden])")?.textContent));
    await shot("under-way");
    await comesBack;
    await settled(page);
    assert.ok(await comesTrue(async () => ![before, ""].includes(await pidOf(state))), "another web server answers");
    assert.equal(await page.textContent("#account"), "admin", "the session stands");
    await assert.rejects(access(left), "what was staged and never moved is gone");
  }));

test("The power menu shuts the appliance down by keyboard", () =>
  withSite("frame-shutdown", async (site) => {
    const { page, login, server, shot } = site;
    const at = (word) => page.evaluate((text) => document.activeElement.textContent === text, word);
    await login();
    await openPage(site);
    await tabTo(page, kTrigger);
    await page.keyboard.press("Enter");
    assert.ok(await at("Restart"), "the menu has the focus");
    await page.keyboard.press("ArrowDown");
    assert.ok(await at("Shut down"));
    await page.keyboard.press("ArrowDown");
    assert.ok(await at("Restart"), "round it goes");
    await page.keyboard.press("End");
    assert.ok(await at("Shut down"));
    await page.keyboard.press("Escape");
    assert.equal(await focused(page), kTrigger.slice(1));
    assert.equal(await page.isVisible("#powermenu"), false);

    await page.keyboard.press("Space");
    await page.keyboard.press("ArrowUp");
    await page.keyboard.press("Enter");
    await page.waitForSelector("dialog[open]");
    assert.ok(await at("Cancel"), "the harmless button has the focus");
    await page.keyboard.press("Escape");
    // A dialog tells its closing a moment after it has closed.
    assert.ok(await comesTrue(async () => (await focused(page)) === kTrigger.slice(1)), "the focus returns");

    await page.keyboard.press("ArrowDown");
    await page.keyboard.press("End");
    await page.keyboard.press("Enter");
    await page.waitForSelector("dialog[open]");
    await page.keyboard.press("Tab");
    await page.keyboard.press("Enter");
    await page.waitForFunction(() => /shuts down/.test(document.querySelector("dialog[open] p:not([hidden])")?.textContent));
    await shot("under-way");
    await server.ended;
    assert.match(server.output, /server: shut down from its own pages\n$/);
    await assert.rejects(fetch(site.url));
  }));

test("No handler but the banner's own is let through", () =>
  withSite(
    "frame-handlers",
    async (site) => {
      const { page, login, pageLog } = site;
      await login();
      await openPage(site);
      const ran = await page.evaluate(() => {
        const place = document.createElement("div");
        place.innerHTML = `<a id="other" onclick="window.ran = 1">x</a><b id="styled" style="display:none">x</b>`;
        document.body.append(place);
        document.getElementById("other").click();
        return { handler: window.ran, display: getComputedStyle(document.getElementById("styled")).display };
      });
      assert.deepEqual(ran, { handler: undefined, display: "inline" });
      assert.equal(pageLog.filter(({ text }) => /Content Security Policy/.test(text)).length, 2);
    },
    { pageErrors: true },
  ));

test("Another language changes the banner at once, and it still works", () =>
  withSite("frame-language", async (site) => {
    const { page, login, shot } = site;
    await login();
    await openPage(site, "/general.html");
    await openForm(page);
    await page.fill("#description", "half a sen");
    await page.click('.languages button[lang="de"]');
    await page.waitForFunction(() => document.documentElement.lang === "de");
    assert.equal(await page.textContent(kLogout), "Abmelden");
    assert.equal(await page.textContent("#welcome"), "Willkommen admin");
    assert.equal(await page.textContent('nav a[aria-current="page"]'), "Allgemeine Einstellungen");
    assert.equal(await page.inputValue("#description"), "half a sen");
    await page.click(kTrigger);
    await page.waitForFunction(() => document.querySelector("#powermenu")?.textContent === "Neu startenHerunterfahren");
    await shot("german");
  }));

test("A group of the navigation opens by keyboard, one at a time, and closes as a menu does", () =>
  withSite("frame-groups", async (site) => {
    const { page, url, login, shot } = site;
    const open = () => page.locator("nav details[open] > summary").allTextContents();
    await login();
    await openPage(site, "/general.html");
    assert.equal(await page.textContent('nav summary[aria-current="true"]'), "System");
    assert.deepEqual(await open(), [], "the page's own group covers nothing by itself");
    await tabTo(page, 'nav summary[data-text="frame:group_storage"]');
    await page.keyboard.press("Enter");
    assert.deepEqual(await open(), ["Storage"]);
    await shot("open");
    await page.keyboard.press("Tab");
    await page.keyboard.press("Escape");
    assert.deepEqual(await open(), []);
    assert.equal(await page.evaluate(() => document.activeElement.textContent), "Storage", "the focus is back");

    await page.click('nav summary[data-text="frame:group_system"]');
    await page.click('nav summary[data-text="frame:group_storage"]');
    assert.deepEqual(await open(), ["Storage"]);
    await page.click("#welcome");
    assert.deepEqual(await open(), []);
    await page.click('nav summary[data-text="frame:group_storage"]');
    await tabTo(page, 'nav summary[data-text="frame:group_services"]');
    assert.deepEqual(await open(), [], "it closes when the focus leaves it");
    await goByNavigation(page, "/volumes.html");
    await page.waitForURL(`${url}/volumes.html`);
  }));

test("A phone has its own layout, with room for fingers", () =>
  withSite(
    "frame-phone",
    async (site) => {
      const { page, login, shot } = site;
      await login();
      await openPage(site);
      assert.equal(await page.isVisible("nav"), false, "the menu is closed");
      await shot("closed");
      await page.tap("summary");
      await page.waitForSelector("nav", { state: "visible" });
      const small = await page.locator("header a:visible, header button:visible, summary").evaluateAll(
        (all, least) => all.map((one) => ({ text: one.textContent, box: one.getBoundingClientRect() })).filter(({ box }) => box.height < least || box.width < least).map(({ text }) => text),
        kFinger,
      );
      assert.deepEqual(small, []);
      await shot("open");
      await page.tap(kTrigger);
      await page.tap("#powermenu >> text=Restart");
      await page.waitForSelector("dialog[open]");
      await shot("power");
      const { content, screen } = await page.evaluate(() => ({ content: document.documentElement.scrollWidth, screen: innerWidth }));
      assert.ok(content <= screen, `${content} wide on ${screen}`);
    },
    { context: phone },
  ));

test("On a phone the desktop can be had, sticks, and can be left again", () =>
  withSite(
    "frame-force-desktop",
    async (site) => {
      const { page, url, login, shot } = site;
      const isMobile = () => page.evaluate(() => document.body.classList.contains("mobile"));
      await login();
      await openPage(site, "/charts.html?from=here#content");
      assert.equal(await isMobile(), true);
      await page.tap("summary");
      await page.tap("a.layout");
      await page.waitForSelector("body:not(.mobile)");
      await page.waitForURL(`${url}/charts.html?from=here#content`);
      await settled(page);
      assert.equal(await isMobile(), false);
      await shot("desktop");
      await openPage(site);
      assert.equal(await isMobile(), false, "on every page");
      await page.tap("a.layout");
      await page.waitForSelector("body.mobile");
      await openPage(site, "/general.html");
      assert.equal(await isMobile(), true);
    },
    { context: phone },
  ));

test("Real agents get their layout through the web server", () =>
  withSite(
    "frame-agents",
    async (site) => {
      const cookie = await sessionCookie(site, "anna");
      const open = async ({ agent, headers }, path = "/", cookies = cookie) => {
        const sent = { Cookie: cookies, ...(agent ? { "User-Agent": agent } : {}), ...headers };
        const reply = await new Promise((resolve, reject) => {
          http.get(site.url + path, { headers: sent }, async (answer) => {
            let text = "";
            for await (const piece of answer.setEncoding("utf8")) text += piece;
            resolve({ text, set: (answer.headers["set-cookie"] ?? []).join() });
          }).on("error", reject);
        });
        return { mobile: /<body class="mobile"/.test(reply.text), set: reply.set };
      };
      for (const [what, browser] of Object.entries(agents)) {
        assert.equal((await open(browser)).mobile, browser.mobile, what);
        if (!browser.mobile && !browser.tablet) continue;
        const choice = browser.mobile ? 1 : 0;
        const chosen = await open(browser, `/charts.html?forceDesktop=${choice}`);
        assert.equal(chosen.mobile, !browser.mobile, `${what}: chosen`);
        assert.match(chosen.set, new RegExp(`forceDesktop=${choice};`), what);
        assert.equal((await open(browser, "/", `${cookie}; forceDesktop=${choice}`)).mobile, !browser.mobile, `${what}: sticks`);
      }
    },
    { browser: false },
  ));
