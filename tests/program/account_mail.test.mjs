// account_mail.cgi: an account's data mailed to its user, through the appliance's own mail system, which keeps what it is given.
import assert from "node:assert/strict";
import { readdirSync, readFileSync, renameSync, rmSync, writeFileSync } from "node:fs";
import { before, beforeEach, test } from "node:test";
import { account, assertSessionRefused, keepSettings, login, makeAccounts, run, writeSetting } from "./program.mjs";

const kMailbox = "/var/spool/mailbox";
const kNoAddress = "Please give one mail address, as name@example.org.";
let cookie;

before(() => {
  makeAccounts();
  cookie = login();
});
beforeEach(() => rmSync(kMailbox, { recursive: true, force: true }));

const right = { user: "anna", recipient: "anna@example.org", password: "a new one" };
const send = (changed = {}, request = {}) => run("account_mail", { form: { action: "apply", ...right, ...changed }, cookie, ...request });
const load = (query = {}) => run("account_mail", { query: { action: "load", ...query }, cookie }).json;

function mails() {
  let names = [];
  try {
    names = readdirSync(`${kMailbox}/new`);
  } catch {
    // There is no mailbox before the first mail.
  }
  return names.map((name) => {
    const text = readFileSync(`${kMailbox}/new/${name}`, "latin1");
    const end = text.indexOf("\n\n");
    const head = text.slice(0, end).split("\n");
    return { head, names: head.map((line) => line.split(":")[0]), body: Buffer.from(text.slice(end + 2), "base64").toString("utf8") };
  });
}

const kHeaders = ["X-Called-With", "To", "Subject", "Auto-Submitted", "MIME-Version", "Content-Type", "Content-Transfer-Encoding"];

function assertOneMail() {
  const [mail, ...others] = mails();
  assert.ok(mail, "no mail has arrived");
  assert.deepEqual(others, []);
  return mail;
}

test("The mail has the account's name and password, and one recipient", () => {
  assert.deepEqual(send().json, { data: { password: "", recipient: "anna@example.org", user: "anna" }, success: true });
  const { head, body } = assertOneMail();
  assert.ok(head.includes("To: anna@example.org"), head.join("\n"));
  assert.ok(head.includes("Subject: Your account on kest"), head.join("\n"));
  assert.match(body, /User name: +anna\r\n/);
  assert.match(body, /Password: +a new one\r\n/);
});

test("Without a password the mail says so, in the language of the request", () => {
  send({ password: "" });
  assert.match(assertOneMail().body, /Password: +\(none\)\r\n/);
  rmSync(kMailbox, { recursive: true });
  send({ password: "" }, { cookie: `${cookie}; lang=de` });
  assert.match(assertOneMail().body, /Kennwort: +\(keines\)\r\n/);
});

test("The name is spelt as the account is", () => {
  assert.equal(send({ user: "ANNA" }).json.data.user, "anna");
  assert.match(assertOneMail().body, /User name: +anna\r\n/);
});

test("A password of 254 bytes and of any spelling arrives as it is", () => {
  for (const password of ["%USER_NAME%", "Subject: x", "\u00fc\u5b89 \u{1f511}", `"'\`$(id)\\`, "x".repeat(254)]) {
    rmSync(kMailbox, { recursive: true, force: true });
    assert.equal(send({ password }).json.success, true);
    assert.ok(assertOneMail().body.includes(` ${password}\r\n`), password);
  }
});

const refused = [
  ["user", "", "The field is not valid."],
  ["user", "nobody", "There is no such account."],
  ["user", "anna\nBcc: eve@example.org", "There is no such account."],
  ["user", "../anna", "There is no such account."],
  ["user", "x".repeat(493), "This text is too long."],
  ["recipient", "", "The field is not valid."],
  ["recipient", `${"x".repeat(250)}@a.b`.padEnd(255, "c"), "This text is too long."],
  ["password", "x".repeat(255), "This text is too long."],
  ["password", "two\nlines", "This text holds characters that cannot be kept."],
  ["password", "a\r\nBcc: eve@example.org", "This text holds characters that cannot be kept."],
  ...[
    "anna",
    "@example.org",
    "anna@",
    "anna@@example.org",
    "anna@example.org, eve@example.org",
    "anna@example.org eve@example.org",
    "anna@example.org;eve@example.org",
    "Anna <anna@example.org>",
    '"anna"@example.org',
    "anna@[192.0.2.1]",
    "anna..b@example.org",
    ".anna@example.org",
    "anna@example.org.",
    "anna@example.org\n",
    "anna@example.org\nBcc: eve@example.org",
    "anna@example.org\r\nBcc: eve@example.org",
    " anna@example.org",
    "\u00e4nna@example.org",
    "-oQ/tmp",
  ]
    .map((address) => ["recipient", address, kNoAddress]),
];
for (const [field, value, message] of refused) {
  test(`${field}: ${JSON.stringify(value.slice(0, 40))} is refused beside it, and nothing is sent`, () => {
    assert.deepEqual(send({ [field]: value }).json, { errors: { [field]: message }, success: false });
    assert.deepEqual(mails(), []);
  });
}

test("A password that is no UTF-8 is refused beside it", () => {
  const form = new URLSearchParams({ action: "apply", ...right, password: "MARK" }).toString();
  const { json } = run("account_mail", { body: form.replace("MARK", "%C3%28"), cookie });
  assert.deepEqual(json.errors, { password: "This text holds characters that cannot be kept." });
});

test("No value adds a header or stands for another: an account may be called whatever it likes", () => {
  for (const name of ["%PASSWD%", "Bcc=eve <b>\u00fc $(id)", "=?utf-8?b?eA==?="]) {
    rmSync(kMailbox, { recursive: true, force: true });
    account("add", name, "secret");
    assert.equal(send({ user: name, password: "To: eve@example.org" }).json.success, true, name);
    const mail = assertOneMail();
    assert.deepEqual(mail.names.sort(), [...kHeaders].sort(), mail.head.join("\n"));
    assert.ok(mail.body.includes(` ${name}\r\n`), mail.body);
  }
});

test("An account without an address starts with none, and one that there is not is refused", () => {
  assert.deepEqual(load(), { data: { password: "", recipient: "", user: "" }, success: true });
  assert.deepEqual(load({ user: "anna" }), { data: { password: "", recipient: "", user: "anna" }, success: true });
  assert.deepEqual(load({ user: "nobody" }), { errors: { user: "There is no such account." }, success: false });
});

test("A mail system that does not take the mail is said", () => {
  writeFileSync(kMailbox, "a file where the folder belongs");
  assert.deepEqual(send().json, { errinfo: { key: "error_mail_failed", sec: "error" }, success: false });
  rmSync(kMailbox);
});

test("The sender is the one of the settings", (t) => {
  keepSettings(t);
  writeSetting("mail_sender", "nas@example.org");
  send();
  assert.ok(assertOneMail().head.includes("From: nas@example.org"));
});

test("When the accounts cannot be read it is said, and nothing is sent", () => {
  const database = "/usr/kest/etc/accounts.db";
  renameSync(database, `${database}.aside`);
  try {
    // The session cannot be checked without them either.
    assert.notEqual(send().json.success, true);
    assert.deepEqual(mails(), []);
  } finally {
    renameSync(`${database}.aside`, database);
  }
});

test("Only an administrator's session sends mails, and only posted from here", () => {
  assertSessionRefused(send({}, { cookie: undefined }), "timeout", "login", "error_timeout");
  assertSessionRefused(send({}, { cookie: login("anna") }), "unauth", "login", "error_noprivilege");
  const notPosted = { errinfo: { key: "error_not_posted", sec: "error" }, success: false };
  assert.deepEqual(run("account_mail", { query: { action: "apply", ...right }, cookie }).json, notPosted);
  const foreign = send({}, { env: { HTTP_HOST: "nas:5000", HTTP_ORIGIN: "http://nas:81" } });
  assert.deepEqual([foreign.status, foreign.json], [403, notPosted]);
  assert.deepEqual(mails(), []);
});
