// leave.cgi, the banner's way out, and power.cgi: what a link or a page elsewhere can do with them, which is nothing.
import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { closeSync, constants, existsSync, openSync, readSync, rmSync } from "node:fs";
import { before, test } from "node:test";
import { assertRefused, assertSessionRefused, login, makeAccounts, run, sessionFile } from "./program.mjs";

const kPipe = "/run/stop";

before(makeAccounts);

function leave(env, cookie = login("anna")) {
  const { status, headers, text } = run("leave", { cookie, env: { HTTP_HOST: "kest:5000", ...env } });
  assert.deepEqual([status, text], [302, ""]);
  return { to: headers.get("location"), stands: existsSync(sessionFile(cookie)) };
}

for (const [what, env] of Object.entries({
  "a link of this site": { HTTP_SEC_FETCH_SITE: "same-origin" },
  "a link of this site in a browser that tells its page only": { HTTP_REFERER: "http://kest:5000/general.html" },
})) {
  test(`${what} ends the session and leads to the login`, () => assert.deepEqual(leave(env), { to: "/login.html", stands: false }));
}

for (const [what, env] of Object.entries({
  "a link in a mail": { HTTP_SEC_FETCH_SITE: "none" },
  "a link of another site": { HTTP_SEC_FETCH_SITE: "cross-site" },
  "a link of another port of this machine": { HTTP_SEC_FETCH_SITE: "same-site" },
  "another site that forges what its page is": { HTTP_SEC_FETCH_SITE: "cross-site", HTTP_REFERER: "http://kest:5000/" },
  "an unknown word of the browser": { HTTP_SEC_FETCH_SITE: "" },
  "a browser that tells nothing": {},
  "a page of another port": { HTTP_REFERER: "http://kest:5001/" },
  "a page of a host whose name begins alike": { HTTP_REFERER: "http://kest:5000.elsewhere.example/" },
  "a page whose path names this host": { HTTP_REFERER: "http://elsewhere.example/http://kest:5000/" },
  "a page that is no address": { HTTP_REFERER: "kest:5000/" },
  "an empty page": { HTTP_REFERER: "" },
  "a page, but no host to compare it with": { HTTP_REFERER: "http:///", HTTP_HOST: undefined },
})) {
  test(`${what} ends nothing and leads to the question`, () => assert.deepEqual(leave(env), { to: "/logout.html", stands: true }));
}

test("Without a session the way out leads to the login", () => {
  const { to } = leave({ HTTP_SEC_FETCH_SITE: "same-origin" }, `id=${"0".repeat(32)}`);
  assert.equal(to, "/login.html");
});

// Runs `body` while somebody listens at the pipe; returns what was written into it.
function listening(body) {
  rmSync(kPipe, { force: true });
  assert.equal(spawnSync("mkfifo", ["-m", "0600", kPipe]).status, 0);
  const pipe = openSync(kPipe, constants.O_RDWR | constants.O_NONBLOCK);
  try {
    body();
    const buffer = Buffer.alloc(4096);
    try {
      return buffer.toString("utf8", 0, readSync(pipe, buffer));
    } catch (error) {
      if (error.code !== "EAGAIN") throw error;
      return "";
    }
  } finally {
    closeSync(pipe);
    rmSync(kPipe);
  }
}

for (const action of ["restart", "shutdown"]) {
  test(`The administrator's ${action} is one line for the machine`, () => {
    const said = listening(() => assert.deepEqual(run("power", { form: { action }, cookie: login() }).json, { data: action, success: true }));
    assert.equal(said, `${action}\n`);
  });
}

test("Nobody else restarts anything, and nothing else is asked for", () => {
  const admin = login();
  const said = listening(() => {
    assertSessionRefused(run("power", { form: { action: "restart" } }), "timeout", "login", "error_timeout");
    assertSessionRefused(run("power", { form: { action: "restart" }, cookie: login("anna") }), "unauth", "login", "error_noprivilege");
    assertRefused(run("power", { query: { action: "restart" }, cookie: admin }), "error", "error_not_posted", 405);
    const env = { HTTP_HOST: "kest", HTTP_ORIGIN: "http://kest:81" };
    assertRefused(run("power", { form: { action: "restart" }, cookie: admin, env }), "error", "error_not_posted", 403);
    for (const action of ["", "stop", "Restart", "restart\nshutdown", "restart "]) {
      assertRefused(run("power", { form: { action }, cookie: admin }), "error", "error_unknown_action");
    }
    assertRefused(run("power", { json: { action: "restart" }, cookie: admin }), "error", "error_unknown_action");
  });
  assert.equal(said, "");
});

test("Where nobody listens it is said so", () => {
  const cookie = login();
  rmSync(kPipe, { force: true });
  assertRefused(run("power", { form: { action: "restart" }, cookie }), "error", "error_power_failed");
  assert.equal(spawnSync("mkfifo", [kPipe]).status, 0);
  assertRefused(run("power", { form: { action: "restart" }, cookie }), "error", "error_power_failed");
  rmSync(kPipe);
});
