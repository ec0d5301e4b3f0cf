// The accounts' database in the hands of somebody else.
import assert from "node:assert/strict";
import { spawn } from "node:child_process";
import { readFileSync } from "node:fs";
import { people } from "./directory.mjs";

const kTries = 5;
const kAccounts = 40_000;

// Whether a process is about to write: it locks the byte of the log's index that says so (SQLite's file format, section 4.2).
const isWriting = (pid) => new RegExp(`WRITE +${pid} \\S+ 120 120$`, "m").test(readFileSync("/proc/locks", "utf8"));

/// Stops a process in the middle of a large change, calls `act`, and ends it: nothing of the change is kept.
export async function whileDatabaseIsHeld(act) {
  for (let count = 0; count < kTries; ++count) {
    const lines = `${people(kAccounts).map((name) => `${name}of${count}\t\t`).join("\n")}\n`;
    const holder = spawn("/usr/kest/bin/kestaccount", ["load"], { stdio: ["pipe", "ignore", "inherit"] });
    const ended = new Promise((resolve) => holder.on("exit", resolve));
    holder.stdin.on("error", () => {});
    await new Promise((resolve) => holder.stdin.end(lines, resolve));
    while (holder.exitCode === null && !isWriting(holder.pid)) await new Promise((resolve) => setImmediate(resolve));
    holder.kill("SIGSTOP");
    const held = isWriting(holder.pid);
    const answer = held ? await act() : null;
    holder.kill("SIGKILL");
    await ended;
    if (held) return answer;
  }
  return assert.fail("the change was over each time before it could be stopped");
}
