// upload.cgi: one file, received, told and thrown away.
import assert from "node:assert/strict";
import { readdirSync, rmdirSync, mkdirSync } from "node:fs";
import { afterEach, before, test } from "node:test";
import { assertRefused, assertSessionRefused, keepSettings, login, makeAccounts, run, writeSetting } from "./program.mjs";

const kStaging = "/volume1/@tmp";
const kBoundary = "a boundary of its own";
let cookie;

before(() => {
  makeAccounts();
  cookie = login("anna");
});
afterEach(() => assert.deepEqual(readdirSync(kStaging), [], "nothing is left in the staging directory"));

const part = (disposition, content) =>
  `--${kBoundary}\r\nContent-Disposition: form-data; ${disposition}\r\nContent-Type: application/octet-stream\r\n\r\n${content}\r\n`;
const whole = (...parts) => `${parts.join("")}--${kBoundary}--\r\n`;
const send = (body, request = {}) => run("upload", { body, type: `multipart/form-data; boundary="${kBoundary}"`, cookie, ...request });
const file = (name, content) => part(`name="file"; filename="${name}"`, content);

test("A file is told with its name and its size in bytes", () => {
  assert.deepEqual(send(whole(file("a.bin", "\r\n--\u00e4\0".repeat(1000)))).json, { data: { name: "a.bin", size: 7000 }, success: true });
});

test("An empty file is a file", () => {
  assert.deepEqual(send(whole(file("empty", ""))).json.data, { name: "empty", size: 0 });
});

test("A name is told without its folders", () => {
  for (const name of ["../../../etc/passwd", "C:/x/passwd", "/etc/passwd"]) {
    assert.equal(send(whole(file(name, "x"))).json.data.name, "passwd");
  }
});

test("No file chosen, and no such field, are two refusals", () => {
  assertRefused(send(whole(file("", ""))), "upload", "error_no_file_chosen");
  assertRefused(send(whole(part('name="other"; filename="a"', "x"))), "upload", "error_no_file_field");
});

test("What is no upload is refused", () => {
  assertRefused(run("upload", { form: { file: "a" }, cookie }), "upload", "error_no_upload");
  assertRefused(run("upload", { cookie }), "upload", "error_no_upload");
});

test("A page of another origin may not fill the disk", () => {
  const env = { HTTP_HOST: "kest", HTTP_ORIGIN: "http://kest:9090" };
  assertRefused(send(whole(file("a", "x")), { env }), "error", "error_not_posted", 403);
});

test("A body without its end is refused, and so is one above the limit, with status and reason", (t) => {
  keepSettings(t);
  const cut = send(file("a", "x".repeat(100)).slice(0, -40));
  assertRefused(cut, "upload", "error_not_received", 400);
  assert.equal(cut.headers.get("x-request-refused"), "upload_malformed");
  writeSetting("cgi_upload_max", "1000");
  const large = send(whole(file("a", "x".repeat(1000))));
  assertRefused(large, "upload", "error_not_received", 413);
  assert.equal(large.headers.get("x-request-refused"), "body_too_large");
});

test("Without a staging directory nothing is received", () => {
  rmdirSync(kStaging);
  try {
    assert.equal(send(whole(file("a", "x"))).json.errno.key, "error_not_received");
  } finally {
    mkdirSync(kStaging);
  }
});

test("Only somebody who is logged in may send, and a refused upload is answered for a frame", () => {
  const reply = send(whole(file("a", "x")), { cookie: undefined });
  assertSessionRefused(reply, "timeout", "login", "error_timeout");
  assert.equal(reply.headers.get("content-type"), 'text/html; charset="UTF-8"');
});
