// vhosts.cgi: the virtual hosts, from the form to the web server of the sites.
import assert from "node:assert/strict";
import { existsSync, mkdirSync, readdirSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { createServer } from "node:net";
import { after, before, beforeEach, test } from "node:test";
import { assertSessionRefused, keepSettings, login, makeAccounts, run, start, writeSetting } from "./program.mjs";
import { ask, filesNow, freePorts, hostFiles, listenOn, makePage, reload, sitesFolder, startSites, writeHosts } from "./sites.mjs";

const kInvalid = "The field is not valid.";
const kHostName = "This is not a name of a host: letters, digits and hyphens, with dots in between.";
const kFolderName = "A folder's name has no quotes, slashes or other marks with a meaning of their own, and no dot or blank at its beginning.";
const kConflict = "Another service has this port.";
const kOtherProtocol = "This port has hosts of the other protocol.";
let cookie;
let sites;
let ports;

before(async () => {
  makeAccounts();
  cookie = login();
  sites = await startSites();
  ports = await freePorts(4);
});
beforeEach(() => writeHosts([]));
after(() => sites.stop());

const load = () => run("vhosts", { query: { action: "load" }, cookie }).json;
const form = (fields) => ({ action: "apply", change: "save", original: "", vhosttype: "0", port: String(ports[0]), host: "shop.example", folder: "shop", ...fields });
const save = (fields, request = {}) => run("vhosts", { form: form(fields), cookie, ...request }).json;
const remove = (original) => run("vhosts", { form: { action: "apply", change: "remove", original }, cookie }).json;
const hostsOf = ({ data }) => data.hosts.map(({ id, folder, served }) => [id, folder, served]);
const formError = (key) => ({ errinfo: { key, sec: "error" }, success: false });

test("Without hosts the list is empty", () => {
  assert.deepEqual(load(), { data: { hosts: [], https_port: 8443, told: true }, success: true });
});

test("A host that is added stands in the file as the library writes it, and answers when the reply is there", async () => {
  makePage("shop", "the shop");
  const [port] = ports;
  const { data, success } = save({});
  assert.equal(success, true);
  assert.deepEqual(data.hosts, [{ folder: "shop", host: "shop.example", id: `0:${port}:shop.example`, port, served: true, vhosttype: 0 }]);
  assert.deepEqual(await ask(port, "shop.example"), { status: 200, text: "the shop" });
  const [http, https] = filesNow().map(String);
  assert.ok(http.startsWith(`Listen ${port}\nNameVirtualHost *:${port}\nNameVirtualHost *:80\n<VirtualHost *:80>\n`), http);
  assert.ok(http.includes(`<VirtualHost *:${port}>\nServerName shop.example\nDocumentRoot "/var/services/web/shop"\n`), http);
  assert.equal(https, "");
  assert.deepEqual(load().data, data);
});

test("A folder that is not there is made, with a page in it the host answers", async () => {
  rmSync(`${sitesFolder}/fresh`, { recursive: true, force: true });
  assert.equal(save({ folder: "fresh" }).success, true);
  makePage("fresh", "fresh");
  assert.equal((await ask(ports[0], "shop.example")).text, "fresh");
});

test("A host is changed: its old name and port answer no more", async () => {
  makePage("one", "page one");
  makePage("two", "page two");
  const [first, second] = ports;
  save({ folder: "one" });
  assert.deepEqual(hostsOf(save({ original: `0:${first}:shop.example`, host: "new.example", port: String(second), folder: "two" })), [[`0:${second}:new.example`, "two", true]]);
  assert.equal((await ask(second, "new.example")).text, "page two");
  assert.equal((await ask(first, "shop.example")).error, "ECONNREFUSED");
});

test("A host changes its protocol on its own port, and back", async () => {
  makePage("shop", "the shop");
  const [port] = ports;
  save({});
  assert.deepEqual(hostsOf(save({ original: `0:${port}:shop.example`, vhosttype: "1" })), [[`1:${port}:shop.example`, "shop", true]]);
  assert.equal((await ask(port, "shop.example", { secure: true })).text, "the shop");
  assert.deepEqual(hostsOf(save({ original: `1:${port}:shop.example` })), [[`0:${port}:shop.example`, "shop", true]]);
  assert.equal((await ask(port, "shop.example")).text, "the shop");
});

test("Hosts are listed in the order of the files, HTTP first; removing one leaves the others and its folder", async () => {
  const [first, second, third] = ports;
  save({ vhosttype: "1", port: String(third), host: "s.example" });
  save({ host: "a.example" });
  save({ host: "b.example", port: String(second) });
  const ids = [`0:${first}:a.example`, `0:${second}:b.example`, `1:${third}:s.example`];
  assert.deepEqual(load().data.hosts.map(({ id }) => id), ids);
  assert.deepEqual(remove(ids[1]).data.hosts.map(({ id }) => id), [ids[0], ids[2]]);
  assert.equal((await ask(second, "b.example")).error, "ECONNREFUSED");
  assert.ok(existsSync(`${sitesFolder}/shop`));
  remove(ids[0]);
  assert.deepEqual(remove(ids[2]).data.hosts, []);
  assert.deepEqual(filesNow().map(String), ["", ""]);
});

test("A host on a port of others of its protocol, and of another name on its own port, is taken", () => {
  assert.equal(save({}).success, true);
  assert.equal(save({ host: "other.example" }).success, true);
});

// Field, value, and the message beside the field: before the library is asked.
const refusals = [
  ["vhosttype", "2", kInvalid],
  ["vhosttype", "", kInvalid],
  ["port", "0", kInvalid],
  ["port", "65536", kInvalid],
  ["port", "80a", kInvalid],
  ["port", "", kInvalid],
  ["host", "", kInvalid],
  ["host", "x".repeat(254), "This text is too long."],
  ["folder", "", kInvalid],
  ["folder", "x".repeat(46), "This text is too long."],
  ...["a b", "a\nb", "x\nInclude /etc/passwd", 'a"b', "a'b", "a;b", "$(reboot)", "`reboot`", "a|b", "a&b", "*", "*.example", "a/b", "a\\b", "a:80", "-a", "a-", ".a", "a.", "a..b",
    "b\u00fccher.example", "${PATH}", "%{HTTP_HOST}", "<b>", "#a", "x".repeat(64), "91", "1.2.3.4.5", "192.0.2.256", "[::1]", "\u0001"].map((name) => ["host", name, kHostName]),
  ...["a\nb", 'a"\nAlias / "/etc', 'a"b', "a'b", "a`b", "a\\b", "a/b", "../etc", "..", ".", ".hidden", "a;b", "$(reboot)", "${PATH}", "a|b", "a&b", "a*", "a?", "a#b", "a%b", "<b>", "(a)",
    "[a]", "{a}", "~a", "!a", " a", "a ", "a\tb", "\u0001", "\u007f"].map((name) => ["folder", name, kFolderName]),
];
for (const [field, value, message] of refusals) {
  test(`${field} does not take ${JSON.stringify(value.slice(0, 40))}, and nothing is written`, () => {
    const before = filesNow();
    const folders = readdirSync(sitesFolder);
    assert.deepEqual(save({ [field]: value }), { errors: { [field]: message }, success: false });
    assert.deepEqual(filesNow(), before);
    assert.deepEqual(readdirSync(sitesFolder), folders);
  });
}

const taken = [
  ["host", "localhost"],
  ["host", "192.0.2.1"],
  ["host", "a_b-c.example"],
  ["host", Array.from({ length: 63 }, () => "abc").join(".")],
  ["folder", "two words"],
  ["folder", "gr\u00fcn"],
  ["folder", "a.b-c_d+e,f=g@h:i"],
  ["folder", "x".repeat(45)],
];
for (const [field, value] of taken) {
  test(`${field} takes ${JSON.stringify(value)}, and the host answers from its folder`, async () => {
    const reply = save({ [field]: value });
    assert.equal(reply.data?.hosts[0][field], value, JSON.stringify(reply));
    const { host, folder, port } = reply.data.hosts[0];
    makePage(folder, `page of ${field}`);
    assert.deepEqual(await ask(port, host), { status: 200, text: `page of ${field}` });
  });
}

test("A text that is no UTF-8 is refused beside its field", () => {
  const body = new URLSearchParams(form({ folder: "MARK" })).toString().replace("MARK", "%C3%28");
  assert.deepEqual(run("vhosts", { body, cookie }).json.errors, { folder: kFolderName });
});

test("All bad fields are told at once, in the user's language", () => {
  const reply = run("vhosts", { form: form({ host: "a b", folder: "a/b" }), cookie: `${cookie}; lang=de` });
  assert.deepEqual(Object.keys(reply.json.errors), ["folder", "host"]);
  assert.match(reply.json.errors.host, /^Das ist kein Name eines Hosts/);
});

test("A name twice on one port is refused, in any case of letters; a host may keep its own", () => {
  save({});
  const message = "There is a host of this name on this port already.";
  assert.deepEqual(save({ host: "Shop.EXAMPLE", folder: "b" }), { errors: { host: message }, success: false });
  assert.equal(save({ original: `0:${ports[0]}:shop.example`, host: "Shop.EXAMPLE" }).success, true);
});

test("A port has hosts of one protocol", () => {
  const refused = { errors: { port: kOtherProtocol }, success: false };
  save({});
  assert.deepEqual(save({ vhosttype: "1", host: "s.example" }), refused);
  assert.deepEqual(save({ vhosttype: "1", port: "80" }), refused);
  writeHosts([{ vhosttype: 1, port: 443, host: "s.example", folder: "s" }]);
  assert.deepEqual(save({ port: "443" }), refused);
});

test("A port of another service is refused beside the field: every setting that the check knows", (t) => {
  keepSettings(t);
  const port = String(ports[0]);
  const single = ["admin_port", "secure_admin_port", "ftpport", "ftphighport", "download_end_port", "surveillance_high_port", "cfs_httpport", "cfs_httpsport"];
  for (const vhosttype of ["0", "1"]) {
    for (const key of single) {
      writeSetting(key, port);
      assert.deepEqual(save({ vhosttype }), { errors: { port: kConflict }, success: false }, `${vhosttype} ${key}`);
      writeSetting(key, "1");
    }
  }
});

test("HTTPS hosts have not the port of the setting httpport", (t) => {
  keepSettings(t);
  writeSetting("httpport", String(ports[0]));
  assert.deepEqual(save({ vhosttype: "1" }), { errors: { port: kOtherProtocol }, success: false });
  assert.equal(save({}).success, true);
});

test("A port that another program has is refused beside the field, and everything is as it was", async () => {
  save({});
  const before = filesNow();
  const other = await listenOn(ports[1]);
  const reply = await start("vhosts", { form: form({ port: String(ports[1]), host: "b.example", folder: "never" }), cookie }).reply;
  assert.deepEqual(reply.json, { errors: { port: "The web server cannot open this port: another program has it, or it is reserved for the system." }, success: false });
  assert.deepEqual(filesNow(), before);
  assert.equal(existsSync(`${sitesFolder}/never`), false);
  await new Promise((resolve) => other.close(resolve));
});

test("The hosts of a protocol have ten ports at most", async () => {
  const ten = await freePorts(10);
  const many = ten.map((port, i) => ({ vhosttype: 0, port, host: `h${i}.example`, folder: "shop" }));
  writeHosts([...many, { vhosttype: 0, port: 80, host: "a.example", folder: "shop" }]);
  assert.deepEqual(save({}), { errors: { port: "The hosts of a protocol may have ten ports. Please use one of theirs." }, success: false });
  assert.equal(save({ port: String(ten[0]), host: "more.example" }).success, true);
});

test("A folder whose name a file has is refused", () => {
  writeFileSync(`${sitesFolder}/a-file`, "");
  assert.deepEqual(save({ folder: "a-file" }), { errors: { folder: "There is a file of this name where the folder would be." }, success: false });
  rmSync(`${sitesFolder}/a-file`);
});

test("A host that is gone meanwhile is neither changed nor removed", () => {
  save({});
  const before = filesNow();
  assert.deepEqual(save({ original: "0:1:gone.example" }), formError("error_host_gone"));
  assert.deepEqual(remove("0:1:gone.example"), formError("error_host_gone"));
  assert.deepEqual(filesNow(), before);
});

test("An unknown change, and removing nothing, is answered", () => {
  for (const change of ["", "Save", "drop"]) assert.deepEqual(save({ change }), formError("error_unknown_action"));
  assert.deepEqual(remove(""), formError("error_unknown_action"));
});

test("What the web server refuses is taken back: the former hosts answer", async () => {
  makePage("shop", "the shop");
  save({});
  const before = filesNow();
  const certificate = "/usr/kest/etc/ssl/ssl.crt/server.crt";
  save({ vhosttype: "1", port: String(ports[1]), host: "s.example" });
  remove(`1:${ports[1]}:s.example`);
  const whole = readFileSync(certificate);
  writeFileSync(certificate, "broken");
  assert.deepEqual(save({ vhosttype: "1", port: String(ports[1]), host: "s.example", folder: "never" }), formError("error_hosts_refused"));
  writeFileSync(certificate, whole);
  assert.deepEqual(filesNow(), before);
  assert.equal(existsSync(`${sitesFolder}/never`), false);
  assert.equal((await ask(ports[0], "shop.example")).text, "the shop");
});

test("A file that cannot be written is a failure that changes nothing", () => {
  save({});
  for (const file of hostFiles) {
    const before = filesNow();
    mkdirSync(`${file}.tmp`);
    assert.deepEqual(save({ host: "b.example" }), formError("error_hosts_not_saved"));
    rmSync(`${file}.tmp`, { recursive: true });
    assert.deepEqual(filesNow(), before);
  }
  rmSync(`${hostFiles[0]}.tmp`, { force: true });
  assert.equal(save({ host: "b.example" }).success, true);
});

test("When one file cannot take its place, the other gets its former hosts back", () => {
  save({ vhosttype: "1", host: "s.example" });
  rmSync(hostFiles[0]);
  mkdirSync(hostFiles[0]);
  const https = readFileSync(hostFiles[1]);
  assert.deepEqual(save({ original: `1:${ports[0]}:s.example`, vhosttype: "1", host: "other.example" }), formError("error_hosts_not_saved"));
  rmSync(hostFiles[0], { recursive: true });
  assert.deepEqual(readFileSync(hostFiles[1]), https);
  for (const file of hostFiles) assert.equal(existsSync(`${file}.tmp`), false);
});

test("What can neither be served nor taken back is told as that", async () => {
  await sites.stop();
  rmSync("/run/sites/control");
  // Somebody who refuses the change, and the disk fails meanwhile.
  const refusing = createServer((client) => {
    client.on("data", () => {
      mkdirSync(`${hostFiles[0]}.tmp`, { recursive: true });
      client.end("refused\tno\n");
    });
  });
  await new Promise((resolve) => refusing.listen("/run/sites/control", resolve));
  const reply = await start("vhosts", { form: form({}), cookie }).reply;
  await new Promise((resolve) => refusing.close(resolve));
  rmSync(`${hostFiles[0]}.tmp`, { recursive: true });
  sites = await startSites();
  assert.deepEqual(reply.json, formError("error_hosts_partly"));
});

test("Hosts that several administrators add at once are all there", async () => {
  const replies = await Promise.all(Array.from({ length: 8 }, (_, i) => start("vhosts", { form: form({ host: `h${i}.example` }), cookie }).reply));
  for (const { json } of replies) assert.equal(json.success, true);
  assert.deepEqual(load().data.hosts.map(({ host }) => host).sort(), Array.from({ length: 8 }, (_, i) => `h${i}.example`));
  for (let i = 0; i < 8; ++i) assert.notEqual((await ask(ports[0], `h${i}.example`)).error, "ECONNREFUSED");
});

test("Hosts that others have written are listed as they are, served or not", async () => {
  writeHosts([
    { vhosttype: 0, port: ports[0], host: "a.example", folder: "shop" },
    { vhosttype: 0, port: ports[0], host: "b\u00fc", folder: 'odd"' },
    { vhosttype: 0, port: 1, host: "c.example", folder: "shop" },
  ]);
  await reload();
  const hosts = hostsOf(load());
  assert.deepEqual(hosts.slice(0, 2), [[`0:${ports[0]}:a.example`, "shop", true], [`0:${ports[0]}:b\u00fc`, 'odd"', true]]);
});

test("An ordinary account, a link and a page of elsewhere change nothing", () => {
  const anna = login("anna");
  assertSessionRefused(run("vhosts", { form: form({}), cookie: anna }), "unauth", "login", "error_noprivilege");
  assert.equal(run("vhosts", { query: form({}), cookie }).status, 405);
  const foreign = run("vhosts", { form: form({}), cookie, env: { HTTP_ORIGIN: "http://elsewhere.example", HTTP_HOST: "nas" } });
  assert.deepEqual([foreign.status, foreign.json], [403, formError("error_not_posted")]);
  assert.deepEqual(filesNow().map(String), ["", ""]);
});

test("Without anybody to serve them hosts are saved, and the reply says that nobody was told", async () => {
  await sites.stop();
  rmSync("/run/sites", { recursive: true });
  const reply = save({});
  assert.deepEqual([reply.success, reply.data.told, reply.data.hosts[0].served], [true, false, false]);
  assert.equal(load().data.told, false);
  sites = await startSites();
  assert.deepEqual([load().data.told, load().data.hosts[0].served], [true, true]);
});
