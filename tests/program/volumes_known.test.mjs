// volumes.cgi: who has the list already is not sent it once more. The volumes are memory disks here (CMakeLists.txt): of the
// machine's own disks the free bytes change at any time.
import assert from "node:assert/strict";
import { mkdirSync, rmSync, writeFileSync } from "node:fs";
import { before, test } from "node:test";
import { assertSessionRefused, login, makeAccounts, run } from "./program.mjs";

const kMiB = 1024 * 1024;
const kServices = "/usr/kest/etc/services.conf";
let cookie;

before(() => {
  makeAccounts();
  cookie = login();
});

const ask = (service, request = {}) => run("volumes", { query: { service }, cookie, ...request });

const tagOf = (reply) => reply.headers.get("etag") ?? assert.fail(`no tag: ${reply.head}`);
const askKnowing = (tag, service = "backup", more = {}) => ask(service, { ...more, env: { HTTP_IF_NONE_MATCH: tag } });

test("Who has the list is told so with 304 and nothing more", () => {
  const first = ask("backup");
  const tag = tagOf(first);
  assert.match(tag, /^([0-9a-f]{4,8}-){4}[0-9a-f]{32}$/);
  assert.equal(first.headers.get("cache-control"), "private, no-cache");
  const again = askKnowing(tag);
  assert.equal(again.head, `Status: 304 Not Modified\r\nETag: ${tag}`);
  assert.equal(again.bytes.length, 0);
});

test("Another list has another tag", (t) => {
  const tag = tagOf(ask("backup"));
  writeFileSync("/volume2/more", Buffer.alloc(kMiB, 1));
  const changed = askKnowing(tag);
  rmSync("/volume2/more");
  assert.equal(changed.status, 200);
  assert.notEqual(tagOf(changed), tag);
  assert.equal(changed.json.data.volume_list.find(({ value }) => value === "2").size_free, String(kMiB));
  assert.equal(askKnowing(tag).status, 304, "the old list is back");
  mkdirSync("/usr/kest/etc", { recursive: true });
  writeFileSync(kServices, 'backup_volume="/volumeUSB3/usbshare"\n');
  t.after(() => rmSync(kServices));
  assert.equal(askKnowing(tag).status, 200);
});

test("Another service, another language and another address have other tags", () => {
  const tag = tagOf(ask("backup"));
  for (const reply of [
    askKnowing(tag, "download"),
    askKnowing(tag, "backup", { cookie: `${cookie}; lang=de` }),
    askKnowing(tag, "", { query: { service: "backup", more: "" } }),
  ]) {
    assert.equal(reply.status, 200);
    assert.notEqual(tagOf(reply), tag);
  }
});

for (const spelling of [(tag) => `"${tag}"`, (tag) => `W/${tag}`, (tag) => `${tag}, x`, () => "*", () => "", (tag) => tag.toUpperCase(), (tag) => `${tag}0`, () => "x".repeat(8000)]) {
  test(`A tag written as ${spelling("TAG").slice(0, 20)} is not the tag`, () => {
    assert.equal(askKnowing(spelling(tagOf(ask("backup")))).status, 200);
  });
}

test("A server that does not say the address gets no tag, and the list all the same", () => {
  const reply = ask("backup", { env: { SCRIPT_NAME: undefined } });
  assert.equal(reply.headers.get("etag"), null);
  assert.equal(reply.json.data.volume_count, 2);
});

test("Whoever may not see the list is refused whatever tag he has", () => {
  const tag = tagOf(ask("backup"));
  assertSessionRefused(askKnowing(tag, "backup", { cookie: "" }), "timeout", "login", "error_timeout");
  assertSessionRefused(askKnowing(tag, "backup", { cookie: login("anna") }), "unauth", "login", "error_noprivilege");
});
