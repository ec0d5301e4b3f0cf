// Looks into a running site from outside: its processes and the files it has left. Memory disks of the appliance are
// seen only from inside, so files are reached through the root folder of one of its processes.
import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { readdir, readFile, readlink } from "node:fs/promises";
import net from "node:net";
import path from "node:path";
import { projectDir } from "./server.mjs";

async function parentsAndNames() {
  const processes = new Map();
  for (const pid of (await readdir("/proc")).filter((name) => /^\d+$/.test(name))) {
    const stat = await readFile(`/proc/${pid}/stat`, "utf8").catch(() => "");
    const fields = /^\d+ \((.*)\) (\S) (\d+)/s.exec(stat);
    if (fields && fields[2] !== "Z") processes.set(Number(pid), { name: fields[1], parent: Number(fields[3]) });
  }
  return processes;
}

/// The processes below `server`, as { pid, name }. A program that made itself a session of its own is among them.
export async function processesOf(server) {
  const all = await parentsAndNames();
  const isBelow = (pid) => {
    for (let at = pid; at > 1 && all.has(at); at = all.get(at).parent) {
      if (at === server.process.pid) return true;
    }
    return false;
  };
  return [...all].filter(([pid]) => isBelow(pid)).map(([pid, { name }]) => ({ pid, name }));
}

/// The CGI programs that run now.
export async function programsOf(server) {
  return (await processesOf(server)).filter(({ name }) => name.endsWith(".cgi"));
}

/// Path of the appliance's root folder, memory disks included.
export async function rootOf(server) {
  const web = (await processesOf(server)).find(({ name }) => name === "apache2");
  await readlink(`/proc/${web.pid}/root`);
  return `/proc/${web.pid}/root`;
}

/// Runs a program of the appliance in its tree, with the rights of its web server.
export async function runInside(server, command, input = "") {
  const web = (await processesOf(server)).find(({ name }) => name === "apache2");
  const [own, others] = await Promise.all(["self", web.pid].map((pid) => readlink(`/proc/${pid}/ns/user`)));
  const [id] = (await readFile(`/proc/${web.pid}/uid_map`, "utf8")).trim().split(/\s+/);
  const user = own === others ? [] : ["--user", "--setuid", id, "--setgid", id];
  const ended = spawnSync("nsenter", ["--target", String(web.pid), "--mount", ...user, "--", ...command], { input, encoding: "utf8" });
  assert.equal(ended.status, 0, `${command.join(" ")}: ${ended.error ?? ended.stderr}`);
  return ended.stdout;
}

// What SQLite keeps beside a database that is in use; a program that has taken on an account's id leaves it there.
const isJournal = (file) => /\.db-(shm|wal)$/.test(file);

/// Every file and folder of the appliance that a request may have made, as paths inside. Logs grow and /run belongs to the
/// server itself, so both are left out.
export async function filesOf(server) {
  const found = [];
  const root = await rootOf(server);
  const walk = async (folder) => {
    for (const entry of await readdir(root + folder, { withFileTypes: true })) {
      const inside = path.join(folder, entry.name);
      if (!isJournal(inside)) found.push(inside);
      if (entry.isDirectory() && !isWorkplace(inside)) await walk(inside);
    }
  };
  for (const folder of ["/etc", "/etc.defaults", "/tmp", "/usr/kest", "/var/services", "/volume1"]) await walk(folder);
  return found.sort();
}

// A project below /tmp is seen inside at its own path: its files are no business of the site.
function isWorkplace(folder) {
  return `${projectDir}/`.startsWith(`${folder}/`);
}

/// A port of this machine on which nobody listens.
export function freePort() {
  return new Promise((resolve, reject) => {
    const server = net.createServer().on("error", reject).listen(0, "127.0.0.1", () => {
      const { port } = server.address();
      server.close(() => resolve(port));
    });
  });
}

/// Waits until `condition()` holds and returns true, or false when it does not for that long.
export async function comesTrue(condition, timeout_ms = 60_000) {
  const end = Date.now() + timeout_ms;
  while (Date.now() < end) {
    if (await condition()) return true;
    await new Promise((resolve) => setTimeout(resolve, 50));
  }
  return false;
}
