// Downloads through the web server with clients as there are: one that resumes, slow ones, some that stop or go away. Runs
// inside the appliance tree. The web server's patience is some seconds instead of sixty.
import assert from "node:assert/strict";
import { spawn, spawnSync } from "node:child_process";
import { randomBytes, randomInt } from "node:crypto";
import { mkdirSync, readdirSync, readFileSync, rmSync, statSync, truncateSync, writeFileSync } from "node:fs";
import { connect } from "node:net";
import { after, before, test } from "node:test";
import { parseByteranges } from "../program/byteranges.mjs";
import { comesTrue, makeAccounts, makeShare } from "../program/program.mjs";
import { startWebServer } from "./web_server.mjs";

const kFolder = "/volume1/public/clients";
const shared = (path) => path.replace("/volume1", "");
const kFile = `${kFolder}/large file.bin`;
const kPatience_ms = 4000;
const kMiB = 1024 * 1024;
const content = randomBytes(24 * kMiB);
// So many bytes a second that the whole file takes more than twice the web server's patience.
const kSlow = Math.floor((content.length * 1000) / (2.2 * kPatience_ms));

let server, cookie;

const pause = (ms) => new Promise((resolve) => setTimeout(resolve, ms));
const target = (path, more = "") => `/cgi/download.cgi?path=${encodeURIComponent(shared(path))}${more}`;
const addressOf = (path, more) => `http://127.0.0.1:${server.port}${target(path, more)}`;

before(async () => {
  mkdirSync(kFolder);
  writeFileSync(kFile, content);
  makeAccounts();
  makeShare("public");
  server = await startWebServer(kFolder, `Timeout ${kPatience_ms / 1000}\nCGIDScriptTimeout ${kPatience_ms / 1000}\nLimitRequestFieldSize 16384`);
  // Programs as processes have another client's address than those behind the web server.
  const reply = await fetch(`http://127.0.0.1:${server.port}/cgi/login.cgi`, { method: "POST", body: new URLSearchParams({ user: "anna", passwd: "another one" }) });
  cookie = /id=\w+/.exec(reply.headers.get("set-cookie"))?.[0] ?? assert.fail("could not log in");
});
after(async () => {
  await server?.stop();
  rmSync(kFolder, { recursive: true });
});

// curl in a process of its own; resolves to { status, output } when it has ended.
const curl = (...options) => runCurl([], options);

function runCurl(wrapper, options) {
  const [program, ...words] = [...wrapper, "curl", "--silent", "--show-error", "--max-time", "120", "--cookie", cookie, ...options];
  const child = spawn(program, words);
  const output = [];
  let complaints = "";
  child.stdout.on("data", (piece) => output.push(piece));
  child.stderr.on("data", (text) => (complaints += text));
  const ended = new Promise((resolve) => child.on("close", (status, signal) => resolve({ status, signal, complaints, output: Buffer.concat(output) })));
  return { child, ended };
}

// A reply with its headers.
async function including(...options) {
  const { status, complaints, output } = await curl("--include", ...options).ended;
  assert.equal(status, 0, complaints);
  const blank = output.indexOf("\r\n\r\n");
  const [first, ...lines] = output.toString("latin1", 0, blank).split("\r\n");
  const headers = new Headers(lines.map((line) => line.split(/: ?(.*)/s, 2)));
  return { status: Number(first.split(" ")[1]), headers, body: output.subarray(blank + 4) };
}

const sizeOf = (path) => statSync(path, { throwIfNoEntry: false })?.size ?? 0;

// The processes of a name that run or have not been waited for.
function processesOf(name) {
  return readdirSync("/proc").filter((pid) => {
    try {
      return /^\d+$/.test(pid) && readFileSync(`/proc/${pid}/stat`, "utf8").includes(`(${name})`);
    } catch {
      return false;
    }
  });
}

const programsEnd = () => comesTrue(() => processesOf("download.cgi").length + processesOf("tar").length === 0, "the programs end");

// A client that reads when it is told to: asks for a path on a connection of its own.
function openSlowly(path) {
  const socket = connect({ port: server.port, host: "127.0.0.1" });
  socket.write(`GET ${target(path)} HTTP/1.1\r\nHost: 127.0.0.1\r\nCookie: ${cookie}\r\n\r\n`);
  return socket;
}

// Everything that comes, so many bytes a second at most.
async function readSlowly(socket, rate) {
  const pieces = [];
  const began = Date.now();
  let read = 0;
  for await (const piece of socket) {
    pieces.push(piece);
    read += piece.length;
    await pause(Math.max(0, began + (read / rate) * 1000 - Date.now()));
  }
  return Buffer.concat(pieces);
}

test("An interrupted download is resumed, again and again, to the identical file", async () => {
  const saved = "/tmp/resumed.bin";
  rmSync(saved, { force: true });
  for (let cuts = 0; cuts < 4; ++cuts) {
    const from = sizeOf(saved);
    const cut = from + randomInt(1, Math.floor((content.length - from) / 3));
    // The kernel kills it at the first byte behind the cut, however busy the machine is.
    const killer = ["prlimit", `--fsize=${cut}:${cut}`, "--core=0:0"];
    const { signal } = await runCurl(killer, ["--continue-at", "-", "--output", saved, addressOf(kFile)]).ended;
    assert.deepEqual([signal, sizeOf(saved)], ["SIGXFSZ", cut]);
    console.log(`cut at ${cut} of ${content.length} bytes, begun at ${from}`);
  }
  const last = await curl("--continue-at", "-", "--output", saved, "--write-out", "%{http_code}", addressOf(kFile)).ended;
  assert.deepEqual([last.status, String(last.output)], [0, "206"], last.complaints);
  assert.ok(readFileSync(saved).equals(content));
  const again = await curl("--continue-at", "-", "--output", saved, addressOf(kFile)).ended;
  assert.equal(again.status, 0, again.complaints);
  assert.ok(readFileSync(saved).equals(content), "a complete file stays as it is");
  await programsEnd();
});

test("A download is only resumed while the file is the same", async () => {
  const path = `${kFolder}/changing`;
  writeFileSync(path, "the first state");
  // The tag of a file that was changed just now is weak.
  await pause(2100);
  const [, tag] = /^etag: (.*)\r$/im.exec(String((await curl("--head", addressOf(path)).ended).output));
  const resume = () => curl("--header", `If-Range: ${tag}`, "--range", "4-", "--write-out", " %{http_code}", addressOf(path)).ended;
  assert.equal(String((await resume()).output), "first state 206");
  writeFileSync(path, "another state!!");
  assert.equal(String((await resume()).output), "another state!! 200");
});

test("Several ranges are read back by a client that knows multipart bodies", async () => {
  const { status, headers, body } = await including("--range", "0-9,20-29", addressOf(kFile));
  assert.equal(status, 206);
  assert.equal(headers.get("content-length"), String(body.length));
  const parts = parseByteranges(headers.get("content-type"), body);
  assert.deepEqual(
    parts.map(({ start, end }) => [start, end]),
    [[0, 9], [20, 29]],
  );
  for (const { start, end, bytes } of parts) assert.deepEqual(bytes, content.subarray(start, end + 1));
});

test("HEAD through the web server tells the length and sends nothing", async () => {
  const { output } = await curl("--head", addressOf(kFile)).ended;
  assert.match(String(output), /^HTTP\/1\.1 200 /);
  assert.match(String(output), new RegExp(`^content-length: ${content.length}\r$`, "im"));
});

test("As many ranges as a header holds are all sent, and a longer header is refused", async () => {
  const ranges = (count) => Array.from({ length: count }, (_, i) => `${i % 10}-9`).join(",");
  const { headers, body } = await including("--range", ranges(4000), addressOf(kFile));
  assert.equal(parseByteranges(headers.get("content-type"), body).length, 4000);
  const refused = await curl("--output", "/dev/null", "--write-out", "%{http_code}", "--range", ranges(4200), addressOf(kFile)).ended;
  assert.equal(String(refused.output), "400");
});

test("A slow client gets the whole file, however often the web server's patience passes", async () => {
  const began = Date.now();
  const reply = await readSlowly(openSlowly(kFile), kSlow);
  assert.ok(reply.subarray(reply.indexOf("\r\n\r\n") + 4).equals(content));
  assert.ok(Date.now() - began > 2 * kPatience_ms, `it took ${Date.now() - began} ms only`);
});

test("A client that stops reading is let go, and the program with it", async () => {
  const socket = openSlowly(kFile);
  await new Promise((resolve) => socket.once("readable", resolve));
  const began = performance.now();
  await pause(kPatience_ms / 4);
  const waiting = processesOf("download.cgi").length;
  // A machine so busy that the pause took longer than the web server's patience tells nothing of it.
  if (performance.now() - began < kPatience_ms) assert.equal(waiting, 1, "it waits");
  await programsEnd();
  let got = 0;
  for await (const piece of socket.on("error", () => {})) got += piece.length;
  assert.ok(got > 0 && got < content.length, `${got} bytes had been sent`);
});

test("A client that goes away ends the program at once", async () => {
  const socket = openSlowly(kFile);
  await new Promise((resolve) => socket.once("readable", resolve));
  const began = Date.now();
  socket.destroy();
  await programsEnd();
  console.log(`ended ${Date.now() - began} ms after its client`);
});

test("A file that shrinks while it is sent is a short reply, which the client sees at once", async () => {
  const path = `${kFolder}/shrinking`;
  writeFileSync(path, content);
  const { child, ended } = curl("--no-buffer", addressOf(path));
  // From its first bytes on the client waits: what lies between it and the program holds less than what is left of the file.
  await new Promise((resolve) => child.stdout.once("data", () => resolve(child.stdout.pause())));
  truncateSync(path, 16 * kMiB);
  child.stdout.resume();
  const { status, complaints, output } = await ended;
  assert.equal(status, 18, `curl tells a partial file: ${complaints}`);
  // How many arrive hangs on the machine: bytes behind the new end may have been sent before the file shrinks, and once the
  // program has ended a slow client has the web server's patience for the rest.
  assert.ok(output.length > 0 && output.length < content.length, `${output.length} bytes`);
  assert.ok(output.equals(content.subarray(0, output.length)), "each byte is the file's");
});

test("A folder's archive unpacks to the same, and ends with its client", async () => {
  const archive = "/tmp/clients.tar";
  const { status, complaints } = await curl("--output", archive, addressOf(kFolder, "&archive=tar")).ended;
  assert.equal(status, 0, complaints);
  mkdirSync("/tmp/unpacked");
  assert.equal(spawnSync("tar", ["--extract", "--file", archive, "--directory", "/tmp/unpacked"]).status, 0);
  const same = spawnSync("diff", ["--recursive", kFolder, "/tmp/unpacked/clients"]);
  assert.equal(same.status, 0, String(same.stdout));
  const { child, ended } = curl("--limit-rate", "100K", "--output", "/dev/null", addressOf(kFolder, "&archive=tar"));
  await comesTrue(() => processesOf("tar").length === 1, "tar runs");
  child.kill("SIGKILL");
  await ended;
  await programsEnd();
});

test("The names of odd files reach the client in one header line each", async () => {
  for (const name of ["new\r\nSet-Cookie: id=1", 'quote".txt', "\u00e4\u{1f600}", "n".repeat(255), "0 bytes"]) {
    writeFileSync(`${kFolder}/${name}`, "");
    const { output } = await curl("--include", addressOf(`${kFolder}/${name}`)).ended;
    assert.match(String(output), /^HTTP\/1\.1 200 /, name);
    assert.match(String(output), new RegExp(`\r\ncontent-disposition: attachment; filename="[^"\r\n]*"; filename\\*=UTF-8''[\\w.~%-]*\r\n`, "i"));
    assert.doesNotMatch(String(output), /\r\nset-cookie/i);
  }
});
