// The web server of the sites, inside the appliance tree: appliance/sitesd as it runs beside the administration.
import assert from "node:assert/strict";
import { spawn, spawnSync } from "node:child_process";
import { existsSync, mkdirSync, readFileSync, writeFileSync } from "node:fs";
import { request as httpRequest } from "node:http";
import { request as httpsRequest } from "node:https";
import { createServer } from "node:net";

const kControl = "/run/sites/control";
const kOutcome = "/run/sites/outcome";
const kStart_ms = 60_000;

export const hostFiles = ["/usr/kest/etc/httpd-vhost.conf-user", "/usr/kest/etc/httpd-ssl-vhost.conf-user"];
export const translated = "/run/sites/hosts.conf";
export const sitesFolder = "/var/services/web";

/// `count` ports of 127.0.0.1 that nobody listens on.
export async function freePorts(count) {
  const servers = await Promise.all(Array.from({ length: count }, () => listenOn(0)));
  const ports = servers.map((server) => server.address().port);
  await Promise.all(servers.map((server) => new Promise((resolve) => server.close(resolve))));
  return ports;
}

/// A server that holds a port and says nothing.
export function listenOn(port) {
  return new Promise((resolve, reject) => {
    const server = createServer();
    server.on("error", reject);
    server.listen(port, "127.0.0.1", () => resolve(server));
  });
}

/// Starts it; stop() ends it with its web server. `complaints` is what it has logged.
export async function startSites() {
  const sitesd = spawn("/usr/kest/bin/sitesd", { stdio: ["ignore", "ignore", "pipe"] });
  const sites = { process: sitesd, complaints: "" };
  sitesd.stderr.setEncoding("utf8").on("data", (text) => (sites.complaints += text));
  const ended = new Promise((resolve) => sitesd.on("exit", resolve));
  sites.stop = () => {
    sitesd.kill("SIGTERM");
    return ended;
  };
  const end = Date.now() + kStart_ms;
  while (!existsSync(kControl) || !existsSync(kOutcome)) {
    assert.ok(sitesd.exitCode === null && Date.now() < end, `sitesd does not answer: ${sites.complaints}`);
    await new Promise((resolve) => setTimeout(resolve, 20));
  }
  return sites;
}

/// Asks it to read the hosts again; resolves to the lines of its answer, each as its words.
export function reload() {
  return new Promise((resolve, reject) => {
    const child = spawn("/usr/kest/bin/sitesd", ["--ask"], { stdio: ["ignore", "pipe", "inherit"] });
    let text = "";
    child.stdout.setEncoding("utf8").on("data", (part) => (text += part));
    child.on("error", reject);
    child.on("close", () => resolve(text.split("\n").filter(Boolean).map((line) => line.split("\t"))));
  });
}

/// Hands the hosts to the library, as they are. False when it does not write them.
export function writeHosts(hosts) {
  const ended = spawnSync(`${process.env.TARVEL_BUILD}/tests/program/write_hosts`, { input: JSON.stringify(hosts) });
  assert.ok(ended.status === 0 || ended.status === 1, `write_hosts: ${ended.status} ${ended.signal} ${ended.stderr}`);
  return ended.status === 0;
}

export const filesNow = () => hostFiles.map((file) => readFileSync(file));

/// Gives a folder a page of its own.
export function makePage(folder, text) {
  mkdirSync(`${sitesFolder}/${folder}`, { recursive: true });
  writeFileSync(`${sitesFolder}/${folder}/index.html`, text);
}

/// What a browser gets that asks a port for a host: { status, text }; { error } when there is no connection.
export function ask(port, host, { secure = false, path = "/" } = {}) {
  const options = { host: "127.0.0.1", port, path, headers: { Host: `${host}:${port}` }, agent: false };
  const tls = { servername: host, rejectUnauthorized: false };
  return new Promise((resolve) => {
    const request = secure ? httpsRequest({ ...options, ...tls }) : httpRequest(options);
    request.on("error", (error) => resolve({ error: error.code ?? error.message }));
    request.on("response", (response) => {
      let text = "";
      response.setEncoding("utf8").on("data", (part) => (text += part));
      response.on("end", () => resolve({ status: response.statusCode, text }));
    });
    request.end();
  });
}
