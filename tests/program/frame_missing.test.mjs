// index.cgi where the layouts are missing, empty, too large or new: the folder is a memory disk here.
import assert from "node:assert/strict";
import { rmSync, writeFileSync } from "node:fs";
import { before, test } from "node:test";
import { login, makeAccounts, run } from "./program.mjs";

const kLayout = "/usr/kest/kestman/site/frame/desktop.html";
let cookie;

before(() => {
  makeAccounts();
  cookie = login("anna");
});

const open = (page = "logout") => run("index", { cookie, env: { PATH_INFO: `/${page}` } });

function assertNoPage({ status, headers, text }) {
  assert.deepEqual([status, headers.get("content-type"), text], [500, 'text/plain; charset="UTF-8"', "The page could not be made.\n"]);
}

test("Without a layout there is no page, and it is said so", () => {
  assertNoPage(open());
  assertNoPage(open("nowhere"));
});

test("A layout is filled in as it is now, whatever it leaves out or has of its own", (t) => {
  t.after(() => rmSync(kLayout));
  writeFileSync(kLayout, "{user}|{unknown}|{ user }|{{may}}|{language}");
  assert.equal(open().text, "anna|{unknown}|{ user }|{upload}|en");
  writeFileSync(kLayout, "");
  assert.deepEqual([open().status, open().text], [200, ""]);
});

test("A layout of 1 MiB is filled in, a larger one is none", (t) => {
  t.after(() => rmSync(kLayout));
  const line = `${"x".repeat(1017)}{user}\n`;
  writeFileSync(kLayout, line.repeat(1024));
  assert.equal(open().text, line.replace("{user}", "anna").repeat(1024));
  writeFileSync(kLayout, `${line.repeat(1024)}x`);
  assertNoPage(open());
});
