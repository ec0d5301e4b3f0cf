// Who gets at what, with an id of his own for each account: what the programs answer, and what the kernel lets the account do without
// them, are held against one table. Then everything with which an account could try to leave a share.
import assert from "node:assert/strict";
import { spawn, spawnSync } from "node:child_process";
import { chmodSync, chownSync, existsSync, linkSync, lstatSync, mkdirSync, readFileSync, readdirSync, renameSync, rmSync, symlinkSync, writeFileSync } from "node:fs";
import { before, test } from "node:test";
import { account, kBodyType, login, makeAccount, makeAccounts, makeShare, part, run, wholeBody } from "./program.mjs";

const kHasIds = readFileSync("/proc/self/uid_map", "utf8").trim().split("\n").length > 1;
const options = { skip: kHasIds ? false : "one id only: the caller of script/appliance is not root" };
const kAccounts = ["anna", "bernd", "clara"];
const kGroups = { team: ["anna", "bernd"], crew: ["bernd", "clara"] };
const kSecret = "for nobody else";
const kSwappedRequests = 10;

// Everybody is in "users", too. "rw", "r" and "-" are for anna, bernd and clara.
const kTable = `
  nobody         na:       rw:       ro:       -   -   -
  own            na:       rw:anna   ro:       rw  -   -
  two            na:       rw:anna   ro:bernd  rw  r   -
  board          na:       rw:       ro:@users r   r   r
  open           na:       rw:@users ro:       rw  rw  rw
  not_anna       na:anna   rw:@users ro:       -   rw  rw
  not_bernd      na:bernd  rw:       ro:@users r   -   r
  team           na:       rw:@team  ro:       rw  rw  -
  team_board     na:       rw:       ro:@team  r   r   -
  team_not_anna  na:anna   rw:@team  ro:       -   rw  -
  no_team        na:@team  rw:@users ro:       -   -   rw
  no_team_named  na:@team  rw:anna   ro:bernd  -   -   -
  no_users       na:@users rw:anna   ro:@team  -   -   -
  team_and_all   na:       rw:@team  ro:@users rw  rw  r
  one_and_team   na:       rw:anna   ro:@team  rw  r   -
  clara_and_team na:bernd  rw:clara  ro:@team  r   -   rw
  twice          na:       rw:anna   ro:anna   rw  -   -
  thrice         na:anna   rw:anna   ro:anna   -   -   -
  weaker         na:       rw:@team  ro:anna   rw  rw  -
  by_name        na:@team  rw:       ro:clara  -   -   r
  all_three      na:clara  rw:bernd  ro:anna   r   rw  -
  case           na:       rw:ANNA   ro:@TEAM  rw  r   -
  crew_and_team  na:       rw:@crew  ro:@team  r   rw  rw
  not_crew       na:@crew  rw:@team  ro:       rw  -   -
  not_team       na:@team  rw:       ro:@crew  -   -   r
`
  .trim()
  .split("\n")
  .map((line) => {
    const [, name, na, rw, ro, ...rights] = /^\s*(\S+)\s+na:(\S*)\s+rw:(\S*)\s+ro:(\S*)\s+(\S+)\s+(\S+)\s+(\S+)$/.exec(line);
    return { name, na, rw, ro, rights: Object.fromEntries(kAccounts.map((each, i) => [each, rights[i]])) };
  });

const cookies = {};
let ids, gids;

// Names and numbers, as the tool lists them.
function numbersBy(command) {
  const lines = spawnSync("/usr/kest/bin/kestaccount", [command], { encoding: "utf8" }).stdout.trim().split("\n");
  return Object.fromEntries(lines.map((line) => line.split("\t").slice(0, 2)));
}

const shareFolder = (name) => `/volume1/${name}`;
const answers = (right) => ({ list: right !== "-", read: right !== "-", write: right === "rw" });

const list = (user, path) => run("files", { query: { path }, cookie: cookies[user] });
const read = (user, path) => run("download", { query: { path }, cookie: cookies[user] });
const write = (user, path, name, content = "new") =>
  run("upload", { query: { path }, body: wholeBody(part(`name="file"; filename="${name}"`, content)), type: kBodyType, cookie: cookies[user] });

const isDone = (reply) => reply.status === 200 && reply.json?.success === true;

// What the account may do by the kernel's own rules, whatever the programs allow.
const kProbe = `
  const { readdirSync, readFileSync, writeFileSync } = require("node:fs");
  const can = (what) => { try { what(); return true; } catch (error) { if (!["EACCES", "EPERM"].includes(error.code)) throw error; return false; } };
  const answers = JSON.parse(process.argv[1]).map((folder) => ({
    list: can(() => readdirSync(folder)),
    read: can(() => readFileSync(folder + "/file.txt")),
    write: can(() => writeFileSync(folder + "/by " + process.getuid(), "")),
  }));
  console.log(JSON.stringify(answers));
`;

function asAccount(user, ...command) {
  const none = "-all";
  const groups = Object.entries(kGroups).filter(([, members]) => members.includes(user));
  const numbers = ["100", ...groups.map(([name]) => gids[name])].join();
  const become = ["--reuid", ids[user], "--regid", "100", "--groups", numbers, "--inh-caps", none, "--ambient-caps", none];
  return spawnSync("setpriv", [...become, ...command], { encoding: "utf8" });
}

function probe(user, folders) {
  const ended = asAccount(user, process.execPath, "-e", kProbe, JSON.stringify(folders));
  assert.equal(ended.status, 0, ended.stderr);
  return JSON.parse(ended.stdout);
}

function makeSecret(folder, owner) {
  mkdirSync(folder, { recursive: true });
  writeFileSync(`${folder}/file.txt`, kSecret);
  if (owner === undefined) return;
  chmodSync(`${folder}/file.txt`, 0o600);
  chmodSync(folder, 0o700);
  for (const path of [`${folder}/file.txt`, folder]) chownSync(path, Number(ids[owner]), 100);
}

// Folders outside of the share "open" that anna must not reach through it: one that the kernel closes to her, and one that it does not.
const kOutside = ["/volume1/nobody/vault", "/run/outside"];

function makeOutside() {
  for (const folder of kOutside) makeSecret(folder);
  chmodSync("/run/outside", 0o777);
  makeSecret("/volume1/berndsvault", "bernd");
}

before(() => {
  if (!kHasIds) return;
  makeAccounts();
  for (const name of ["bernd", "clara"]) makeAccount(name);
  for (const [group, members] of Object.entries(kGroups)) {
    account("groupadd", group);
    for (const name of members) account("join", name, group);
  }
  ids = numbersBy("list");
  gids = numbersBy("groups");
  for (const { name, na, rw, ro } of kTable) {
    makeShare(name, { na, rw, ro });
    writeFileSync(`${shareFolder(name)}/file.txt`, name);
  }
  for (const user of kAccounts) {
    cookies[user] = login(user);
    run("files", { cookie: cookies[user] });
    writeFileSync(`/run/${user}.txt`, user);
    const home = asAccount(user, "cp", `/run/${user}.txt`, `/var/services/homes/${user}/file.txt`);
    assert.equal(home.status, 0, home.stderr);
  }
  makeOutside();
});

for (const user of kAccounts) {
  test(`What the programs let ${user} do in each share is what the table says`, options, () => {
    for (const { name, rights } of kTable) {
      const got = {
        list: isDone(list(user, `/${name}`)),
        read: read(user, `/${name}/file.txt`).text === name,
        write: isDone(write(user, `/${name}`, `of ${user}`)),
      };
      assert.deepEqual(got, answers(rights[user]), `${user} in ${name}`);
      assert.equal(existsSync(`${shareFolder(name)}/of ${user}`), got.write, `${user} in ${name}`);
    }
  });

  test(`What the kernel lets ${user} do in each share is no more`, options, () => {
    const got = probe(user, kTable.map(({ name }) => shareFolder(name)));
    for (const [i, { name, rights }] of kTable.entries()) assert.deepEqual(got[i], answers(rights[user]), `${user} in ${name}`);
  });

  test(`${user} has the own home, and nobody else's`, options, () => {
    assert.ok(isDone(list(user, "/home")));
    assert.equal(read(user, "/home/file.txt").text, user);
    assert.ok(isDone(write(user, "/home", "mine")));
    const homes = probe(user, kAccounts.map((each) => `/var/services/homes/${each}`));
    for (const [i, each] of kAccounts.entries()) {
      const open = each === user;
      assert.deepEqual(homes[i], { list: open, read: open, write: open }, `${user} in the home of ${each}`);
      for (const path of [`/homes/${each}`, `/home/../${each}`]) assert.ok(!isDone(list(user, path)), path);
    }
  });
}

test("A list that changes reaches what accounts have made before", options, () => {
  makeShare("later", { rw: "anna" });
  assert.ok(isDone(write("anna", "/later", "annas", "by anna")));
  assert.equal(asAccount("anna", "mkdir", "/volume1/later/folder").status, 0);
  assert.ok(isDone(write("anna", "/later/folder", "annas", "by anna")));
  const files = ["/volume1/later/annas", "/volume1/later/folder/annas"];
  const canRead = (user) => files.map((file) => asAccount(user, "cat", file).stdout);
  assert.deepEqual(canRead("clara"), ["", ""]);
  const set = spawnSync("/usr/kest/bin/kestshare", ["set", "later", "rw", "", "ro", "clara"], { encoding: "utf8" });
  assert.deepEqual([set.status, set.stderr], [0, ""]);
  assert.deepEqual(canRead("clara"), ["by anna", "by anna"]);
  assert.equal(read("clara", "/later/folder/annas").text, "by anna");
  assert.ok(!isDone(write("anna", "/later/folder", "more")));
  assert.notEqual(asAccount("anna", "touch", "/volume1/later/folder/more").status, 0);
});

test("The list of shares shows each account those that the table opens to it", options, () => {
  for (const user of kAccounts) {
    const shown = run("files", { cookie: cookies[user] }).json.data.items.map(({ name }) => name);
    const wanted = kTable.filter(({ rights }) => rights[user] !== "-").map(({ name }) => name);
    assert.deepEqual(shown.filter((name) => kTable.some((share) => share.name === name)), wanted.sort(), user);
  }
});

const outsideNames = () => kOutside.map((folder) => readdirSync(folder).sort());

function assertClosed(path) {
  const replies = [list("anna", path), read("anna", `${path}/file.txt`), write("anna", path, "escaped")];
  for (const reply of replies) {
    assert.ok(!isDone(reply), `${path}: ${reply.text}`);
    assert.doesNotMatch(reply.text, new RegExp(kSecret), path);
    assert.notEqual(reply.status, 500, path);
  }
}

test("Links in a share lead nowhere", options, () => {
  const share = shareFolder("open");
  const targets = [...kOutside, "/", "/usr/kest/etc", "/volume1/berndsvault", "../nobody/vault", "/var/services/homes/bernd", "/proc/self/root/run/outside", "loop"];
  for (const [i, target] of targets.entries()) {
    const name = target === "loop" ? "loop" : `link${i}`;
    symlinkSync(target, `${share}/${name}`);
    assertClosed(`/open/${name}`);
  }
  for (const target of ["/etc/passwd", "/usr/kest/etc/accounts.db", "/run/outside/file.txt"]) {
    const name = `file of ${target.replaceAll("/", "_")}`;
    symlinkSync(target, `${share}/${name}`);
    const reply = read("anna", `/open/${name}`);
    assert.notEqual(reply.status, 200);
    assert.doesNotMatch(reply.text, /root:|SQLite|nobody else/);
    assert.ok(!isDone(write("anna", "/open", name)), "nor is one written through");
  }
  assert.deepEqual(outsideNames(), [["file.txt"], ["file.txt"]]);
});

test("A hard link opens to nobody what the file itself does not", options, () => {
  const share = shareFolder("open");
  mkdirSync("/volume1/stock", { recursive: true });
  for (const name of ["berndsown", "anyones"]) writeFileSync(`/volume1/stock/${name}`, kSecret);
  for (const name of ["berndsown", "anyones"]) linkSync(`/volume1/stock/${name}`, `${share}/${name}`);
  chmodSync("/volume1/stock/berndsown", 0o600);
  chownSync("/volume1/stock/berndsown", Number(ids.bernd), 100);
  const closed = read("anna", "/open/berndsown");
  assert.equal(closed.status, 403, closed.text);
  assert.doesNotMatch(closed.text, new RegExp(kSecret));
  assert.ok(!isDone(write("anna", "/open", "berndsown")));
  assert.equal(readFileSync("/volume1/stock/anyones", "utf8"), kSecret);
  // Anna makes none herself of what she may not read.
  const made = asAccount("anna", "ln", "/volume1/berndsvault/file.txt", `${share}/stolen`);
  assert.notEqual(made.status, 0);
  assert.ok(!existsSync(`${share}/stolen`));
});

test("No spelling of a path leads out of its share", options, () => {
  const up = ["..", "../", "./..", "../../etc", "../nobody", "../nobody/vault", "..//nobody/vault", "sub/../../nobody/vault"];
  for (const tail of up) assertClosed(`/open/${tail}`);
  for (const path of ["/../etc", "/./open", "//open", "/open//", "open", "", "/", "/open/.", "/nobody", "/nobody/vault", "/run/outside", "/volume1/open"]) {
    assert.ok(!isDone(write("anna", path, "escaped")), path);
    assert.notEqual(read("anna", path).status, 200, path);
  }
  for (const query of ["path=%2Fopen%2F..%2Fnobody%2Fvault", "path=/open/%2e%2e/nobody/vault", "path=/open/%252e%252e/nobody/vault", "path=/open&path=/nobody"]) {
    assert.doesNotMatch(run("files", { query, cookie: cookies.anna }).text, /vault|secret/, query);
  }
  for (const name of ["../nobody/escaped", "..", "/run/outside/escaped"]) write("anna", "/open", name);
  const padded = `/${"/".repeat(4090)}nobody/vault`;
  assertClosed(padded);
  assert.deepEqual(outsideNames(), [["file.txt"], ["file.txt"]]);
  assert.deepEqual(readdirSync("/volume1/nobody").sort(), ["file.txt", "vault"]);
});

// Swaps a folder and a link in its place until its input ends, and prints how often.
const kSwapper = `
  const { renameSync } = require("node:fs");
  const [place, folder, link] = process.argv.slice(1);
  let swaps = 0;
  process.stdin.on("end", () => { console.log(swaps); process.exit(0); }).resume();
  (function swap() {
    for (let i = 0; i < 200; ++i, ++swaps) {
      renameSync(place, folder);
      renameSync(link, place);
      renameSync(place, link);
      renameSync(folder, place);
    }
    setImmediate(swap);
  })();
`;

for (const outside of kOutside) {
  test(`While a folder is swapped for a link to ${outside}, nothing is read or written there`, options, async () => {
    const share = shareFolder("open");
    const place = `${share}/turn${kOutside.indexOf(outside)}`;
    mkdirSync(`${place}/sub`, { recursive: true });
    mkdirSync(`${outside}/sub`, { recursive: true });
    for (const folder of [place, `${place}/sub`]) writeFileSync(`${folder}/file.txt`, "within");
    writeFileSync(`${outside}/sub/file.txt`, kSecret);
    if (outside.startsWith("/run")) chmodSync(`${outside}/sub`, 0o777);
    const names = readdirSync(outside, { recursive: true }).sort();
    symlinkSync(outside, `${place}.link`);
    const swapper = spawn(process.execPath, ["-e", kSwapper, place, `${place}.folder`, `${place}.link`], { stdio: ["pipe", "pipe", "inherit"] });
    let swaps = "";
    swapper.stdout.on("data", (text) => (swaps += text));

    const path = place.slice("/volume1".length);
    for (let i = 0; i < kSwappedRequests; ++i) {
      const folder = i % 2 ? path : `${path}/sub`;
      const replies = [read("anna", `${folder}/file.txt`), write("anna", folder, `new ${i}`), list("anna", folder)];
      for (const reply of replies) assert.doesNotMatch(reply.text, new RegExp(kSecret));
      if (replies[0].status === 200) assert.equal(replies[0].text, "within");
    }
    const ended = new Promise((resolve) => swapper.on("close", resolve));
    swapper.stdin.end();
    assert.equal(await ended, 0);
    assert.ok(Number(swaps) > 0, "the folder was swapped meanwhile");
    assert.deepEqual(readdirSync(outside, { recursive: true }).sort(), names);
  });
}

// The same where luck has no part in it: before each look at a file in turn that a program takes.
const kSwapAtCall = `${process.env.TARVEL_BUILD}/tests/program/swap_at_call.so`;
const kTurn = "/volume1/open/turn";
const kSwap = { LD_PRELOAD: kSwapAtCall, SWAP_PLACE: kTurn, SWAP_FOLDER: `${kTurn}.folder`, SWAP_LINK: `${kTurn}.link` };

const kUses = [
  ["read", (env) => run("download", { query: { path: "/open/turn/sub/file.txt" }, cookie: cookies.anna, env })],
  ["list", (env) => run("files", { query: { path: "/open/turn" }, cookie: cookies.anna, env })],
  ["tree", (env) => run("folders", { query: { path: "/open/turn" }, cookie: cookies.anna, env })],
  [
    "write",
    (env) => run("upload", { query: { path: "/open/turn" }, body: wholeBody(part(`name="file"; filename="new"`, "new")), type: kBodyType, cookie: cookies.anna, env }),
  ],
];

for (const [use, call] of kUses) {
  test(`Whenever a folder makes way for a link, a program that comes to ${use} stays within`, options, () => {
    const outside = "/run/outside";
    mkdirSync(`${outside}/sub`, { recursive: true });
    writeFileSync(`${outside}/sub/file.txt`, kSecret);
    for (const folder of [outside, `${outside}/sub`]) chmodSync(folder, 0o777);
    const names = readdirSync(outside, { recursive: true }).sort();
    symlinkSync(outside, kSwap.SWAP_LINK);
    let within = 0;
    let at = 0;
    for (let swapped = true; swapped; ) {
      assert.ok(++at < 200, "a program looks at so many files only");
      mkdirSync(`${kTurn}/sub`, { recursive: true });
      writeFileSync(`${kTurn}/sub/file.txt`, "within");
      const reply = call({ ...kSwap, SWAP_AT: String(at) });
      assert.doesNotMatch(reply.text, /nobody else|%2Foutside|"file.txt"/, `${use}, swapped at ${at}`);
      assert.deepEqual(readdirSync(outside, { recursive: true }).sort(), names, `${use}, swapped at ${at}`);
      if (reply.status === 200) ++within;
      swapped = lstatSync(kTurn).isSymbolicLink();
      if (swapped) renameSync(kTurn, kSwap.SWAP_LINK);
      rmSync(swapped ? kSwap.SWAP_FOLDER : kTurn, { recursive: true });
    }
    rmSync(kSwap.SWAP_LINK);
    assert.ok(at > 10 && within > 0 && within < at, `${within} of ${at} were answered`);
  });
}
