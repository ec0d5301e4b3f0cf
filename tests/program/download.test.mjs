// download.cgi: files whole and by ranges, folders as archives, and what is not for everybody.
import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { randomBytes } from "node:crypto";
import { chmodSync, mkdirSync, mkdtempSync, readFileSync, symlinkSync, writeFileSync } from "node:fs";
import { createServer } from "node:net";
import { before, test } from "node:test";
import { parseByteranges } from "./byteranges.mjs";
import { assertRefused, assertSessionRefused, login, makeAccount, makeAccounts, makeShare, put, run } from "./program.mjs";

const kPublic = "/public";
const kFile = `${kPublic}/a.bin`;
const content = randomBytes(100_000);
let cookie;

// Where a path of a share is on the volume.
const onDisk = (path) => `/volume1${path}`;

const fetchFile = (path, request = {}) => run("download", { query: { path }, cookie, ...request });
const ranged = (path, ranges, request = {}) => fetchFile(path, { ...request, env: { HTTP_RANGE: `bytes=${ranges}`, ...request.env } });
const archive = (path, request = {}) => run("download", { query: { path, archive: "tar" }, cookie, ...request });
const assertNotSent = (reply, status, key) => assertRefused(reply, "files", key, status);

before(() => {
  makeAccounts();
  makeAccount("bernd");
  makeShare("public");
  makeShare("office", { rw: "bernd" });
  makeShare("closed", { na: "anna" });
  makeShare("looked", { restrictions: 4 });
  makeShare("unlisted", { restrictions: 1 });
  cookie = login("anna");
  writeFileSync(onDisk(kFile), content);
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
  writeFileSync(onDisk(`${kPublic}/empty.txt`), "");
  const reply = fetchFile(`${kPublic}/empty.txt`);
  assert.deepEqual([reply.status, reply.headers.get("content-length"), reply.bytes.length], [200, "0", 0]);
  assert.equal(ranged(`${kPublic}/empty.txt`, "0-0").status, 416);
});

// A file's tag tells its states apart once the clock of the file system has gone on.
const letTheFileSettle = () => Atomics.wait(new Int32Array(new SharedArrayBuffer(4)), 0, 0, 2100);

test("A piece is only sent of the state of the file that the client has begun with", () => {
  const path = `${kPublic}/changing.txt`;
  writeFileSync(onDisk(path), "before");
  const tagNow = () => fetchFile(path).headers.get("etag");
  const resume = (wanted) => ranged(path, "3-", { env: { HTTP_IF_RANGE: wanted } });
  const fresh = tagNow();
  assert.match(fresh, /^W\/"[0-9a-f-]+"$/);
  assert.equal(resume(fresh).status, 200, "it might be changed once more without being noticed");
  letTheFileSettle();
  const tag = tagNow();
  assert.match(tag, /^"[0-9a-f-]+"$/);
  assert.deepEqual([resume(tag).status, resume(tag).text], [206, "ore"]);
  writeFileSync(onDisk(path), "behind");
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
    writeFileSync(onDisk(`${kPublic}/${name}`), "<script>");
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
    writeFileSync(Buffer.concat([Buffer.from(onDisk("")), bytes]), escaped);
    const reply = fetchFile("", { query: `path=${encoded(bytes)}` });
    assertOneBlock(reply);
    assert.equal(reply.text, escaped);
    assert.equal(reply.headers.get("content-disposition"), `attachment; filename="${quoted}"; filename*=UTF-8''${escaped}`);
    assert.equal(reply.headers.get("set-cookie"), null);
  });
}

test("An account fetches from the shares that are open to it, and from its own folder", () => {
  const others = login("bernd");
  put("/home", "secret.txt", "anna's", cookie);
  put("/home", "secret.txt", "bernd's", others);
  put("/office", "secret.txt", "the office's", others);
  assert.equal(fetchFile("/home/secret.txt").text, "anna's");
  assert.equal(fetchFile("/home/secret.txt", { cookie: others }).text, "bernd's");
  assert.equal(fetchFile("/office/secret.txt", { cookie: others }).text, "the office's");
  for (const path of ["/office/secret.txt", "/office/nothing.txt", "/closed", "/homes/bernd/secret.txt", "/homes/anna/secret.txt", "/nowhere/secret.txt"]) {
    assertNotSent(fetchFile(path), 403, "error_not_yours");
    assertNotSent(archive(path), 403, "error_not_yours");
  }
});

test("From a share without downloads nothing is fetched, and of one without lists no archive, but for admin", () => {
  for (const name of ["looked", "unlisted"]) writeFileSync(onDisk(`/${name}/a.txt`), name);
  assertNotSent(fetchFile("/looked/a.txt"), 403, "error_no_fetching");
  assertNotSent(archive("/looked"), 403, "error_no_fetching");
  assert.equal(fetchFile("/unlisted/a.txt").text, "unlisted");
  assertNotSent(archive("/unlisted"), 403, "error_no_listing");
  assert.equal(fetchFile("/looked/a.txt", { cookie: login("admin") }).text, "looked");
  assert.equal(archive("/unlisted", { cookie: login("admin") }).status, 200);
});

for (const path of [
  "",
  "/",
  "a.bin",
  "/etc/passwd",
  "/usr/kest/etc/accounts.db",
  "/volume1/public/a.bin",
  "/@tmp/x",
  "/publicity",
  "/public/../office/secret.txt",
  "/public/./a.bin",
  "/public/..",
  "/home/../../etc/passwd",
  "//public/a.bin",
  "/public//a.bin",
  "/public/a.bin/",
  "/Public/a.bin",
  "/Home/secret.txt",
  "/public%2fa.bin",
  "/public/%2e%2e/office/secret.txt/..",
]) {
  test(`The path "${path}" is outside`, () => assertNotSent(fetchFile(path), 403, "error_not_yours"));
}

for (const [why, path] of [
  ["is not there", `${kPublic}/nothing`],
  ["has a name in another case", `${kPublic}/A.bin`],
  ["lies below a file", `${kFile}/x`],
  ["has a name of 256 bytes", `${kPublic}/${"n".repeat(256)}`],
  ["has a path of 4 KiB", `${kPublic}/${"n/".repeat(2048)}x`],
  ["has a path of 4,095 bytes", `${kPublic}/${"n/".repeat(2043)}x`],
  ["has a name that was escaped once too often", `${kPublic}/%61.bin`],
]) {
  test(`What ${why} is missing`, () => assertNotSent(fetchFile(path), 404, "error_missing"));
}

test("Links lead nowhere, wherever they point", () => {
  mkdirSync(onDisk(`${kPublic}/folder`));
  writeFileSync(onDisk(`${kPublic}/folder/x`), "x");
  symlinkSync("/etc/passwd", onDisk(`${kPublic}/outside`));
  symlinkSync("a.bin", onDisk(`${kPublic}/inside`));
  symlinkSync("loop", onDisk(`${kPublic}/loop`));
  symlinkSync(onDisk("/office"), onDisk(`${kPublic}/elsewhere`));
  symlinkSync("folder", onDisk(`${kPublic}/sibling`));
  for (const path of ["outside", "inside", "loop", "elsewhere", "elsewhere/secret.txt", "sibling/x"]) {
    assertNotSent(fetchFile(`${kPublic}/${path}`), 403, "error_not_yours");
  }
  assertNotSent(archive(`${kPublic}/elsewhere`), 403, "error_not_yours");
});

test("What is no file is not sent, and holds nobody up", async () => {
  mkdirSync(onDisk(`${kPublic}/empty folder`));
  assert.equal(spawnSync("mkfifo", [onDisk(`${kPublic}/pipe`)]).status, 0);
  const server = createServer().listen(onDisk(`${kPublic}/socket`));
  await new Promise((resolve) => server.on("listening", resolve));
  try {
    for (const name of ["empty folder", "pipe", "socket"]) assertNotSent(fetchFile(`${kPublic}/${name}`), 403, "error_no_file");
  } finally {
    server.close();
  }
  assertNotSent(fetchFile(kPublic), 403, "error_no_file");
});

test("A file that may not be read is not sent", () => {
  writeFileSync(onDisk(`${kPublic}/locked`), "x");
  chmodSync(onDisk(`${kPublic}/locked`), 0);
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
  const shared = `${kPublic}/-r deep`;
  const folder = onDisk(shared);
  mkdirSync(`${folder}/a/b/c`, { recursive: true });
  writeFileSync(`${folder}/a/large.bin`, randomBytes(3_000_000));
  writeFileSync(`${folder}/a/b/empty`, "");
  for (const [name] of kOddNames) writeFileSync(Buffer.concat([Buffer.from(`${folder}/a/`), Buffer.from(name)]), "odd");
  symlinkSync("/etc/passwd", `${folder}/a/link`);
  const reply = archive(shared, { env: { HTTP_RANGE: "bytes=0-9" } });
  assertOneBlock(reply);
  assert.equal(reply.status, 200);
  assert.equal(reply.headers.get("content-length"), null, "nobody knows the length yet");
  assert.equal(reply.headers.get("content-type"), "application/x-tar");
  assert.equal(reply.headers.get("content-disposition"), `attachment; filename="-r deep.tar"; filename*=UTF-8''-r%20deep.tar`);
  assertSameTree(folder, `${unpack(reply.bytes)}/-r deep`);
});

test("A share and a home themselves come as archives", () => {
  makeShare("small");
  writeFileSync(onDisk("/small/a"), "a");
  assertSameTree(onDisk("/small"), `${unpack(archive("/small").bytes)}/small`);
  put("/home", "own.txt", "own", cookie);
  assert.equal(readFileSync(`${unpack(archive("/home").bytes)}/anna/own.txt`, "utf8"), "own");
});

test("HEAD of an archive makes none", () => {
  const reply = archive("/home", { method: "HEAD" });
  assert.deepEqual([reply.status, reply.bytes.length], [200, 0]);
});

test("A file is no folder, and other formats are not known", () => {
  assertNotSent(archive(kFile), 403, "error_no_folder");
  assertNotSent(run("download", { query: { path: kPublic, archive: "zip" }, cookie }), 400, "error_no_format");
});
