// files.cgi: what lies in the folders that an account may fetch from.
import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { chmodSync, mkdirSync, rmdirSync, symlinkSync, utimesSync, writeFileSync } from "node:fs";
import { before, test } from "node:test";
import { account, assertRefused, assertSessionRefused, login, makeAccounts, run } from "./program.mjs";

const kHome = "/volume1/homes/anna";
let cookie;

const list = (path, query = {}) => run("files", { query: { ...(path !== undefined && { path }), ...query }, cookie });
const namesOf = (reply) => reply.json.data.items.map(({ name }) => name);

before(() => {
  makeAccounts();
  cookie = login("anna");
});

test("Without a path there are everybody's folder and the account's own", () => {
  const { data } = list().json;
  assert.equal(data.total, 2);
  assert.deepEqual(
    data.items.map(({ kind, link, name }) => [kind, link, name]),
    [
      ["folder", "%2Fvolume1%2Fpublic", "public"],
      ["folder", "%2Fvolume1%2Fhomes%2Fanna", "anna"],
    ],
  );
});

test("An account whose folder has not been made yet has everybody's alone", () => {
  account("add", "new", "a password of its own");
  const reply = run("login", { form: { user: "new", passwd: "a password of its own" } });
  const [own] = /id=[0-9a-f]{32}/.exec(reply.headers.get("set-cookie"));
  assert.deepEqual(namesOf(run("files", { cookie: own })), ["public"]);
});

test("A folder is told with kind, size and time of each file, folders first", () => {
  const folder = `${kHome}/kinds`;
  mkdirSync(`${folder}/zoo`, { recursive: true });
  mkdirSync(`${folder}/Attic`);
  for (const name of ["film.WEBM", "song.mp3", "Photo.jpg", "page.html", "README", ".hidden"]) writeFileSync(`${folder}/${name}`, "12345");
  symlinkSync("/etc/passwd", `${folder}/link.jpg`);
  symlinkSync("zoo", `${folder}/linked folder`);
  assert.equal(spawnSync("mkfifo", [`${folder}/pipe`]).status, 0);
  utimesSync(`${folder}/README`, 1_000_000_000, 1_000_000_000);
  const { items, total } = list(folder).json.data;
  assert.equal(total, items.length);
  assert.deepEqual(
    items.map(({ name, kind }) => [name, kind]),
    [
      ["Attic", "folder"],
      ["zoo", "folder"],
      [".hidden", "file"],
      ["film.WEBM", "video"],
      ["link.jpg", "other"],
      ["linked folder", "other"],
      ["page.html", "file"],
      ["Photo.jpg", "image"],
      ["pipe", "other"],
      ["README", "file"],
      ["song.mp3", "audio"],
    ],
  );
  const readme = items.find(({ name }) => name === "README");
  assert.deepEqual(readme, { kind: "file", link: encodeURIComponent(`${folder}/README`), name: "README", size: 5, time: 1_000_000_000 });
});

test("Names of every kind are told as text, and their links lead to them", () => {
  const folder = `${kHome}/odd`;
  mkdirSync(folder);
  const odd = ["a b", "%41", "line\nbreak", "quote\"'", "\u00fc\u{1f600}", "back\\slash", "<script>", "n".repeat(255), "\x01\x7f"].map((name) => Buffer.from(name));
  odd.push(Buffer.from("latin \xe4 1", "latin1"), Buffer.from([0xff]), Buffer.from([0xe5, 0xae]), Buffer.from([0xc3, 0xbc, 0xff, 0xe5, 0xae, 0x89]), Buffer.from([0xed, 0xa0, 0x80]));
  for (const name of odd) writeFileSync(Buffer.concat([Buffer.from(`${folder}/`), name]), name.toString("hex"));
  const { items } = list(folder).json.data;
  assert.equal(items.length, odd.length);
  const texts = odd.map((name) => name.toString("hex"));
  for (const { link } of items) {
    const sent = run("download", { query: `path=${link}`, cookie });
    assert.ok(texts.includes(sent.text), link);
    texts.splice(texts.indexOf(sent.text), 1);
  }
  const shown = namesOf(list(folder));
  for (const name of ["a b", "%41", "line\nbreak", "\u00fc\u{1f600}", "\x01\x7f", "latin \ufffd 1", "\ufffd", "\ufffd\ufffd", "\ufffd\ufffd\ufffd", "\u00fc\ufffd\u5b89"]) {
    assert.ok(shown.includes(name), JSON.stringify([name, shown]));
  }
});

test("A large folder comes in pages, together each name once", () => {
  const folder = `${kHome}/many`;
  mkdirSync(folder);
  const wanted = Array.from({ length: 1203 }, (_, i) => `file ${String(i).padStart(4, "0")}`);
  for (const name of [...wanted].reverse()) writeFileSync(`${folder}/${name}`, "");
  assert.equal(namesOf(list(folder)).length, 100, "unless asked otherwise a hundred");
  assert.equal(namesOf(list(folder, { count: "100000" })).length, 500, "and five hundred at most");
  const found = [];
  for (let start = 0; start < 1203; start += 300) {
    const { items, total } = list(folder, { start, count: 300 }).json.data;
    assert.equal(total, 1203);
    found.push(...items.map(({ name }) => name));
  }
  assert.deepEqual(found, wanted);
  for (const start of ["1203", "999999999"]) assert.deepEqual(list(folder, { start }).json.data.items, []);
  assert.deepEqual(list(folder, { count: "0" }).json.data.items, []);
});

for (const [name, value] of [["start", "-1"], ["start", "x"], ["start", "1".repeat(32)], ["count", ""], ["count", "1e3"], ["count", " 1"]]) {
  test(`${name}=${value.slice(0, 10)} is refused`, () => assertRefused(list(kHome, { [name]: value }), "error", "error_bad_request", 400));
}

test("What the account may not fetch is not listed either", () => {
  symlinkSync("/volume1/homes/bernd", `${kHome}/elsewhere`);
  for (const path of ["/volume1/homes/bernd", "/volume1/homes", "/volume1", "/", "/etc", `${kHome}/../bernd`, `${kHome}/`, `${kHome}/elsewhere`, "relative"]) {
    assertRefused(list(path), "files", "error_not_yours", 403);
  }
  assertRefused(list(`${kHome}/nothing`), "files", "error_missing", 404);
  assertRefused(list(`${kHome}/readme.txt`), "files", "error_no_folder", 403);
  assertRefused(list(`${kHome}/readme.txt/x`), "files", "error_missing", 404);
  assertRefused(list(`${kHome}/${"n".repeat(256)}`), "files", "error_missing", 404);
});

test("A folder that may not be read is refused", () => {
  mkdirSync(`${kHome}/locked`, 0);
  assertRefused(list(`${kHome}/locked`), "files", "error_not_yours", 403);
  chmodSync(`${kHome}/locked`, 0o700);
  rmdirSync(`${kHome}/locked`);
});

test("Only somebody who is logged in sees anything", () => {
  for (const path of ["", kHome]) {
    assertSessionRefused(run("files", { query: { path } }), "timeout", "login", "error_timeout");
  }
});
