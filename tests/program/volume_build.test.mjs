// volume_build.cgi: a volume is built by a worker of its own, which says how far it is. /volume1 is a memory disk here, and the
// making of the file system can be held (CMakeLists.txt, held_mkfs).
import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { existsSync, mkdirSync, readFileSync, readdirSync, rmSync, statfsSync, statSync, writeFileSync } from "node:fs";
import { before, beforeEach, test } from "node:test";
import { assertRefused, assertSessionRefused, comesTrue, idle, login, makeAccounts, run, sessionFile } from "./program.mjs";

const kMiB = 1024 * 1024;
const kModules = "/tmp/tarvel/modules";
const kRecord = `${kModules}/volume`;
const kFolder = "/volume1/@volumes";
const kHold = "/tmp/hold-formatting";
const kFail = "/tmp/fail-formatting";
let cookie;

before(() => {
  makeAccounts();
  cookie = login();
});

beforeEach(() => {
  for (const path of [kModules, kFolder, kHold, kFail]) rmSync(path, { recursive: true, force: true });
});

const look = (request = {}) => run("volume_build", { cookie, ...request });
const progress = () => look().json.data;
const start = (fields = {}, request = {}) => run("volume_build", { form: { action: "start", volume: "1", size: "16", ...fields }, cookie, ...request });
const record = () => JSON.parse(readFileSync(kRecord, "utf8"));
const typeOf = (path) => spawnSync("/usr/sbin/blkid", ["-p", "-o", "value", "-s", "TYPE", path]).stdout.toString().trim();

function writeRecord(text) {
  mkdirSync(kModules, { recursive: true });
  writeFileSync(kRecord, typeof text === "object" && !Buffer.isBuffer(text) ? JSON.stringify(text) : text);
}

// Waits until the worker has come so far.
async function reaches(wanted) {
  let now;
  await comesTrue(() => wanted((now = progress())), `the worker comes so far: ${wanted}`);
  return now;
}

const ended = () => reaches(({ state }) => state !== "building");
const held = () => reaches(({ step }) => step === 95);

test("Where nothing has been built there is nothing to tell", () => {
  const reply = look();
  assert.deepEqual(reply.json, { success: true, data: { state: "none" } });
  assert.equal(reply.headers.get("cache-control"), "no-store");
});

test("A volume is built, and the record and the library tell each step", async () => {
  writeFileSync(kHold, "");
  assert.deepEqual(start().json, { success: true, data: "/volume2" });
  const going = await held();
  assert.deepEqual(going, { state: "building", volume: "/volume2", device: `${kFolder}/volume2.img`, action: 1, step: 95 });
  const { pid, ...others } = record();
  assert.deepEqual(others, { action: 1, in_progress_devpath: `${kFolder}/volume2.img`, status: 1, step: 95, vol_path: "/volume2" });
  assert.match(readFileSync(`/proc/${pid}/stat`, "utf8"), /^\d+ \(volume_build\.cg\) /);
  assert.equal(statSync(`${kFolder}/volume2.img`).size, 16 * kMiB);

  assertRefused(start(), "volumes", "error_building_already");
  rmSync(kHold);
  assert.deepEqual(await ended(), { ...going, state: "done", step: 100 });
  assert.equal(record().status, 2);
  assert.equal(typeOf(`${kFolder}/volume2.img`), "ext4");
  assert.ok(statSync(`${kFolder}/volume2.img`).blocks * 512 >= 16 * kMiB, "the volume's room is not taken");
});

test("A building is over when its worker has gone, whatever its last word was: until then no other begins", async () => {
  writeFileSync(kHold, "");
  start();
  await held();
  writeRecord({ ...record(), step: 100, status: 2 });
  assert.equal(progress().state, "building");
  assertRefused(start(), "volumes", "error_building_already");
  rmSync(kHold);
  assert.equal((await ended()).state, "done");
  assert.equal(start({ size: "8" }).json.data, "/volume3");
  await ended();
});

test("The next volume gets the next number", async () => {
  start();
  await ended();
  assert.equal(start({ size: "8" }).json.data, "/volume3");
  assert.equal((await ended()).state, "done");
  assert.deepEqual(readdirSync(kFolder).sort(), ["volume2.img", "volume3.img"]);
});

test("With nine volumes there is no next one", () => {
  mkdirSync(kFolder);
  for (let number = 2; number <= 9; ++number) writeFileSync(`${kFolder}/volume${number}.img`, "");
  assertRefused(start(), "volumes", "error_too_many");
  assert.equal(existsSync(kRecord), false);
});

test("A failure is told in the words of the language, and leaves no file", async () => {
  writeFileSync(kFail, "");
  start();
  const failed = await ended();
  assert.equal(failed.state, "failed");
  assert.equal(failed.failure, "The file system could not be made.");
  const { line, ...error } = record().errno;
  assert.deepEqual(error, { key: "error_build_no_file_system", section: "volumes" });
  assert.ok(line > 0 && failed.line === line);
  assert.equal(look({ cookie: `${cookie}; lang=de` }).json.data.failure, "Das Dateisystem konnte nicht angelegt werden.");
  assert.deepEqual(readdirSync(kFolder), []);
});

test("A volume that cannot be written is a failure", async () => {
  writeFileSync(kFolder, "no folder");
  start();
  assert.equal((await ended()).failure, "The volume could not be written.");
  assert.equal(readFileSync(kFolder, "utf8"), "no folder");
});

test("A worker that was killed is said to have stopped, and another one may begin", async () => {
  writeFileSync(kHold, "");
  start();
  await held();
  process.kill(record().pid, "SIGKILL");
  const stopped = await ended();
  assert.deepEqual([stopped.state, stopped.volume, stopped.step], ["stopped", "/volume2", 95]);
  rmSync(kHold);
  assert.equal(start().json.data, "/volume3", "what is left of the other is left alone");
  assert.equal((await ended()).state, "done");
});

const field = (reply, name) => (assert.equal(reply.json?.success, false, reply.text), reply.json.errors?.[name]);

for (const volume of ["", "2", "9", "X1", "U1", "S", "1 ", "01", "../1", "volume_1", "x".repeat(5000)]) {
  test(`A volume called ${JSON.stringify(volume.slice(0, 20))} is refused beside its field`, () => {
    assert.equal(field(start({ volume }), "volume"), "There is no such volume that can be written.");
    assert.equal(existsSync(kRecord), false);
  });
}

for (const size of ["", "0", "-1", "+16", "1.5", "1e3", " 16", "16 ", "0x10", "16M", "1048577", "18446744073709551617", "\uff11\uff16", "9".repeat(5000)]) {
  test(`A size of ${JSON.stringify(size.slice(0, 24))} is refused beside its field`, () => {
    assert.equal(field(start({ size }), "size"), "A whole number of MiB is wanted, from 1 to 1048576.");
    assert.equal(existsSync(kRecord), false);
  });
}

test("More than there is room for is refused beside its field, in the words of the language", () => {
  const { bavail, bsize } = statfsSync("/volume1");
  const size = String(Math.floor((bavail * bsize) / kMiB) + 1);
  assert.equal(field(start({ size }), "size"), "The volume has no room for this.");
  assert.equal(field(start({ size }, { cookie: `${cookie}; lang=de` }), "size"), "Das Volume hat dafür keinen Platz.");
  assert.equal(existsSync(kFolder), false);
});

const whole = { pid: 2 ** 31 - 2, vol_path: "/volume2", action: 1, step: 40, status: 1 };
const lacking = (key) => Object.fromEntries(Object.entries(whole).filter(([name]) => name !== key));
const unreadable = {
  "no JSON": "{",
  "a list": [whole],
  "a text": '"volume"',
  "nothing": "",
  "1 MiB and one byte": " ".repeat(kMiB + 1),
  "bytes that are no text": Buffer.from([0, 255]),
  "1500 levels": "[".repeat(1500),
  "a pid that is a text": { ...whole, pid: "x" },
  "a step that is a list": { ...whole, step: [] },
  "a path that is an object": { ...whole, vol_path: {} },
  "a status beyond all numbers": { ...whole, status: 1e30 },
  "an error that is a list": { ...whole, status: 3, errno: [{}] },
  ...Object.fromEntries(Object.keys(whole).map((key) => [`no ${key}`, lacking(key)])),
};
for (const [what, text] of Object.entries(unreadable)) {
  test(`A record that holds ${what} is said to be unreadable, and does not stand in the way`, async () => {
    writeRecord(text);
    assert.deepEqual(look().json, { success: true, data: { state: "unreadable" } });
    assert.equal(start({ size: "8" }).json.success, true);
    assert.equal((await ended()).state, "done");
  });
}

test("A record of another worker is told by whether that lives", () => {
  writeRecord({ ...whole, pid: process.pid });
  assert.equal(progress().state, "building");
  assertRefused(start(), "volumes", "error_building_already");
  writeRecord(whole);
  assert.equal(progress().state, "stopped");
  for (const pid of [0, 2 ** 32 - 1]) {
    writeRecord({ ...whole, pid });
    assert.equal(progress().state, "stopped");
  }
});

const told = {
  "a step of any size": [{ ...whole, step: -2_000_000_000 }, { step: -2_000_000_000 }],
  "markup": [{ ...whole, vol_path: "<b>&" }, { volume: "<b>&" }],
  "paths that are too long": [{ ...whole, vol_path: "v".repeat(500), in_progress_devpath: "d".repeat(500) }, { volume: "v".repeat(63), device: "d".repeat(255) }],
  "a status of its own": [{ ...whole, status: 7 }, { state: "done" }],
  "a failure without words": [{ ...whole, status: 3 }, { state: "failed", failure: "", line: 0 }],
  "a failure with unknown words": [{ ...whole, status: 3, errno: { section: "../../etc", key: "%s%n", line: -1 } }, { state: "failed", failure: "", line: -1 }],
  "the words of another page": [{ ...whole, status: 3, errno: { section: "common", key: "error_system", line: 5 } }, { failure: "The appliance could not carry out this request. Please try again." }],
};
for (const [what, [text, expected]] of Object.entries(told)) {
  test(`A record with ${what} is told as it is`, () => {
    writeRecord(text);
    const data = progress();
    for (const [name, value] of Object.entries(expected)) assert.equal(data[name], value, name);
  });
}

test("Where the record cannot be written nothing is built", () => {
  mkdirSync("/tmp/tarvel", { recursive: true });
  writeFileSync(kModules, "no folder");
  assertRefused(start(), "volumes", "error_build_not_started");
  assert.equal(existsSync(kFolder), false);
  rmSync(kModules);
  mkdirSync(`${kRecord}/in-the-way`, { recursive: true });
  assertRefused(start(), "volumes", "error_build_not_started");
  assert.equal(existsSync(kFolder), false);
});

test("Without another process nothing is built, and no record stays", () => {
  const limited = "/tmp/limited";
  // Looking for leaks needs a process, too.
  writeFileSync(limited, "#!/bin/bash\nulimit -u 1\nexport ASAN_OPTIONS=detect_leaks=0\nexec /usr/kest/kestman/cgi/volume_build.cgi\n", { mode: 0o755 });
  mkdirSync(kModules, { recursive: true });
  assertRefused(run(limited, { form: { action: "start", volume: "1", size: "8" }, cookie }), "volumes", "error_build_not_started");
  assert.deepEqual(look().json.data, { state: "none" });
  assert.equal(existsSync(kFolder), false);
});

test("A volume is built only where a page of this site posts it, by an administrator", () => {
  assertRefused(look({ query: { action: "start", volume: "1", size: "8" } }), "error", "error_not_posted", 405);
  assertRefused(start({}, { env: { HTTP_HOST: "kest", HTTP_ORIGIN: "http://elsewhere.example" } }), "error", "error_not_posted", 403);
  assertSessionRefused(start({}, { cookie: login("anna") }), "unauth", "login", "error_noprivilege");
  assertSessionRefused(start({}, { cookie: "" }), "timeout", "login", "error_timeout");
  assertSessionRefused(look({ cookie: login("anna") }), "unauth", "login", "error_noprivilege");
  assertRefused(start({ action: "stop" }), "error", "error_unknown_action");
  assert.equal(existsSync(kRecord), false);
});

test("Watching does not keep an idle session alive; looking does", () => {
  const mine = login();
  const lastActivity = () => Date.now() / 1000 - statSync(sessionFile(mine)).mtimeMs / 1000;
  idle(mine, 10);
  assert.equal(look({ cookie: mine, query: { poll: 1 } }).json.success, true);
  assert.ok(lastActivity() > 500);
  look({ cookie: mine });
  assert.ok(lastActivity() < 100);
});
