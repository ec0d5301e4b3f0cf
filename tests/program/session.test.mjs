// login.cgi, logout.cgi, whoami.cgi: into a session, what it is worth, out of it, and everything that ends it.
import assert from "node:assert/strict";
import { existsSync, readdirSync, statSync } from "node:fs";
import { before, test } from "node:test";
import { account, assertRefused, assertSessionRefused, idle, keepSettings, login, makeAccounts, passwords, run, sessionFile, writeSetting } from "./program.mjs";

const sessions = () => readdirSync("/usr/kest/var/session").length;

before(makeAccounts);

test("The right password opens a session, and its cookie is for the web server only", () => {
  const reply = run("login", { form: { user: "admin", passwd: passwords.admin } });
  assert.deepEqual(reply.json, { data: {}, success: true });
  const cookie = reply.headers.get("set-cookie");
  assert.match(cookie, /^id=[0-9a-f]{32};/);
  assert.match(cookie, /; *HttpOnly/i);
  assert.match(cookie, /; *SameSite=Strict/i);
  assert.ok(existsSync(sessionFile(/id=[0-9a-f]{32}/.exec(cookie)[0])));
});

for (const [what, form] of Object.entries({
  "A wrong password": { user: "anna", passwd: "guess" },
  "An empty password": { user: "anna", passwd: "" },
  "An unknown name": { user: "nobody-here", passwd: "guess" },
  "No name": { passwd: "guess" },
})) {
  test(`${what} opens no session, with one and the same reply`, () => {
    const count = sessions();
    const reply = run("login", { form });
    assertRefused(reply, "login", "error_wrong_login");
    assert.equal(reply.headers.get("set-cookie"), null);
    assert.equal(sessions(), count);
  });
}

test("Many wrong passwords are answered with the time to wait", () => {
  account("add", "guessed", "right");
  let reply;
  for (let tries = 0; tries < 12 && reply?.json.errno.key !== "error_too_many_tries"; ++tries) {
    reply = run("login", { form: { user: "guessed", passwd: "wrong" } });
  }
  assertRefused(reply, "login", "error_too_many_tries");
  assert.match(reply.headers.get("retry-after"), /^[1-9][0-9]*$/);
});

test("A disabled account is told so only when its password is right", () => {
  account("add", "closed", "right");
  account("disable", "closed");
  assertRefused(run("login", { form: { user: "closed", passwd: "right" } }), "login", "error_account_closed");
  assertRefused(run("login", { form: { user: "closed", passwd: "wrong" } }), "login", "error_wrong_login");
});

test("A password in a link is not looked at", () => {
  const reply = run("login", { query: { user: "admin", passwd: passwords.admin } });
  assertRefused(reply, "error", "error_not_posted", 405);
  assert.equal(reply.headers.get("allow"), "POST");
  assert.equal(reply.headers.get("set-cookie"), null);
});

test("Who am I tells name, language and rights", () => {
  const administrator = run("whoami", { cookie: `${login("admin")}; lang=de` }).json;
  assert.equal(administrator.success, true);
  const { seconds_left, ...told } = administrator.data;
  assert.deepEqual(told, { language: "de", may: { settings: true, upload: true }, user: "admin" });
  assert.ok(seconds_left > 800 && seconds_left <= 900, `${seconds_left} s left`);
  assert.deepEqual(run("whoami", { cookie: login("anna") }).json.data.may, { settings: false, upload: true });
});

test("Without a session, or with one that nobody opened, everything is refused as timed out", () => {
  const count = sessions();
  for (const cookie of [undefined, "id=", "id=x", `id=${"0".repeat(32)}`, "id=../../../../etc/passwd", `id=${"a".repeat(4000)}`]) {
    for (const program of ["whoami", "general", "draft"]) {
      const reply = run(program, { form: { action: "load" }, cookie });
      assertSessionRefused(reply, "timeout", "login", "error_timeout");
      assert.equal(reply.headers.get("set-cookie"), null, "an unknown id is never adopted");
    }
  }
  assert.equal(sessions(), count);
});

test("An idle session is refused as timed out", () => {
  const cookie = login();
  idle(cookie, 60);
  assertSessionRefused(run("general", { query: { action: "load" }, cookie }), "timeout", "login", "error_timeout");
});

test("Who am I does not keep an idle session alive; opening a form does, and so does waiting for an upload", () => {
  const cookie = login();
  const lastActivity = () => Date.now() / 1000 - statSync(sessionFile(cookie)).mtimeMs / 1000;
  idle(cookie, 10);
  const { seconds_left } = run("whoami", { cookie }).json.data;
  assert.ok(seconds_left > 200 && seconds_left <= 300, `${seconds_left} s left`);
  assert.ok(lastActivity() > 500);
  run("general", { query: { action: "load" }, cookie });
  assert.ok(lastActivity() < 100);
  idle(cookie, 10);
  assert.ok(run("whoami", { query: { active: "1" }, cookie }).json.data.seconds_left > 800);
  assert.ok(lastActivity() < 100, "somebody waits for something that takes long");
});

test("A session from another address was interrupted", () => {
  const cookie = login();
  const reply = run("whoami", { cookie, env: { REMOTE_ADDR: "192.0.2.8" } });
  assertSessionRefused(reply, "relogin", "login", "error_interrupt");
});

test("A new password interrupts the sessions of its account", () => {
  const cookie = login("anna");
  account("passwd", "anna", passwords.anna);
  assertSessionRefused(run("whoami", { cookie }), "relogin", "login", "error_interrupt");
});

test("Where an account may have one session only, the newer login interrupts the older", (t) => {
  keepSettings(t);
  writeSetting("session_single", "yes");
  const older = login("anna");
  const newer = login("anna");
  assertSessionRefused(run("whoami", { cookie: older }), "relogin", "login", "error_interrupt");
  assert.equal(run("whoami", { cookie: newer }).json.success, true);
});

test("An ordinary account is refused at an administrator's page, and so is an account disabled since", () => {
  const ordinary = login("anna");
  assertSessionRefused(run("general", { query: { action: "load" }, cookie: ordinary }), "unauth", "login", "error_noprivilege");
  account("add", "leaving", "admin", "right");
  passwords.leaving = "right";
  const cookie = login("leaving");
  account("disable", "leaving");
  assertSessionRefused(run("whoami", { cookie }), "unauth", "login", "error_noprivilege");
});

test("Logout ends the session, and a second one finds none", () => {
  const cookie = login();
  assert.deepEqual(run("logout", { form: {}, cookie }).json, { data: {}, success: true });
  assert.equal(existsSync(sessionFile(cookie)), false);
  assertSessionRefused(run("logout", { form: {}, cookie }), "timeout", "login", "error_timeout");
});

test("A link does not log anybody out", () => {
  const cookie = login();
  assertRefused(run("logout", { cookie }), "error", "error_not_posted", 405);
  assert.equal(run("whoami", { cookie }).json.success, true);
});

test("A login ends the session that the browser brought along", () => {
  const older = login("anna");
  const reply = run("login", { form: { user: "anna", passwd: passwords.anna }, cookie: older });
  assert.doesNotMatch(reply.headers.get("set-cookie"), new RegExp(older));
  assertSessionRefused(run("whoami", { cookie: older }), "timeout", "login", "error_timeout");
});

test("What a page of another origin posts changes nothing", () => {
  const cookie = login();
  for (const HTTP_ORIGIN of ["http://elsewhere.example", "http://kest:9090", "https://kest.elsewhere.example", "null", "", "kest"]) {
    const env = { HTTP_HOST: "kest", HTTP_ORIGIN };
    assertRefused(run("logout", { form: {}, cookie, env }), "error", "error_not_posted", 403);
    assertRefused(run("login", { form: { user: "anna", passwd: passwords.anna }, env }), "error", "error_not_posted", 403);
    assert.equal(run("general", { form: { action: "apply" }, cookie, env }).status, 403);
  }
  assert.equal(run("whoami", { cookie }).json.success, true);
  for (const scheme of ["http", "https"]) {
    const env = { HTTP_HOST: "kest:8080", HTTP_ORIGIN: `${scheme}://kest:8080` };
    assert.equal(run("language", { form: { lang: "de" }, env }).json.success, true);
  }
});
