// The sites' web server takes every pair of files that the library writes, and serves each host from its folder.
// SITES_SEED=N makes other lists.
import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { mkdirSync, readdirSync, readFileSync, rmSync, statSync, writeFileSync } from "node:fs";
import { request as httpRequest } from "node:http";
import { createConnection } from "node:net";
import { after, before, test } from "node:test";
import { ask, filesNow, freePorts, hostFiles, listenOn, makePage, reload, sitesFolder, startSites, translated, writeHosts } from "./sites.mjs";
import { comesTrue } from "./program.mjs";

const kLists = 12;
const kHostsOfAList = 12;
const kCertificate = "/usr/kest/etc/ssl/ssl.crt/server.crt";
const kKey = "/usr/kest/etc/ssl/ssl.key/server.key";
const kPort80 = ["left", "80", "*", "has a port that cannot be opened"];
let sites;

before(async () => {
  makeCertificate();
  sites = await startSites();
});
after(() => sites.stop());

function makeCertificate() {
  for (const folder of ["ssl", "ssl/ssl.crt", "ssl/ssl.key"]) mkdirSync(`/usr/kest/etc/${folder}`, { recursive: true });
  const form = ["req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-days", "2", "-config", "/usr/kest/conf/certificate.cnf"];
  const made = spawnSync("openssl", [...form, "-keyout", kKey, "-out", kCertificate]);
  assert.equal(made.status, 0, String(made.stderr));
}

const host = (port, name, folder, vhosttype = 0) => ({ vhosttype, port, host: name, folder });

// Of an outcome: the lines that are not about port 80, which an unprivileged server cannot have on most machines.
const told = (lines) => lines.filter(([, port]) => port !== "80");

async function serve(hosts) {
  assert.ok(writeHosts(hosts), JSON.stringify(hosts));
  const files = filesNow();
  const lines = await reload();
  assert.deepEqual(filesNow(), files, "the library's files are only read");
  return lines;
}

test("Without hosts there is no web server, and with the last one it goes", async () => {
  const [port] = await freePorts(1);
  assert.deepEqual(await serve([]), [["served", "0"]]);
  makePage("first", "the first");
  assert.deepEqual(told(await serve([host(port, "first.example", "first")])), [["served", "1"]]);
  assert.deepEqual(await ask(port, "first.example"), { status: 200, text: "the first" });
  assert.deepEqual(await serve([]), [["served", "0"]]);
  assert.equal((await ask(port, "first.example")).error, "ECONNREFUSED");
});

test("A host is changed, another is added, one is removed: each answers as it is now", async () => {
  const [one, two] = await freePorts(2);
  for (const folder of ["a", "b", "c"]) makePage(folder, `page of ${folder}`);
  await serve([host(one, "a.example", "a"), host(one, "b.example", "b")]);
  assert.equal((await ask(one, "a.example")).text, "page of a");
  assert.equal((await ask(one, "b.example")).text, "page of b");
  await serve([host(one, "a.example", "c"), host(two, "b.example", "b")]);
  assert.equal((await ask(one, "a.example")).text, "page of c");
  assert.equal((await ask(two, "b.example")).text, "page of b");
  await serve([host(two, "b.example", "b")]);
  assert.equal((await ask(one, "a.example")).error, "ECONNREFUSED");
  assert.equal((await ask(two, "b.example")).text, "page of b");
});

test("A name in any case of letters is the host; a name that nobody has gets the port's first one", async () => {
  const [port] = await freePorts(1);
  makePage("a", "page of a");
  makePage("b", "page of b");
  await serve([host(port, "a.example", "a"), host(port, "b.example", "b")]);
  assert.equal((await ask(port, "B.Example")).text, "page of b");
  assert.equal((await ask(port, "elsewhere.example")).text, "page of a");
});

test("A page that is missing is told by the appliance's own page, with its status; nothing but reading is allowed", async () => {
  const [port] = await freePorts(1);
  await serve([host(port, "a.example", "a")]);
  const { status, text } = await ask(port, "a.example", { path: "/nowhere" });
  assert.equal(status, 404);
  assert.match(text, /no such page/);
  assert.doesNotMatch(text, /Additionally/);
  for (const path of ["/cgi/whoami.cgi", "/login.html", "/../b/index.html", "/%2e%2e/b/index.html"]) {
    assert.ok([400, 404].includes((await ask(port, "a.example", { path })).status), path);
  }
});

test("HTTPS hosts of one port are told apart by their names, with the appliance's certificate", async () => {
  const [port] = await freePorts(1);
  makePage("s", "page of s");
  makePage("t", "page of t");
  const lines = await serve([host(port, "s.example", "s", 1), host(port, "t.example", "t", 1)]);
  assert.deepEqual(lines, [["served", "2"], ["closed", "80", "Permission denied"], kPort80].slice(0, lines.length));
  assert.equal((await ask(port, "s.example", { secure: true })).text, "page of s");
  assert.equal((await ask(port, "t.example", { secure: true })).text, "page of t");
  assert.equal((await ask(port, "s.example")).status, 400, "no HTTP on a port of HTTPS");
});

test("A port that somebody else has is named; the other hosts are served, and its own once it is free", async () => {
  const [free, taken] = await freePorts(2);
  makePage("a", "page of a");
  const other = await listenOn(taken);
  const hosts = [host(free, "a.example", "a"), host(taken, "b.example", "a")];
  assert.deepEqual(told(await serve(hosts)), [
    ["served", "1"],
    ["closed", String(taken), "Address already in use"],
    ["left", String(taken), "b.example", "has a port that cannot be opened"],
  ]);
  assert.equal((await ask(free, "a.example")).text, "page of a");
  await new Promise((resolve) => other.close(resolve));
  assert.deepEqual(told(await reload()), [["served", "2"]]);
  assert.equal((await ask(taken, "b.example")).text, "page of a");
});

test("What the web server refuses never comes into service: the former hosts answer, and the reason is told and logged", async () => {
  const [one, two] = await freePorts(2);
  makePage("a", "page of a");
  await serve([host(one, "a.example", "a")]);
  const former = readFileSync(translated, "utf8");
  const certificate = readFileSync(kCertificate);
  writeFileSync(kCertificate, "no certificate");
  const lines = await serve([host(one, "a.example", "b"), host(two, "s.example", "a", 1)]);
  assert.equal(lines[0][0], "refused");
  assert.match(lines[0][1], /certificate/i);
  assert.match(sites.complaints, /refused .*certificate/i);
  assert.equal(readFileSync(translated, "utf8"), former);
  assert.equal((await ask(one, "a.example")).text, "page of a");
  writeFileSync(kCertificate, certificate);
  assert.deepEqual(told(await reload()), [["served", "2"]]);
  assert.equal((await ask(two, "s.example", { secure: true })).text, "page of a");
});

test("A file that cannot be read leaves the former hosts in service", async () => {
  const [port] = await freePorts(1);
  makePage("a", "page of a");
  await serve([host(port, "a.example", "a")]);
  rmSync(hostFiles[1]);
  mkdirSync(hostFiles[1]);
  const [[outcome, why]] = await reload();
  rmSync(hostFiles[1], { recursive: true });
  assert.deepEqual([outcome, why], ["refused", `translate_hosts: ${hostFiles[1]}: not a file`]);
  assert.equal((await ask(port, "a.example")).text, "page of a");
});

// Starts a request and stops reading at the first bytes; finish() resolves to the number of all bytes.
function slowDownload(port, name, path) {
  return new Promise((resolve, reject) => {
    const request = httpRequest({ host: "127.0.0.1", port, path, headers: { Host: name }, agent: false }, (response) => {
      response.pause();
      const finish = () =>
        new Promise((done, failed) => {
          let bytes = 0;
          response.on("data", (part) => (bytes += part.length));
          response.on("end", () => done(bytes));
          response.on("error", failed);
          response.resume();
        });
      resolve({ finish });
    });
    request.on("error", reject);
    request.end();
  });
}

test("A download that has begun is finished while the hosts change under it", async () => {
  const [one, two] = await freePorts(2);
  const kBytes = 48 * 1024 * 1024;
  makePage("a", "page of a");
  writeFileSync(`${sitesFolder}/a/large`, Buffer.alloc(kBytes));
  await serve([host(one, "a.example", "a")]);
  const download = await slowDownload(one, "a.example", "/large");
  for (let change = 0; change < 3; ++change) await serve([host(one, "a.example", "a"), host(two, `b${change}.example`, "a")]);
  assert.equal((await ask(two, "b2.example")).text, "page of a");
  assert.equal(await download.finish(), kBytes);
});

test("A web server that has ended is started again", async () => {
  const [port] = await freePorts(1);
  makePage("a", "page of a");
  await serve([host(port, "a.example", "a")]);
  process.kill(Number(readFileSync("/run/sites/httpd.pid", "utf8")), "SIGKILL");
  // What the killed one has left behind answers a while longer.
  await comesTrue(() => /has ended; it is started again/.test(sites.complaints), "it is started again");
  assert.deepEqual(told(await reload()), [["served", "1"]]);
  assert.equal((await ask(port, "a.example")).text, "page of a");
});

test("A client that asks for something else, or for nothing, is let go, and the next one is served", async () => {
  const talk = (words) =>
    new Promise((resolve, reject) => {
      let text = "";
      const socket = createConnection("/run/sites/control", () => (words === null ? socket.end() : socket.write(words)));
      socket.setEncoding("utf8").on("data", (part) => (text += part));
      socket.on("error", reject);
      socket.on("close", () => resolve(text));
    });
  assert.equal(await talk("restart\n"), "refused\tthere is no such request\n");
  assert.equal(await talk(`${"x".repeat(200)}`), "refused\tthere is no such request\n");
  assert.equal(await talk(null), "");
  assert.equal((await reload())[0][0], "served");
});

// Random numbers that a seed repeats (xorshift32).
function randomFrom(seed) {
  let state = seed || 1;
  return (below) => {
    state ^= state << 13;
    state ^= state >>> 17;
    state ^= state << 5;
    return (state >>> 0) % below;
  };
}

const kPieces = [
  ..."abcXYZ019-_. ",
  '"', "\\", "'", "$", "${PATH}", "${SITES_HOSTS}", "%", "#", ";", "|", "&", "`", "(", ")", "<", ">", "*", "?", "!", "~", "\t", "\n", "\r",
  "\u00fc", "\u4e2d", "\u0001", "\u007f", "/", "..", "\nInclude /etc/passwd\n", '"\nAlias /x "/etc', "\n</VirtualHost>\n", "</VirtualHost>", "\nListen 1",
];

const oddText = (random, longest) => Array.from({ length: 1 + random(longest) }, () => kPieces[random(kPieces.length)]).join("");

// The library makes a folder, but no folder inside a folder: with a slash nothing is written at all.
const oddFolder = (random) => oddText(random, 3).replaceAll("/", "");

const isName = (text) => !/(^|\.)\d+$/.test(text) && /^[A-Za-z0-9_]([A-Za-z0-9_-]*[A-Za-z0-9_])?(\.[A-Za-z0-9_]([A-Za-z0-9_-]*[A-Za-z0-9_])?)*$/.test(text);
const isFolder = (text) => !/[\u0000-\u001f\u007f]/.test(text);

// Half of the names and folders are ordinary, so that most hosts of a list are there to be served.
function oddHosts(random, ports) {
  return Array.from({ length: kHostsOfAList }, (_, i) => {
    const secure = random(3) === 0;
    const name = random(2) ? `h${i}.example` : oddText(random, 4) + i;
    const folder = random(3) ? oddFolder(random) + i : `f${i}`;
    return host(ports[secure ? 2 + random(2) : random(2)], name, folder, secure ? 1 : 0);
  });
}

const kLine =
  /^(Define site_dollar \$|Listen 127\.0\.0\.1:\d+ https?|<VirtualHost \*:\d+>| {4}ServerName [\w.-]+| {4}DocumentRoot "\/var\/services\/web(\/([^"\\\u0000-\u001f]|\\.)+)?"| {4}ErrorDocument \d+ "\/webdefault\/sample\.php\?status=\d+"| {4}SSLEngine on| {4}SSLCertificate(Key)?File "\/usr\/kest\/etc\/ssl\/[\w./]+"|<\/VirtualHost>)$/;

function assertOnlyHosts(seed) {
  for (const line of readFileSync(translated, "utf8").split("\n").slice(0, -1)) assert.match(line, kLine, `seed ${seed}`);
}

async function assertServed(hosts, seed) {
  for (const { port, host: name, folder, vhosttype } of hosts.filter((item) => isName(item.host) && isFolder(item.folder))) {
    const page = `page of ${JSON.stringify(folder)}`;
    makePage(folder, page);
    assert.deepEqual(await ask(port, name, { secure: vhosttype === 1 }), { status: 200, text: page }, `seed ${seed}: ${JSON.stringify(name)}`);
  }
}

test("Generated lists with odd names, several ports and HTTPS: each pair of files is taken, each host answers from its folder", async (t) => {
  const seed = Number(process.env.SITES_SEED ?? 1);
  t.diagnostic(`SITES_SEED=${seed}`);
  const random = randomFrom(seed);
  const ports = await freePorts(4);
  let served = 0;
  for (let list = 0; list < kLists; ++list) {
    const hosts = oddHosts(random, ports);
    const lines = await serve(hosts);
    assert.equal(lines[0][0], "served", `seed ${seed}: ${lines[0]} ${JSON.stringify(hosts)}`);
    served += Number(lines[0][1]);
    assertOnlyHosts(seed);
    await assertServed(hosts, seed);
  }
  t.diagnostic(`${served} of ${kLists * kHostsOfAList} hosts were served`);
  assert.ok(served > kLists, `seed ${seed}: only ${served} hosts were served`);
});

test("Without a certificate the appliance signs one for itself; the key is nobody else's", async () => {
  const [port] = await freePorts(1);
  rmSync("/usr/kest/etc/ssl", { recursive: true });
  makePage("a", "page of a");
  await serve([host(port, "s.example", "a", 1)]);
  assert.equal((await ask(port, "s.example", { secure: true })).text, "page of a");
  assert.deepEqual(readdirSync("/usr/kest/etc/ssl/ssl.key"), ["server.key"]);
  assert.equal(statSync("/usr/kest/etc/ssl/ssl.key").mode & 0o777, 0o700);
  assert.equal(statSync(kKey).mode & 0o077, 0);
});
