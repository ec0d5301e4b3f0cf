// group.cgi: one group, made, renamed, described.
import assert from "node:assert/strict";
import { before, test } from "node:test";
import { answersToOthers, badNames, brokenForm, fieldErrors, formError, oddNames, refusedToOthers } from "./directory.mjs";
import { account, login, makeAccounts, run, start } from "./program.mjs";

const kName = 'A name has no , : @ / \\ or quotes, and no blank at its beginning or end.';
const kTaken = "This name is taken.";
const kCharacters = "This text holds characters that cannot be kept.";
let cookie;
let count = 0;

before(() => {
  makeAccounts();
  cookie = login();
});

const fresh = () => `group${++count}`;
const load = (group) => run("group", { query: { action: "load", ...(group && { group }) }, cookie }).json;
const form = (fields) => ({ action: "apply", group: "", version: "", description: "", ...fields });
const save = (fields) => run("group", { form: form(fields), cookie }).json;
const change = (name, fields) => save({ ...load(name).data, ...fields });
const members = (group) => run("members", { query: { action: "load", group, only: "members" }, cookie }).json.data.items.map(({ name }) => name);

function make(fields = {}) {
  const reply = save({ name: fresh(), ...fields });
  assert.equal(reply.success, true, JSON.stringify(reply));
  return reply.data;
}

test("A group is made with its description, and loaded as it was saved", () => {
  const data = make({ name: "editors", description: 'Who <writes> & "reads"' });
  assert.deepEqual([data.group, data.name, data.description], ["editors", "editors", 'Who <writes> & "reads"']);
  assert.deepEqual(load("EDITORS").data, data);
});

test("A renamed group keeps its members and its description", () => {
  const { name } = make({ description: "stays" });
  account("join", "anna", name);
  const other = fresh();
  assert.deepEqual([change(name, { name: other }).data.name, load(other).data.description, members(other)], [other, "stays", ["anna"]]);
  assert.deepEqual(load(name), formError("error_group_gone"));
});

test("A changed description leaves the members alone, and can be emptied", () => {
  const { name } = make({ description: "old" });
  account("join", "anna", name);
  assert.equal(change(name, { description: "new" }).data.description, "new");
  assert.equal(change(name, { description: "" }).data.description, "");
  assert.deepEqual(members(name), ["anna"]);
});

test("A group can have its own name in another case", () => {
  const { name } = make();
  assert.equal(change(name, { name: name.toUpperCase() }).data.name, name.toUpperCase());
});

test("Names of every kind are taken and arrive as they are", () => {
  for (const name of oddNames) assert.equal(load(make({ name }).name).data.name, name);
});

for (const name of badNames) {
  test(`The name ${JSON.stringify(name)} is refused beside it`, () => assert.deepEqual(save({ name }), fieldErrors({ name: kName })));
}

for (const [what, fields, errors] of [
  ["an empty name", { name: "" }, { name: "The field is not valid." }],
  ["a name of 256 bytes", { name: "x".repeat(256) }, { name: "This text is too long." }],
  ["the name of the administrators", { name: "Administrators" }, { name: kTaken }],
  ["the name of everybody", { name: "USERS" }, { name: kTaken }],
  ["a description of two lines", { description: "a\nb" }, { description: kCharacters }],
  ["a description of 1025 bytes", { description: "x".repeat(1025) }, { description: "This text is too long." }],
]) {
  test(`${what}: refused beside the field`, () => assert.deepEqual(save({ name: fresh(), ...fields }), fieldErrors(errors)));
}

test("What is no UTF-8 is refused beside its field", () => {
  const of = (fields) => run("group", { body: brokenForm(form({ name: fresh(), ...fields })), cookie }).json;
  assert.deepEqual(of({ name: "MARK" }), fieldErrors({ name: kName }));
  assert.deepEqual(of({ description: "MARK" }), fieldErrors({ description: kCharacters }));
});

test("A rename to a name that is taken is refused, and nothing is changed", () => {
  const { name } = make({ description: "mine" });
  const other = make();
  assert.deepEqual(change(name, { name: other.name.toUpperCase(), description: "never" }), fieldErrors({ name: kTaken }));
  assert.equal(load(name).data.description, "mine");
});

test("The group of everybody stays as it is, whatever is asked", () => {
  const before = load("users").data;
  for (const fields of [{ name: "people" }, { description: "never" }, {}]) assert.deepEqual(change("users", fields), formError("error_group_everybody"));
  assert.deepEqual(load("users").data, before);
});

test("The administrators can be described, but not renamed", () => {
  assert.equal(change("administrators", { description: "Who may do everything" }).data.description, "Who may do everything");
  assert.deepEqual(change("administrators", { name: "others" }), formError("error_group_fixed"));
  assert.equal(load("others").success, false);
});

test("Who saves after somebody else has changed the group is told so, and nothing is lost", () => {
  const { name } = make();
  const seen = load(name).data;
  change(name, { description: "by somebody else" });
  assert.deepEqual(save({ ...seen, description: "mine" }), formError("error_group_changed"));
  assert.equal(load(name).data.description, "by somebody else");
});

test("Of two who make the same group at once one has it", async () => {
  const name = fresh();
  const replies = await Promise.all(["one", "two"].map((description) => start("group", { form: form({ name, description }), cookie }).reply));
  const done = replies.filter(({ json }) => json.success);
  assert.equal(done.length, 1);
  assert.equal(load(name).data.description, done[0].json.data.description);
});

test("A group that is gone meanwhile is neither shown nor changed", () => {
  const { name } = make();
  const seen = load(name).data;
  account("groupdel", name);
  assert.deepEqual(load(name), formError("error_group_gone"));
  assert.deepEqual(save(seen), formError("error_group_gone"));
});

test("Only an administrator's own page makes or changes groups", () => {
  const wanted = form({ name: fresh() });
  assert.deepEqual(answersToOthers("group", wanted, { cookie, anna: login("anna") }), refusedToOthers);
  assert.equal(load(wanted.name).success, false);
});
