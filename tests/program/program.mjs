// One CGI program as a real process: the environment that a web server gives it, a body on standard input, and its reply
// taken apart. The tests run inside the appliance tree (see run), so every path is the appliance's own.
import assert from "node:assert/strict";
import { spawn, spawnSync } from "node:child_process";
import { closeSync, openSync, readFileSync, rmSync, utimesSync, writeFileSync } from "node:fs";
import { basename } from "node:path";

// Both are no measure of anything: what never comes is told in the end, however slow and busy the machine is.
const kTimeout_ms = 120_000;
const kPatience_ms = 60_000;
const kLongestReply = 64 * 1024 * 1024;
const kBodyFile = "/tmp/request-body";
const kClient = "192.0.2.7";

export const settingsFile = "/etc/kestinfo.conf";
export const passwords = { admin: "a right password", anna: "another one" };

/// program: the name of one of the site's, or a path. request: { method, query, form, json, body, type, cookie, env, exit }; one of form, json and body, or none;
/// query is an object, or the query string itself; exit is the status that the program is to end with, usually 0; complaint
/// what it is to write to standard error, usually nothing.
/// Returns { status, headers, head, bytes, text, json }: head and bytes as they came, json undefined when the body is no JSON document.
export function run(program, request = {}) {
  const { path, env, body } = invocation(program, request);
  const ended = withBody(body, (input) => spawnSync(path, { env, stdio: [input, "pipe", "pipe"], timeout: kTimeout_ms, maxBuffer: kLongestReply }));
  assert.equal(ended.error, undefined, `${program}: ${ended.error}`);
  assert.deepEqual([ended.status, ended.signal], [request.exit ?? 0, null], `${program} ended with an error: ${ended.stderr}`);
  assert.match(ended.stderr.toString(), request.complaint ?? /^$/, `${program} wrote to standard error`);
  return parse(ended.stdout);
}

/// What a web server starts for a request: the program's path and its environment.
export function invocation(program, request = {}) {
  const body = bodyOf(request);
  const env = {
    GATEWAY_INTERFACE: "CGI/1.1",
    REQUEST_METHOD: request.method ?? (body === undefined ? "GET" : "POST"),
    SCRIPT_NAME: `/cgi/${basename(program, ".cgi")}.cgi`,
    SERVER_PROTOCOL: "HTTP/1.1",
    REMOTE_ADDR: kClient,
    QUERY_STRING: typeof request.query === "string" ? request.query : new URLSearchParams(request.query ?? {}).toString(),
    ...(body !== undefined && { CONTENT_LENGTH: String(Buffer.byteLength(body)), CONTENT_TYPE: typeOf(request) }),
    ...(request.cookie && { HTTP_COOKIE: request.cookie }),
    ...request.env,
  };
  return { path: program.includes("/") ? program : `/usr/kest/kestman/cgi/${program}.cgi`, env, body: body ?? "" };
}

/// The same beside others: { process, reply }; reply resolves to what run() returns, or to null when the program was killed. With `open` its
/// input does not end with the body; `through` stands before its path.
export function start(program, request = {}) {
  const { path, env, body } = invocation(program, request);
  const [first, ...words] = [...(request.through ?? []), path];
  const child = spawn(first, words, { env, stdio: ["pipe", "pipe", "inherit"] });
  const output = [];
  child.stdout.on("data", (part) => output.push(part));
  child.stdin.on("error", () => {});
  if (request.open) child.stdin.write(body);
  else child.stdin.end(body);
  const reply = new Promise((resolve) => child.on("close", (status, signal) => resolve(signal ? null : parse(Buffer.concat(output)))));
  return { process: child, reply };
}

// From a file, because a program need not read a body that it refuses, and a pipe would break then.
function withBody(body, start) {
  writeFileSync(kBodyFile, body);
  const input = openSync(kBodyFile, "r");
  try {
    return start(input);
  } finally {
    closeSync(input);
  }
}

function bodyOf({ form, json, body }) {
  if (form !== undefined) return new URLSearchParams(form).toString();
  return json !== undefined ? JSON.stringify(json) : body;
}

function typeOf({ type, json }) {
  return type ?? (json !== undefined ? "application/json" : "application/x-www-form-urlencoded");
}

// A reply has exactly one header block; a status line is optional.
function parse(output) {
  const end = /\r?\n\r?\n/.exec(output.toString("latin1"));
  assert.ok(end, `no header block in the reply: ${JSON.stringify(output.toString())}`);
  const head = output.toString("utf8", 0, end.index);
  const headers = new Headers();
  for (const line of head.split(/\r?\n/)) {
    const [, name, value] = /^([^:\s]+): ?(.*)$/.exec(line) ?? assert.fail(`no header: ${line}`);
    headers.append(name, value);
  }
  const bytes = output.subarray(end.index + end[0].length);
  const text = bytes.toString("utf8");
  const status = Number.parseInt(headers.get("status") ?? "200", 10);
  return { status, headers, head, bytes, text, json: parseJson(text) };
}

function parseJson(text) {
  try {
    return JSON.parse(text);
  } catch {
    return undefined;
  }
}

/// Waits until `condition()` holds.
export async function comesTrue(condition, what) {
  for (const end = Date.now() + kPatience_ms; Date.now() < end; await new Promise((resolve) => setTimeout(resolve, 20))) {
    if (await condition()) return;
  }
  assert.fail(`never: ${what}`);
}

/// The platform's own tool for accounts.
export function account(...command) {
  const input = command[0] === "add" || command[0] === "passwd" ? `${command.pop()}\n` : "";
  const ended = spawnSync("/usr/kest/bin/kestaccount", command, { input });
  assert.equal(ended.status, 0, `kestaccount ${command.join(" ")}: ${ended.stderr}`);
}

// What the tree has in the homes of the demo accounts belongs to none of these: a home is made at the first look at the shares.
const forgetHome = (name) => rmSync(`/volume1/homes/${name}`, { recursive: true, force: true });

export function makeAccounts() {
  account("add", "admin", "admin", passwords.admin);
  makeAccount("anna", passwords.anna);
}

export function makeAccount(name, password = "a password of its own") {
  forgetHome(name);
  account("add", name, password);
  passwords[name] = password;
}

/// A shared folder, /volume1/NAME, and who is in its lists; without a word everybody may change it.
export function makeShare(name, { path = `/volume1/${name}`, rw = "@users", ro = "", na = "", restrictions = 0 } = {}) {
  const ended = spawnSync("/usr/kest/bin/kestshare", ["add", name, path, "rw", rw, "ro", ro, "na", na, "restrictions", String(restrictions)]);
  assert.equal(ended.status, 0, `kestshare add ${name}: ${ended.stderr}`);
}

/// What comes before a program's path where it is to keep the test's id, as on a machine that has one id only: then the test may
/// look into it. Call keepOneId() before.
export const kWithOneId = ["/usr/bin/unshare", "--user", "--map-current-user", "--"];
export const keepOneId = () => writeSetting("account_ids", "one");

/// Whether there is one id only here, because who has started the tests is not root.
export const hasOneId = () => /^\s*\d+\s+\d+\s+1\s*$/.test(readFileSync("/proc/self/uid_map", "utf8"));

const kBoundary = "a boundary of its own";

/// A body of parts, and the request that sends it: part('name="file"; filename="a"', "content").
export const part = (disposition, content) =>
  Buffer.concat([
    Buffer.from(`--${kBoundary}\r\nContent-Disposition: form-data; ${disposition}\r\nContent-Type: application/octet-stream\r\n\r\n`),
    Buffer.from(content),
    Buffer.from("\r\n"),
  ]);
export const wholeBody = (...parts) => Buffer.concat([...parts, Buffer.from(`--${kBoundary}--\r\n`)]);
export const kBodyType = `multipart/form-data; boundary="${kBoundary}"`;

/// Uploads a file into a folder of a share.
export function put(folder, name, content, cookie) {
  const reply = run("upload", { query: { path: folder }, body: wholeBody(part(`name="file"; filename="${name}"`, content)), type: kBodyType, cookie });
  assert.equal(reply.json?.success, true, `${folder}/${name}: ${reply.text}`);
  return reply;
}

/// Logs in and returns the session's cookie.
export function login(user = "admin") {
  const reply = run("login", { form: { user, passwd: passwords[user] } });
  const cookie = /id=[0-9a-f]{32}/.exec(reply.headers.get("set-cookie") ?? "");
  assert.ok(cookie, `${user} could not log in: ${reply.text}`);
  return cookie[0];
}

export const sessionFile = (cookie) => `/usr/kest/var/session/${cookie.slice("id=".length)}`;

/// Lets minutes without activity pass: a session's file is as old as its last activity.
export function idle(cookie, minutes) {
  const then = Date.now() / 1000 - minutes * 60;
  utimesSync(sessionFile(cookie), then, then);
}

export function settings() {
  return Object.fromEntries([...readFileSync(settingsFile, "utf8").matchAll(/^(\w+)="(.*)"$/gm)].map(([, key, value]) => [key, value]));
}

/// Changes a setting behind the programs' back.
export function writeSetting(key, value) {
  const others = readFileSync(settingsFile, "utf8").replace(new RegExp(`^${key}=.*\n`, "gm"), "");
  writeFileSync(settingsFile, `${others}${key}="${value}"\n`);
}

/// Puts the settings back to `text` when the test ends.
export function keepSettings(test) {
  const before = readFileSync(settingsFile);
  test.after(() => writeFileSync(settingsFile, before));
  return before;
}

export function assertRefused(reply, section, key, status = 200) {
  assert.deepEqual(reply.json, { errno: { key, section }, items: [], success: false, total: 0 });
  assert.equal(reply.status, status);
  assert.equal(reply.headers.get("cache-control"), "no-store");
}

/// The library's refusal of a session.
export function assertSessionRefused(reply, reason, section, key) {
  assert.equal(reply.headers.get("x-request-error"), reason);
  assert.deepEqual(reply.json, { errno: { key, section }, items: [], success: false, total: 0 });
}
