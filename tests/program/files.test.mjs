// files.cgi and folders.cgi: the shares that an account may open, what lies in a folder of one, and the tree.
import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { chmodSync, mkdirSync, rmdirSync, symlinkSync, utimesSync, writeFileSync } from "node:fs";
import { before, test } from "node:test";
import {
  assertRefused, assertSessionRefused, hasOneId, keepOneId, keepSettings, kWithOneId, login, makeAccount, makeAccounts, makeShare, put, run, start, writeSetting,
} from "./program.mjs";

const kWork = "/work";
let cookie;

// Where a path of a share is on the volume.
const onDisk = (path) => `/volume1${path}`;

const list = (path, query = {}) => run("files", { query: { ...(path !== undefined && { path }), ...query }, cookie });
const tree = (path, query = {}) => run("folders", { query: { path, ...query }, cookie });
const namesOf = (reply) => reply.json.data.items.map(({ name }) => name);

before(() => {
  makeAccounts();
  makeShare("work", { rw: "anna" });
  makeShare("papers", { rw: "", ro: "@users" });
  makeShare("fixed", { rw: "@users", restrictions: 2 });
  makeShare("unlisted", { restrictions: 1 });
  makeShare("closed", { rw: "@users", na: "anna" });
  makeShare("office", { rw: "admin" });
  cookie = login("anna");
});

test("Without a path there are the shares that are open to the account, and its own folder", () => {
  const { data } = list().json;
  assert.deepEqual(
    data.items.filter(({ name }) => name !== "public").map(({ kind, link, name, change }) => [kind, link, name, change]),
    [
      ["share", "%2Ffixed", "fixed", false],
      ["share", "%2Fhome", "home", true],
      ["share", "%2Fpapers", "papers", false],
      ["share", "%2Funlisted", "unlisted", true],
      ["share", "%2Fwork", "work", true],
    ],
  );
  assert.equal(data.total, data.items.length);
});

test("The home folder of a new account is there from the first look on, and is nobody else's", () => {
  makeAccount("new");
  const own = login("new");
  assert.ok(namesOf(run("files", { cookie: own })).includes("home"));
  put("/home", "a.txt", "a", own);
  assert.deepEqual(namesOf(run("files", { query: { path: "/home" }, cookie: own })), ["a.txt"]);
  assert.deepEqual(namesOf(list("/home")), []);
});

test("Where accounts have no homes there is none", (t) => {
  keepSettings(t);
  writeSetting("userHomeEnable", "no");
  assert.ok(!namesOf(list()).includes("home"));
  assertRefused(list("/home"), "files", "error_not_yours", 403);
});

test("A folder is told with kind, size and time of each file, folders first", () => {
  const shared = `${kWork}/kinds`;
  const folder = onDisk(shared);
  mkdirSync(`${folder}/zoo`, { recursive: true });
  mkdirSync(`${folder}/Attic`);
  for (const name of ["film.WEBM", "song.mp3", "Photo.jpg", "page.html", "README", ".hidden"]) writeFileSync(`${folder}/${name}`, "12345");
  symlinkSync("/etc/passwd", `${folder}/link.jpg`);
  symlinkSync("zoo", `${folder}/linked folder`);
  assert.equal(spawnSync("mkfifo", [`${folder}/pipe`]).status, 0);
  utimesSync(`${folder}/README`, 1_000_000_000, 1_000_000_000);
  const { items, total } = list(shared).json.data;
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
  assert.deepEqual(readme, { kind: "file", link: encodeURIComponent(`${shared}/README`), name: "README", size: 5, time: 1_000_000_000 });
});

test("Names of every kind are told as text, and their links lead to them", () => {
  const shared = `${kWork}/odd`;
  const folder = onDisk(shared);
  mkdirSync(folder);
  const odd = ["a b", "%41", "line\nbreak", "quote\"'", "\u00fc\u{1f600}", "back\\slash", "<script>", "n".repeat(255), "\x01\x7f"].map((name) => Buffer.from(name));
  odd.push(Buffer.from("latin \xe4 1", "latin1"), Buffer.from([0xff]), Buffer.from([0xe5, 0xae]), Buffer.from([0xc3, 0xbc, 0xff, 0xe5, 0xae, 0x89]), Buffer.from([0xed, 0xa0, 0x80]));
  for (const name of odd) writeFileSync(Buffer.concat([Buffer.from(`${folder}/`), name]), name.toString("hex"));
  const { items } = list(shared).json.data;
  assert.equal(items.length, odd.length);
  const texts = odd.map((name) => name.toString("hex"));
  for (const { link } of items) {
    const sent = run("download", { query: `path=${link}`, cookie });
    assert.ok(texts.includes(sent.text), link);
    texts.splice(texts.indexOf(sent.text), 1);
  }
  const shown = namesOf(list(shared));
  for (const name of ["a b", "%41", "line\nbreak", "\u00fc\u{1f600}", "\x01\x7f", "latin \ufffd 1", "\ufffd", "\ufffd\ufffd", "\ufffd\ufffd\ufffd", "\u00fc\ufffd\u5b89"]) {
    assert.ok(shown.includes(name), JSON.stringify([name, shown]));
  }
});

test("A large folder comes in pages, together each name once", () => {
  const shared = `${kWork}/many`;
  const folder = onDisk(shared);
  mkdirSync(folder);
  const wanted = Array.from({ length: 1203 }, (_, i) => `file ${String(i).padStart(4, "0")}`);
  for (const name of [...wanted].reverse()) writeFileSync(`${folder}/${name}`, "");
  assert.equal(namesOf(list(shared)).length, 100, "unless asked otherwise a hundred");
  assert.equal(namesOf(list(shared, { count: "100000" })).length, 500, "and five hundred at most");
  const found = [];
  for (let start = 0; start < 1203; start += 300) {
    const { items, total } = list(shared, { start, count: 300 }).json.data;
    assert.equal(total, 1203);
    found.push(...items.map(({ name }) => name));
  }
  assert.deepEqual(found, wanted);
  for (const start of ["1203", "999999999"]) assert.deepEqual(list(shared, { start }).json.data.items, []);
  assert.deepEqual(list(shared, { count: "0" }).json.data.items, []);
});

for (const [name, value] of [["start", "-1"], ["start", "x"], ["start", "1".repeat(32)], ["count", ""], ["count", "1e3"], ["count", " 1"]]) {
  test(`${name}=${value.slice(0, 10)} is refused`, () => assertRefused(list(kWork, { [name]: value }), "error", "error_bad_request", 400));
}

test("What the account may not open is not listed either", () => {
  symlinkSync(onDisk("/office"), onDisk(`${kWork}/elsewhere`));
  const refused = ["/office", "/closed", "/closed/x", "/homes", "/homes/anna", "/nowhere", "/volume1", "/", "/etc", `${kWork}/../office`, `${kWork}/`, `${kWork}/elsewhere`, "relative", "//work", "/WORK"];
  for (const path of refused) {
    assertRefused(list(path), "files", "error_not_yours", 403);
    assertRefused(tree(path), "files", "error_not_yours", 403);
  }
  writeFileSync(onDisk(`${kWork}/readme.txt`), "");
  for (const [path, key, status] of [
    [`${kWork}/nothing`, "error_missing", 404],
    [`${kWork}/readme.txt`, "error_no_folder", 403],
    [`${kWork}/readme.txt/x`, "error_missing", 404],
    [`${kWork}/${"n".repeat(256)}`, "error_missing", 404],
    [`/${"n/".repeat(2048)}x`, "error_missing", 404],
  ]) {
    assertRefused(list(path), "files", key, status);
    assertRefused(tree(path), "files", key, status);
  }
});

test("A folder that may not be read is refused", () => {
  mkdirSync(onDisk(`${kWork}/locked`), 0);
  assertRefused(list(`${kWork}/locked`), "files", "error_not_yours", 403);
  assertRefused(tree(`${kWork}/locked`), "files", "error_not_yours", 403);
  chmodSync(onDisk(`${kWork}/locked`), 0o700);
  rmdirSync(onDisk(`${kWork}/locked`));
});

test("A share without lists is not listed, but for admin", () => {
  assertRefused(list("/unlisted"), "files", "error_no_listing", 403);
  assertRefused(tree("/unlisted"), "files", "error_no_listing", 403);
  assert.equal(run("files", { query: { path: "/unlisted" }, cookie: login("admin") }).json.success, true);
});

test("A folder says what may be done in it", () => {
  const may = (path) => [list(path).json.data.change, list(path).json.data.fetch];
  makeShare("looked", { restrictions: 4 });
  assert.deepEqual(may(kWork), [true, true]);
  assert.deepEqual(may("/papers"), [false, true]);
  assert.deepEqual(may("/fixed"), [false, true]);
  assert.deepEqual(may("/looked"), [true, false]);
  assert.deepEqual(may("/home"), [true, true]);
  mkdirSync(onDisk(`${kWork}/kept`), 0o555);
  chmodSync(onDisk(`${kWork}/kept`), 0o555);
  assert.deepEqual(may(`${kWork}/kept`), [false, true], "where the kernel forbids it, too");
});

test("The tree has the folders of a folder, by name as people read it, and pages of them", () => {
  const folder = `${kWork}/tree`;
  mkdirSync(onDisk(folder));
  for (const name of ["gamma", "Beta", "alpha", "@eaDir", ".dot", "\u00fc 100%"]) mkdirSync(onDisk(`${folder}/${name}`));
  mkdirSync(Buffer.concat([Buffer.from(onDisk(`${folder}/z`)), Buffer.from([0xff])]));
  writeFileSync(onDisk(`${folder}/file`), "");
  symlinkSync("alpha", onDisk(`${folder}/link`));
  const { items, total } = tree(folder).json.data;
  assert.equal(total, 6);
  assert.deepEqual(items.map(({ name }) => name), [".dot", "alpha", "Beta", "gamma", "z\ufffd", "\u00fc 100%"]);
  assert.equal(items[3].link, encodeURIComponent(`${folder}/gamma`));
  assert.equal(list(items[4].link.replaceAll("%2F", "/"), {}).status, 404, "its bytes are in the link alone");
  assert.equal(run("folders", { query: `path=${items[4].link}`, cookie }).json.data.total, 0);
  assert.deepEqual(namesOf(tree(folder, { start: 2, count: 2 })), ["Beta", "gamma"]);
  assertRefused(tree(folder, { count: "x" }), "error", "error_bad_request", 400);
});

test("Folders a thousand levels deep are listed, made and filled, up to the longest path", () => {
  const deep = `${kWork}${"/d".repeat(1000)}`;
  mkdirSync(onDisk(deep), { recursive: true });
  assert.equal(list(deep).json.data.total, 0);
  assert.deepEqual(namesOf(tree(deep.slice(0, -2))), ["d"]);
  put(deep, "at the bottom", "x", cookie);
  assert.deepEqual(namesOf(list(deep)), ["at the bottom"]);
  assertRefused(list(`${kWork}${"/d".repeat(2100)}`), "files", "error_missing", 404);
});

test("Below a folder that may not be read nothing is found, and beside it everything", () => {
  mkdirSync(onDisk(`${kWork}/middle/shut/inside`), { recursive: true });
  chmodSync(onDisk(`${kWork}/middle/shut`), 0);
  try {
    assertRefused(list(`${kWork}/middle/shut/inside`), "files", "error_not_yours", 403);
    assert.deepEqual(namesOf(list(`${kWork}/middle`)), ["shut"]);
    assert.deepEqual(namesOf(tree(`${kWork}/middle`)), ["shut"]);
  } finally {
    chmodSync(onDisk(`${kWork}/middle/shut`), 0o700);
  }
});

test("Where accounts have no ids of their own that is said, and the lists of the shares still count", async (t) => {
  keepSettings(t);
  assert.equal(list(kWork).json.data.guarded, !hasOneId());
  keepOneId();
  const alone = async (path) => (await start("files", { query: { path }, cookie, through: kWithOneId }).reply).json;
  const { data } = await alone(kWork);
  assert.deepEqual([data.guarded, data.change], [false, true]);
  assert.equal((await alone("/office")).errno.key, "error_not_yours");
  // Outside of such a machine the setting alone opens nothing.
  if (!hasOneId()) assert.notEqual(list(kWork).json.data?.guarded, false);
});

test("Only somebody who is logged in sees anything", () => {
  for (const program of ["files", "folders"]) {
    for (const path of ["", kWork]) assertSessionRefused(run(program, { query: { path } }), "timeout", "login", "error_timeout");
  }
});
