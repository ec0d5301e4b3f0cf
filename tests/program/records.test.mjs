// The record of a draft, as others may have left it: it is read as far as it is one, and the program answers in any case.
import assert from "node:assert/strict";
import { chmodSync, mkdirSync, readFileSync, rmSync, symlinkSync, writeFileSync } from "node:fs";
import { before, beforeEach, test } from "node:test";
import { login, makeAccounts, run } from "./program.mjs";

const kRecords = "/tmp/tarvel/modules";
const kRecord = `${kRecords}/draft-general-61646d696e`;
const kMebibyte = 1024 * 1024;
const values = { description: "half a sen" };
let cookie;
let record;

const ask = (action, more = {}) => run("draft", { json: { action, form: "general", ...more }, cookie }).json;
const none = { data: null, success: true };

before(() => {
  makeAccounts();
  cookie = login();
});
beforeEach(() => {
  rmSync(kRecords, { recursive: true, force: true });
  ask("save", { values });
  record = readFileSync(kRecord, "utf8");
});

const kStillRecords = {
  "without a final newline": () => record.trimEnd(),
  "with line ends of another system": () => record.replaceAll("\n", "\r\n"),
  "in one line": () => JSON.stringify(JSON.parse(record)),
  "of exactly 1 MiB": () => record.padEnd(kMebibyte),
  "of one line of 1 MiB": () => JSON.stringify(JSON.parse(record)).padEnd(kMebibyte),
  "with a NUL byte behind it": () => `${record}\0{`,
};
for (const [what, text] of Object.entries(kStillRecords)) {
  test(`A record ${what} is read`, () => {
    writeFileSync(kRecord, text());
    assert.deepEqual(ask("load").data.values, values);
  });
}

const kNoRecords = {
  "An empty record": () => "",
  "A record of 1 MiB and one byte more": () => record.padEnd(kMebibyte + 1),
  "Half a record": () => record.slice(0, record.length / 2),
  "A record behind a NUL byte": () => `\0${record}`,
  "A record of NUL bytes": () => "\0".repeat(record.length),
  "A record behind a byte-order mark": () => `\ufeff${record}`,
};
for (const [what, text] of Object.entries(kNoRecords)) {
  test(`${what} counts as none, and the next one replaces it`, () => {
    writeFileSync(kRecord, text());
    assert.deepEqual(ask("load"), none);
    assert.deepEqual(ask("save", { values }), none);
    assert.deepEqual(ask("load").data.values, values);
  });
}

test("A missing record, a directory and a link to itself count as none", () => {
  rmSync(kRecord);
  assert.deepEqual(ask("load"), none);
  mkdirSync(kRecord);
  assert.deepEqual(ask("load"), none);
  rmSync(kRecord, { recursive: true });
  symlinkSync(kRecord, kRecord);
  assert.deepEqual(ask("load"), none);
});

test("A record that may not be read counts as none", { skip: process.getuid() === 0 && "root reads every file" }, () => {
  chmodSync(kRecord, 0);
  assert.deepEqual(ask("load"), none);
});
