// download.cgi: files whole and by ranges, folders as archives, and what is not for everybody.
import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { randomBytes } from "node:crypto";
import { chmodSync, linkSync, mkdirSync, mkdtempSync, readdirSync, readFileSync, rmSync, statSync, symlinkSync, truncateSync, utimesSync, writeFileSync } from "node:fs";
import { createServer } from "node:net";
import { before, test } from "node:test";
import { assertRefused, assertSessionRefused, login, makeAccounts, run } from "./program.mjs";

const kPublic = "/volume1/public";
const content = randomBytes(100_000);
let cookie;

const fetchFile = (path, request = {}) => run("download", { query: { path }, cookie, ...request });
const ranged = (path, range, request = {}) => fetchFile(path, { ...request, env: { HTTP_RANGE: range, ...request.env } });
const assertNotSent = (reply, status, key) => assertRefused(reply, "files", key, status);

before(() => {
  makeAccounts();
  cookie = login("anna");
  writeFileSync(`${kPublic}/a.bin`, content);
});

test("A file is sent whole, in one header block", () => {
  const reply = fetchFile(`${kPublic}/a.bin`);
  assert.equal(reply.status, 200);
  assert.deepEqual(reply.bytes, content);
  assert.equal(reply.headers.get("content-length"), "100000");
  assert.equal(reply.headers.get("content-type"), "application/octet-stream");
  assert.equal(reply.headers.get("accept-ranges"), "bytes");
  assert.match(reply.head, /\r\n/);
  assert.doesNotMatch(reply.head.replaceAll("\r\n", ""), /[\r\n]/, "each line ends in CR LF");
});
