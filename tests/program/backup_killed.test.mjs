// A program that is killed anywhere in the middle of a save: database, crontab and records are whole, and the next save works.
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { before, test } from "node:test";
import { crontabText, jobs, kestjob, nightly, recordFolder, records } from "./backups.mjs";
import { killAtEachStep } from "./killed.mjs";
import { login, makeAccounts, run } from "./program.mjs";

let cookie;

const apply = (fields) => run("backup", { form: { action: "apply", ...nightly, ...fields }, cookie }).json;
const change = (action, more) => run("backup_change", { form: { action, name: "photos", ...more }, cookie }).json;

before(() => {
  makeAccounts();
  cookie = login();
});

// The database opens; what the crontab has of it is there line by line; every record says what it is.
function assertWhole(what) {
  for (const job of jobs()) assert.match(job, /^[\d,]+ [\d,]+ \* \* [\d,*]+ \/usr\/kest\/bin\/kestlocalbkp -a "[\w ]+"$/, what);
  const lines = crontabText().split("\n");
  assert.equal(lines.pop(), "", `${what}: the crontab ends in the middle of a line`);
  for (const line of lines) assert.match(line, /^# |^[\d,]+ [\d,]+ \* \* [\d,*]+ \/usr\/kest\/bin\/kestjob run \d+$/, what);
  assert.equal(lines.filter((line) => /^# (BEGIN|END) /.test(line)).length, lines.length > 0 ? 2 : 0, what);
  for (const name of records().filter((record) => record !== ".new")) {
    assert.match(readFileSync(`${recordFolder}/${name}`, "utf8"), /^kind="local"\n(\w+="\w+"\n){6}$/, `${what}: ${name}`);
  }
}

// After the next change of anything the crontab says what the database says.
function assertMended(what) {
  kestjob("render");
  const rendered = crontabText();
  for (const job of jobs()) assert.ok(rendered.includes(job.split(" /")[0]), `${what}: ${job}`);
  assert.equal(rendered.split("\n").filter((line) => line.includes("kestjob run")).length, jobs().length, what);
}

const killed = (program, form, prepare, check) =>
  killAtEachStep(program, form, {
    cookie,
    prepare,
    check: (what, step) => {
      assertWhole(what);
      assertMended(what);
      check?.(step);
    },
  });

const form = (fields) => ({ action: "apply", ...nightly, ...fields });

test("Killed while a new task is saved", () =>
  killed(
    "backup",
    () => form({}),
    () => change("remove"),
    (step) => assert.ok(records().includes("photos") || !jobs().some((job) => job.includes('"photos"')), `step ${step}: a job without a task`),
  ));

test("Killed while a schedule is changed: the old or the new one runs, never none", () => {
  apply({});
  const at = (step) => `0${step % 10}:${10 + (step % 50)}`;
  return killed(
    "backup",
    (step) => form({ task: "photos", start: at(step) }),
    () => {},
    (step) => assert.equal(jobs().filter((job) => job.includes('"photos"')).length, 1, `step ${step}`),
  );
});

test("Killed while a task is removed: what runs is in the list", () =>
  killed(
    "backup_change",
    () => ({ action: "remove", name: "photos" }),
    () => apply({}),
    (step) => assert.ok(records().includes("photos") || !jobs().some((job) => job.includes('"photos"')), `step ${step}: a job without a task`),
  ));

test("Killed while a task is renamed: what runs is in the list", () =>
  killed(
    "backup_change",
    () => ({ action: "rename", name: "photos", new_name: "pictures" }),
    () => {
      change("remove", { name: "pictures" });
      apply({});
    },
    (step) => {
      for (const name of ["photos", "pictures"]) {
        assert.ok(records().includes(name) || !jobs().some((job) => job.includes(`"${name}"`)), `step ${step}: ${name} runs and is not listed`);
      }
      assert.ok(records().includes("photos") || records().includes("pictures"), `step ${step}: the task is lost`);
    },
  ));
