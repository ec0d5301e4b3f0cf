// user.cgi: one account, from the form to the login.
import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { readdirSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { before, beforeEach, test } from "node:test";
import { answersToOthers, badNames, brokenForm, fieldErrors, formError, oddNames, refusedToOthers } from "./directory.mjs";
import { whileDatabaseIsHeld } from "./held_database.mjs";
import { account, login, makeAccounts, run, start } from "./program.mjs";

const kMailbox = "/var/spool/mailbox";
const kName = 'A name has no , : @ / \\ or quotes, and no blank at its beginning or end.';
const kTaken = "This name is taken.";
const kInvalid = "The field is not valid.";
const kLong = "This text is too long.";
const kCharacters = "This text holds characters that cannot be kept.";
const kPassword = "a fresh password";
let cookie;
let count = 0;

before(() => {
  makeAccounts();
  cookie = login();
});
beforeEach(() => rmSync(kMailbox, { recursive: true, force: true }));

// A name that no test has used.
const fresh = () => `user${++count}`;
const right = { user: "", version: "", description: "", email: "", password: kPassword, password_again: kPassword, state: "normal", until: "", mail: "off",
  keep_password: "off", app_file: "on", app_audio: "off", app_download: "off", app_surveillance: "off" };
const load = (user) => run("user", { query: { action: "load", ...(user && { user }) }, cookie }).json;
const save = (fields, request = {}) => run("user", { form: { action: "apply", change: "save", ...right, ...fields }, cookie, ...request }).json;
const turn = (change, user) => run("user", { form: { action: "apply", change, user }, cookie }).json;
// Changes some fields of an account that is there, as the page does it.
const change = (name, fields) => save({ ...load(name).data, ...fields });
const canLogIn = (user, passwd) => run("login", { form: { user, passwd } }).json.success;

function make(fields = {}) {
  const name = fields.name ?? fresh();
  const reply = save({ ...fields, name });
  assert.equal(reply.success, true, JSON.stringify(reply));
  return reply.data;
}

function mails() {
  try {
    return readdirSync(`${kMailbox}/new`).map((name) => readFileSync(`${kMailbox}/new/${name}`, "latin1"));
  } catch {
    return [];
  }
}

test("A new account starts valid, with the files, and without anything else", () => {
  const { data } = load();
  delete data.version;
  assert.deepEqual(data, { app_audio: "off", app_download: "off", app_file: "on", app_surveillance: "off", description: "", email: "", keep_password: "off",
    mail: "off", name: "", password: "", password_again: "", state: "normal", until: "", user: "" });
});

test("An account that is made can log in, and is loaded as it was saved", () => {
  const name = fresh();
  const data = make({ name, description: "Accounting <b>\"&", email: "a@example.org", state: "until", until: "2099/03/09", keep_password: "on", app_audio: "on" });
  assert.deepEqual([data.user, data.name, data.description, data.email, data.state, data.until, data.keep_password, data.app_file, data.app_audio, data.password],
    [name, name, "Accounting <b>\"&", "a@example.org", "until", "2099/03/09", "on", "on", "on", ""]);
  assert.equal(data.mailed, undefined, "nothing was to be mailed");
  assert.deepEqual(load(name).data, data);
  assert.equal(canLogIn(name, kPassword), true);
  assert.deepEqual(mails(), []);
});

test("Changed fields are stored, and the password stays when it is left empty", () => {
  const { name } = make();
  const { data } = change(name, { description: "new words", email: "b@example.org", app_file: "off", app_download: "on" });
  assert.deepEqual([data.description, data.email, data.app_file, data.app_download], ["new words", "b@example.org", "off", "on"]);
  assert.equal(canLogIn(name, kPassword), true);
});

test("A new password replaces the old one", () => {
  const { name } = make();
  change(name, { password: "another password", password_again: "another password" });
  assert.deepEqual([canLogIn(name, kPassword), canLogIn(name, "another password")], [false, true]);
});

test("A renamed account keeps its password, and its old name is free", () => {
  const { name } = make();
  const other = fresh();
  assert.equal(change(name, { name: other }).data.user, other);
  assert.equal(canLogIn(other, kPassword), true);
  assert.deepEqual(load(name), formError("error_account_gone"));
  make({ name });
});

test("An account can have its own name in another case", () => {
  const { name } = make();
  assert.equal(change(name, { name: name.toUpperCase() }).data.name, name.toUpperCase());
});

test("Applications that the form does not name stay as they are", () => {
  const { name } = make();
  change(name, { app_surveillance: "on", app_file: "off" });
  const applications = () => spawnSync("/usr/kest/bin/kestaccount", ["list"]).stdout.toString().split("\n").find((line) => line.startsWith(`${name}\t`)).split("\t").at(-1);
  assert.equal(applications(), "surveillance");
  change(name, { app_file: "on", app_surveillance: "off" });
  assert.equal(applications(), "file");
});

test("An account is disabled and enabled, by the form and from the list", () => {
  const { name } = make();
  assert.equal(change(name, { state: "disabled" }).data.state, "disabled");
  assert.equal(canLogIn(name, kPassword), false);
  assert.equal(change(name, { state: "normal" }).data.state, "normal");
  assert.equal(turn("disable", name).data.state, "disabled");
  assert.equal(canLogIn(name, kPassword), false);
  assert.equal(turn("enable", name.toUpperCase()).data.state, "normal");
  assert.equal(canLogIn(name, kPassword), true);
});

test("A day that is past ends the account, and enabling also ends the expiry", () => {
  const { name } = make({ state: "until", until: "2001/09/09" });
  assert.equal(canLogIn(name, kPassword), false);
  assert.deepEqual([turn("enable", name).data.state, canLogIn(name, kPassword)], ["normal", true]);
});

for (const until of ["", "2024/02/30", "2024/13/01", "2024-03-09", "1970/01/01", "1970/01/02", "09.03.2024", "2024/03/09 ", "soon", "2024/3/9x"]) {
  test(`The last day ${JSON.stringify(until)} is refused beside it`, () => {
    const reply = save({ name: fresh(), state: "until", until });
    assert.deepEqual(Object.keys(reply.errors), ["until"]);
    assert.ok(["Please give a day of the calendar after 1970/01/02.", kInvalid].includes(reply.errors.until), reply.errors.until);
  });
}

test("The last day counts only when the account has one", () => {
  assert.equal(make({ state: "normal", until: "nonsense" }).state, "normal");
});

test("Names of every kind are taken and arrive as they are", () => {
  for (const name of oddNames) {
    assert.equal(make({ name }).name, name);
    assert.equal(load(name).data.user, name);
  }
});

for (const name of badNames) {
  test(`The name ${JSON.stringify(name)} is refused beside it`, () => assert.deepEqual(save({ name }), fieldErrors({ name: kName })));
}

for (const [what, fields, errors] of [
  ["an empty name", { name: "" }, { name: kInvalid }],
  ["a name of 256 bytes", { name: "\u00fc".repeat(128) }, { name: kLong }],
  ["a name that is taken", { name: "anna" }, { name: kTaken }],
  ["a name that is taken in another case", { name: "ANNA" }, { name: kTaken }],
  ["a name of the system", { name: "root" }, { name: kTaken }],
  ["no password", { password: "", password_again: "" }, { password: "A new user needs a password." }],
  ["a short password", { password: "seven 7", password_again: "seven 7" }, { password: "A password has 8 characters or more." }],
  ["seven characters in many bytes", { password: "\u00fc".repeat(7), password_again: "\u00fc".repeat(7) }, { password: "A password has 8 characters or more." }],
  ["the name as the password", { name: "somebody", password: "SomeBody", password_again: "SomeBody" }, { password: "The password must not be the name." }],
  ["two passwords", { password_again: "something else" }, { password_again: "The two passwords differ." }],
  ["a password of two lines", { password: "two\nlines and more", password_again: "two\nlines and more" }, { password: kCharacters }],
  ["a password of 512 bytes", { password: "x".repeat(512), password_again: "x".repeat(512) }, { password: kLong }],
  ["an address that is none", { email: "a@b, c@d" }, { email: "Please give one mail address, as name@example.org." }],
  ["an address with a header behind it", { email: "a@example.org\nBcc: eve@example.org" }, { email: "Please give one mail address, as name@example.org." }],
  ["a description of two lines", { description: "two\nlines" }, { description: kCharacters }],
  ["a description of 1025 bytes", { description: "x".repeat(1025) }, { description: kLong }],
  ["an unknown state", { state: "Disable" }, { state: kInvalid }],
  ["a switch that is none", { app_file: "yes", keep_password: "" }, { app_file: kInvalid, keep_password: kInvalid }],
  ["a mail without a password", { mail: "on", email: "a@example.org", password: "", password_again: "" }, { password: "A new user needs a password." }],
  ["a mail without an address", { mail: "on" }, { email: "Please give one mail address, as name@example.org." }],
  ["a mail with more password than it holds", { mail: "on", email: "a@example.org", password: "x".repeat(255), password_again: "x".repeat(255) }, { password: kLong }],
  ["several things at once", { name: "a:b", email: "x", password_again: "" }, { name: kName, email: "Please give one mail address, as name@example.org.", password_again: "The two passwords differ." }],
]) {
  test(`${what}: refused beside the field, and nothing is made`, () => {
    const name = fields.name ?? fresh();
    const known = load(name).success;
    assert.deepEqual(save({ ...fields, name }), fieldErrors(errors));
    assert.equal(load(name).success, known || name === "");
    assert.deepEqual(mails(), []);
  });
}

test("What is no UTF-8 is refused beside its field", () => {
  const of = (fields) => run("user", { body: brokenForm({ action: "apply", change: "save", ...right, name: fresh(), ...fields }), cookie }).json;
  assert.deepEqual(of({ name: "MARK" }), fieldErrors({ name: kName }));
  assert.deepEqual(of({ description: "MARK" }), fieldErrors({ description: kCharacters }));
});

test("A missing field is said beside it", () => {
  const reply = run("user", { form: { action: "apply", change: "save", name: fresh() }, cookie }).json;
  assert.equal(reply.errors.password, "The field is not present.");
  assert.equal(reply.errors.app_file, "The field is not present.");
});

test("The words are German where the user reads German", () => {
  assert.deepEqual(save({ name: "anna" }, { cookie: `${cookie}; lang=de` }), fieldErrors({ name: "Diesen Namen gibt es schon." }));
});

test("A rename to a name that is taken is refused, and nothing is changed", () => {
  const { name } = make();
  assert.deepEqual(change(name, { name: "Anna", description: "never" }), fieldErrors({ name: kTaken }));
  assert.equal(load(name).data.description, "");
});

test("Who saves after somebody else has changed the account is told so, and nothing is lost", () => {
  const { name } = make();
  const seen = load(name).data;
  change(name, { description: "by somebody else" });
  assert.deepEqual(save({ ...seen, description: "mine" }), formError("error_account_changed"));
  assert.equal(load(name).data.description, "by somebody else");
});

test("Of two who save at once one is told so", async () => {
  const { name } = make();
  const seen = load(name).data;
  const replies = await Promise.all(["one", "two"].map((description) => start("user", { form: { action: "apply", change: "save", ...seen, description }, cookie }).reply));
  const said = replies.map(({ json }) => json.data?.description ?? json.errinfo.key);
  assert.equal(said.filter((words) => words === "error_account_changed").length, 1, said.join());
  assert.ok(said.includes(load(name).data.description), said.join());
});

test("Of two who make the same account at once one has it", async () => {
  const name = fresh();
  const replies = await Promise.all(["first password", "second password"].map((password) =>
    start("user", { form: { action: "apply", change: "save", ...right, name, password, password_again: password }, cookie }).reply));
  const done = replies.filter(({ json }) => json.success);
  assert.equal(done.length, 1);
  assert.deepEqual(replies.find((reply) => reply !== done[0]).json, fieldErrors({ name: kTaken }));
});

test("While somebody else holds the database a change is refused as such, and who looks is answered", async () => {
  const { name } = make();
  const [refused, shown] = await whileDatabaseIsHeld(() => [turn("disable", name), load(name).data.state]);
  assert.deepEqual([refused, shown], [formError("error_directory_busy"), "normal"]);
  assert.equal(turn("disable", name).data.state, "disabled");
});

test("An account that is gone meanwhile is neither shown nor changed", () => {
  const { name } = make();
  const seen = load(name).data;
  account("remove", name);
  assert.deepEqual(load(name), formError("error_account_gone"));
  assert.deepEqual(save(seen), formError("error_account_gone"));
  assert.deepEqual(turn("disable", name), formError("error_account_gone"));
});

test("Nobody shuts himself out, by no way", () => {
  const own = "You cannot shut yourself out: another administrator can do this.";
  assert.deepEqual(turn("disable", "ADMIN"), formError("error_own_account"));
  assert.deepEqual(change("admin", { state: "disabled" }), fieldErrors({ state: own }));
  assert.deepEqual(change("admin", { state: "until", until: "2001/09/09" }), fieldErrors({ until: own }));
  assert.equal(change("admin", { state: "until", until: "2099/03/09" }).success, true);
  assert.equal(turn("enable", "admin").data.state, "normal");
});

test("The new password is mailed once the account is saved", () => {
  const { name, mailed } = make({ mail: "on", email: "new@example.org" });
  assert.equal(mailed, "yes");
  const [mail, ...others] = mails();
  assert.deepEqual(others, []);
  assert.match(mail, /^To: new@example\.org$/m);
  const body = Buffer.from(mail.slice(mail.indexOf("\n\n") + 2), "base64").toString();
  assert.match(body, new RegExp(`User name: +${name}\r\n +Password: +${kPassword}\r\n`));
});

test("Without a new password none can be mailed", () => {
  const { name } = make({ email: "new@example.org" });
  assert.deepEqual(change(name, { mail: "on" }), fieldErrors({ password: "Please set a password: only a new one can be mailed." }));
});

test("A mail system that does not take the mail is said, and the account is saved", () => {
  writeFileSync(kMailbox, "a file where the folder belongs");
  const { name, mailed } = make({ mail: "on", email: "new@example.org" });
  rmSync(kMailbox);
  assert.equal(mailed, "no");
  assert.equal(canLogIn(name, kPassword), true);
});

test("An unknown change is answered, and turning nobody as well", () => {
  for (const wanted of ["", "Save", "remove"]) assert.deepEqual(turn(wanted, "anna"), formError("error_unknown_action"));
  assert.deepEqual(turn("disable", ""), formError("error_unknown_action"));
});

test("Only an administrator's own page makes or changes accounts", () => {
  const form = { action: "apply", change: "save", ...right, name: fresh() };
  assert.deepEqual(answersToOthers("user", form, { cookie, anna: login("anna") }), refusedToOthers);
  assert.deepEqual(load(form.name), formError("error_account_gone"));
});
