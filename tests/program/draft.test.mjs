// draft.cgi: a record of module data per form and account.
import assert from "node:assert/strict";
import { mkdirSync, readFileSync, readdirSync, rmSync, writeFileSync } from "node:fs";
import { before, beforeEach, test } from "node:test";
import { account, assertRefused, assertSessionRefused, login, makeAccounts, passwords, run } from "./program.mjs";

const kRecords = "/tmp/tarvel/modules";
const kRecordOfAdmin = "draft-general-61646d696e";
const values = { description: "half a sen", notify: "on" };
let cookie;

before(() => {
  makeAccounts();
  cookie = login();
});
beforeEach(() => rmSync(kRecords, { recursive: true, force: true }));

const ask = (action, more = {}, request = {}) => run("draft", { json: { action, form: "general", ...more }, cookie, ...request });
const records = () => readdirSync(kRecords).sort();

test("What was saved is loaded by the next request, with its moment", () => {
  const begin = Math.floor(Date.now() / 1000);
  assert.deepEqual(ask("save", { values }).json, { data: null, success: true });
  assert.deepEqual(records(), [kRecordOfAdmin]);
  const { data } = ask("load").json;
  assert.deepEqual(data.values, values);
  assert.ok(data.saved >= begin && data.saved <= begin + 60);
});

test("A later save replaces the earlier, and remove takes the record away, once and again", () => {
  ask("save", { values });
  ask("save", { values: { description: "half a sentence" } });
  assert.deepEqual(ask("load").json.data.values, { description: "half a sentence" });
  for (let round = 0; round < 2; ++round) assert.equal(ask("remove").json.success, true);
  assert.deepEqual(records(), []);
  assert.deepEqual(ask("load").json, { data: null, success: true });
});

test("Each account has its own draft, whatever characters its name has", () => {
  account("add", "x.tmp", "admin", "right");
  account("add", "x", "admin", "right");
  passwords.x = passwords["x.tmp"] = "right";
  ask("save", { values: { mine: "admin" } });
  for (const user of ["x.tmp", "x"]) ask("save", { values: { mine: user } }, { cookie: login(user) });
  assert.deepEqual(ask("load").json.data.values, { mine: "admin" });
  assert.deepEqual(ask("load", {}, { cookie: login("x.tmp") }).json.data.values, { mine: "x.tmp" });
  assert.equal(records().length, 3);
});

test("A record that is no draft counts as none", () => {
  mkdirSync(kRecords, { recursive: true });
  for (const text of ["", "[1, 2]", "{", "3", `${"[".repeat(1500)}`]) {
    writeFileSync(`${kRecords}/${kRecordOfAdmin}`, text);
    assert.deepEqual(ask("load").json, { data: null, success: true }, text.slice(0, 20));
  }
});

test("A draft that cannot be kept is said to be lost", () => {
  mkdirSync("/tmp/tarvel", { recursive: true });
  writeFileSync(kRecords, "a file where the folder belongs");
  assertRefused(ask("save", { values }), "error", "error_save_failed");
  assert.equal(readFileSync(kRecords, "utf8"), "a file where the folder belongs");
});

test("Only an administrator's session keeps drafts, and only posted", () => {
  assertSessionRefused(ask("load", {}, { cookie: undefined }), "timeout", "login", "error_timeout");
  assertSessionRefused(ask("load", {}, { cookie: login("anna") }), "unauth", "login", "error_noprivilege");
  assertRefused(run("draft", { query: { action: "load" }, cookie }), "error", "error_not_posted", 405);
});

test("An unknown action is refused", () => assertRefused(ask("drop"), "error", "error_unknown_action"));

test("A form's name is a short word", () => {
  for (const form of ["", "../x", "General", "a".repeat(17), 7, null, ["general"], { a: 1 }]) {
    assertRefused(ask("load", { form }), "error", "error_bad_request");
  }
});

test("Values are up to 64 texts of 16 KiB together", () => {
  const many = (count) => Object.fromEntries(Array.from({ length: count }, (_, i) => [`f${i}`, ""]));
  assert.equal(ask("save", { values: many(64) }).json.success, true);
  assert.equal(ask("save", { values: { f: "x".repeat(16383) } }).json.success, true);
  for (const bad of [many(65), { f: "x".repeat(16384) }, { f: 1 }, { f: null }, { f: {} }, [], "text", null, 1e99]) {
    assertRefused(ask("save", { values: bad }), "error", "error_bad_request");
  }
});
