// users.cgi: pages of the accounts.
import assert from "node:assert/strict";
import { before, test } from "node:test";
import { loadAccounts, oddNames, people } from "./directory.mjs";
import { account, assertRefused, assertSessionRefused, login, makeAccounts, run } from "./program.mjs";
import { withoutAccounts } from "./without_accounts.mjs";

const kRows = 50;
const all = people(120);
let cookie;

before(() => {
  makeAccounts();
  loadAccounts(all.map((name) => [name, `Description of ${name}`, `${name}@example.org`]));
  cookie = login();
});

const list = (query = {}) => run("users", { query, cookie }).json;
const names = ({ data }) => data.items.map(({ name }) => name);
const everybody = ["admin", "anna", ...all];

test("Accounts come in pages of fifty, in the order of their names, with their total", () => {
  const reply = list();
  assert.equal(reply.success, true);
  assert.deepEqual([reply.data.offset, reply.data.total], [0, everybody.length]);
  assert.deepEqual(names(reply), everybody.slice(0, kRows));
  assert.deepEqual(names(list({ offset: 50 })), everybody.slice(50, 100));
  assert.deepEqual(names(list({ offset: 100 })), everybody.slice(100));
  assert.deepEqual(names(list({ offset: 120 })), everybody.slice(120));
});

test("Each row has the name, the description, the mail address and the state", () => {
  assert.deepEqual(list({ offset: 50 }).data.items[0], { descr: "Description of person00048", disabled: "Normal", email: "person00048@example.org", name: "person00048" });
});

test("The state is the library's text: Disable, Expired, or the day", () => {
  const [one, two, three] = all;
  account("disable", one);
  account("expire", two, "2001/09/09");
  account("expire", three, "2099/03/09");
  assert.deepEqual(list({ prefix: "person0000" }).data.items.slice(0, 4).map(({ disabled }) => disabled), ["Disable", "Expired", "2099/3/9", "Normal"]);
  for (const name of [one, two, three]) account("enable", name);
});

test("A prefix finds without regard to case, counts all that it finds and is paged as well", () => {
  assert.deepEqual(names(list({ prefix: "AN" })), ["anna"]);
  const found = list({ prefix: "Person", offset: 100 });
  assert.deepEqual([found.data.total, found.data.offset, names(found)], [120, 100, all.slice(100)]);
  assert.deepEqual(list({ prefix: "nobody" }).data, { items: [], offset: 0, total: 0 });
});

test("A prefix is no pattern and no piece of a question", () => {
  for (const prefix of ["%", "_", "a%", "person____1", "' OR ''='", "*", "\\", "\u0001", "\n", "x".repeat(2000)]) {
    assert.deepEqual(list({ prefix }).data, { items: [], offset: 0, total: 0 }, prefix);
  }
});

test("A page that begins behind the end is empty and tells the total", () => {
  for (const offset of [200, 2147483597, 4294967296, "99999999999999999999"]) {
    const { data } = list({ offset });
    assert.deepEqual([data.items, data.total], [[], everybody.length], String(offset));
  }
});

test("An offset that is no number is the beginning", () => {
  for (const offset of ["", "x", "-1", "1x", "0x10", "1.5", " "]) assert.deepEqual(names(list({ offset })), everybody.slice(0, kRows), offset);
});

test("The page of an account is the one that shows it, however its name is spelt", () => {
  for (const at of ["admin", "person00048", "PERSON00119", "person00047"]) {
    const reply = list({ at });
    assert.ok(names(reply).includes(at.toLowerCase()), at);
    assert.equal(reply.data.offset % kRows, 0);
  }
  assert.equal(list({ at: "person00048" }).data.offset, 50);
});

test("The page of an account that there is not is refused", () => {
  for (const at of ["nobody", "person0", "..", "anna\n", "x".repeat(5000)]) assertRefused(run("users", { query: { at }, cookie }), "error", "error_unknown_account");
});

test("Names of every kind arrive as they are", () => {
  loadAccounts(oddNames);
  for (const name of oddNames) {
    assert.ok(names(list({ prefix: name })).includes(name), name);
    assert.ok(names(list({ at: name })).includes(name), name);
  }
});

test("Only an administrator sees the list", () => {
  assertSessionRefused(run("users"), "timeout", "login", "error_timeout");
  assertSessionRefused(run("users", { cookie: login("anna") }), "unauth", "login", "error_noprivilege");
});

test("When the accounts cannot be read that is said, not that there are none", () => {
  withoutAccounts(() => assert.notEqual(list().success, true));
});
