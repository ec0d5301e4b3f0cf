// Requests that nobody sends in good faith: every program answers each with one whole reply, and changes nothing.
import assert from "node:assert/strict";
import { readFileSync, readdirSync } from "node:fs";
import { before, test } from "node:test";
import { assertRefused, login, makeAccounts, run, settingsFile } from "./program.mjs";

const kPrograms = ["disks", "draft", "general", "language", "login", "logout", "power", "texts", "upload", "volume_build", "volumes", "whoami"];
const kBodyMax = 1048576;
let cookie;

before(() => {
  makeAccounts();
  cookie = login();
});

const nested = (levels) => "[".repeat(levels) + "]".repeat(levels);
const inDraft = (value) => `{"action": "save", "form": "general", "values": {"field": ${value}}}`;

// Bodies that are read: what comes of them is each program's affair, but it is one reply.
const bodies = {
  "JSON of 1500 levels": nested(1500),
  "JSON of 100,000 levels": nested(100_000),
  "a lone surrogate": inDraft('"\\ud800"'),
  "invalid UTF-8 in JSON": Buffer.concat([Buffer.from('{"action": "'), Buffer.from([0xff, 0xc3, 0x28]), Buffer.from('"}')]),
  "a byte-order mark": `\ufeff${inDraft('"x"')}`,
  "duplicate keys": '{"action": "drop", "action": "load", "form": "general", "form": "other"}',
  "text behind the document": `${inDraft("1")} and more`,
  "an unfinished document": '{"action": "save", "form": "gen',
  "a number": "7",
  "a word": "true",
  "null": "null",
  "a text": '"action"',
  "an empty object": "{}",
  "an array": '["action", "save"]',
  "numbers beyond 2^31, 2^53 and 2^63": inDraft("[2147483648, 9007199254740993, 9223372036854775808, 1e400, -1e400]"),
  "members of every wrong type": '{"action": ["save"], "form": {"a": 1}, "values": 3}',
  "separators only": "&&&=&=x&",
  "broken escapes": "action=%&b=%9&c=% 9&d=%-1&e=%GG&f=%2",
  "the same name twice": "action=load&action=apply",
  "escapes decoded once": "action=%2561pply",
  "an empty body": "",
};
// Too deep for the reader means no document, so the text is taken for a form: one with a name that is too long.
const statuses = { "JSON of 1500 levels": 413, "JSON of 100,000 levels": 413 };

for (const [what, body] of Object.entries(bodies)) {
  for (const program of kPrograms.filter((name) => name !== "logout")) {
    test(`${program} answers ${what}`, () => {
      const settings = readFileSync(settingsFile, "utf8");
      const reply = run(program, { body, cookie });
      assert.equal(typeof reply.json?.success, "boolean", reply.text);
      assert.equal(reply.status, program === "upload" ? 200 : (statuses[what] ?? 200));
      assert.equal(readFileSync(settingsFile, "utf8"), settings);
    });
  }
}

// Bodies that the platform does not take: status and reason are the same whatever the program.
const refused = [
  ["a length that is no number", 400, "content_length", { body: "a=1", env: { CONTENT_LENGTH: "x" } }],
  ["a negative length", 400, "content_length", { body: "a=1", env: { CONTENT_LENGTH: "-1" } }],
  ["a hexadecimal length", 400, "content_length", { body: "a=1", env: { CONTENT_LENGTH: "0x3" } }],
  ["a signed length", 400, "content_length", { body: "a=1", env: { CONTENT_LENGTH: "+3" } }],
  ["an endless length", 413, "body_too_large", { body: "a=1", env: { CONTENT_LENGTH: "99999999999999999999" } }],
  ["a body above the limit", 413, "body_too_large", { body: "a".repeat(kBodyMax + 1) }],
  ["a body shorter than announced", 400, "body_short", { body: "a=1", env: { CONTENT_LENGTH: "4" } }],
  ["a body without a length", 411, "length_required", { method: "POST", env: { HTTP_TRANSFER_ENCODING: "chunked" } }],
  ["a NUL in a value", 400, "nul_byte", { body: "a=%00" }],
  ["10,000 pairs", 413, "too_many_parameters", { body: "a=1&".repeat(10_000) }],
  ["a name of 1 MiB", 413, "name_too_long", { body: `${"a".repeat(kBodyMax - 2)}=1` }],
];
for (const [what, status, reason, request] of refused) {
  for (const program of ["draft", "general", "language", "login", "power", "texts", "whoami"]) {
    test(`${program} refuses ${what}`, () => {
      const reply = run(program, { cookie, ...request });
      assert.equal(reply.headers.get("x-request-refused"), reason);
      assert.equal(reply.status, status);
      assert.equal(reply.json.success, false, reply.text);
    });
  }
}

test("A body of exactly the limit is read", () => {
  const form = "action=load&x=";
  const { json } = run("general", { body: form + "x".repeat(kBodyMax - form.length), cookie });
  assert.equal(json.success, true);
});

test("A draft of a JSON document that says a thing twice goes by the last", () => {
  assertRefused(run("draft", { body: bodies["duplicate keys"].replace('"other"', '"Other"'), cookie }), "error", "error_bad_request");
  assert.deepEqual(run("draft", { body: bodies["duplicate keys"], cookie }).json, { data: null, success: true });
});

test("Cookies of every shape leave the session what it is", () => {
  for (const around of [`a=1;b=2; ${cookie}`, `xid=1; ${cookie}; idx=2`, `;;; ${cookie} ;;`, `\u00ff=\u00fe; ${cookie}`, `id; ${cookie}`]) {
    assert.equal(run("whoami", { cookie: around }).json.success, true, around);
  }
  for (const other of [`x${cookie}`, cookie.replace("id=", "ID="), cookie.replace("id=", "idx=")]) {
    assert.equal(run("whoami", { cookie: other }).headers.get("x-request-error"), "timeout", other);
  }
});

test("A name with markup stays a text in every reply", () => {
  const { text, headers } = run("login", { form: { user: "<script>alert(1)</script>", passwd: "x" } });
  assert.doesNotMatch(text, /script/);
  assert.match(headers.get("content-type"), /^text\/plain/);
});

test("No request left a draft or a session of its own behind", () => {
  assert.equal(readdirSync("/usr/kest/var/session").length, 1);
});
