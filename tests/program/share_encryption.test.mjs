// share.cgi: encryption on a machine that can encrypt. Runs with the rights of root, and is skipped where there is no FUSE.
import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { readFileSync, rmSync, writeFileSync } from "node:fs";
import { after, before, test } from "node:test";
import { login, makeAccounts, run } from "./program.mjs";

const kPassphrase = "correct horse battery";
const kWrong = "correct horse stapler";
let cookie;

before(() => {
  // Sessions belong to whoever serves them: here that is root.
  spawnSync("chown", ["-R", "0:0", "/usr/kest/var", "/usr/kest/etc", "/tmp/tarvel"]);
  makeAccounts();
  cookie = login();
});
after(() => close());

// Closes whatever is open.
const close = () => ["photo", "made"].map((name) => spawnSync("umount", [`/volume1/${name}`]));

const apply = (fields) => run("share", { form: { action: "apply", passphrase: "", again: "", ...fields }, cookie });
const encrypt = (share, encryption, passphrase = "", again = passphrase) => apply({ change: "encrypt", share, encryption, passphrase, again });
const fields = { volume: "1", desc: "", hidden: "off", disable_list: "off", disable_modify: "off", disable_download: "off", na: "", rw: "anna", ro: "" };
const create = (name, encryption, passphrase = "") => apply({ change: "create", name, ...fields, encryption, passphrase, again: passphrase });
const stateOf = (share) => run("share", { query: { action: "load", share }, cookie }).json.data.encryption;
const shown = (name) => {
  const { encryption, enc_auto_mount: auto } = run("shares", { query: { prefix: name }, cookie }).json.data.items[0];
  return [encryption, auto];
};
const done = (share) => ({ data: { share }, success: true });

test("A folder is encrypted with what is in it, which stays to be read", () => {
  assert.deepEqual(create("photo", "none").json, done("photo"));
  writeFileSync("/volume1/photo/picture", "a picture");
  assert.deepEqual(encrypt("photo", "manual", kPassphrase).json, done("photo"));
  assert.deepEqual([stateOf("photo"), ...shown("photo")], ["manual", 2, false]);
  assert.equal(readFileSync("/volume1/photo/picture", "utf8"), "a picture");
});

test("A wrong passphrase is told beside the field, and the folder is opened by hand as before", () => {
  assert.deepEqual(encrypt("photo", "auto", kWrong).json, { errors: { passphrase: "The passphrase is wrong." }, success: false });
  assert.equal(stateOf("photo"), "manual");
});

test("With the right one it opens at every start, and without one by hand again", () => {
  assert.deepEqual(encrypt("photo", "auto", kPassphrase).json, done("photo"));
  assert.deepEqual([stateOf("photo"), ...shown("photo")], ["auto", 2, true]);
  assert.deepEqual(encrypt("photo", "manual").json, done("photo"));
  assert.equal(stateOf("photo"), "manual");
});

test("Another description leaves the encryption as it is", () => {
  const { version } = run("share", { query: { action: "load", share: "photo" }, cookie }).json.data;
  assert.deepEqual(apply({ change: "save", share: "photo", version, ...fields, desc: "Pictures" }).json, done("photo"));
  assert.equal(stateOf("photo"), "manual");
});

test("While it is closed its encryption stays as it is, and the list says so", () => {
  assert.equal(create("made", "auto", kPassphrase).json.data.failure, undefined);
  assert.equal(stateOf("made"), "auto");
  assert.equal(spawnSync("umount", ["/volume1/made"]).status, 0);
  assert.deepEqual([stateOf("made"), ...shown("made")], ["fixed", 1, true]);
  const closed = "The folder is closed. Its encryption can be changed only while it is open.";
  assert.deepEqual(encrypt("made", "none").json, { errors: { encryption: closed }, success: false });
});

test("It becomes clear again, with what is in it", () => {
  assert.deepEqual(encrypt("photo", "none").json, done("photo"));
  assert.deepEqual([stateOf("photo"), ...shown("photo")], ["none", 0, false]);
  assert.equal(readFileSync("/volume1/photo/picture", "utf8"), "a picture");
});

test("No passphrase, right or wrong, stands in a reply, a log or a file", () => {
  for (const passphrase of [kPassphrase, kWrong]) {
    assert.ok(!encrypt("photo", "auto", passphrase, `${passphrase}!`).text.includes(passphrase));
    rmSync("/tmp/request-body", { force: true });
    const found = spawnSync("grep", ["-rlF", passphrase, "/usr/kest/etc", "/usr/kest/var", "/var/log", "/tmp/tarvel", "/volume1", "/etc/kestinfo.conf"], { encoding: "utf8" });
    assert.equal(found.stdout, "");
  }
});
