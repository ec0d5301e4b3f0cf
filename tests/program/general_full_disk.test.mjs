// general.cgi on a full disk: /etc is a small memory disk here (see CMakeLists.txt).
import assert from "node:assert/strict";
import { readFileSync, readdirSync, rmSync } from "node:fs";
import { before, test } from "node:test";
import { fillDisk } from "./full_disk.mjs";
import { login, makeAccounts, run, settingsFile } from "./program.mjs";

const kFiller = "/etc/filler";
let cookie;

before(() => {
  makeAccounts();
  cookie = login();
});

test("A save on a full disk says so, leaves the old settings whole and no file behind; with room again it works", () => {
  const { data } = run("general", { query: { action: "load" }, cookie }).json;
  const form = { action: "apply", ...data, description: "new", log_level: "3" };
  const old = readFileSync(settingsFile, "utf8");
  const names = readdirSync("/etc").sort();
  fillDisk(kFiller);
  assert.deepEqual(run("general", { form, cookie }).json, { errinfo: { key: "error_save_failed", sec: "error" }, success: false });
  assert.equal(readFileSync(settingsFile, "utf8"), old);
  assert.deepEqual(run("general", { query: { action: "load" }, cookie }).json.data, data);
  rmSync(kFiller);
  assert.deepEqual(readdirSync("/etc").sort(), names);
  assert.equal(run("general", { form, cookie }).json.data.description, "new");
});
