// Starts the site on a free port with a state of its own, and ends it by its process id.
import { spawn } from "node:child_process";
import { readFile, rm } from "node:fs/promises";
import path from "node:path";
import { fileURLToPath } from "node:url";

const kStartTimeout_ms = 180_000;
const kStopTimeout_ms = 60_000;

export const projectDir = path.resolve(path.dirname(fileURLToPath(import.meta.url)), "../..");
export const preset = process.env.TARVEL_PRESET ?? "dev";
export const buildDir = path.join(projectDir, "build", preset);

/// The demo accounts by name, each with role and password.
export async function demoAccounts() {
  const accounts = {};
  for (const line of (await readFile(path.join(projectDir, "appliance/accounts"), "utf8")).split("\n")) {
    const [name, role, password] = line.split(" ");
    if (name && !name.startsWith("#")) accounts[name] = { name, role, password };
  }
  return accounts;
}

export class Server {
  /// `name` tells this site's state from that of others; `options` go to script/server.
  static async start(name, options = []) {
    const server = new Server();
    server.state = path.join(buildDir, "appliance", `site-${name}-${process.pid}`);
    const script = path.join(projectDir, "script/server");
    const fixed = ["--no-build", "--preset", preset, "--state", server.state, "--fresh", "--port", "0"];
    server.process = spawn(script, [...fixed, ...options], { stdio: ["ignore", "pipe", "pipe"] });
    server.output = "";
    // Once its last words have been read, too.
    server.ended = new Promise((resolve) => server.process.on("close", resolve));
    await server.#untilItAnswers();
    return server;
  }

  async stop() {
    this.process.kill("SIGTERM");
    const late = setTimeout(() => this.process.kill("SIGKILL"), kStopTimeout_ms);
    await this.ended;
    clearTimeout(late);
  }

  /// What a failed test wants to read: the server's own words, its error log and the system log.
  async logs() {
    const parts = [`--- script/server\n${this.output}`];
    for (const file of ["httpd-error.log", "messages"]) {
      const text = await readFile(path.join(this.state, "var/log", file), "utf8").catch(() => "");
      parts.push(`--- ${file}\n${text}`);
    }
    return parts.join("\n");
  }

  async removeState() {
    await rm(this.state, { recursive: true, force: true });
  }

  #untilItAnswers() {
    return new Promise((resolve, reject) => {
      const fail = (why) => reject(new Error(`${why}\n${this.output}`));
      const late = setTimeout(() => {
        this.process.kill("SIGTERM");
        fail("the site did not start in time");
      }, kStartTimeout_ms);
      const read = (text) => {
        this.output += text;
        const address = /the site is at (http:\S+?)\/?\n/.exec(this.output);
        if (!address) return;
        this.url = address[1];
        clearTimeout(late);
        resolve();
      };
      this.process.stdout.setEncoding("utf8").on("data", read);
      this.process.stderr.setEncoding("utf8").on("data", read);
      this.process.on("exit", (status) => {
        clearTimeout(late);
        fail(`the site ended with status ${status}`);
      });
    });
  }
}
