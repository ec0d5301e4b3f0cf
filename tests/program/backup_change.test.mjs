// backup_change.cgi: a task is renamed, enabled, disabled and removed.
import assert from "node:assert/strict";
import { chmodSync, mkdirSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { before, beforeEach, test } from "node:test";
import { crontabText, events, forgetTasks, jobs, nightly, recordFolder, records } from "./backups.mjs";
import { assertRefused, assertSessionRefused, login, makeAccounts, run } from "./program.mjs";

const kSpool = "/var/spool/cron/crontabs";
const kDone = { data: null, success: true };
const kJob = '30 3 * * * /usr/kest/bin/kestlocalbkp -a "photos"';
let cookie;

before(() => {
  makeAccounts();
  cookie = login();
});
beforeEach(() => {
  forgetTasks();
  assert.equal(make({}).success, true);
});

const make = (fields) => run("backup", { form: { action: "apply", ...nightly, ...fields }, cookie }).json;
const change = (action, more = {}, request = {}) => run("backup_change", { form: { action, name: "photos", ...more }, cookie, ...request });
const list = () => run("backups", { cookie }).json.data.items;

test("A renamed task keeps its schedule under the new name, and the event log tells both", () => {
  assert.deepEqual(change("rename", { new_name: "Pictures 2" }).json, kDone);
  assert.deepEqual(jobs(), ['30 3 * * * /usr/kest/bin/kestlocalbkp -a "Pictures 2"']);
  assert.deepEqual(records(), ["Pictures 2"]);
  assert.deepEqual(list(), [{ kind: "local", name: "Pictures 2", state: "on", summary: "Time: 03:30 Days: daily" }]);
  assert.deepEqual(events().slice(1).map(({ event, texts }) => [event, ...texts.slice(0, 2)]), [
    ["0x12400011", " Time: 03:30 Days: daily", "photos"],
    ["0x12400010", " Time: 03:30 Days: daily", "Pictures 2"],
  ]);
});

test("A disabled task is renamed, too, and keeps the schedule that it had", () => {
  change("disable");
  assert.deepEqual(change("rename", { new_name: "pictures" }).json, kDone);
  assert.deepEqual(jobs(), []);
  change("enable", { name: "pictures" });
  assert.deepEqual(jobs(), ['30 3 * * * /usr/kest/bin/kestlocalbkp -a "pictures"']);
});

test("Renaming a task to its own name touches nothing", () => {
  const [crontab, known] = [crontabText(), events().length];
  assert.deepEqual(change("rename", { new_name: "photos" }).json, kDone);
  assert.deepEqual([crontabText(), events().length, jobs()], [crontab, known, [kJob]]);
});

test("A new name that is none, or taken, is refused beside the field", () => {
  make({ name: "taken", kind: "cloud" });
  const before = jobs();
  for (const name of ["", "a;b", 'a"b', "$(id)", "two\nlines", "-x", "a".repeat(65)]) {
    const { json } = change("rename", { new_name: name });
    assert.match(json.errors.new_name, /letters, digits, blanks/, name);
  }
  assert.deepEqual(change("rename", { new_name: "taken" }).json, { errors: { new_name: "Another task has this name already." }, success: false });
  assert.match(run("backup_change", { form: { action: "rename", name: "photos" }, cookie }).json.errors.new_name, /letters/);
  assert.deepEqual([jobs(), records()], [before, ["photos", "taken"]]);
});

test("A disabled task starts no more and is enabled with the schedule that it had", () => {
  assert.deepEqual(change("disable").json, kDone);
  assert.deepEqual([jobs(), list()[0].state, list()[0].summary], [[], "off", "Time: 03:30 Days: daily"]);
  assert.deepEqual(change("disable").json, kDone, "once more");
  assert.equal(crontabText().includes("kestjob run"), false);
  assert.deepEqual(change("enable").json, kDone);
  assert.deepEqual([jobs(), list()[0].state], [[kJob], "on"]);
  assert.deepEqual(change("enable").json, kDone, "once more");
  assert.deepEqual(jobs(), [kJob]);
});

test("A removed task has no job and no record", () => {
  assert.deepEqual(change("remove").json, kDone);
  assert.deepEqual([jobs(), records(), list()], [[], [], []]);
  assertRefused(change("remove"), "error", "error_backup_gone");
});

test("A damaged task can be removed, with the job of each kind, and nothing else", () => {
  writeFileSync(`${recordFolder}/photos`, "kind=tape\n");
  for (const action of ["enable", "disable", "rename"]) {
    assertRefused(change(action, { new_name: "pictures" }), "error", "error_backup_damaged");
  }
  assert.deepEqual(change("remove").json, kDone);
  assert.deepEqual([jobs(), records()], [[], []]);
});

test("When the crontab cannot be written nothing has changed", () => {
  const record = readFileSync(`${recordFolder}/photos`, "utf8");
  chmodSync(kSpool, 0o500);
  try {
    for (const action of ["disable", "remove"]) assertRefused(change(action), "error", "error_save_failed");
    assertRefused(change("rename", { new_name: "pictures" }), "error", "error_save_failed");
  } finally {
    chmodSync(kSpool, 0o700);
  }
  assert.deepEqual([jobs(), records(), readFileSync(`${recordFolder}/photos`, "utf8")], [[kJob], ["photos"], record]);
  assert.deepEqual(list()[0].state, "on");
});

test("When the scheduler's database is none, every change says so and the record stays", () => {
  writeFileSync("/usr/kest/etc/schedule.db", "no database".repeat(1000));
  assertRefused(change("enable"), "error", "error_save_failed");
  assertRefused(change("disable"), "error", "error_no_scheduler");
  assertRefused(change("remove"), "error", "error_save_failed");
  assertRefused(change("rename", { new_name: "pictures" }), "error", "error_no_scheduler");
  assert.deepEqual(records(), ["photos"]);
});

test("A task that there is not, a name that is none, and an unknown action are refused", () => {
  for (const name of ["other", "", "../../../../etc/passwd", 'a"b', ".new"]) {
    for (const action of ["rename", "enable", "disable", "remove"]) assertRefused(change(action, { name }), "error", "error_backup_gone");
  }
  assertRefused(change("drop"), "error", "error_unknown_action");
  assertRefused(run("backup_change", { json: { action: "remove", name: "photos" }, cookie }), "error", "error_unknown_action");
  assert.deepEqual(jobs(), [kJob]);
});

test("Only an administrator's session changes tasks, and only posted from here", () => {
  assertSessionRefused(change("remove", {}, { cookie: undefined }), "timeout", "login", "error_timeout");
  assertSessionRefused(change("remove", {}, { cookie: login("anna") }), "unauth", "login", "error_noprivilege");
  assertRefused(run("backup_change", { query: { action: "remove", name: "photos" }, cookie }), "error", "error_not_posted", 405);
  const foreign = { env: { HTTP_HOST: "nas:5000", HTTP_ORIGIN: "http://nas:81" } };
  assertRefused(change("remove", {}, foreign), "error", "error_not_posted", 403);
  assert.deepEqual(jobs(), [kJob]);
});

test("A folder without the right to write to it keeps everything as it is", () => {
  chmodSync(recordFolder, 0o500);
  try {
    assertRefused(change("disable"), "error", "error_save_failed");
    assertRefused(change("rename", { new_name: "pictures" }), "error", "error_save_failed");
  } finally {
    chmodSync(recordFolder, 0o700);
  }
  assert.deepEqual([jobs(), records()], [[kJob], ["photos"]]);
  mkdirSync(`${recordFolder}/pictures`);
  assert.deepEqual(change("rename", { new_name: "pictures" }).json.errors, { new_name: "Another task has this name already." });
  rmSync(`${recordFolder}/pictures`, { recursive: true });
});
