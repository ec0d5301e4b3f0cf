// disks.cgi: the external disks and their formatting, with the machine's own programs on image files. /sys is one in which a disk
// is on a USB port (machine/, see CMakeLists.txt).
import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { chmodSync, existsSync, mkdirSync, readFileSync, readdirSync, rmSync, statSync, symlinkSync, truncateSync, writeFileSync } from "node:fs";
import { dirname } from "node:path";
import { before, beforeEach, test } from "node:test";
import { assertRefused, assertSessionRefused, comesTrue, idle, login, makeAccounts, run, sessionFile } from "./program.mjs";

const kMiB = 1024 * 1024;
const kNamed = "/usr/kest/etc/external_disks.conf";
const kProgress = "/tmp/usbdiskapplying";
const kHold = "/tmp/hold-formatting";
const kMkfs = "(?:mkfs\\.ext\\d|mke2fs)"; // while held, and when it runs
const kFolder = "/volume1/@disks";
const usb = { id: "usb1", device: `${kFolder}/usb1.img` };
const sata = { id: "sata", device: `${kFolder}/sata.img` };
const onPort = { id: "sdq", device: "/dev/sdq", name: "USB Disk", share: "", size: "0", state: "" };
let cookie;

before(() => {
  makeAccounts();
  cookie = login();
});

beforeEach(() => {
  for (const path of [kProgress, ...readdirSync(kFolder).map((name) => `${kFolder}/${name}`)]) rmSync(path, { recursive: true, force: true });
  for (const { device } of [usb, sata]) makeImage(device);
  name([usb, sata]);
});

function makeImage(path, bytes = 16 * kMiB) {
  mkdirSync(dirname(path), { recursive: true });
  writeFileSync(path, "");
  truncateSync(path, bytes);
}

const name = (disks) => writeFileSync(kNamed, disks.map(({ id, device }) => `${id}="${device}"\n`).join(""));
const list = (request = {}) => run("disks", { cookie, ...request });
const stateOf = (id) => list().json.data.disks.find((disk) => disk.id === id)?.state;
const format = ({ id, device }, system = "EXT4", request = {}) =>
  run("disks", { form: { action: "format", disk: id, device, file_system: system }, cookie, ...request });
const typeOf = (path) => spawnSync("/usr/sbin/blkid", ["-p", "-o", "value", "-s", "TYPE", path]).stdout.toString().trim();
const isEmpty = (path) => readFileSync(path).every((byte) => byte === 0);

async function ended(id) {
  let state;
  await comesTrue(() => (state = stateOf(id)) !== "formatting", `the formatting of ${id} ends`);
  return state;
}

test("The list is whole", () => {
  const { json, headers } = list();
  const unformatted = { share: "", size: String(16 * kMiB), state: "" };
  assert.deepEqual(json, {
    success: true,
    data: {
      disks: [
        { ...usb, name: "USB Disk 1", ...unformatted },
        { ...sata, name: "SATA Disk", ...unformatted },
        onPort,
        { ...onPort, id: "sdq1", device: "/dev/sdq1" },
      ],
    },
  });
  assert.equal(headers.get("cache-control"), "no-store");
});

for (const [system, type] of [["FAT", "vfat"], ["EXT3", "ext3"], ["EXT4", "ext4"]]) {
  for (const disk of [usb, sata]) {
    test(`${disk.id} is formatted with ${system}, and the library says so`, async () => {
      assert.deepEqual(format(disk, system).json, { success: true, data: disk.id });
      assert.equal(await ended(disk.id), "success");
      assert.equal(typeOf(disk.device), type);
      assert.equal(readFileSync(kProgress, "utf8"), `${disk.device}="success"\n`);
      const other = disk === usb ? sata : usb;
      assert.ok(isEmpty(other.device), "the other disk was touched");
      assert.equal(stateOf(other.id), "");
    });
  }
}

// The formatting with EXT begins when the test lets it (held_mkfs).
function hold(t) {
  writeFileSync(kHold, "");
  const letGo = () => rmSync(kHold, { force: true });
  t.after(() => {
    letGo();
    // One whose worker was killed would write over the disk of the next test.
    return comesTrue(() => running(kMkfs).length === 0, "no file system is made any more");
  });
  return letGo;
}

// Those that run: one that has ended may wait for a moment to be cleared away.
const running = (name) =>
  readdirSync("/proc").filter((pid) => /^\d+$/.test(pid) && new RegExp(`^\\d+ \\(${name}\\) [^ZX]`).test(readText(`/proc/${pid}/stat`)));
const programs = () => running("disks\\.cgi");
// A process has the program's name until it has become the one that is held.
const isHeld = () => comesTrue(() => running(kMkfs).length > 0, "the formatting begins");

// Of a process that ends meanwhile there is nothing to read.
function readText(path) {
  try {
    return readFileSync(path, "utf8");
  } catch {
    return "";
  }
}

test("The reply comes when the formatting has begun, and it goes on without its request", async (t) => {
  const letGo = hold(t);
  assert.equal(format(usb, "EXT3").json.success, true);
  assert.equal(stateOf("usb1"), "formatting");
  assert.equal(readFileSync(kProgress, "utf8"), `${usb.device}="formatting"\n`);
  await isHeld();
  const [worker, ...others] = programs();
  assert.deepEqual(others, []);
  const { session, parent } = /^\d+ \(.*\) \S (?<parent>\d+) \d+ (?<session>\d+)/.exec(readText(`/proc/${worker}/stat`)).groups;
  assert.notEqual(session, readText("/proc/self/stat").split(" ")[5], "it belongs to the server's session");
  assert.notEqual(Number(parent), process.pid);
  const files = readdirSync(`/proc/${worker}/fd`);
  assert.ok(files.length >= 4, `open files ${files}`);

  assertRefused(format(usb, "EXT4"), "disks", "error_formatting_already");
  assert.equal(format(sata, "FAT").json.success, true, "another disk is free");
  assert.equal(await ended("sata"), "success");
  assert.equal(stateOf("usb1"), "formatting");
  letGo();
  assert.equal(await ended("usb1"), "success");
  assert.equal(typeOf(usb.device), "ext3");
  await comesTrue(() => programs().length === 0, "the worker ends");
});

test("A formatting whose process has gone without a word is said to be interrupted, and can be begun again", async (t) => {
  hold(t);
  format(usb, "EXT3");
  assert.equal(stateOf("usb1"), "formatting");
  await isHeld();
  process.kill(Number(programs()[0]), "SIGKILL");
  assert.equal(await ended("usb1"), "interrupted");
  // The program that it had started still waits.
  assert.equal(format(usb, "FAT").json.success, true);
  assert.equal(await ended("usb1"), "success");
  assert.equal(typeOf(usb.device), "vfat");
});

test("A formatting that fails is said to have failed", async () => {
  makeImage(usb.device, 1024);
  assert.equal(format(usb, "EXT4").json.success, true);
  assert.equal(await ended("usb1"), "fail");
  assert.equal(readFileSync(kProgress, "utf8"), `${usb.device}="fail"\n`);
});

test("What a disk said before is forgotten when it is formatted again", async () => {
  format(usb, "FAT");
  assert.equal(await ended("usb1"), "success");
  makeImage(usb.device, 1024);
  format(usb, "FAT");
  assert.equal(await ended("usb1"), "fail");
});

const unusable = {
  "is not there": [(path) => rmSync(path), "error_not_there"],
  "is a folder": [(path) => (rmSync(path), mkdirSync(path)), "error_not_there"],
  "must not be written": [(path) => chmodSync(path, 0o444), "error_no_right"],
  "is a link to nothing": [(path) => (rmSync(path), symlinkSync("/nowhere", path)), "error_not_there"],
};
for (const [what, [make, key]] of Object.entries(unusable)) {
  test(`A disk that ${what} is refused before anything is done`, () => {
    make(usb.device);
    assertRefused(format(usb), "disks", key);
    assert.equal(existsSync(kProgress), false);
    assert.equal(stateOf("usb1"), "");
  });
}

test("A disk on a port of the machine that cannot be opened is refused", () => assertRefused(format(onPort), "disks", "error_not_there"));

test("A disk that is in use elsewhere fails, and stays as it is", async () => {
  const holder = spawnSync("flock", ["--exclusive", usb.device, process.execPath, "-e", `
    const { spawnSync } = require("node:child_process");
    const ended = spawnSync("/usr/kest/kestman/cgi/disks.cgi", { input: ${JSON.stringify(new URLSearchParams({ action: "format", disk: "usb1", device: usb.device, file_system: "EXT4" }).toString())}, env: process.env });
    process.stdout.write(ended.stdout);
    const state = () => require("node:fs").readFileSync(${JSON.stringify(kProgress)}, "utf8");
    for (let tries = 0; tries < 1200 && !state().includes("fail"); ++tries) spawnSync("sleep", ["0.05"]);
    process.stdout.write(state());`], {
    env: { REQUEST_METHOD: "POST", REMOTE_ADDR: "192.0.2.7", HTTP_COOKIE: cookie, CONTENT_TYPE: "application/x-www-form-urlencoded", PATH: process.env.PATH,
      CONTENT_LENGTH: String(new URLSearchParams({ action: "format", disk: "usb1", device: usb.device, file_system: "EXT4" }).toString().length) },
  });
  assert.match(holder.stdout.toString(), /"success" : true[^]*usb1\.img="fail"\n$/, holder.stderr.toString());
  assert.ok(isEmpty(usb.device));
});

for (const system of ["", "ext4", "EXT5", "EXT4 ", "NTFS", "1", "EXT4;reboot", "x".repeat(5000)]) {
  test(`A file system called "${system.slice(0, 20)}" is refused`, () => {
    assertRefused(format(usb, system), "disks", "error_unknown_file_system");
    assert.ok(isEmpty(usb.device));
  });
}

for (const id of ["", "usb2", "usb01", "USB1", "usb1\n", "../usb1", "sda", "sata1", "$(reboot)", "x".repeat(5000)]) {
  test(`A disk called ${JSON.stringify(id.slice(0, 20))} is refused`, () => {
    assertRefused(format({ id, device: usb.device }), "disks", "error_unknown_disk");
    assert.equal(existsSync(kProgress), false);
  });
}

for (const device of ["", sata.device, `${usb.device} `, "/dev/sda", "/etc/passwd"]) {
  test(`What was confirmed as ${JSON.stringify(device)} is another device`, () => {
    assertRefused(format({ id: "usb1", device }), "disks", "error_other_device");
    assert.ok(isEmpty(usb.device));
  });
}

// The progress file keeps one line per device, so not every name can stand in it.
for (const piece of ["a b", "a=b", "a#b", "a'b", "\u0001"]) {
  test(`A device called ${JSON.stringify(piece)} is listed, and refused before anything is done`, () => {
    const disk = { id: "usb1", device: `${kFolder}/${piece}.img` };
    makeImage(disk.device);
    name([disk]);
    assert.equal(list().json.data.disks[0].device, disk.device);
    assertRefused(format(disk), "disks", "error_no_progress");
    assert.ok(isEmpty(disk.device));
    assert.equal(stateOf("usb1"), "");
  });
}

for (const piece of ["$(touch$IFS/tmp/ran)", "`touch$IFS/tmp/ran`", ";touch$IFS/tmp/ran", "a&b|c>d", "-F", "%s%n", "\u00e4", "*"]) {
  test(`A device called ${JSON.stringify(piece)} is formatted, and its name never runs`, async () => {
    const disk = { id: "usb1", device: `${kFolder}/${piece}` };
    makeImage(disk.device);
    name([disk]);
    assert.equal(format(disk, "EXT4").json.success, true);
    assert.equal(await ended("usb1"), "success");
    assert.equal(typeOf(disk.device), "ext4");
    assert.equal(existsSync("/tmp/ran"), false);
  });
}

const oddNames = {
  "nothing": "",
  "half a line": 'usb1="/volume1',
  "no file": null,
  "a folder": undefined,
  "a path of 600 bytes": `usb1="/${"x".repeat(600)}"\n`,
  "a tenth USB disk": 'usb10="/volume1/@disks/usb1.img"\n',
  "other keys": 'usb="/dev/sda"\nusb0="/dev/sda"\nesata="/dev/sda"\n',
  "1 MiB and one byte": `usb1="${usb.device}"\n${"#".repeat(kMiB)}\n`,
};
for (const [what, text] of Object.entries(oddNames)) {
  test(`Names of disks that are ${what} name none`, (t) => {
    rmSync(kNamed);
    if (text === undefined) mkdirSync(kNamed);
    else if (text !== null) writeFileSync(kNamed, text);
    t.after(() => rmSync(kNamed, { recursive: true, force: true }));
    assert.deepEqual(list().json.data.disks.map(({ id }) => id), ["sdq", "sdq1"]);
  });
}

test("Where the progress cannot be written nothing is formatted", () => {
  mkdirSync(kProgress);
  assertRefused(format(usb), "disks", "error_no_progress");
  assert.ok(isEmpty(usb.device));
});

const oddProgress = { "bytes that are no text": Buffer.from([0, 255, 10]), "another word": `${usb.device}="perhaps"\n`, "1 MiB and one byte": "x".repeat(kMiB + 1) };
for (const [what, text] of Object.entries(oddProgress)) {
  test(`A progress file that holds ${what} leaves a list`, () => {
    writeFileSync(kProgress, text);
    assert.equal(stateOf("usb1"), what === "another word" ? "perhaps" : "");
  });
}

test("Without its lock nothing is begun", (t) => {
  const lock = "/usr/kest/var/format_usb1.lock";
  rmSync(lock, { force: true });
  mkdirSync(lock);
  t.after(() => rmSync(lock, { recursive: true }));
  assertRefused(format(usb), "disks", "error_not_started");
  assert.equal(existsSync(kProgress), false);
});

test("Without another process nothing is begun, and the disk is said to have failed", () => {
  const limited = "/tmp/limited";
  // Looking for leaks needs a process, too.
  writeFileSync(limited, "#!/bin/bash\nulimit -u 1\nexport ASAN_OPTIONS=detect_leaks=0\nexec /usr/kest/kestman/cgi/disks.cgi\n", { mode: 0o755 });
  const request = { form: { action: "format", disk: "usb1", device: usb.device, file_system: "EXT4" }, cookie };
  assertRefused(run(limited, request), "disks", "error_not_started");
  assert.ok(isEmpty(usb.device));
  assert.equal(stateOf("usb1"), "fail");
});

test("A disk is formatted only where a page of this site posts it, by an administrator", () => {
  const query = { action: "format", disk: "usb1", device: usb.device, file_system: "EXT4" };
  assertRefused(list({ query }), "error", "error_not_posted", 405);
  assertRefused(format(usb, "EXT4", { env: { HTTP_HOST: "kest", HTTP_ORIGIN: "http://elsewhere.example" } }), "error", "error_not_posted", 403);
  assertSessionRefused(format(usb, "EXT4", { cookie: login("anna") }), "unauth", "login", "error_noprivilege");
  assertSessionRefused(format(usb, "EXT4", { cookie: "" }), "timeout", "login", "error_timeout");
  assertSessionRefused(list({ cookie: login("anna") }), "unauth", "login", "error_noprivilege");
  assertRefused(run("disks", { form: { action: "wipe" }, cookie }), "error", "error_unknown_action");
  assert.ok(isEmpty(usb.device));
  assert.equal(existsSync(kProgress), false);
});

test("Watching does not keep an idle session alive; looking does", () => {
  const mine = login();
  const lastActivity = () => Date.now() / 1000 - statSync(sessionFile(mine)).mtimeMs / 1000;
  idle(mine, 10);
  assert.equal(list({ cookie: mine, query: { poll: 1 } }).json.success, true);
  assert.ok(lastActivity() > 500);
  list({ cookie: mine });
  assert.ok(lastActivity() < 100);
});
