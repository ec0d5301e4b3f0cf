// shares.cgi, share.cgi and name_search.cgi: shared folders from the form to the database and the volume. /volume2 can be
// read only, /volume3 is a memory disk (CMakeLists.txt).
import assert from "node:assert/strict";
import { spawn, spawnSync } from "node:child_process";
import { existsSync, readdirSync, readFileSync, rmSync, statSync, writeFileSync } from "node:fs";
import { before, test } from "node:test";
import { account, assertSessionRefused, keepSettings, login, makeAccounts, run, start, writeSetting } from "./program.mjs";

const kFactory = "/etc.defaults/kestinfo.conf";
const kPassphrase = "correct horse battery";
const kInvalid = "The field is not valid.";
const kWords = {
  name: "This cannot be the name of a shared folder: 1 to 32 characters, no slashes, quotes or other marks with a meaning of their own, no dot or hyphen first, no blank at an end.",
  taken: "There is a shared folder or a file of this name already.",
  reserved: "The appliance needs this name itself.",
  recordings: "This name is kept for the recordings of the surveillance.",
  backup: "This name is kept for backups of external disks.",
  disk: "Names that begin so are kept for external disks.",
  service: "This is the name of a service's folder.",
  same: "This is its name already.",
  description: "A description has 64 characters at most.",
  characters: "This text holds characters that cannot be kept.",
  missing: "This volume is not there any more.",
  readOnly: "This volume can be read only.",
  length: "A passphrase has 8 to 63 characters, accented ones count twice.",
  again: "The two passphrases differ.",
};
let cookie;

before(() => {
  makeAccounts();
  account("add", "bernd", "a third one");
  cookie = login();
});

const kNewShare = { name: "photo", volume: "1", desc: "", hidden: "off", disable_list: "off", disable_modify: "off", disable_download: "off", na: "", rw: "", ro: "", encryption: "none", passphrase: "", again: "" };
const apply = (fields, request = {}) => run("share", { form: { action: "apply", ...fields }, cookie, ...request }).json;
const create = (fields, request) => apply({ change: "create", ...kNewShare, ...fields }, request);
const fieldsOf = (name) => {
  const { na, rw, ro, ...data } = load(name);
  return { ...data, na: na.join(","), rw: rw.join(","), ro: ro.join(",") };
};
const save = (name, fields) => apply({ change: "save", ...fieldsOf(name), ...fields });
const rename = (share, name) => apply({ change: "rename", share, new_name: name });
const load = (share) => run("share", { query: { action: "load", share }, cookie }).json.data;
const list = (query = {}) => run("shares", { query, cookie }).json.data;
const itemOf = (name) => list({ prefix: name }).items.find((item) => item.name === name);
const done = (share) => ({ data: { share }, success: true });
const beside = (field, message) => ({ errors: { [field]: message }, success: false });
const formError = (key) => ({ errinfo: { key, sec: "error" }, success: false });
// What a refused change must leave as it was.
const everything = () => JSON.stringify([list(), load("photo"), readdirSync("/volume1").sort()]);

test("A share that is made is in the list and in its form, and its folder is on the volume", () => {
  const before = list().total;
  assert.deepEqual(create({ name: "photo", desc: "Pictures", hidden: "on", disable_modify: "on", rw: "anna,admin", na: "bernd" }), done("photo"));
  assert.deepEqual(itemOf("photo"), {
    descr: "Pictures", disable_download: false, disable_list: false, disable_modify: true, enc_auto_mount: false, encryption: 0, hidden: true, name: "photo", volume: "Volume1",
  });
  assert.equal(list().total, before + 1);
  const { version, ...data } = load("photo");
  assert.match(version, /^[0-9a-f]+$/);
  assert.deepEqual(data, {
    desc: "Pictures", disable_download: "off", disable_list: "off", disable_modify: "on", encryption: "none", has_lists: true, hidden: "on", na: ["bernd"], path: "/volume1/photo", ro: [],
    rw: ["admin", "anna"], share: "photo", volume: "Volume1",
  });
  assert.ok(statSync("/volume1/photo").isDirectory());
});

test("A share is made on the volume that was chosen among those that can be written", () => {
  const { volumes } = run("share", { query: { action: "load" }, cookie }).json.data;
  assert.deepEqual(volumes.map(({ value }) => value), ["1", "3"]);
  assert.deepEqual(create({ name: "elsewhere", volume: "3" }), done("elsewhere"));
  assert.ok(existsSync("/volume3/elsewhere"));
  assert.equal(itemOf("elsewhere").volume, "Volume3");
});

// Holds every lock of a share, as a program does that encrypts it; resolves to the way to let go.
async function holdShares() {
  const locks = readdirSync("/tmp/tarvel").filter((name) => name.startsWith("share-"));
  assert.ok(locks.length > 0);
  const holders = locks.map((name) => spawn("/usr/bin/flock", [`/tmp/tarvel/${name}`, "/bin/sh", "-c", "echo held; exec cat"], { stdio: ["pipe", "pipe", "inherit"] }));
  await Promise.all(holders.map(({ stdout }) => new Promise((resolve) => stdout.once("data", resolve))));
  return () => Promise.all(holders.map((holder) => new Promise((resolve) => holder.on("exit", resolve).stdin.end())));
}

test("While a share is being encrypted nothing else of it is changed, and other shares are", async () => {
  assert.deepEqual(create({ name: "untouched" }), done("untouched"));
  save("photo", {});
  const before = everything();
  const letGo = await holdShares();
  const said = [save("photo", { desc: "never" }), rename("PHOTO", "pictures"), apply({ change: "encrypt", share: "photo", encryption: "manual", passphrase: kPassphrase, again: kPassphrase })];
  const other = save("untouched", { desc: "changed" });
  await letGo();
  assert.deepEqual(said, Array(3).fill(formError("error_share_busy")));
  assert.deepEqual(other, done("untouched"));
  save("untouched", { desc: "" });
  assert.equal(everything(), before);
});

// The name, and the message beside the field.
const names = [
  ...["", "a/b", "../etc", ".hidden", "-a", " a", "a ", 'a"b', "a,b", "@a", "a\u0001", "a\nb", "x".repeat(33), "<b>", "\u00fc".repeat(33)].map((name) => [name, kWords.name]),
  ...["photo", "PHOTO"].map((name) => [name, kWords.taken]),
  ...["global", "Home", "PRINTERS"].map((name) => [name, kWords.reserved]),
  ["Surveillance", kWords.recordings],
  ...["usbbackup", "SATAbackup"].map((name) => [name, kWords.backup]),
  ...["usbshare2", "SATAshare1"].map((name) => [name, kWords.disk]),
  ["SataShareA", kWords.reserved],
];
test("No share is called what a name cannot be, what another has and what is kept, and nothing is made", () => {
  const before = everything();
  for (const [name, message] of names) assert.deepEqual(create({ name }), beside("name", message), JSON.stringify(name));
  assert.equal(everything(), before);
});

test("A name in bytes that are no text is refused, and so is such a description and such a list", () => {
  const form = new URLSearchParams({ action: "apply", change: "create", ...kNewShare, desc: "D", rw: "R" }).toString();
  const reply = run("share", { body: form.replace("name=photo", "name=%F8").replace("desc=D", "desc=%F8").replace("rw=R", "rw=%F8"), cookie, type: "application/x-www-form-urlencoded" });
  assert.deepEqual(reply.json.errors, { name: kWords.name, desc: kWords.characters, rw: kWords.characters });
});

test("The folder of all homes is the appliance's own while there are homes, and a service's without", (t) => {
  keepSettings(t);
  writeSetting("userHomeEnable", "yes");
  assert.ok([kWords.reserved, kWords.taken].includes(create({ name: "homes" }).errors.name));
  writeSetting("userHomeEnable", "no");
  assert.ok([kWords.service, kWords.taken].includes(create({ name: "homes" }).errors.name));
});

const volumes = [["2", kWords.readOnly], ...["9", "", "X", "1/../etc"].map((volume) => [volume, kWords.missing])];
test("No share is made on the volume that is gone, read-only or none", () => {
  for (const [volume, message] of volumes) assert.deepEqual(create({ name: "nowhere", volume }), beside("volume", message), volume);
  assert.equal(itemOf("nowhere"), undefined);
});

test("When there are as many shares as there may be, another is refused and the list says so", (t) => {
  const factory = readFileSync(kFactory, "utf8");
  t.after(() => writeFileSync(kFactory, factory));
  writeFileSync(kFactory, factory.replace(/^maxshares=.*$/m, 'maxshares="2"'));
  assert.equal(list().full, true);
  assert.deepEqual(create({ name: "onemore" }), formError("error_share_too_many"));
});

test("A description has 64 characters, however many bytes they take", () => {
  assert.deepEqual(save("photo", { desc: "\u{1F4F7}".repeat(64) }), done("photo"));
  assert.equal(load("photo").desc, "\u{1F4F7}".repeat(64));
  assert.deepEqual(save("photo", { desc: "\u00e4".repeat(65) }), beside("desc", kWords.description));
  assert.deepEqual(save("photo", { desc: "a\nb" }), beside("desc", kWords.characters));
  assert.equal(load("photo").desc, "\u{1F4F7}".repeat(64));
});

test("Visibility and each restriction are stored apart, and are on or off", () => {
  for (const field of ["hidden", "disable_list", "disable_modify", "disable_download"]) {
    assert.deepEqual(save("photo", { hidden: "off", disable_list: "off", disable_modify: "off", disable_download: "off", [field]: "on" }), done("photo"));
    const item = itemOf("photo");
    assert.deepEqual([item.hidden, item.disable_list, item.disable_modify, item.disable_download], ["hidden", "disable_list", "disable_modify", "disable_download"].map((other) => other === field));
    assert.deepEqual(save("photo", { [field]: "yes" }), beside(field, kInvalid));
  }
});

test("Names that nobody has are refused beside their list, and nothing of the save is stored", () => {
  const before = everything();
  assert.deepEqual(save("photo", { desc: "changed", ro: "anna,nobody" }), beside("ro", "There is no account or group nobody."));
  assert.deepEqual(save("photo", { desc: "changed", na: "@nobody" }), beside("na", "There is no account or group @nobody."));
  assert.deepEqual(save("photo", { rw: "x'); DROP TABLE shares;--" }), beside("rw", "There is no account or group x'); DROP TABLE shares;--."));
  assert.equal(everything(), before);
});

test("A name in two lists is told beside both, and nothing of the save is stored", () => {
  const before = everything();
  const twice = (name) => `${name} stands in another list, too. A name may stand in one list only.`;
  assert.deepEqual(save("photo", { desc: "changed", na: "", rw: "anna", ro: "ANNA" }), { errors: { ro: twice("ANNA"), rw: twice("anna") }, success: false });
  assert.equal(everything(), before);
  assert.deepEqual(create({ name: "twice", na: "anna", rw: "anna" }), { errors: { na: twice("anna"), rw: twice("anna") }, success: false });
  assert.equal(itemOf("twice"), undefined);
  assert.ok(!existsSync("/volume1/twice"));
});

test("What somebody else has changed since the form was filled is not overwritten", () => {
  const opened = fieldsOf("photo");
  for (const other of [{ desc: "another" }, { hidden: opened.hidden === "on" ? "off" : "on" }, { disable_list: "on" }, { na: "", rw: "", ro: "bernd" }]) {
    const before = fieldsOf("photo");
    assert.deepEqual(save("photo", other), done("photo"));
    assert.deepEqual(apply({ change: "save", ...before, desc: "mine" }), formError("error_share_changed"));
    assert.notEqual(load("photo").desc, "mine");
  }
  const { version, ...without } = fieldsOf("photo");
  assert.ok(version);
  assert.deepEqual(apply({ change: "save", ...without }), formError("error_share_changed"));
});

test("Groups stand in lists behind an @, also the group of everybody", () => {
  assert.deepEqual(save("photo", { na: "", rw: "@administrators,anna", ro: "@users" }), done("photo"));
  assert.deepEqual([load("photo").rw, load("photo").ro], [["@administrators", "anna"], ["@users"]]);
});

test("The lists are what was saved last: names move from one to another, and go", () => {
  assert.deepEqual(save("photo", { na: "", rw: "bernd,Bernd", ro: "admin,anna" }), done("photo"));
  assert.deepEqual([load("photo").na, load("photo").rw, load("photo").ro.sort()], [[], ["bernd"], ["admin", "anna"]]);
  assert.deepEqual(save("photo", { na: "bernd", rw: "", ro: "" }), done("photo"));
  assert.deepEqual([load("photo").na, load("photo").rw, load("photo").ro], [["bernd"], [], []]);
});

const renames = [
  ["photo", "photo", kWords.same],
  ["photo", "a/b", kWords.name],
  ["photo", "", kWords.name],
  ["photo", "global", kWords.reserved],
  ["photo", "surveillance", kWords.recordings],
  ["photo", "usbbackup", kWords.backup],
  ["photo", "usbshare1", kWords.disk],
  ["photo", "Elsewhere", kWords.taken],
];
test("What cannot be the new name is told beside the field, and the share keeps its folder", () => {
  const before = everything();
  for (const [from, to, message] of renames) assert.deepEqual(rename(from, to), beside("new_name", message), to);
  assert.equal(everything(), before);
});

test("A service's own folder keeps its name, and nobody's access is set there", () => {
  assert.equal(spawnSync("/usr/kest/bin/kestshare", ["add", "surveillance", "/volume1/surveillance"]).status, 0);
  assert.equal(load("surveillance").has_lists, false);
  assert.deepEqual(save("surveillance", { desc: "Recordings", rw: "anna" }), done("surveillance"));
  assert.deepEqual([load("surveillance").desc, load("surveillance").rw], ["Recordings", []]);
  for (const name of ["recordings", "SURVEILLANCE"]) {
    assert.deepEqual(rename("surveillance", name), beside("new_name", "This folder belongs to the appliance and keeps its name."));
  }
  assert.equal(itemOf("surveillance").descr, "Recordings");
});

test("A rename takes the folder along with what is in it, and everything else stays", () => {
  writeFileSync("/volume1/photo/picture", "a picture");
  const before = load("photo");
  assert.deepEqual(rename("photo", "Bilder & \u{1F4F7}"), done("Bilder & \u{1F4F7}"));
  assert.deepEqual(load("Bilder & \u{1F4F7}"), { ...before, share: "Bilder & \u{1F4F7}", path: "/volume1/Bilder & \u{1F4F7}" });
  assert.equal(readFileSync("/volume1/Bilder & \u{1F4F7}/picture", "utf8"), "a picture");
  assert.ok(!existsSync("/volume1/photo"));
  assert.deepEqual(rename("Bilder & \u{1F4F7}", "photo"), done("photo"));
});

test("A share may change the case of its name", () => {
  assert.deepEqual(rename("photo", "Photo"), done("Photo"));
  assert.ok(existsSync("/volume1/Photo"));
  assert.deepEqual(rename("Photo", "photo"), done("photo"));
});

test("A file in the folder's place refuses the rename, and stays", (t) => {
  writeFileSync("/volume1/inplace", "somebody's");
  t.after(() => rmSync("/volume1/inplace"));
  const before = everything();
  assert.deepEqual(rename("photo", "inplace"), formError("error_share_name_taken"));
  assert.equal(everything(), before);
  assert.equal(readFileSync("/volume1/inplace", "utf8"), "somebody's");
  assert.ok(existsSync("/volume1/photo/picture"));
});

test("What is not there any more can be neither opened nor changed", () => {
  assert.deepEqual(run("share", { query: { action: "load", share: "gone" }, cookie }).json, formError("error_share_gone"));
  for (const change of ["save", "rename", "encrypt"]) assert.deepEqual(apply({ change, share: "gone" }), formError("error_share_gone"));
  assert.deepEqual(apply({ change: "remove", share: "photo" }), formError("error_unknown_action"));
});

test("Of two that make the same share at once one has made it", async () => {
  const form = (desc) => ({ action: "apply", change: "create", ...kNewShare, name: "race", desc });
  const replies = await Promise.all(["one", "two"].map((desc) => start("share", { form: form(desc), cookie }).reply));
  const made = replies.filter(({ json }) => json.success);
  assert.equal(made.length, 1, replies.map(({ text }) => text).join());
  const [{ json: refused }] = replies.filter(({ json }) => !json.success);
  assert.ok(refused.errors?.name === kWords.taken || ["error_share_name_taken", "error_share_busy", "error_share_not_saved"].includes(refused.errinfo?.key), JSON.stringify(refused));
  assert.ok(["one", "two"].includes(load("race").desc));
});

test("Markup, SQL and shell words in a description are text", () => {
  const desc = "<img src=x onerror=alert(1)>'; DROP TABLE shares;-- $(reboot)";
  assert.deepEqual(save("photo", { desc }), done("photo"));
  assert.equal(load("photo").desc, desc);
  assert.equal(itemOf("photo").descr, desc);
});

test("The list begins where it is asked to, is searched without regard to case, and counts all", () => {
  for (let i = 0; i < 52; ++i) assert.equal(create({ name: `row ${String(i).padStart(2, "0")}` }).success, true);
  const first = list();
  assert.equal(first.items.length, 50);
  assert.ok(first.total >= 54 && !first.full);
  const second = list({ offset: 50 });
  assert.deepEqual([second.offset, second.total, second.items.length], [50, first.total, Math.min(first.total - 50, 50)]);
  assert.deepEqual(list({ offset: 9999 }).items, []);
  for (const odd of ["-1", "x"]) assert.equal(list({ offset: odd }).offset, 0);
  const found = list({ prefix: "ROW 4" });
  assert.deepEqual([found.total, found.items.map(({ name }) => name)[9]], [10, "row 49"]);
  assert.equal(list({ prefix: "%" }).total, 0);
});

const secrets = [
  [{ encryption: "manual", passphrase: "short", again: "short" }, "passphrase", kWords.length],
  [{ encryption: "auto", passphrase: "x".repeat(64), again: "x".repeat(64) }, "passphrase", kWords.length],
  [{ encryption: "manual", passphrase: "a\u0001bcdefgh", again: "a\u0001bcdefgh" }, "passphrase", kWords.characters],
  [{ encryption: "manual", passphrase: kPassphrase, again: `${kPassphrase}!` }, "again", kWords.again],
  [{ encryption: "both" }, "encryption", kInvalid],
];
test("A passphrase that will not do is refused beside its field, for a new share and one that is there", () => {
  for (const [fields, field, message] of secrets) {
    assert.deepEqual(create({ name: "secret", ...fields }), beside(field, message), JSON.stringify(fields));
    assert.deepEqual(apply({ change: "encrypt", share: "photo", ...fields }), beside(field, message), JSON.stringify(fields));
  }
  assert.equal(itemOf("secret"), undefined);
  assert.equal(load("photo").encryption, "none");
});

// Where folders cannot be encrypted, which is so without the rights of root.
test("An appliance that cannot encrypt says so, a new share is made clear, and the passphrase is in no reply, no log and no file", () => {
  const fields = { encryption: "manual", passphrase: kPassphrase, again: kPassphrase };
  assert.deepEqual(apply({ change: "encrypt", share: "photo", ...fields }), formError("error_share_no_encryption"));
  assert.equal(load("photo").encryption, "none");
  assert.ok(existsSync("/volume1/photo/picture"));
  assert.deepEqual(create({ name: "clear", ...fields }), { data: { failure: "error_share_no_encryption", share: "clear" }, success: true });
  assert.equal(load("clear").encryption, "none");
  rmSync("/tmp/request-body", { force: true });
  const found = spawnSync("grep", ["-rlF", kPassphrase, "/usr/kest/etc", "/usr/kest/var", "/var/log", "/tmp/tarvel", "/volume1", "/etc/kestinfo.conf"], { encoding: "utf8" });
  assert.equal(found.stdout, "");
});

test("Names are offered by how they begin, groups apart from accounts, without regard to case", () => {
  const search = (prefix) => run("name_search", { query: { prefix }, cookie }).json.data;
  assert.deepEqual(search("AN").accounts, { items: [{ descr: "", name: "anna" }], total: 1 });
  assert.deepEqual(search("admin").groups.items.map(({ name }) => name), ["administrators"]);
  assert.deepEqual(search("admin").accounts.items.map(({ name }) => name), ["admin"]);
  assert.deepEqual(search("").accounts.items.map(({ name }) => name), ["admin", "anna", "bernd"]);
  assert.deepEqual(search("").groups.items.map(({ name }) => name), ["administrators", "users"]);
  assert.deepEqual(search("%"), { accounts: { items: [], total: 0 }, groups: { items: [], total: 0 } });
});

test("Only an administrator's own page may look and change", () => {
  const before = everything();
  const anna = login("anna");
  for (const program of ["share", "shares", "name_search"]) {
    assertSessionRefused(run(program, { query: { action: "load" } }), "timeout", "login", "error_timeout");
    assertSessionRefused(run(program, { query: { action: "load" }, cookie: anna }), "unauth", "login", "error_noprivilege");
  }
  const form = { action: "apply", change: "create", ...kNewShare, name: "foreign" };
  const linked = run("share", { query: form, cookie });
  assert.deepEqual([linked.status, linked.json], [405, formError("error_not_posted")]);
  const foreign = run("share", { form, cookie, env: { HTTP_ORIGIN: "http://elsewhere.example", HTTP_HOST: "appliance" } });
  assert.deepEqual([foreign.status, foreign.json], [403, formError("error_not_posted")]);
  assert.equal(everything(), before);
});

test("Refusals are in the user's language", () => {
  const reply = create({ name: "global" }, { env: { HTTP_ACCEPT_LANGUAGE: "de" } });
  assert.deepEqual(reply, beside("name", "Das Ger\u00e4t braucht diesen Namen selbst."));
});
