// Backup tasks on a full disk: /usr/kest/etc is a small memory disk here (see CMakeLists.txt).
import assert from "node:assert/strict";
import { readFileSync, rmSync } from "node:fs";
import { before, test } from "node:test";
import { crontabText, jobs, nightly, recordFolder, records } from "./backups.mjs";
import { fillDisk } from "./full_disk.mjs";
import { assertRefused, login, makeAccounts, run } from "./program.mjs";

const kFiller = "/usr/kest/etc/filler";
let cookie;

// The accounts are looked at again in their first two seconds, which takes room beside their database.
before(async () => {
  makeAccounts();
  cookie = login();
  await new Promise((resolve) => setTimeout(resolve, 2500));
});

const apply = (fields) => run("backup", { form: { action: "apply", ...nightly, ...fields }, cookie }).json;
const change = (action, more) => run("backup_change", { form: { action, name: "photos", ...more }, cookie });

test("On a full disk every change says so and leaves records, jobs and crontab as they were; with room again it works", () => {
  apply({});
  const state = () => [records(), readFileSync(`${recordFolder}/photos`, "utf8"), jobs(), crontabText()];
  const old = state();
  fillDisk(kFiller);
  const failed = { errinfo: { key: "error_save_failed", sec: "error" }, success: false };
  assert.deepEqual(apply({ task: "photos", start: "05:55" }), failed);
  assert.deepEqual(apply({ name: "more" }), failed);
  // The scheduler's database cannot be read without room for its log.
  assertRefused(change("disable"), "error", "error_no_scheduler");
  assertRefused(change("remove"), "error", "error_save_failed");
  rmSync(kFiller);
  assert.deepEqual(state(), old);
  assert.equal(apply({ task: "photos", start: "05:55" }).data.start, "05:55");
  assert.equal(change("rename", { new_name: "pictures" }).json.success, true);
  assert.deepEqual(jobs(), ['55 5 * * * /usr/kest/bin/kestlocalbkp -a "pictures"']);
});
