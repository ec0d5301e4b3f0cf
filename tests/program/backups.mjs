// What the tests of the backup tasks share: a form that is right, and what the machine knows of the tasks.
import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { existsSync, readdirSync, readFileSync, rmSync } from "node:fs";

export const recordFolder = "/usr/kest/etc/backup";
export const crontab = "/var/spool/cron/crontabs/www-data";

/// A new task that runs every night; tests change what they are about.
export const nightly = {
  task: "",
  name: "photos",
  kind: "local",
  enable: "on",
  schedule: "basic",
  start: "03:30",
  basic_weekday: "127",
  schedule_sun: "off",
  schedule_mon: "off",
  schedule_tue: "off",
  schedule_wed: "off",
  schedule_thu: "off",
  schedule_fri: "off",
  schedule_sat: "off",
  frequency: "0",
  lasttime: "0",
};

/// The tool for jobs and events; prints what it says.
export function kestjob(...command) {
  const ended = spawnSync("/usr/kest/bin/kestjob", command, { encoding: "utf8" });
  assert.equal(ended.status, 0, `kestjob ${command.join(" ")}: ${ended.stderr}`);
  return ended.stdout;
}

/// The jobs of the scheduler: "30 3 * * * COMMAND" each.
export const jobs = () =>
  kestjob("list")
    .split("\n")
    .filter(Boolean)
    .map((line) => line.split("\t").slice(1).join(" "));

export const events = () =>
  kestjob("log")
    .split("\n")
    .filter(Boolean)
    .map((line) => {
      const [, category, level, event, ...texts] = line.split("\t");
      return { category, level, event, texts };
    });

export const records = () => (existsSync(recordFolder) ? readdirSync(recordFolder).sort() : []);
export const crontabText = () => (existsSync(crontab) ? readFileSync(crontab, "utf8") : "");

export function forgetTasks() {
  rmSync(recordFolder, { recursive: true, force: true });
  for (const ending of ["", "-wal", "-shm"]) {
    rmSync(`/usr/kest/etc/schedule.db${ending}`, { recursive: true, force: true });
    rmSync(`/usr/kest/var/events.db${ending}`, { recursive: true, force: true });
  }
  rmSync(crontab, { force: true });
}
