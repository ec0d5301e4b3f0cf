// backup.cgi and backups.cgi: the form of a backup task, and the list that follows from it.
import assert from "node:assert/strict";
import { mkdirSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { before, beforeEach, test } from "node:test";
import { crontabText, events, forgetTasks, jobs, nightly, recordFolder, records } from "./backups.mjs";
import { assertRefused, assertSessionRefused, login, makeAccounts, run } from "./program.mjs";

const kInvalid = "The field is not valid.";
const kName = "A name has letters, digits, blanks and - _ . only, begins with a letter or digit and is not too long.";
let cookie;

before(() => {
  makeAccounts();
  cookie = login();
});
beforeEach(forgetTasks);

const apply = (changed = {}, request = {}) => run("backup", { form: { action: "apply", ...nightly, ...changed }, cookie, ...request });
const load = (task) => run("backup", { query: { action: "load", ...(task !== undefined && { task }) }, cookie });
const list = (request = {}) => run("backups", { cookie, ...request }).json.data.items;
const errinfo = (key) => ({ errinfo: { key, sec: "error" }, success: false });

function assertNothingKept() {
  assert.deepEqual(records(), []);
  assert.deepEqual(jobs(), []);
  assert.deepEqual(events(), []);
}

test("Without a task the list is empty, and a new one starts with every night", () => {
  assert.deepEqual(list(), []);
  const { data } = load().json;
  assert.deepEqual([data.name, data.enable, data.schedule, data.basic_weekday, data.start], ["", "on", "basic", "127", "03:00"]);
});

test("A new task is in the list, in the scheduler, in the crontab and in the event log", () => {
  assert.equal(apply().json.data.name, "photos");
  assert.deepEqual(list(), [{ kind: "local", name: "photos", state: "on", summary: "Time: 03:30 Days: daily" }]);
  assert.deepEqual(jobs(), ['30 3 * * * /usr/kest/bin/kestlocalbkp -a "photos"']);
  assert.match(crontabText(), /^30 3 \* \* \* \/usr\/kest\/bin\/kestjob run \d+$/m);
  assert.deepEqual(events(), [{ category: "5", level: "1", event: "0x12400010", texts: [" Time: 03:30 Days: daily", "photos", "", ""] }]);
});

for (const [zone, told] of [["UTC", "UTC"], ["Asia/Kolkata", "UTC+05:30"], ["Etc/GMT+3", "UTC-03:00"]]) {
  test(`A machine whose clock is that of ${zone} says ${told}, whatever the setting is`, () => {
    const ask = (query) => run("backup", { query: { action: "load", ...query }, cookie, env: { TZ: zone } }).json.data.zone;
    assert.equal(ask({}), told);
    apply();
    assert.equal(ask({ task: "photos" }), told);
  });
}

test("The summary is in the language of the request", () => {
  apply({ schedule: "advance", schedule_mon: "on", schedule_fri: "on", frequency: "2", lasttime: "17" });
  assert.equal(list()[0].summary, "Time: 03:30 ~ 17:30, every 2 h Days: Monday,Friday");
  assert.equal(list({ cookie: `${cookie}; lang=de` })[0].summary, "Zeit: 03:30 ~ 17:30, alle 2 Std. Tage: Montag,Freitag");
});

for (const [kind, command] of [
  ["local", '/usr/kest/bin/kestlocalbkp -a "photos"'],
  ["network", '/usr/kest/bin/kestnetbkp -a "photos"'],
  ["cloud", '/usr/kest/bin/kestnetbkps3 --s3add "photos"'],
]) {
  test(`A ${kind} task has its own command`, () => {
    assert.equal(apply({ kind }).json.data.kind, kind);
    assert.deepEqual(jobs(), [`30 3 * * * ${command}`]);
  });
}

// What is typed, and the crontab's fields.
const schedules = [
  [{ basic_weekday: "127", start: "00:00" }, "0 0 * * *"],
  [{ basic_weekday: "1", start: "23:59" }, "59 23 * * 0"],
  [{ basic_weekday: "64", start: "12:05" }, "5 12 * * 6"],
  [{ schedule: "advance", schedule_tue: "on", schedule_wed: "on" }, "30 3 * * 2,3"],
  [{ schedule: "advance", schedule_tue: "on", frequency: "6", lasttime: "15" }, "30 3,9,15 * * 2"],
  [{ schedule: "advance", schedule_sat: "on", start: "00:10", frequency: "23", lasttime: "23" }, "10 0,23 * * 6"],
  [{ schedule: "advance", schedule_sat: "on", start: "00:10", frequency: "1", lasttime: "0" }, "10 0 * * 6"],
  [{ schedule: "advance", schedule_mon: "on", frequency: "0", lasttime: "1", start: "22:00" }, "0 22 * * 1"],
];
for (const [typed, fields] of schedules) {
  test(`${JSON.stringify(typed)} runs at ${fields}, and is loaded as it was typed`, () => {
    const { json } = apply(typed);
    assert.equal(json.success, true, JSON.stringify(json));
    assert.deepEqual(jobs(), [`${fields} /usr/kest/bin/kestlocalbkp -a "photos"`]);
    const { data } = load("photos").json;
    assert.deepEqual(data, json.data);
    // One day and once a day is "basic" to the library, however it was typed.
    const expected = { ...typed, task: "photos" };
    if (typed.frequency === "0") Object.assign(expected, { schedule: "basic", lasttime: "22" });
    for (const [field, value] of Object.entries(expected)) assert.equal(data[field], value, field);
  });
}

test("A change takes the place of the old schedule in one step", () => {
  apply();
  apply({ task: "photos", start: "04:45", name: "of no account" });
  assert.deepEqual(jobs(), ['45 4 * * * /usr/kest/bin/kestlocalbkp -a "photos"']);
  assert.deepEqual(records(), ["photos"]);
  assert.deepEqual(events().map(({ event }) => event), ["0x12400010", "0x12400010"], "nothing was removed");
});

test("A task that does not start by itself has no job, and keeps its schedule", () => {
  apply({ enable: "off", start: "05:15" });
  assert.deepEqual(jobs(), []);
  assert.deepEqual(list(), [{ kind: "local", name: "photos", state: "off", summary: "Time: 05:15 Days: daily" }]);
  const { data } = load("photos").json;
  assert.deepEqual([data.enable, data.start], ["off", "05:15"]);
  apply({ task: "photos", enable: "on" });
  assert.equal(jobs().length, 1);
  apply({ task: "photos", enable: "off" });
  assert.deepEqual(jobs(), []);
  assert.equal(events().at(-1).event, "0x12400011");
});

test("Tasks are listed by name, without regard to case", () => {
  for (const name of ["beta", "Gamma", "alpha", "10"]) apply({ name });
  assert.deepEqual(list().map(({ name }) => name), ["10", "alpha", "beta", "Gamma"]);
});

const refusedNames = [
  "",
  " ",
  " photos",
  "photos ",
  "-a",
  ".photos",
  "..",
  "../../etc/passwd",
  "a/b",
  'a"b',
  'a" ; rm -rf / ; "',
  "a'b",
  "a`id`b",
  "$(id)",
  "$HOME",
  "a\\b",
  "a%b",
  "a;b",
  "a|b",
  "a&b",
  "a>b",
  "a<b",
  "a*b",
  "a?b",
  "a#b",
  "a!b",
  "a~b",
  "a=b",
  "a:b",
  "a,b",
  "(a)",
  "[a]",
  "{a}",
  "two\nlines",
  "two\r\nlines",
  "\n* * * * * root /bin/true",
  "tab\there",
  "bell\u0007",
  "\u007f",
  "\u2028",
  "\u{1f4be}",
  "a".repeat(65),
  "\u00e4".repeat(33),
  "x".repeat(100000),
];
for (const name of refusedNames) {
  test(`A task is not called ${JSON.stringify(name.slice(0, 40))}, and the scheduler is not asked`, () => {
    assert.deepEqual(apply({ name }).json, { errors: { name: name === "" ? kInvalid : kName }, success: false });
    assertNothingKept();
  });
}

test("A name that is no UTF-8, or ends in the middle of a character, is refused", () => {
  for (const bytes of ["%C3%28", "%F8", "photos%C3", "%ED%A0%80"]) {
    const form = new URLSearchParams({ action: "apply", ...nightly, name: "MARK" }).toString();
    assert.deepEqual(run("backup", { body: form.replace("MARK", bytes), cookie }).json, { errors: { name: kName }, success: false });
  }
  assertNothingKept();
});

for (const name of ["a", "Photos 2027", "a-b_c.d", "\u00dcberall", "\u5b89\u5168", "a".repeat(64), "\u00e4".repeat(32), "x..y", "photos.new"]) {
  test(`A task may be called ${JSON.stringify(name.slice(0, 20))}, and is found again`, () => {
    assert.equal(apply({ name, kind: "cloud" }).json.data.name, name);
    assert.deepEqual(list().map(({ name: listed, state }) => [listed, state]), [[name, "on"]]);
    assert.deepEqual(jobs(), [`30 3 * * * /usr/kest/bin/kestnetbkps3 --s3add "${name}"`]);
  });
}

test("A name that is taken is refused beside it, and the task stays as it is", () => {
  apply();
  assert.deepEqual(apply({ kind: "cloud", start: "01:00" }).json, { errors: { name: "Another task has this name already." }, success: false });
  assert.deepEqual(jobs(), ['30 3 * * * /usr/kest/bin/kestlocalbkp -a "photos"']);
});

const advanced = { schedule: "advance", schedule_mon: "on" };
const refusedFields = [
  ["kind", { kind: "tape" }, kInvalid],
  ["kind", { kind: "" }, kInvalid],
  ["enable", { enable: "yes" }, kInvalid],
  ["schedule", { schedule: "weekly" }, kInvalid],
  ["start", { start: "" }, kInvalid],
  ...["24:00", "12:60", "3:30", "03:3", " 3:30", "0330", "03:30:00", "-1:30", "03-30", "aa:bb", "99999999:00"].map((start) => [
    "start",
    { start },
    "Please give a time from 00:00 to 23:59.",
  ]),
  ["basic_weekday", { basic_weekday: "3" }, kInvalid],
  ["basic_weekday", { basic_weekday: "0" }, kInvalid],
  ["basic_weekday", { basic_weekday: "128" }, kInvalid],
  ["schedule_sun", { schedule: "advance" }, "Please choose at least one day."],
  ["schedule_tue", { ...advanced, schedule_tue: "maybe" }, kInvalid],
  ["frequency", { ...advanced, frequency: "24" }, kInvalid],
  ["frequency", { ...advanced, frequency: "-1" }, kInvalid],
  ["frequency", { ...advanced, frequency: "2.5" }, kInvalid],
  ["lasttime", { ...advanced, frequency: "2", lasttime: "24" }, kInvalid],
  ["lasttime", { ...advanced, frequency: "2", lasttime: "2" }, "The last start is before the first one."],
];
for (const [field, typed, message] of refusedFields) {
  test(`${field}: ${JSON.stringify(typed)} is refused beside it, and nothing is kept`, () => {
    assert.deepEqual(apply(typed).json, { errors: { [field]: message }, success: false });
    assertNothingKept();
  });
}

test("A refused field of a change leaves the task as it was", () => {
  apply();
  const record = readFileSync(`${recordFolder}/photos`, "utf8");
  apply({ task: "photos", start: "24:00" });
  assert.equal(readFileSync(`${recordFolder}/photos`, "utf8"), record);
  assert.deepEqual(jobs(), ['30 3 * * * /usr/kest/bin/kestlocalbkp -a "photos"']);
});

test("Messages are in the user's language", () => {
  const german = { cookie: `${cookie}; lang=de` };
  assert.deepEqual(apply({ start: "24:00" }, german).json.errors, { start: "Bitte geben Sie eine Zeit von 00:00 bis 23:59 an." });
});

test("The kind of a task stays", () => {
  apply();
  assert.deepEqual(apply({ task: "photos", kind: "network" }).json, {
    errors: { kind: "The kind of a task cannot be changed. Please make a new one." },
    success: false,
  });
  assert.deepEqual(jobs(), ['30 3 * * * /usr/kest/bin/kestlocalbkp -a "photos"']);
});

test("A task that has gone, and a name that is none, are neither loaded nor changed", () => {
  for (const task of ["photos", "../../../etc/passwd", 'a"b']) {
    assert.deepEqual(load(task).json, errinfo("error_backup_gone"), task);
    assert.deepEqual(apply({ task }).json, errinfo("error_backup_gone"), task);
  }
  assertNothingKept();
});

test("A record that others have damaged is listed, as damaged, and its job cannot be changed", () => {
  apply();
  for (const text of ["", "kind=tape\n", 'kind="', "\0".repeat(100), "x".repeat(2 * 1024 * 1024)]) {
    writeFileSync(`${recordFolder}/photos`, text);
    assert.deepEqual(list(), [{ kind: "", name: "photos", state: "unknown", summary: "" }], JSON.stringify(text.slice(0, 20)));
    assert.deepEqual(load("photos").json, errinfo("error_backup_gone"));
  }
  rmSync(`${recordFolder}/photos`);
  mkdirSync(`${recordFolder}/photos`);
  assert.equal(list()[0].kind, "");
  assert.deepEqual(apply().json.errors, { name: "Another task has this name already." });
});

test("Numbers of a record that are none, or out of range, count as the usual ones", () => {
  apply({ enable: "off" });
  writeFileSync(`${recordFolder}/photos`, 'kind="local"\ndays="128"\nhour="24"\nminute="x"\nevery="-1"\nlast_hour="99999999999999999999"\n');
  assert.equal(list()[0].summary, "Time: 00:00 Days: Sunday");
});

test("Files that are no tasks are not listed", () => {
  apply();
  for (const name of [".new", ".hidden", 'quote"', "-dash"]) writeFileSync(`${recordFolder}/${name}`, 'kind="local"\n');
  assert.deepEqual(list().map(({ name }) => name), ["photos"]);
});

test("When the scheduler does not answer the list says so, and nothing is saved", () => {
  apply();
  writeFileSync("/usr/kest/etc/schedule.db", "this is no database at all, and never was one".repeat(100));
  assert.deepEqual(list(), [{ kind: "local", name: "photos", state: "unknown", summary: "" }]);
  assert.deepEqual(load("photos").json, errinfo("error_no_scheduler"));
  const record = readFileSync(`${recordFolder}/photos`, "utf8");
  assert.deepEqual(apply({ task: "photos", start: "09:09" }).json, errinfo("error_save_failed"));
  assert.equal(readFileSync(`${recordFolder}/photos`, "utf8"), record, "the old record is back");
  assert.deepEqual(apply({ name: "other" }).json, errinfo("error_save_failed"));
  assert.deepEqual(records(), ["photos"]);
});

test("A folder of records that cannot be made or read is said", () => {
  writeFileSync(recordFolder, "a file where the folder belongs");
  assertRefused(run("backups", { cookie }), "error", "error_backups_not_read");
  assert.deepEqual(apply().json, errinfo("error_save_failed"));
  assert.deepEqual(jobs(), []);
  rmSync(recordFolder);
});

test("A save leaves no unfinished file, and takes no offence at one", () => {
  mkdirSync(recordFolder);
  writeFileSync(`${recordFolder}/.new`, "half a rec");
  apply();
  assert.deepEqual(records(), ["photos"]);
});

test("Only an administrator's session sees and changes tasks, and only posted from here", () => {
  const form = { action: "apply", ...nightly };
  assertSessionRefused(run("backups"), "timeout", "login", "error_timeout");
  assertSessionRefused(run("backups", { cookie: login("anna") }), "unauth", "login", "error_noprivilege");
  assertSessionRefused(run("backup", { form, cookie: login("anna") }), "unauth", "login", "error_noprivilege");
  assert.deepEqual(run("backup", { query: form, cookie }).json, errinfo("error_not_posted"));
  const foreign = run("backup", { form, cookie, env: { HTTP_HOST: "nas:5000", HTTP_ORIGIN: "http://nas:81" } });
  assert.deepEqual([foreign.status, foreign.json], [403, errinfo("error_not_posted")]);
  assertNothingKept();
});

test("A JSON document is no form, and an unknown action is answered", () => {
  assert.deepEqual(run("backup", { json: { action: "apply", ...nightly }, cookie }).json, errinfo("error_unknown_action"));
  assert.deepEqual(run("backup", { form: { action: "drop" }, cookie }).json, errinfo("error_unknown_action"));
  assertNothingKept();
});
