// What sending a file costs download.cgi, counted and not timed: three system calls for a piece, and no memory for its size.
import assert from "node:assert/strict";
import { spawn, spawnSync } from "node:child_process";
import { closeSync, openSync, readFileSync, rmSync, truncateSync } from "node:fs";
import { after, before, test } from "node:test";
import { keepOneId, kWithOneId, login, makeAccounts, makeShare } from "../program/program.mjs";

const kProgram = "/usr/kest/kestman/cgi/download.cgi";
const kShared = "/public/cost.bin";
const kFile = `/volume1${kShared}`;
const kTrace = "/tmp/trace";
const kMiB = 1024 * 1024;
const kPiece = 8192;
const kTimeout_ms = 120_000;
let env;

before(() => {
  makeAccounts();
  makeShare("public");
  keepOneId();
  env = { REQUEST_METHOD: "GET", QUERY_STRING: `path=${kShared}`, REMOTE_ADDR: "192.0.2.7", HTTP_COOKIE: login("anna") };
  closeSync(openSync(kFile, "w"));
});

after(() => rmSync(kFile));

// Names of the system calls that one download makes, with the bytes of each read and write.
function systemCalls(size, range) {
  truncateSync(kFile, size);
  const traced = range === undefined ? env : { ...env, HTTP_RANGE: range };
  const ended = spawnSync("strace", ["-o", kTrace, ...kWithOneId, kProgram], { env: { ...traced, PATH: "/usr/bin" }, timeout: kTimeout_ms, maxBuffer: size + 65_536 });
  assert.equal(ended.status, 0, `${ended.error ?? ended.stderr}`);
  return [...readFileSync(kTrace, "latin1").matchAll(/^(\w+)\(.* = (-?\d+)/gm)].map(([, name, result]) => (/^(read|write)$/.test(name) ? `${name} ${result}` : name));
}

const canTrace = () => spawnSync("strace", ["-o", kTrace, "/bin/true"], { env: { PATH: "/usr/bin" } }).status === 0;

for (const [what, range] of [["the whole file", undefined], ["a range from the middle of a page", "bytes=12345-"]]) {
  test(`Each piece of ${what} is one read, one wait and one write`, (t) => {
    if (!canTrace()) return t.skip("processes cannot be traced here");
    const calls = systemCalls(kMiB, range);
    const first = calls.indexOf(`write ${kPiece}`) - 2;
    const pieces = (kMiB - (range ? 12_345 : 0)) / kPiece;
    const copying = calls.slice(first, first + 3 * Math.floor(pieces));
    const expected = [`read ${kPiece}`, copying[1], `write ${kPiece}`];
    assert.match(copying[1], /select/);
    assert.deepEqual(copying, Array.from({ length: Math.floor(pieces) }, () => expected).flat());
    return undefined;
  });
}

// The largest memory of the program, looked at shortly before the end of the file: it waits there, for the rest does not fit into a pipe.
function peakMemory_KiB(size) {
  truncateSync(kFile, size);
  return new Promise((resolve, reject) => {
    const program = spawn(kWithOneId[0], [...kWithOneId.slice(1), kProgram], { env: { ...env, PATH: "/usr/bin" }, stdio: ["ignore", "pipe", "inherit"], timeout: kTimeout_ms });
    let received = 0;
    let peak_KiB;
    program.stdout.on("data", (piece) => {
      received += piece.length;
      if (peak_KiB !== undefined || received < size - kMiB / 2) return;
      peak_KiB = Number(/^VmHWM:\s+(\d+) kB/m.exec(readFileSync(`/proc/${program.pid}/status`, "latin1"))[1]);
    });
    program.on("error", reject);
    program.on("close", () => (received > size ? resolve(peak_KiB) : reject(new Error(`${received} bytes of ${size}`))));
  });
}

test("A file of 256 MiB takes no more memory than one of 1 MiB", async () => {
  const small = await peakMemory_KiB(kMiB);
  const large = await peakMemory_KiB(256 * kMiB);
  console.log(`peak memory of download.cgi: 1 MiB ${small} KiB, 256 MiB ${large} KiB`);
  assert.ok(Math.abs(large - small) <= 256, `1 MiB: ${small} KiB, 256 MiB: ${large} KiB`);
});
