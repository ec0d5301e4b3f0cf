// The examples of the documents do what the documents say.
import assert from "node:assert/strict";
import { mkdirSync, readFileSync, statSync, symlinkSync } from "node:fs";
import { spawnSync } from "node:child_process";
import { before, test } from "node:test";
import { assertSessionRefused, keepSettings, login, makeAccounts, run, settings } from "./program.mjs";

const example = (name, request) => run(`${process.env.TARVEL_BUILD}/tests/program/example_${name}`, request);
let cookie;

before(() => {
  makeAccounts();
  cookie = login();
});

test("hello greets who is logged in, and refuses everybody else", () => {
  assert.deepEqual(example("hello", { cookie }).json, { hello: "admin" });
  assertSessionRefused(example("hello"), "timeout", "login", "error_timeout");
});

test("parameters reads a form or a JSON document", () => {
  assert.deepEqual(example("parameters", { query: { name: "a b&c" } }).json, { language: "en", name: "a b&c" });
  assert.deepEqual(example("parameters", { json: { name: "x" } }).json, { language: "en", name: "x" });
  assert.deepEqual(example("parameters", { json: ["x"] }).json, { language: "en", name: null });
  assert.deepEqual(example("parameters", { cookie: "lang=de" }).json, { language: "de", name: "nobody" });
});

test("form loads, refuses beside the field, and stores", (t) => {
  keepSettings(t);
  const form = { action: "apply", ntp_server: "pool.example", ntp_minutes: "60" };
  assert.deepEqual(example("form", { query: { action: "load" }, cookie }).json.data, { ntp_minutes: "", ntp_server: "" });
  assert.deepEqual(example("form", { form: { ...form, ntp_minutes: "1441" }, cookie }).json, {
    errors: { ntp_minutes: "The field is not valid." },
    success: false,
  });
  assert.deepEqual(example("form", { form, cookie }).json, { data: { ntp_minutes: "60", ntp_server: "pool.example" }, success: true });
  assert.equal(settings().ntp_server, "pool.example");
});

test("words looks up texts and settings", () => {
  assert.deepEqual(example("words", { cookie: "lang=de" }).json, {
    factory: "UTC",
    logout: "Abmelden",
    timezone: "UTC",
    title: "Anmelden",
  });
});

test("page greets by name, and markup in the name is text", () => {
  const page = (name) => `<!DOCTYPE html>\n<title>Greeting</title>\n<p>Hello ${name}!</p>\n`;
  const reply = example("page");
  assert.equal(reply.headers.get("content-type"), 'text/html; charset="UTF-8"');
  assert.equal(reply.text, page("nobody"));
  assert.equal(example("page", { query: { name: "<b>{title}&" } }).text, page("&lt;b&gt;{title}&amp;"));
});

test("chart describes a line with a gap", () => {
  assert.deepEqual(example("chart", { cookie }).json, {
    title: { text: "Temperature", style: "{font-size: 18px; text-align: left;}" },
    y_legend: { text: "°C", style: "{font-size: 12px;}" },
    elements: [{ type: "line", colour: "#8c172f", text: "Disk 1", width: 3, values: [31, 34, null, 38] }],
    x_axis: { offset: false, labels: { labels: ["Mon", "Tue", "Wed", "Thu"] } },
    y_axis: { min: 20, max: 50, offset: false, steps: 10 },
  });
});

test("record counts from request to request", () => {
  assert.deepEqual([1, 2, 3].map(() => example("record", { cookie }).json.count), [1, 2, 3]);
});

test("send sends the file, or the ranges of it that are asked for", () => {
  const whole = example("send", { cookie });
  assert.equal(whole.text, readFileSync("/volume1/public/welcome.txt", "utf8"));
  assert.equal(whole.headers.get("content-type"), "text/plain");
  assert.equal(whole.headers.get("content-disposition"), 'attachment; filename="welcome.txt"');
  const range = example("send", { cookie, env: { HTTP_RANGE: "bytes=-5" } });
  assert.deepEqual([range.status, range.text], [206, whole.text.slice(-5)]);
  assertSessionRefused(example("send"), "timeout", "login", "error_timeout");
});

test("receive keeps the file", () => {
  const body = '--b\r\nContent-Disposition: form-data; name="file"; filename="a.txt"\r\n\r\nfive!\r\n--b--\r\n';
  const reply = example("receive", { body, type: "multipart/form-data; boundary=b", cookie });
  assert.deepEqual(reply.json, { name: "a.txt", size: "5", success: true });
  assert.equal(readFileSync("/volume1/public/received", "utf8"), "five!");
  assert.equal(statSync("/volume1/public/received").mode & 0o777, 0o600);
  assert.equal(example("receive", { form: {}, cookie }).json.success, false);
});

test("folders lists the folders of a share for those who may read it, and follows no path out of it", () => {
  const made = spawnSync("/usr/kest/bin/kestshare", ["add", "photo", "/volume1/photo", "ro", "anna", "na", "admin"]);
  assert.equal(made.status, 0, made.stderr.toString());
  for (const folder of ["2024/spring", "2024/Autumn", "@eaDir"]) mkdirSync(`/volume1/photo/${folder}`, { recursive: true });
  symlinkSync("/volume1", "/volume1/photo/link");
  const folders = (path, session = login("anna")) => example("folders", { query: { path }, cookie: session }).json;
  const refused = { folders: [], success: false };
  assert.deepEqual(folders("/photo"), { folders: ["2024"], success: true });
  assert.deepEqual(folders("/photo/2024"), { folders: ["Autumn", "spring"], success: true });
  for (const path of ["/photo/../", "/photo/2024/..", "/photo/link", "/photo/missing", "/secret", "", "/"]) {
    assert.deepEqual(folders(path), refused, path);
  }
  assert.deepEqual(folders(`${"/".repeat(4090)}photo`), refused);
  assert.deepEqual(folders("/photo", cookie), refused);
  assertSessionRefused(example("folders"), "timeout", "login", "error_timeout");
});
