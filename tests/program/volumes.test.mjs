// volumes.cgi: the mounted volumes as a service sees them. /volume2 and others are memory disks here (CMakeLists.txt), so that
// their figures are known to the byte.
import assert from "node:assert/strict";
import { mkdirSync, rmSync, statfsSync, writeFileSync } from "node:fs";
import { before, test } from "node:test";
import { assertRefused, assertSessionRefused, login, makeAccounts, run } from "./program.mjs";

const kMiB = 1024 * 1024;
const kServices = "/usr/kest/etc/services.conf";
const kEveryLocation = ["1", "2", "X1", "U1", "S"];
const kInside = ["1", "2", "X1"];
let cookie;

before(() => {
  makeAccounts();
  cookie = login();
});

const ask = (service, request = {}) => run("volumes", { query: service === undefined ? {} : { service }, cookie, ...request });
const valuesOf = (reply) => (assert.ok(reply.json?.success, reply.text), reply.json.data.volume_list.map(({ value }) => value));
const volumeOf = (reply, wanted) => reply.json.data.volume_list.find(({ value }) => value === wanted);

// Free bytes, and all.
function sizesOf(path) {
  const { blocks, bavail, bsize } = statfsSync(path);
  return [bavail * bsize, blocks * bsize];
}

// What the administrator has said of services, until the test ends.
function configure(t, lines) {
  mkdirSync("/usr/kest/etc", { recursive: true });
  writeFileSync(kServices, lines.map((line) => `${line}\n`).join(""));
  t.after(() => rmSync(kServices, { recursive: true, force: true }));
}

test("The document is whole", (t) => {
  configure(t, ['backup_volume="/volume2"']);
  writeFileSync("/volume2/half", Buffer.alloc(kMiB / 2, 1));
  t.after(() => rmSync("/volume2/half"));
  const reply = ask("backup");
  const first = sizesOf("/volume1");
  const readOnly = volumeOf(reply, "U2_native");
  assert.ok(Number(readOnly.size_total) >= Number(readOnly.size_free) && Number(readOnly.size_total) > 0);
  const gib = (first[0] / 1024 ** 3).toFixed(2);
  const item = (value, display, free, total, state = "normal") => ({ value, display, size_free: String(free), size_total: String(total), state });
  assert.deepEqual(reply.json, {
    success: true,
    data: {
      service: "backup",
      service_path: "/volume2",
      service_state: "",
      system_crashed: false,
      volume_count: 5,
      volume_list: [
        item("1", `Volume 1 (Free: ${gib.padStart(4)} GiB )`, ...first),
        item("2", "Volume 2 (Free: 0.00 GiB )", 1.5 * kMiB, 2 * kMiB),
        item("X1", "Volume 1 (expansion unit, Free: 0.00 GiB )", 3 * kMiB, 3 * kMiB),
        item("U1", "usbshare1 (Free: 0.00 GiB )", kMiB, kMiB),
        item("S", "satashare (Free: 0.00 GiB )", kMiB, kMiB),
        // A disk of the machine itself, on which others write.
        item("U2_native", "/volumeUSB2", readOnly.size_free, readOnly.size_total, "read_only"),
      ],
    },
  });
  assert.equal(reply.headers.get("content-type"), 'text/plain; charset="UTF-8"');
});

for (const [service, values] of Object.entries({
  backup: kEveryLocation,
  download: kEveryLocation,
  audio: kEveryLocation,
  web: kInside,
  homes: kInside,
  surveillance: kInside,
})) {
  test(`The volumes of ${service} are those that its record allows`, () => {
    assert.deepEqual(valuesOf(ask(service)), [...values, "U2_native"]);
  });
}

test("Without a service the backup's volumes are told", () => assert.equal(ask().json.data.service, "backup"));

for (const service of ["", "backup ", "Backup", "backups", "../backup", "0", "x".repeat(5000), "\u00fc"]) {
  test(`service=${service.slice(0, 20)} is refused`, () => assertRefused(ask(service), "volumes", "error_unknown_service"));
}

test("Labels are in the language of the request", () => {
  const reply = ask("backup", { cookie: `${cookie}; lang=de` });
  assert.equal(volumeOf(reply, "X1").display, "Volume 1 (Erweiterungseinheit, Frei: 0.00 GiB )");
});

test("The service's own external disk that is gone stands first, crashed and without sizes", (t) => {
  configure(t, ['backup_volume="/volumeUSB3/usbshare"']);
  const reply = ask("backup");
  assert.equal(reply.json.data.external_volume_crashed, 1);
  assert.equal(reply.json.data.volume_count, 5);
  assert.deepEqual(reply.json.data.volume_list[0], { value: "U3_bad", display: "usbshare3 (crashed or missing)", state: "crashed" });
  assert.deepEqual(valuesOf(reply), ["U3_bad", ...kEveryLocation, "U2_native"]);
  assert.equal(ask("download").json.data.external_volume_crashed, undefined, "another service's disk is no affair of this one");
});

test("The external SATA disk that is gone is told by its name", (t) => {
  configure(t, ['audio_volume="/volumeSATA"']);
  const german = ask("audio", { cookie: `${cookie}; lang=de` });
  assert.deepEqual(german.json.data.volume_list[0], { value: "S_native_bad", display: "satashare (ausgefallen oder nicht angeschlossen)", state: "crashed" });
});

test("A service that may not live on an external disk has no crashed one", (t) => {
  configure(t, ['web_volume="/volumeUSB3/usbshare"']);
  const { data } = ask("web").json;
  assert.equal(data.external_volume_crashed, undefined);
  assert.equal(data.service_path, "/volumeUSB3/usbshare");
});

const oddRecords = {
  "a volume that is none": ['backup_volume="/etc/passwd"'],
  "a path of 5000 bytes": [`backup_volume="/volume${"1".repeat(5000)}"`],
  "markup": ['backup_volume="/volume1/<script>alert(1)</script>"'],
  "bytes that are no text": ['backup_volume="/volumeUSB\u0001\u00ff"'],
  "locations of every kind": ['backup_locations="internal,,nowhere,usb, sata"', 'backup_skip="everything"'],
  "half a line": ['backup_volume="/volume2', "backup_external"],
};
for (const [what, lines] of Object.entries(oddRecords)) {
  test(`A record of a service that holds ${what} leaves a document`, (t) => {
    configure(t, lines);
    const reply = ask("backup");
    assert.equal(reply.json?.success, true, reply.text);
    assert.ok(valuesOf(reply).includes("1"), reply.text);
  });
}

test("A record that cannot be read leaves what the library has without one", (t) => {
  mkdirSync(kServices, { recursive: true });
  t.after(() => rmSync(kServices, { recursive: true }));
  assert.equal(ask("backup").json?.success, true);
});

test("Volumes are for administrators", () => {
  assertSessionRefused(ask("backup", { cookie: login("anna") }), "unauth", "login", "error_noprivilege");
  assertSessionRefused(ask("backup", { cookie: "" }), "timeout", "login", "error_timeout");
});
