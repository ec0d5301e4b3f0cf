// download.cgi with clients that stop reading or go away, and with files that change under its hands.
import assert from "node:assert/strict";
import { spawn, spawnSync } from "node:child_process";
import { readdirSync, readFileSync, truncateSync, unlinkSync, writeFileSync } from "node:fs";
import { after, before, test } from "node:test";
import { comesTrue, keepOneId, kWithOneId, login, makeAccounts, makeShare } from "./program.mjs";

const kShared = "/large";
const kFolder = `/volume1${kShared}`;
const kName = "large.bin";
const kFile = `${kFolder}/${kName}`;
const kFileBytes = 4 * 1024 * 1024;
const kLongest_ms = 120_000;
const kLook_ms = 500;
const kLog = "/var/log/messages";
// Numbers of the system calls that wait for a descriptor: select and pselect6.
const kWaits = { x64: [23, 270], arm64: [72] }[process.arch];

let cookie;
let logd;

const pause = (ms) => new Promise((resolve) => setTimeout(resolve, ms));

before(async () => {
  makeAccounts();
  makeShare("large");
  keepOneId();
  cookie = login("anna");
  logd = spawn("/usr/kest/bin/logd", ["/run/log.sock", kLog], { stdio: "inherit" });
  await comesTrue(() => readdirSync("/run").includes("log.sock"), "the log listens");
  writeFileSync(kLog, "");
});
after(() => logd.kill());

// A download whose reader is this test, through a socket as from the web server: what has not been read waits in it, then
// in the program.
class Download {
  constructor(query, { env = {}, through = [] } = {}) {
    const command = [...kWithOneId, ...through, "/usr/kest/kestman/cgi/download.cgi"];
    this.process = spawn(command[0], command.slice(1), {
      stdio: ["ignore", "pipe", "pipe"],
      timeout: kLongest_ms,
      killSignal: "SIGKILL",
      env: { PATH: process.env.PATH, REQUEST_METHOD: "GET", REMOTE_ADDR: "192.0.2.7", HTTP_COOKIE: cookie, QUERY_STRING: `${new URLSearchParams(query)}`, ...env },
    });
    this.complaints = "";
    this.process.stderr.on("data", (text) => (this.complaints += text));
    this.ended = new Promise((resolve) => this.process.on("exit", (status, signal) => resolve({ status, signal })));
  }

  get pid() {
    return this.process.pid;
  }

  /// The reply, read to its end.
  async rest() {
    const pieces = [];
    for await (const piece of this.process.stdout) pieces.push(piece);
    return Buffer.concat(pieces);
  }

  goAway() {
    this.process.stdout.destroy();
  }
}

const isWaiting = (pid) => kWaits.includes(Number.parseInt(readFileSync(`/proc/${pid}/syscall`, "utf8"), 10));
const waits = (download) => comesTrue(() => isWaiting(download.pid), "the program waits for its reader");
const bodyOf = (reply) => reply.subarray(reply.indexOf("\r\n\r\n") + 4);

function ticksOf(pid) {
  const fields = readFileSync(`/proc/${pid}/stat`, "utf8").replace(/.*\) /s, "").split(" ");
  return Number(fields[11]) + Number(fields[12]);
}

const childrenOf = (pid) => readFileSync(`/proc/${pid}/task/${pid}/children`, "utf8").trim().split(" ").filter(Boolean).map(Number);

function exists(pid) {
  try {
    readFileSync(`/proc/${pid}/stat`);
    return true;
  } catch {
    return false;
  }
}

test("A client that stops reading is waited for without work, and may go on", async () => {
  writeFileSync(kFile, Buffer.alloc(kFileBytes, "abc"));
  const download = new Download({ path: `${kShared}/${kName}` });
  // A busy machine may let the program do the rest of what it had begun late; one that works while it waits is never idle.
  await comesTrue(async () => {
    const before = ticksOf(download.pid);
    await pause(kLook_ms);
    return isWaiting(download.pid) && ticksOf(download.pid) - before <= 1;
  }, "waiting costs nothing");
  assert.deepEqual(bodyOf(await download.rest()), readFileSync(kFile));
  assert.deepEqual(await download.ended, { status: 0, signal: null });
  assert.equal(download.complaints, "");
});

test("A client that goes away in the middle ends the program", async () => {
  writeFileSync(kFile, Buffer.alloc(kFileBytes));
  const download = new Download({ path: `${kShared}/${kName}` });
  await waits(download);
  download.goAway();
  assert.deepEqual(await download.ended, { status: null, signal: "SIGPIPE" });
});

test("So does one that goes away where broken pipes are no signal", async () => {
  writeFileSync(kFile, Buffer.alloc(kFileBytes));
  const download = new Download({ path: `${kShared}/${kName}` }, { through: ["env", "--ignore-signal=PIPE"] });
  await waits(download);
  download.goAway();
  assert.deepEqual(await download.ended, { status: 1, signal: null });
  await comesTrue(() => /http_file_outputer\(\d+\): failed to write errno=Broken pipe/.test(readFileSync(kLog, "utf8")), "it is logged");
});

test("A file that shrinks while it is sent ends the reply early, and is logged", async () => {
  writeFileSync(kFile, Buffer.alloc(kFileBytes, "abc"));
  const download = new Download({ path: `${kShared}/${kName}` });
  await waits(download);
  truncateSync(kFile, 1024 * 1024);
  const reply = await download.rest();
  assert.match(reply.toString("latin1", 0, 1000), /\r\nContent-Length: 4194304\r\n/);
  assert.deepEqual(bodyOf(reply), readFileSync(kFile));
  assert.deepEqual(await download.ended, { status: 0, signal: null });
  await comesTrue(() => /download: large\.bin became shorter while it was sent/.test(readFileSync(kLog, "utf8")), "it is logged");
});

test("A file that grows or is replaced is sent as it began", async () => {
  writeFileSync(kFile, Buffer.alloc(kFileBytes, "abc"));
  const download = new Download({ path: `${kShared}/${kName}` });
  await waits(download);
  unlinkSync(kFile);
  writeFileSync(kFile, "another");
  assert.deepEqual(bodyOf(await download.rest()), Buffer.alloc(kFileBytes, "abc"));
});

test("Thousands of ranges take their time from the reader, not from memory", async () => {
  writeFileSync(kFile, Buffer.alloc(kFileBytes, "abc"));
  const download = new Download({ path: `${kShared}/${kName}` }, { env: { HTTP_RANGE: `bytes=${Array(3000).fill("0-").join(",")}` } });
  await waits(download);
  const peak_KiB = Number(/VmHWM:\s+(\d+)/.exec(readFileSync(`/proc/${download.pid}/status`, "utf8"))[1]);
  assert.ok(peak_KiB < 64 * 1024, `${peak_KiB} KiB for 12 GiB of reply`);
  download.goAway();
  assert.deepEqual(await download.ended, { status: null, signal: "SIGPIPE" });
});

test("An archive whose client goes away leaves no process behind", async () => {
  writeFileSync(kFile, Buffer.alloc(kFileBytes));
  const download = new Download({ path: kShared, archive: "tar" });
  await waits(download);
  const [tar, ...others] = childrenOf(download.pid);
  assert.equal(others.length, 0);
  assert.match(readFileSync(`/proc/${tar}/cmdline`, "utf8"), /^\/usr\/bin\/tar\0--create\0/);
  download.goAway();
  assert.deepEqual(await download.ended, { status: null, signal: "SIGPIPE" });
  await comesTrue(() => !exists(tar), "tar ends");
});

test("An archive that tar cannot complete is logged", async () => {
  writeFileSync(`${kFolder}/locked`, "x", { mode: 0 });
  const download = new Download({ path: kShared, archive: "tar" });
  const reply = await download.rest();
  assert.deepEqual(await download.ended, { status: 0, signal: null });
  const listed = spawnSync("tar", ["--list"], { input: bodyOf(reply) });
  assert.match(String(listed.stdout), /large\/large\.bin/, "what can be read is there");
  assert.match(download.complaints, /locked/);
  await comesTrue(() => /download: the archive of large\.tar is not complete/.test(readFileSync(kLog, "utf8")), "it is logged");
});
