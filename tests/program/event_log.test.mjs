// event_log.cgi: the newest entries of the event log.
import assert from "node:assert/strict";
import { statSync, writeFileSync } from "node:fs";
import { before, beforeEach, test } from "node:test";
import { forgetTasks, kestjob } from "./backups.mjs";
import { assertRefused, assertSessionRefused, idle, login, makeAccounts, run, sessionFile } from "./program.mjs";

let cookie;

before(() => {
  makeAccounts();
  cookie = login();
});
beforeEach(forgetTasks);

const ask = (query = {}, request = {}) => run("event_log", { query, cookie, ...request });
const items = (query) => ask(query).json.data.items;

test("Without an entry the list is empty", () => assert.deepEqual(items(), []));

test("The newest entry comes first, with the moment in UTC and its texts", () => {
  const begin = Math.floor(Date.now() / 1000) * 1000;
  kestjob("enter", "5", "1", "0x12400012", "Backup task started by its schedule", "photos");
  kestjob("enter", "7", "3", "0x12900034", "", "\u00dcberall");
  const [newest, oldest] = items();
  assert.deepEqual([newest.category, newest.level, newest.event, newest.texts], [7, 3, "0x12900034", ["", "\u00dcberall", "", ""]]);
  assert.deepEqual([oldest.category, oldest.texts[1]], [5, "photos"]);
  const moment = Date.parse(newest.time);
  assert.match(newest.time, /Z$/);
  assert.ok(moment >= begin && moment <= begin + 60_000, newest.time);
});

test("As many as were asked for, the newest", () => {
  for (let i = 0; i < 25; ++i) kestjob("enter", "5", "1", "1", `entry ${i}`);
  assert.equal(items().length, 20);
  assert.deepEqual(items({ count: 2 }).map(({ texts }) => texts[0]), ["entry 24", "entry 23"]);
  assert.equal(items({ count: 200 }).length, 25);
});

test("A text with tabs, line breaks and markup is one text, and no entry of its own", () => {
  const hostile = "a\tb\nc\r<script>alert(1)</script>\u001b[31m";
  kestjob("enter", "5", "1", "1", hostile, "x");
  const [item, ...others] = items();
  assert.deepEqual(others, []);
  assert.deepEqual(item.texts, ["a?b?c?<script>alert(1)</script>?[31m", "x", "", ""]);
});

test("A count that is none is refused", () => {
  for (const count of ["0", "-1", "201", "1e3", "x", "", " 5", "5;id", "99999999999"]) {
    assertRefused(ask({ count }), "error", "error_bad_request", 400);
  }
});

test("A log that cannot be read is said", () => {
  writeFileSync("/usr/kest/var/events.db", "no database".repeat(1000));
  const reply = run("event_log", { cookie, complaint: /kestjob: / });
  assertRefused(reply, "error", "error_events_not_read");
});

test("Only an administrator's session reads it, and asking keeps no session alive", () => {
  assertSessionRefused(ask({}, { cookie: undefined }), "timeout", "login", "error_timeout");
  assertSessionRefused(ask({}, { cookie: login("anna") }), "unauth", "login", "error_noprivilege");
  const poll = login();
  idle(poll, 10);
  // A session that is looked at anew keeps its time in whole seconds.
  const seconds = () => Math.floor(statSync(sessionFile(poll)).mtimeMs / 1000);
  const before = seconds();
  assert.equal(ask({}, { cookie: poll }).json.success, true);
  assert.equal(seconds(), before);
});
