// machine_disks.cgi: the disks inside the appliance. /sys is one with one of them, and one on a USB port (machine/, see CMakeLists.txt).
import assert from "node:assert/strict";
import { rmSync, writeFileSync } from "node:fs";
import { before, test } from "node:test";
import { assertSessionRefused, login, makeAccounts, run } from "./program.mjs";

const kNamed = "/usr/kest/etc/external_disks.conf";
const kSectors = 4096;
let cookie;

before(() => {
  makeAccounts();
  cookie = login();
});

const disks = () => {
  const reply = run("machine_disks", { cookie });
  assert.equal(reply.json?.success, true, reply.text);
  return reply.json.data.disks;
};

test("A disk inside has a number, its size and what it is used for; one on a USB port and partitions are not among them", () => {
  assert.deepEqual(disks(), [{ id: "1", device: "/dev/sda", size: String(kSectors * 512), space: "", state: "not_use" }]);
});

test("What the administrator calls external is not inside", (t) => {
  writeFileSync(kNamed, 'sata="/dev/sda"\n');
  t.after(() => rmSync(kNamed));
  assert.deepEqual(disks(), []);
});

test("Administrators only", () => {
  assertSessionRefused(run("machine_disks", { cookie: login("anna") }), "unauth", "login", "error_noprivilege");
  assertSessionRefused(run("machine_disks"), "timeout", "login", "error_timeout");
});
