// vhosts.cgi on a full disk: /usr/kest/etc is a small memory disk here (see CMakeLists.txt).
import assert from "node:assert/strict";
import { rmSync } from "node:fs";
import { before, test } from "node:test";
import { fillDisk } from "./full_disk.mjs";
import { login, makeAccounts, run } from "./program.mjs";
import { filesNow, writeHosts } from "./sites.mjs";

const kFiller = "/usr/kest/etc/filler";
const kHosts = 400;
// The accounts lie on the same disk, and looking at them takes room for a moment; a file of hosts takes more.
const kForAccounts = 64 * 1024;
let cookie;

before(() => {
  makeAccounts();
  cookie = login();
});

const load = () => run("vhosts", { query: { action: "load" }, cookie }).json.data;
const save = (host, vhosttype) =>
  run("vhosts", { form: { action: "apply", change: "save", original: "", vhosttype, port: vhosttype === "0" ? "20080" : "20443", host, folder: "shop" }, cookie }).json;

for (const vhosttype of ["0", "1"]) {
  test(`A save of type ${vhosttype} on a full disk says so and leaves the old hosts whole; with room again it works`, () => {
    const hosts = Array.from({ length: kHosts }, (_, i) => ({ vhosttype: Number(vhosttype), port: vhosttype === "0" ? 20080 : 20443, host: `h${i}.example`, folder: "shop" }));
    assert.ok(writeHosts(hosts));
    const old = filesNow();
    assert.ok(old[vhosttype].length > kForAccounts);
    fillDisk(kFiller, kForAccounts);
    assert.deepEqual(save("new.example", vhosttype), { errinfo: { key: "error_hosts_not_saved", sec: "error" }, success: false });
    assert.deepEqual(filesNow(), old);
    assert.equal(load().hosts.length, kHosts);
    rmSync(kFiller);
    assert.equal(save("new.example", vhosttype).data.hosts.length, kHosts + 1);
  });
}
