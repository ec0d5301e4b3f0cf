// members.cgi: who belongs to a group.
import assert from "node:assert/strict";
import { before, test } from "node:test";
import { answersToOthers, formError, loadAccounts, oddNames, people, refusedToOthers } from "./directory.mjs";
import { account, login, makeAccounts, run, start } from "./program.mjs";

const kRows = 50;
const all = people(120);
let cookie;
let count = 0;

before(() => {
  makeAccounts();
  loadAccounts(all.map((name) => [name, `Description of ${name}`, ""]));
  cookie = login();
});

function makeGroup(...members) {
  const name = `group${++count}`;
  account("groupadd", name);
  if (members.length > 0) assert.equal(change(name, members).success, true);
  return name;
}

const load = (group, query = {}) => run("members", { query: { action: "load", group, ...query }, cookie }).json;
const form = (group, added = [], removed = []) => ({ action: "apply", group, added: added.join("\n"), removed: removed.join("\n") });
const change = (...wanted) => run("members", { form: form(...wanted), cookie }).json;
const names = ({ data }) => data.items.map(({ name }) => name);
const membersOf = (group) => names(load(group, { only: "members" }));

test("All accounts are listed, each with whether it belongs to the group", () => {
  const group = makeGroup("anna", "person00003");
  const { data } = load(group);
  assert.deepEqual([data.total, data.offset, data.members, data.everybody, data.items.length], [122, 0, 2, false, kRows]);
  assert.deepEqual(data.items[1], { descr: "", disabled: "Normal", email: "", member: true, name: "anna" });
  assert.deepEqual(data.items.filter(({ member }) => member).map(({ name }) => name), ["anna", "person00003"]);
  assert.equal(load(group, { offset: 100 }).data.items.length, 22);
});

test("The members alone are listed in pages, too, and both lists can be searched", () => {
  const group = makeGroup(...all);
  const page = load(group, { only: "members", offset: 100 });
  assert.deepEqual([page.data.total, names(page)], [120, all.slice(100)]);
  assert.deepEqual(page.data.items[0], { descr: "Description of person00100", member: true, name: "person00100" });
  assert.deepEqual(names(load(group, { only: "members", prefix: "PERSON0011" })), all.slice(110));
  assert.deepEqual(names(load(group, { prefix: "PERSON0011" })), all.slice(110));
  assert.deepEqual(names(load(group, { only: "members", prefix: "anna" })), []);
});

test("A prefix of other letters than ASCII finds members without regard to case", () => {
  loadAccounts(["\u00dcnal", "\u5b87\u5b99"]);
  const group = makeGroup("\u00dcnal", "\u5b87\u5b99", "anna");
  assert.deepEqual(names(load(group, { only: "members", prefix: "\u00fcN" })), ["\u00dcnal"]);
  assert.deepEqual(names(load(group, { only: "members", prefix: "\u5b87" })), ["\u5b87\u5b99"]);
});

test("Members are added and removed by name, the others stay", () => {
  const group = makeGroup("anna", "person00001");
  assert.deepEqual(change(group, ["person00002", "ADMIN"], ["ANNA"]), { data: { members: 3 }, success: true });
  assert.deepEqual(membersOf(group), ["admin", "person00001", "person00002"]);
});

test("Adding a member who is one, and removing one who is none, changes nothing", () => {
  const group = makeGroup("anna");
  assert.deepEqual(change(group, ["Anna"], ["person00001"]), { data: { members: 1 }, success: true });
  assert.deepEqual(membersOf(group), ["anna"]);
});

test("What two add at once is there afterwards, both", async () => {
  const group = makeGroup();
  const replies = await Promise.all(all.slice(0, 8).map((name) => start("members", { form: form(group, [name]), cookie }).reply));
  for (const { json } of replies) assert.equal(json.success, true);
  assert.deepEqual(membersOf(group), all.slice(0, 8));
});

test("With one unknown name nothing is changed", () => {
  const group = makeGroup("anna");
  for (const name of ["nobody", "../anna", "x".repeat(1000)]) {
    assert.deepEqual(change(group, ["person00001", name], ["anna"]), formError("error_unknown_member"));
  }
  assert.deepEqual(membersOf(group), ["anna"]);
});

test("A member may be called whatever an account may", () => {
  loadAccounts(oddNames);
  const group = makeGroup(...oddNames);
  assert.deepEqual(membersOf(group).sort(), [...oddNames].sort());
});

test("Everybody belongs to the group of everybody, which cannot be changed", () => {
  const { data } = load("users", { only: "members" });
  assert.deepEqual([data.everybody, data.members, data.total], [true, data.total, data.members]);
  assert.ok(data.total > 120 && data.items.every(({ member }) => member));
  assert.deepEqual(change("users", [], ["anna"]), formError("error_group_everybody"));
});

test("An administrator is made and unmade, but nobody leaves the administrators himself", () => {
  assert.equal(change("administrators", ["anna"]).data.members, 2);
  assert.equal(run("users", { cookie: login("anna") }).json.success, true);
  assert.equal(change("administrators", [], ["anna"]).data.members, 1);
  assert.equal(run("users", { cookie: login("anna") }).headers.get("x-request-error"), "unauth");
  assert.deepEqual(change("Administrators", [], ["ADMIN"]), formError("error_own_membership"));
  assert.deepEqual(membersOf("administrators"), ["admin"]);
});

test("A group that is gone is neither shown nor changed", () => {
  for (const group of ["", "nothing", "' OR 1=1"]) {
    assert.deepEqual(load(group), formError("error_group_gone"));
    assert.deepEqual(change(group, ["anna"]), formError("error_group_gone"));
  }
});

test("Only an administrator's own page sees or changes members", () => {
  const group = makeGroup("anna");
  assert.deepEqual(answersToOthers("members", form(group, ["person00001"]), { cookie, anna: login("anna") }), refusedToOthers);
  assert.equal(run("members", { query: { action: "load", group }, cookie: login("anna") }).headers.get("x-request-error"), "unauth");
  assert.deepEqual(membersOf(group), ["anna"]);
});
