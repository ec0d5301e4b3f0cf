// Users, groups and their members on a full disk: /usr/kest/etc is a small memory disk here (see CMakeLists.txt).
import assert from "node:assert/strict";
import { rmSync } from "node:fs";
import { before, test } from "node:test";
import { formError, startAdministration } from "./directory.mjs";
import { fillDisk } from "./full_disk.mjs";
import { run } from "./program.mjs";

const kFiller = "/usr/kest/etc/filler";
const kPassword = "a fresh password";
// Looking at the accounts takes room for a moment; the smallest change takes more.
const kForLooking = 36 * 1024;
const kLong = "x".repeat(1024);
const kNoRoom = formError("error_directory_no_room");
let cookie, load, apply;

before(() => ({ cookie, load, apply } = startAdministration()));

const list = (program) => run(program, { cookie }).json.data.items;
const state = () => [list("users"), list("groups"), load("user", { user: "anna" }), load("group", { group: "editors" }), load("members", { group: "editors" })];
const saveUser = (fields) => apply("user", { change: "save", ...load("user", fields.user ? { user: fields.user } : {}), ...fields });
const turn = (change, user) => apply("user", { change, user });
const saveGroup = (fields) => apply("group", { ...load("group", { group: fields.group }), ...fields });
const join = (added) => apply("members", { group: "editors", added });

test("On a full disk every change says so and leaves users and groups as they were; with room again it works", () => {
  const old = state();
  const fresh = { name: "kim", description: kLong, password: kPassword, password_again: kPassword };
  fillDisk(kFiller, kForLooking);
  const said = [saveUser({ user: "anna", description: kLong }), saveUser(fresh), turn("disable", "anna"), saveGroup({ group: "editors", description: kLong }), join("anna")];
  assert.deepEqual(state(), old);
  rmSync(kFiller);
  assert.deepEqual(said, Array(said.length).fill(kNoRoom));
  assert.equal(saveUser({ user: "anna", description: kLong }).data.description, kLong);
  assert.equal(saveUser(fresh).data.name, "kim");
  assert.equal(turn("disable", "anna").data.state, "disabled");
  assert.equal(saveGroup({ group: "editors", description: kLong }).data.description, kLong);
  assert.equal(join("anna").data.members, 1);
});
