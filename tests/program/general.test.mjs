// general.cgi: the settings form, each kind of rule it uses, and what is stored.
import assert from "node:assert/strict";
import { existsSync, mkdirSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { hostname } from "node:os";
import { before, test } from "node:test";
import { assertSessionRefused, keepSettings, login, makeAccounts, run, settings, settingsFile, writeSetting } from "./program.mjs";

const kInvalid = "The field is not valid.";
const values = {
  description: "The one in the cellar",
  language: "de",
  timezone: "Europe/Berlin",
  session_timeout: "15",
  maintenance_date: "2027/03/14",
  allowed_address: "192.168.1.0",
  allowed_mask: "255.255.255.0",
  notify: "on",
  log_level: "2",
};
let cookie;

before(() => {
  makeAccounts();
  cookie = login();
});

const apply = (changed, request = {}) => run("general", { form: { action: "apply", ...values, ...changed }, cookie, ...request });

test("Load gives every field its current value, or its factory default", (t) => {
  keepSettings(t);
  writeFileSync(settingsFile, 'session_timeout="8000"\n');
  const { json, headers } = run("general", { query: { action: "load" }, cookie });
  assert.equal(json.success, true);
  assert.deepEqual(Object.keys(json.data), Object.keys(values).sort());
  assert.equal(json.data.session_timeout, "8000");
  assert.equal(json.data.log_level, "1", "the factory default");
  assert.equal(headers.get("content-type"), 'text/plain; charset="UTF-8"');
  assert.equal(headers.get("cache-control"), "no-store");
});

test("What is saved is in the file, in the reply, and in the next load; other settings and comments stay", (t) => {
  keepSettings(t);
  writeFileSync(settingsFile, `# by hand\nmaxshares="20"\n${readFileSync(settingsFile, "utf8")}`);
  assert.deepEqual(apply({}).json, { data: values, success: true });
  const text = readFileSync(settingsFile, "utf8");
  assert.ok(text.startsWith('# by hand\nmaxshares="20"\n'), text);
  assert.deepEqual({ ...settings(), ...values }, settings());
  assert.deepEqual(run("general", { query: { action: "load" }, cookie }).json.data, values);
});

// Field, value refused, and the message beside the field.
const refusals = [
  ["description", "a".repeat(65), "This text is too long."],
  ["description", "\u00e4".repeat(33), "This text is too long."],
  ["language", "fr", kInvalid],
  ["language", "EN", kInvalid],
  ["language", "", kInvalid],
  ["timezone", "", kInvalid],
  ["timezone", "Europe/Nowhere", "This time zone is not known."],
  ["timezone", "../../../etc/passwd", "This time zone is not known."],
  ["timezone", "Europe", "This time zone is not known."],
  ["timezone", "x".repeat(100000), "This time zone is not known."],
  ["timezone", "leapseconds", "This time zone is not known."],
  ["timezone", "Europe/berlin", "This time zone is not known."],
  ["session_timeout", "0", kInvalid],
  ["session_timeout", "10081", kInvalid],
  ["session_timeout", "12a", kInvalid],
  ["session_timeout", "1.5", kInvalid],
  ["session_timeout", "", kInvalid],
  ["session_timeout", "-1", kInvalid],
  ["maintenance_date", "2027-03-14", kInvalid],
  ["maintenance_date", "2027/03/14 10:00", kInvalid],
  ["maintenance_date", "", kInvalid],
  ["allowed_address", "300.1.1.1", kInvalid],
  ["allowed_address", "", kInvalid],
  ["allowed_mask", "255.0.255.0", kInvalid],
  ["allowed_mask", "0.0.0.0", kInvalid],
  ["notify", "ON", kInvalid],
  ["notify", "", kInvalid],
  ["log_level", "4", kInvalid],
  ["log_level", "", kInvalid],
  ["description", "two\nlines", "This text holds characters that cannot be kept."],
  ["description", "\u0007", "This text holds characters that cannot be kept."],
];
for (const [field, value, message] of refusals) {
  test(`${field} does not take ${JSON.stringify(value.slice(0, 40))}, and nothing is saved`, () => {
    const old = readFileSync(settingsFile, "utf8");
    assert.deepEqual(apply({ [field]: value }).json, { errors: { [field]: message }, success: false });
    assert.equal(readFileSync(settingsFile, "utf8"), old);
  });
}

// At the edges of what is taken; each is stored as it was sent.
const taken = [
  ["description", ""],
  ["description", "a".repeat(64)],
  ["description", 'with "quotes", = and # \u00fcberall'],
  ["timezone", "UTC"],
  ["timezone", "America/Argentina/Buenos_Aires"],
  ["session_timeout", "1"],
  ["session_timeout", "10080"],
  ["allowed_address", "1.2.3"],
  ["maintenance_date", "2012/03/04"],
  ["log_level", "0"],
  ["log_level", "+3"],
  ["notify", "off"],
];
for (const [field, value] of taken) {
  test(`${field} takes ${JSON.stringify(value)}`, (t) => {
    keepSettings(t);
    assert.deepEqual(apply({ [field]: value }).json, { data: { ...values, [field]: value }, success: true });
  });
}

test("The time zones that are offered are those of the appliance, and are taken", (t) => {
  keepSettings(t);
  const zones = run("time_zones", { cookie }).json.data.time_zones;
  assert.equal(zones[0], "UTC");
  assert.ok(zones.length > 300, `${zones.length} zones`);
  for (const zone of ["Europe/Berlin", zones.at(-1)]) {
    assert.ok(zones.includes(zone), zone);
    assert.equal(apply({ timezone: zone }).json.data.timezone, zone);
  }
});

test("Time zones are told to administrators", () => {
  assertSessionRefused(run("time_zones", { cookie: login("anna") }), "unauth", "login", "error_noprivilege");
  assertSessionRefused(run("time_zones"), "timeout", "login", "error_timeout");
});

const samba = "/etc/samba/smb.conf";
const server = (request = {}) => run("server", { cookie, ...request }).json.data;

test("The server has the machine's name, and without Samba's configuration it is in no domain", () => {
  assert.deepEqual(server(), { name: hostname(), domain: "", membership: "none" });
});

for (const [what, text, domain, membership] of [
  ["A workgroup is no domain", "workgroup = HOME", "", "none"],
  ["A domain that does not know the machine is named, and said not to be joined", "workgroup = OFFICE\nsecurity = ads\nrealm = office.example", "OFFICE", "not_joined"],
]) {
  test(what, { skip: !existsSync("/usr/bin/testparm") && "needs Samba (package samba-common-bin)" }, (t) => {
    t.after(() => rmSync("/etc/samba", { recursive: true, force: true }));
    mkdirSync("/etc/samba", { recursive: true });
    writeFileSync(samba, `[global]\n${text}\n`);
    assert.deepEqual(server(), { name: hostname(), domain, membership });
  });
}

test("The server's name and domain are told to administrators", () => {
  assertSessionRefused(run("server", { cookie: login("anna") }), "unauth", "login", "error_noprivilege");
  assertSessionRefused(run("server"), "timeout", "login", "error_timeout");
});

test("A number is stored without the blanks before it", (t) => {
  keepSettings(t);
  assert.equal(apply({ session_timeout: " 80" }).json.data.session_timeout, "80");
});

test("Every bad field has its message, also one that is missing", () => {
  const form = { action: "apply", ...values, session_timeout: "x", allowed_mask: "y" };
  delete form.notify;
  assert.deepEqual(run("general", { form, cookie }).json, {
    errors: { session_timeout: kInvalid, allowed_mask: kInvalid, notify: "The field is not present." },
    success: false,
  });
});

test("Localised messages are in the user's language", () => {
  const german = { cookie: `${cookie}; lang=de` };
  assert.deepEqual(apply({ description: "a".repeat(65) }, german).json.errors, { description: "Dieser Text ist zu lang." });
  assert.deepEqual(apply({ timezone: "Europe/Nowhere" }, german).json.errors, { timezone: "Diese Zeitzone ist nicht bekannt." });
});

test("A text that is no UTF-8 is refused beside its field", () => {
  const form = new URLSearchParams({ action: "apply", ...values, description: "MARK" });
  const { json } = run("general", { body: form.toString().replace("MARK", "%C3%28%F8"), cookie });
  assert.deepEqual(json.errors, { description: "This text holds characters that cannot be kept." });
});

test("A link saves nothing", () => {
  const old = readFileSync(settingsFile, "utf8");
  const reply = run("general", { query: { action: "apply", ...values }, cookie });
  assert.equal(reply.status, 405);
  assert.deepEqual(reply.json, { errinfo: { key: "error_not_posted", sec: "error" }, success: false });
  assert.equal(readFileSync(settingsFile, "utf8"), old);
});

test("An unknown action and none at all are answered", () => {
  for (const request of [{ form: { action: "Load" } }, { form: {} }, { query: {} }, { json: { action: "load" } }]) {
    const { json } = run("general", { ...request, cookie });
    assert.deepEqual(json, { errinfo: { key: "error_unknown_action", sec: "error" }, success: false });
  }
});

test("Saving what is stored already writes nothing", (t) => {
  keepSettings(t);
  apply({});
  writeSetting("of_others", "1");
  const old = readFileSync(settingsFile);
  assert.equal(apply({}).json.success, true);
  assert.deepEqual(readFileSync(settingsFile), old);
});

// A settings file may have 1 MiB: filled up to there it takes a shorter description, and then no longer time zone.
function fillSettings(text) {
  const kLargest = 1048576;
  const padding = `#${"x".repeat(kLargest - Buffer.byteLength(text) - 2)}\n`;
  writeFileSync(settingsFile, text + padding);
  return text + padding;
}
const kShorterThenLonger = { description: "", timezone: "America/Argentina/Buenos_Aires" };

test("When a later key cannot be written, the earlier ones get their old values back", (t) => {
  keepSettings(t);
  apply({ timezone: "UTC" });
  const old = fillSettings(readFileSync(settingsFile, "utf8"));
  assert.deepEqual(apply(kShorterThenLonger).json, { errinfo: { key: "error_save_failed", sec: "error" }, success: false });
  assert.equal(readFileSync(settingsFile, "utf8"), old);
});

test("When they cannot be put back either, the reply says so", (t) => {
  keepSettings(t);
  apply({ timezone: "UTC" });
  // A carriage return inside a value, left by hand: it is read, and cannot be written again.
  fillSettings(readFileSync(settingsFile, "utf8").replace(/^description=.*$/m, 'description="a\rb"'));
  assert.deepEqual(apply(kShorterThenLonger).json, { errinfo: { key: "error_saved_partly", sec: "error" }, success: false });
});
