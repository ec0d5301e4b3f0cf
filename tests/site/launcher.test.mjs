// script/server as a person uses it.
import assert from "node:assert/strict";
import { spawn } from "node:child_process";
import { once } from "node:events";
import { readFile, rm, stat } from "node:fs/promises";
import net from "node:net";
import { tmpdir } from "node:os";
import path from "node:path";
import { test } from "node:test";
import { comesTrue, processesOf } from "./inside.mjs";
import { buildDir, preset, projectDir, Server } from "./server.mjs";

const kScript = path.join(projectDir, "script/server");

async function run(...args) {
  const child = spawn(kScript, ["--no-build", "--preset", preset, ...args], { cwd: tmpdir(), stdio: ["ignore", "pipe", "pipe"] });
  let output = "";
  for (const stream of [child.stdout, child.stderr]) stream.setEncoding("utf8").on("data", (text) => (output += text));
  const [status] = await once(child, "close");
  return { status, output };
}

const isAlive = (pid) => {
  try {
    process.kill(pid, 0);
    return true;
  } catch {
    return false;
  }
};

test("Ctrl-C ends the site and every process of it", async () => {
  const server = await Server.start("launcher");
  const processes = await processesOf(server);
  assert.ok(processes.some(({ name }) => name === "apache2"));
  server.process.kill("SIGINT");
  await server.ended;
  assert.match(server.output, /server: ended\n$/);
  assert.ok(await comesTrue(() => !processes.some(({ pid }) => isAlive(pid))), "a process is left");
  await assert.rejects(fetch(server.url));
  await server.removeState();
});

test("Each home of the demonstration is its account's alone, or the log says that there is one id", async () => {
  const server = await Server.start("launcher-homes");
  try {
    if (process.getuid() !== 0) {
      assert.match(await readFile(path.join(server.state, "var/log/messages"), "utf8"), /serve: there is one id on this machine/);
      return;
    }
    const homes = await Promise.all(["anna", "bernd"].map((name) => stat(path.join(server.state, "volume1/homes", name))));
    for (const { uid, gid, mode } of homes) {
      assert.ok(uid >= 1024, `uid ${uid}`);
      assert.equal(gid, 100);
      assert.equal(mode & 0o707, 0o700);
    }
    assert.notEqual(homes[0].uid, homes[1].uid);
  } finally {
    await server.stop();
    await server.removeState();
  }
});

test("The launcher killed outright takes the site with it", async () => {
  const server = await Server.start("launcher-killed");
  const processes = await processesOf(server);
  server.process.kill("SIGKILL");
  await server.ended;
  assert.ok(await comesTrue(() => !processes.some(({ pid }) => isAlive(pid))), "a process is left");
  await server.removeState();
});

test("A port that is taken is refused by its number", async () => {
  const other = net.createServer().listen(0, "127.0.0.1");
  await once(other, "listening");
  const { port } = other.address();
  const state = path.join(buildDir, "appliance", `site-launcher-port-${process.pid}`);
  const { status, output } = await run("--port", String(port), "--state", state);
  other.close();
  assert.equal(status, 1);
  assert.match(output, new RegExp(`port ${port} is taken`));
  await rm(state, { recursive: true, force: true });
});

test("A detached site answers until it is stopped, and keeps what it holds", async () => {
  const state = path.join(buildDir, "appliance", `site-launcher-detached-${process.pid}`);
  try {
    const started = await run("--detach", "--port", "0", "--state", state);
    assert.equal(started.status, 0, started.output);
    const url = /the site is at (\S+)/.exec(started.output)[1];
    assert.equal((await fetch(url)).status, 200);
    assert.match((await run("--detach", "--state", state)).output, /already runs/);
    const stopped = await run("--stop", "--state", state);
    assert.equal(stopped.status, 0, stopped.output);
    await assert.rejects(fetch(url));
    assert.equal((await run("--stop", "--state", state)).status, 1);
  } finally {
    await run("--stop", "--state", state);
    await rm(state, { recursive: true, force: true });
    await rm(`${state}.server.log`, { force: true });
  }
});

test("A folder that is no appliance's state is left alone", async () => {
  const { status, output } = await run("--fresh", "--port", "0", "--state", path.join(projectDir, "appliance"));
  assert.equal(status, 1);
  assert.match(output, /is not an appliance state/);
});
