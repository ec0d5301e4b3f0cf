// user.cgi, group.cgi and members.cgi killed at any moment of a save: afterwards each thing is as it was or as it was wanted,
// and the next save works.
import assert from "node:assert/strict";
import { before, test } from "node:test";
import { startAdministration } from "./directory.mjs";
import { killAtEachStep } from "./killed.mjs";
import { account, run } from "./program.mjs";

const kPassword = "a fresh password";
// Fewer than elsewhere: what is looked at after each takes several programs.
const kSteps = 12;
const kMembers = ["admin", "anna"];
let cookie, load, apply;

before(() => ({ cookie, load, apply } = startAdministration()));

const names = (program) => run(program, { cookie }).json.data.items.map(({ name }) => name);
const members = () => load("members", { group: "editors", only: "members" }).items.map(({ name }) => name);
const fields = { user: "", version: "", description: "new", email: "kim@example.org", password: kPassword, password_again: kPassword, state: "normal",
  until: "", mail: "off", keep_password: "on", app_file: "on", app_audio: "off", app_download: "on", app_surveillance: "off" };
const killed = (program, form, prepare, check) => killAtEachStep(program, () => ({ action: "apply", ...form() }), { cookie, steps: kSteps, prepare, check });

test("A new user is there whole, or not at all", () => {
  const name = "kim";
  const check = (step) => {
    if (!names("users").includes(name)) return;
    const { description, email, keep_password: keeps, app_file: file, app_download: download } = load("user", { user: name });
    assert.deepEqual([description, email, keeps, file, download], ["new", "kim@example.org", "on", "on", "on"], step);
  };
  const prepare = () => names("users").includes(name) && account("remove", name);
  return killed("user", () => ({ change: "save", ...fields, name }), prepare, check).then(() => {
    prepare();
    assert.equal(apply("user", { change: "save", ...fields, name }).success, true);
    assert.equal(run("login", { form: { user: name, passwd: kPassword } }).json.success, true);
  });
});

test("A renamed user has one of the two names, and its groups", () => {
  account("add", "lou", kPassword);
  account("join", "lou", "editors");
  const others = { lou: "lee", lee: "lou" };
  const now = () => names("users").filter((name) => name in others);
  const form = () => {
    const [user] = now();
    return { change: "save", ...load("user", { user }), name: others[user] };
  };
  return killed("user", form, () => {}, (step) => {
    assert.equal(now().length, 1, `${step}: ${now()}`);
    assert.deepEqual(members(), now(), step);
  });
});

test("A group has its old name and description, or the new ones", () => {
  const states = ["editors\twho writes", "writers\twho edits"];
  const now = () => run("groups", { cookie }).json.data.items.map(({ name, descr }) => `${name}\t${descr}`).filter((text) => /^(editors|writers)/.test(text));
  const form = () => {
    const [group] = now()[0].split("\t");
    const [name, description] = states.find((state) => !state.startsWith(group)).split("\t");
    const { version } = load("group", { group });
    return { group, version, name, description };
  };
  const check = (step) => {
    assert.equal(now().length, 1, `${step}: ${now()}`);
    const [name, description] = now()[0].split("\t");
    // The description is stored by a call of its own, behind the name.
    assert.ok(["who writes", "who edits"].includes(description), `${step}: ${name} ${description}`);
  };
  return killed("group", form, () => {}, check);
});

test("A group has all of its new members, or none of them", () => {
  account("groupadd", "choir");
  const now = () => load("members", { group: "choir", only: "members" }).items.map(({ name }) => name);
  const form = () => ({ group: "choir", ...(now().length === 0 ? { added: kMembers.join("\n") } : { removed: kMembers.join("\n") }) });
  return killed("members", form, () => {}, (step) => assert.ok([[], kMembers].some((whole) => whole.join() === now().join()), `${step}: ${now()}`));
});
