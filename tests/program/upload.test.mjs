// upload.cgi and new_folder.cgi: what arrives in a folder of a share, whole and under its account's name, or not at all.
import assert from "node:assert/strict";
import { chmodSync, mkdirSync, readdirSync, readFileSync, rmdirSync, statSync, symlinkSync, writeFileSync } from "node:fs";
import { afterEach, before, test } from "node:test";
import {
  assertRefused, assertSessionRefused, comesTrue, hasOneId, keepOneId, keepSettings, kBodyType, kWithOneId, login, makeAccount, makeAccounts, makeShare, part, run, start, wholeBody, writeSetting,
} from "./program.mjs";

const kStaging = "/volume1/@tmp";
const kInbox = "/inbox";
let cookie;

// Where a path of a share is on the volume.
const onDisk = (path) => `/volume1${path}`;
const inbox = () => readdirSync(onDisk(kInbox)).sort();

before(() => {
  makeAccounts();
  makeAccount("bernd");
  makeShare("inbox");
  makeShare("papers", { ro: "anna", rw: "bernd" });
  makeShare("fixed", { restrictions: 2 });
  makeShare("office", { rw: "bernd" });
  cookie = login("anna");
});
afterEach(() => assert.deepEqual(readdirSync(kStaging), [], "nothing is left in the staging directory"));

const send = (body, request = {}) => run("upload", { query: { path: kInbox }, body, type: kBodyType, cookie, ...request });
const file = (name, content) => part(`name="file"; filename="${name}"`, content);
const sendTo = (path, name = "a.txt", request = {}) => send(wholeBody(file(name, "content")), { query: { path }, ...request });
const make = (path, name, request = {}) => run("new_folder", { form: { path, name }, cookie, ...request });
const assertNotDone = (reply, key, status) => assertRefused(reply, "files", key, status);

test("A file is told with its name and its size, and lies in the folder", () => {
  const content = "\r\n--\u00e4\0".repeat(1000);
  assert.deepEqual(send(wholeBody(file("a.bin", content))).json, { data: { name: "a.bin", size: 7000 }, success: true });
  assert.equal(readFileSync(onDisk(`${kInbox}/a.bin`), "utf8"), content);
});

test("It belongs to the account, and others of the share read it", () => {
  assert.equal(sendTo(kInbox, "owned.txt").json.success, true);
  const { uid, mode } = statSync(onDisk(`${kInbox}/owned.txt`));
  assert.equal(uid >= 1024, !hasOneId(), `uid ${uid}`);
  assert.equal(mode & 0o111, 0);
  const read = run("download", { query: { path: `${kInbox}/owned.txt` }, cookie: login("bernd") });
  assert.equal(read.text, "content");
});

test("In a home folder it is the account's alone", () => {
  assert.equal(sendTo("/home").json.success, true);
  assert.equal(run("download", { query: { path: "/home/a.txt" }, cookie }).text, "content");
  assertNotDone(run("download", { query: { path: "/home/a.txt" }, cookie: login("bernd") }), "error_missing", 404);
});

test("An empty file is a file", () => {
  assert.deepEqual(send(wholeBody(file("empty", ""))).json.data, { name: "empty", size: 0 });
  assert.equal(statSync(onDisk(`${kInbox}/empty`)).size, 0);
});

test("A name is taken without its folders, whatever it holds", () => {
  for (const [i, name] of ["../../../etc/passwd", "C:/x/shadow", "/etc/group"].entries()) {
    const last = ["passwd", "shadow", "group"][i];
    assert.equal(send(wholeBody(file(name, "x"))).json.data.name, last);
    assert.equal(readFileSync(onDisk(`${kInbox}/${last}`), "utf8"), "x");
  }
  for (const name of ["<b>\u00fc & 100%.txt", "n".repeat(255), "-rf", "@eaDir"]) {
    assert.equal(sendTo(kInbox, name).json.data.name, name);
    assert.ok(inbox().includes(name));
  }
});

test("A name that is taken stays what it is: a file, a folder, a link to nowhere", () => {
  writeFileSync(onDisk(`${kInbox}/taken`), "old");
  mkdirSync(onDisk(`${kInbox}/taken folder`));
  symlinkSync("/tmp/nowhere", onDisk(`${kInbox}/taken link`));
  for (const name of ["taken", "taken folder", "taken link"]) {
    assertNotDone(sendTo(kInbox, name), "error_taken", 409);
    assertNotDone(make(kInbox, name), "error_taken", 409);
  }
  assert.equal(readFileSync(onDisk(`${kInbox}/taken`), "utf8"), "old");
});

test("What can be refused is refused before the content is read", () => {
  writeFileSync(onDisk(`${kInbox}/known`), "old");
  assertNotDone(send("", { query: { path: kInbox, name: "known" }, env: { CONTENT_LENGTH: "1000000" } }), "error_taken", 409);
  assertNotDone(send("", { query: { path: "/papers" }, env: { CONTENT_LENGTH: "1000000" } }), "error_only_reading", 403);
});

for (const [path, key, status] of [
  ["/papers", "error_only_reading", 403],
  ["/fixed", "error_no_changes", 403],
  ["/office", "error_not_yours", 403],
  ["/nowhere", "error_not_yours", 403],
  ["/homes", "error_not_yours", 403],
  ["/", "error_not_yours", 403],
  ["", "error_not_yours", 403],
  ["/etc", "error_not_yours", 403],
  ["/@tmp", "error_not_yours", 403],
  ["/inbox/../office", "error_not_yours", 403],
  ["//inbox", "error_not_yours", 403],
  ["/inbox/", "error_not_yours", 403],
  ["/inbox/link out", "error_not_yours", 403],
  ["/inbox/link in", "error_not_yours", 403],
  ["/inbox/no folder", "error_no_folder", 403],
  ["/inbox/nothing", "error_missing", 404],
  [`/inbox/${"n".repeat(256)}`, "error_missing", 404],
  [`/inbox/${"n/".repeat(2048)}x`, "error_missing", 404],
]) {
  test(`Nothing arrives in "${path.slice(0, 40)}"`, () => {
    if (path.includes("link out") || path.includes("link in") || path.includes("no folder")) {
      for (const [name, make_it] of [["link out", (at) => symlinkSync(onDisk("/office"), at)], ["link in", (at) => symlinkSync(".", at)], ["no folder", (at) => writeFileSync(at, "")]]) {
        if (!inbox().includes(name)) make_it(onDisk(`${kInbox}/${name}`));
      }
    }
    assertNotDone(sendTo(path), key, status);
    assertNotDone(make(path, "new"), key, status);
    assert.deepEqual(readdirSync(onDisk("/office")), []);
  });
}

test("Where the kernel forbids it nothing arrives either", () => {
  mkdirSync(onDisk(`${kInbox}/kept`));
  chmodSync(onDisk(`${kInbox}/kept`), 0o555);
  assertNotDone(sendTo(`${kInbox}/kept`), "error_only_reading", 403);
  assertNotDone(make(`${kInbox}/kept`, "new"), "error_only_reading", 403);
});

test("admin may change what is fixed for others", () => {
  assert.equal(sendTo("/fixed", "by admin", { cookie: login("admin") }).json.success, true);
});

test("A folder is made, and things arrive in it", () => {
  assert.deepEqual(make(kInbox, "Gr\u00fc\u00dfe 100%").json, { data: { link: encodeURIComponent(`${kInbox}/Gr\u00fc\u00dfe 100%`) }, success: true });
  assert.equal(sendTo(`${kInbox}/Gr\u00fc\u00dfe 100%`).json.success, true);
  assert.equal(sendTo(`${kInbox}/Gr\u00fc\u00dfe 100%`, "b", { cookie: login("bernd") }).json.success, true, "others of the share change it, too");
});

for (const name of ["", " ", ".", "..", "a/b", "../up", "line\nbreak", "n".repeat(256)]) {
  test(`A folder is not called ${JSON.stringify(name).slice(0, 20)}`, () => assertNotDone(make(kInbox, name), "error_no_name", 400));
}

test("No file chosen, and no such field, are two refusals", () => {
  assertRefused(send(wholeBody(file("", ""))), "upload", "error_no_file_chosen");
  assertRefused(send(wholeBody(part('name="other"; filename="a"', "x"))), "upload", "error_no_file_field");
});

test("What is no upload is refused", () => {
  assertRefused(run("upload", { form: { file: "a" }, cookie }), "upload", "error_no_upload");
  assertRefused(run("upload", { cookie }), "upload", "error_no_upload");
  assertRefused(make(kInbox, "by link", { method: "GET", query: { path: kInbox, name: "by link" }, form: undefined }), "error", "error_not_posted", 405);
});

test("A page of another origin may neither fill the disk nor make folders", () => {
  const env = { HTTP_HOST: "kest", HTTP_ORIGIN: "http://kest:9090" };
  assertRefused(sendTo(kInbox, "foreign", { env }), "error", "error_not_posted", 403);
  assertRefused(make(kInbox, "foreign", { env }), "error", "error_not_posted", 403);
  assert.ok(!inbox().includes("foreign"));
});

test("A body without its end leaves nothing, and so does one above the limit, with status and reason", (t) => {
  keepSettings(t);
  const before = inbox();
  const cut = send(file("cut", "x".repeat(100)).subarray(0, -40));
  assertRefused(cut, "upload", "error_not_received", 400);
  assert.equal(cut.headers.get("x-request-refused"), "upload_malformed");
  writeSetting("cgi_upload_max", "1000");
  const large = send(wholeBody(file("large", "x".repeat(1000))));
  assertRefused(large, "upload", "error_not_received", 413);
  assert.equal(large.headers.get("x-request-refused"), "body_too_large");
  assert.deepEqual(inbox(), before);
});

test("A program that is killed while the content comes leaves nothing", async (t) => {
  keepSettings(t);
  keepOneId();
  const before = inbox();
  const body = wholeBody(file("killed", "x".repeat(3_000_000)));
  const request = { query: { path: kInbox }, body: body.subarray(0, 2_500_000), type: kBodyType, cookie, env: { CONTENT_LENGTH: String(body.length) } };
  const { process, reply } = start("upload", { ...request, open: true, through: kWithOneId });
  // No pipe and no socket holds as much: the program has taken most of it.
  await comesTrue(() => process.stdin.writableLength === 0, "the program reads");
  process.kill("SIGKILL");
  assert.equal(await reply, null);
  assert.deepEqual(inbox(), before);
});

test("Without a staging directory nothing is received", () => {
  rmdirSync(kStaging);
  try {
    assert.equal(sendTo(kInbox, "unstaged").json.errno.key, "error_not_received");
  } finally {
    mkdirSync(kStaging);
    chmodSync(kStaging, 0o1733);
  }
  assert.ok(!inbox().includes("unstaged"));
});

test("Only somebody who is logged in may send, and a refused upload is answered for a frame", () => {
  const reply = sendTo(kInbox, "a", { cookie: undefined });
  assertSessionRefused(reply, "timeout", "login", "error_timeout");
  assert.equal(reply.headers.get("content-type"), 'text/html; charset="UTF-8"');
  assertSessionRefused(make(kInbox, "a", { cookie: undefined }), "timeout", "login", "error_timeout");
});
