// groups.cgi: pages of the groups, and which of them a user belongs to.
import assert from "node:assert/strict";
import { before, test } from "node:test";
import { oddNames } from "./directory.mjs";
import { account, assertRefused, assertSessionRefused, login, makeAccounts, run } from "./program.mjs";
import { withoutAccounts } from "./without_accounts.mjs";

const kRows = 50;
const teams = Array.from({ length: 60 }, (_, i) => `team${String(i).padStart(2, "0")}`);
const all = ["administrators", ...teams, "users"];
let cookie;

before(() => {
  makeAccounts();
  for (const name of teams) account("groupadd", name, `Description of ${name}`);
  account("join", "anna", "team07");
  cookie = login();
});

const list = (query = {}) => run("groups", { query, cookie }).json;
const names = ({ data }) => data.items.map(({ name }) => name);

test("Groups come in pages of fifty, in the order of their names, the built-in ones among them", () => {
  const reply = list();
  assert.deepEqual([reply.success, reply.data.offset, reply.data.total], [true, 0, all.length]);
  assert.deepEqual(names(reply), all.slice(0, kRows));
  assert.deepEqual(names(list({ offset: 50 })), all.slice(50));
  assert.deepEqual(reply.data.items[1], { descr: "Description of team00", name: "team00" });
});

test("A prefix finds without regard to case, and what matches nothing is an empty list", () => {
  const found = list({ prefix: "TEAM", offset: 50 });
  assert.deepEqual([found.data.total, names(found)], [60, teams.slice(50)]);
  for (const prefix of ["nothing", "%", "te_m", "' OR ''='"]) assert.deepEqual(list({ prefix }).data, { items: [], offset: 0, total: 0 }, prefix);
});

test("Of a user each group tells whether he belongs to it", () => {
  const joined = (query) => list(query).data.items.filter(({ join }) => join).map(({ name }) => name);
  assert.deepEqual([...joined({ user: "anna" }), ...joined({ user: "ANNA", offset: 50 })], ["team07", "users"]);
  assert.deepEqual(joined({ user: "admin", prefix: "a" }), ["administrators"]);
  assert.ok(list({ user: "nobody" }).data.items.every(({ join }) => join === false));
});

test("The page of a group is the one that shows it", () => {
  assert.equal(list({ at: "TEAM07" }).data.offset, 0);
  assert.ok(names(list({ at: "users" })).includes("users"));
  assert.equal(list({ at: "users" }).data.offset, 50);
  assertRefused(run("groups", { query: { at: "nothing" }, cookie }), "error", "error_group_gone");
});

test("Names of every kind arrive as they are", () => {
  for (const name of oddNames) {
    account("groupadd", name);
    assert.ok(names(list({ prefix: name })).includes(name), name);
  }
});

test("Only an administrator sees the list", () => {
  assertSessionRefused(run("groups"), "timeout", "login", "error_timeout");
  assertSessionRefused(run("groups", { cookie: login("anna") }), "unauth", "login", "error_noprivilege");
});

test("When the groups cannot be read that is said, not that there are none", () => {
  withoutAccounts(() => assert.notEqual(list().success, true));
});
