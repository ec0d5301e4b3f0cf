// download.cgi: files whole and by ranges, folders as archives, and what is not for everybody.
import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { randomBytes } from "node:crypto";
import { chmodSync, mkdirSync, mkdtempSync, readFileSync, symlinkSync, writeFileSync } from "node:fs";
import { createServer } from "node:net";
import { before, test } from "node:test";
import { parseByteranges } from "./byteranges.mjs";
import { account, assertRefused, assertSessionRefused, login, makeAccounts, run } from "./program.mjs";

const kPublic = "/volume1/public";
const kFile = `${kPublic}/a.bin`;
const content = randomBytes(100_000);
let cookie;

const fetchFile = (path, request = {}) => run("download", { query: { path }, cookie, ...request });
const ranged = (path, ranges, request = {}) => fetchFile(path, { ...request, env: { HTTP_RANGE: `bytes=${ranges}`, ...request.env } });
const archive = (path, request = {}) => run("download", { query: { path, archive: "tar" }, cookie, ...request });
const assertNotSent = (reply, status, key) => assertRefused(reply, "files", key, status);

before(() => {
  makeAccounts();
  cookie = login("anna");
  writeFileSync(kFile, content);
});

function assertOneBlock({ head }) {
  assert.doesNotMatch(head.replaceAll("\r\n", ""), /[\r\n]/, "each line ends in CR LF");
  const names = head.split("\r\n").map((line) => line.split(":")[0].toLowerCase());
  assert.equal(new Set(names).size, names.length, `a header stands twice: ${names}`);
}

test("A file is sent whole, in one header block", () => {
  const reply = fetchFile(kFile);
  assertOneBlock(reply);
  assert.equal(reply.status, 200);
  assert.deepEqual(reply.bytes, content);
  assert.equal(reply.headers.get("content-length"), "100000");
  assert.equal(reply.headers.get("content-type"), "application/octet-stream");
  assert.equal(reply.headers.get("accept-ranges"), "bytes");
  assert.equal(reply.headers.get("x-content-type-options"), "nosniff");
  assert.equal(reply.headers.get("cache-control"), "private, no-cache");
});

test("HEAD sends the headers alone, and of the whole file", () => {
  const { head, headers } = fetchFile(kFile);
  const reply = ranged(kFile, "0-9", { method: "HEAD" });
  assert.equal(reply.bytes.length, 0);
  assert.equal(reply.status, 200);
  // A tag becomes a strong one in time.
  const settled = (block) => ({ ...Object.fromEntries(block), etag: block.get("etag").replace("W/", "") });
  assert.deepEqual(settled(reply.headers), settled(headers), head);
  assert.equal(fetchFile(`${kPublic}/nothing`, { method: "HEAD" }).status, 404);
  assert.equal(fetchFile(`${kPublic}/nothing`, { method: "HEAD" }).bytes.length, 0);
});

for (const [ranges, start, end] of [
  ["0-0", 0, 0],
  ["10-19", 10, 19],
  ["99990-", 99_990, 99_999],
  ["99990-200000", 99_990, 99_999],
  ["-10", 99_990, 99_999],
  ["8191-8192", 8191, 8192],
]) {
  test(`The one range ${ranges} is sent as such`, () => {
    const reply = ranged(kFile, ranges);
    assertOneBlock(reply);
    assert.equal(reply.status, 206);
    assert.equal(reply.headers.get("content-range"), `bytes ${start}-${end}/100000`);
    assert.equal(reply.headers.get("content-length"), String(end - start + 1));
    assert.deepEqual(reply.bytes, content.subarray(start, end + 1));
  });
}

test("Several ranges come as parts, in the order in which they were asked for", () => {
  const reply = ranged(kFile, "20-29, 0-9, -1, 5-24");
  assertOneBlock(reply);
  assert.equal(reply.status, 206);
  assert.equal(reply.headers.get("content-length"), String(reply.bytes.length));
  const parts = parseByteranges(reply.headers.get("content-type"), reply.bytes);
  assert.deepEqual(
    parts.map(({ start, end }) => [start, end]),
    [[20, 29], [0, 9], [99_999, 99_999], [5, 24]],
  );
  for (const { headers, start, end, size, bytes } of parts) {
    assert.deepEqual(Object.keys(headers), ["content-type", "content-range"]);
    assert.equal(size, content.length);
    assert.deepEqual(bytes, content.subarray(start, end + 1));
  }
});

test("A range that cannot be served is told, with the whole file", () => {
  for (const ranges of ["100000-", "9-1", "x", "0-9,x", `-${"9".repeat(32)}`, `${"9".repeat(32)}-`, `0-${"9".repeat(32)}`]) {
    const reply = ranged(kFile, ranges);
    assert.equal(reply.status, 416, ranges);
    assert.equal(reply.headers.get("content-range"), "bytes 0-99999/100000");
    assert.deepEqual(reply.bytes, content);
  }
});

test("A suffix longer than the file breaks off behind its headers", () => {
  const reply = ranged(kFile, "-100001", { exit: 1 });
  assert.deepEqual([reply.status, reply.bytes.length], [206, 0]);
});

test("A thousand and more ranges in one header are all sent", () => {
  const wanted = Array.from({ length: 5000 }, (_, i) => `${i}-${i}`).join(",");
  const reply = ranged(kFile, wanted);
  assert.equal(reply.headers.get("content-length"), String(reply.bytes.length));
  const parts = parseByteranges(reply.headers.get("content-type"), reply.bytes);
  assert.equal(parts.length, 5000);
  assert.deepEqual(Buffer.concat(parts.map(({ bytes }) => bytes)), content.subarray(0, 5000));
});

test("An empty file has a length of 0, and no range", () => {
  writeFileSync(`${kPublic}/empty.txt`, "");
  const reply = fetchFile(`${kPublic}/empty.txt`);
  assert.deepEqual([reply.status, reply.headers.get("content-length"), reply.bytes.length], [200, "0", 0]);
  assert.equal(ranged(`${kPublic}/empty.txt`, "0-0").status, 416);
});

// A file's tag tells its states apart once the clock of the file system has gone on.
const letTheFileSettle = () => Atomics.wait(new Int32Array(new SharedArrayBuffer(4)), 0, 0, 2100);

test("A piece is only sent of the state of the file that the client has begun with", () => {
  const path = `${kPublic}/changing.txt`;
  writeFileSync(path, "before");
  const tagNow = () => fetchFile(path).headers.get("etag");
  const resume = (wanted) => ranged(path, "3-", { env: { HTTP_IF_RANGE: wanted } });
  const fresh = tagNow();
  assert.match(fresh, /^W\/"[0-9a-f-]+"$/);
  assert.equal(resume(fresh).status, 200, "it might be changed once more without being noticed");
  letTheFileSettle();
  const tag = tagNow();
  assert.match(tag, /^"[0-9a-f-]+"$/);
  assert.deepEqual([resume(tag).status, resume(tag).text], [206, "ore"]);
  writeFileSync(path, "behind");
  assert.deepEqual([resume(tag).status, resume(tag).text], [200, "behind"]);
  assert.equal(resume(fetchFile(path).headers.get("last-modified")).status, 200, "a date tells too little");
});

test("The type goes by the name, and what might hold scripts is kept apart", () => {
  const expected = {
    "film.webm": ["video/webm", "inline"],
    "song.mp3": ["audio/mpeg", "inline"],
    "photo.JPG": ["image/jpeg", "inline"],
    "drawing.svg": ["image/svg+xml", "attachment"],
    "page.html": ["text/html", "attachment"],
    "paper.pdf": ["application/pdf", "attachment"],
    "notes.txt": ["text/plain", "attachment"],
    README: ["application/octet-stream", "attachment"],
    "odd.": ["application/octet-stream", "attachment"],
  };
  for (const [name, [type, kind]] of Object.entries(expected)) {
    writeFileSync(`${kPublic}/${name}`, "<script>");
    const { headers } = fetchFile(`${kPublic}/${name}`);
    assert.equal(headers.get("content-type"), type);
    assert.equal(headers.get("content-disposition"), `${kind}; filename="${name}"; filename*=UTF-8''${name}`);
    assert.match(headers.get("content-security-policy"), kind === "inline" ? /^default-src 'none';/ : /^sandbox; default-src 'none';/);
  }
});

// What the name is told as: between the quotes, and percent-encoded.
const kOddNames = [
  ["with blanks.txt", "with blanks.txt", "with%20blanks.txt"],
  [' "quoted" \\ 100%41', " _quoted_ _ 100_41", "%20%22quoted%22%20%5C%20100%2541"],
  ["line\r\nSet-Cookie: id=1", "line__Set-Cookie: id=1", "line__Set-Cookie%3A%20id%3D1"],
  ["\r\n\r\n<script>", "____<script>", "____%3Cscript%3E"],
  ["tab\tdel\x7f", "tab_del_", "tab_del_"],
  ["--checkpoint-action=exec=sh", "--checkpoint-action=exec=sh", "--checkpoint-action%3Dexec%3Dsh"],
  ["Gr\u00fc\u00dfe \u5b89.txt", "Gr____e ___.txt", "Gr%C3%BC%C3%9Fe%20%E5%AE%89.txt"],
  [Buffer.from("no utf-8 \xfc\xff.txt", "latin1"), "no utf-8 __.txt", "no%20utf-8%20__.txt"],
  ["a;filename=b", "a;filename=b", "a%3Bfilename%3Db"],
  ["...", "...", "..."],
  ["Case", "Case", "Case"],
  ["case", "case", "case"],
  ["n".repeat(255), "n".repeat(255), "n".repeat(255)],
];

const encoded = (bytes) => Buffer.from(bytes).toString("hex").replace(/../g, "%$&");

for (const [name, quoted, escaped] of kOddNames) {
  test(`A file called ${JSON.stringify(String(name)).slice(0, 40)} is sent, and its name breaks no header`, () => {
    const bytes = Buffer.concat([Buffer.from(`${kPublic}/`), Buffer.from(name)]);
    writeFileSync(bytes, escaped);
    const reply = fetchFile("", { query: `path=${encoded(bytes)}` });
    assertOneBlock(reply);
    assert.equal(reply.text, escaped);
    assert.equal(reply.headers.get("content-disposition"), `attachment; filename="${quoted}"; filename*=UTF-8''${escaped}`);
    assert.equal(reply.headers.get("set-cookie"), null);
  });
}

test("An account fetches from everybody's folder and from its own", () => {
  for (const name of ["anna", "bernd"]) writeFileSync(`/volume1/homes/${name}/secret.txt`, name);
  assert.equal(fetchFile("/volume1/homes/anna/secret.txt").text, "anna");
  assertNotSent(fetchFile("/volume1/homes/bernd/secret.txt"), 403, "error_not_yours");
  assertNotSent(fetchFile("/volume1/homes/bernd/nothing.txt"), 403, "error_not_yours");
  assertNotSent(archive("/volume1/homes"), 403, "error_not_yours");
  assertNotSent(archive("/volume1/homes/bernd"), 403, "error_not_yours");
  assertNotSent(fetchFile("/volume1/homes/anna/secret.txt", { cookie: login("admin") }), 403, "error_not_yours");
});

for (const path of [
  "",
  "/",
  "a.bin",
  "/etc/passwd",
  "/usr/kest/etc/accounts.db",
  "/volume1",
  "/volume1/publicity",
  "/volume1/@tmp/x",
  "/volume1/public/../homes/bernd/secret.txt",
  "/volume1/public/./a.bin",
  "/volume1/public/..",
  "/volume1/homes/anna/../bernd/secret.txt",
  "//volume1/public/a.bin",
  "/volume1/public//a.bin",
  "/volume1/public/a.bin/",
  "/volume1/Public/a.bin",
  "/volume1/public%2fa.bin",
  "/volume1/public/%2e%2e/homes/bernd/secret.txt/..",
]) {
  test(`The path "${path}" is outside`, () => assertNotSent(fetchFile(path), 403, "error_not_yours"));
}

for (const [why, path] of [
  ["is not there", `${kPublic}/nothing`],
  ["has a name in another case", `${kPublic}/A.bin`],
  ["lies below a file", `${kFile}/x`],
  ["has a name of 256 bytes", `${kPublic}/${"n".repeat(256)}`],
  ["has a path of 4 KiB", `${kPublic}/${"n/".repeat(2048)}x`],
  ["has a name that was escaped once too often", `${kPublic}/%61.bin`],
]) {
  test(`What ${why} is missing`, () => assertNotSent(fetchFile(path), 404, "error_missing"));
}

test("Links lead nowhere, wherever they point", () => {
  mkdirSync(`${kPublic}/folder`);
  writeFileSync(`${kPublic}/folder/x`, "x");
  symlinkSync("/etc/passwd", `${kPublic}/outside`);
  symlinkSync("a.bin", `${kPublic}/inside`);
  symlinkSync("loop", `${kPublic}/loop`);
  symlinkSync("/volume1/homes/bernd", `${kPublic}/elsewhere`);
  symlinkSync("folder", `${kPublic}/sibling`);
  for (const path of ["outside", "inside", "loop", "elsewhere", "elsewhere/secret.txt", "sibling/x"]) {
    assertNotSent(fetchFile(`${kPublic}/${path}`), 403, "error_not_yours");
  }
  assertNotSent(archive(`${kPublic}/elsewhere`), 403, "error_not_yours");
});

test("What is no file is not sent, and holds nobody up", async () => {
  mkdirSync(`${kPublic}/empty folder`);
  assert.equal(spawnSync("mkfifo", [`${kPublic}/pipe`]).status, 0);
  const server = createServer().listen(`${kPublic}/socket`);
  await new Promise((resolve) => server.on("listening", resolve));
  try {
    for (const name of ["empty folder", "pipe", "socket"]) assertNotSent(fetchFile(`${kPublic}/${name}`), 403, "error_no_file");
  } finally {
    server.close();
  }
  assertNotSent(fetchFile(kPublic), 403, "error_no_file");
});

test("A file that may not be read is not sent", () => {
  writeFileSync(`${kPublic}/locked`, "x");
  chmodSync(`${kPublic}/locked`, 0);
  assertNotSent(fetchFile(`${kPublic}/locked`), 403, "error_not_yours");
});

test("A NUL byte in the path refuses the request", () => {
  const reply = fetchFile("", { query: `path=${encoded(kFile)}%00.txt` });
  assert.equal(reply.status, 400);
  assert.equal(reply.headers.get("x-request-refused"), "nul_byte");
  assert.equal(reply.json.success, false);
});

test("Only somebody who is logged in gets anything", () => {
  for (const path of [kFile, "/etc/passwd", `${kPublic}/nothing`]) {
    assertSessionRefused(fetchFile(path, { cookie: undefined }), "timeout", "login", "error_timeout");
    assertSessionRefused(archive(path, { cookie: undefined }), "timeout", "login", "error_timeout");
  }
});

test("Other methods are refused", () => {
  for (const method of ["POST", "PUT", "DELETE", "get"]) {
    const reply = fetchFile(kFile, { method });
    assertNotSent(reply, 405, "error_method");
    assert.equal(reply.headers.get("allow"), "GET, HEAD");
  }
});

test("A new account's name never becomes a path", () => {
  account("add", "homes", "a password of its own");
  const reply = run("login", { form: { user: "homes", passwd: "a password of its own" } });
  const [own] = /id=[0-9a-f]{32}/.exec(reply.headers.get("set-cookie"));
  assertNotSent(fetchFile("/volume1/homes/anna/secret.txt", { cookie: own }), 403, "error_not_yours");
});

// Unpacks an archive into a new folder, whose path is returned.
function unpack(bytes) {
  const folder = mkdtempSync("/tmp/unpacked-");
  const ended = spawnSync("tar", ["--extract", "--file=-", "--directory", folder], { input: bytes });
  assert.equal(ended.status, 0, String(ended.stderr));
  return folder;
}

function assertSameTree(a, b) {
  const ended = spawnSync("diff", ["--recursive", "--no-dereference", a, b]);
  assert.equal(ended.status, 0, String(ended.stdout) + String(ended.stderr));
}

test("A folder comes as an archive that unpacks to the same", () => {
  const folder = "/volume1/homes/anna/-r deep";
  mkdirSync(`${folder}/a/b/c`, { recursive: true });
  writeFileSync(`${folder}/a/large.bin`, randomBytes(3_000_000));
  writeFileSync(`${folder}/a/b/empty`, "");
  for (const [name] of kOddNames) writeFileSync(Buffer.concat([Buffer.from(`${folder}/a/`), Buffer.from(name)]), "odd");
  symlinkSync("/etc/passwd", `${folder}/a/link`);
  const reply = archive(folder, { env: { HTTP_RANGE: "bytes=0-9" } });
  assertOneBlock(reply);
  assert.equal(reply.status, 200);
  assert.equal(reply.headers.get("content-length"), null, "nobody knows the length yet");
  assert.equal(reply.headers.get("content-type"), "application/x-tar");
  assert.equal(reply.headers.get("content-disposition"), `attachment; filename="-r deep.tar"; filename*=UTF-8''-r%20deep.tar`);
  assertSameTree(folder, `${unpack(reply.bytes)}/-r deep`);
});

test("The two folders themselves come as archives", () => {
  assertSameTree("/volume1/homes/anna", `${unpack(archive("/volume1/homes/anna").bytes)}/anna`);
});

test("HEAD of an archive makes none", () => {
  const reply = archive("/volume1/homes/anna", { method: "HEAD" });
  assert.deepEqual([reply.status, reply.bytes.length], [200, 0]);
});

test("A file is no folder, and other formats are not known", () => {
  assertNotSent(archive(kFile), 403, "error_no_folder");
  assertNotSent(run("download", { query: { path: kPublic, archive: "zip" }, cookie }), 400, "error_no_format");
});
