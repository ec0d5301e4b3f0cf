// Programs that are killed anywhere in the middle of a request.
import assert from "node:assert/strict";
import { spawn } from "node:child_process";
import { closeSync, openSync, writeFileSync } from "node:fs";
import { invocation, run } from "./program.mjs";

const kBody = "/tmp/killed-request";
const kUsualSteps = 40;
const kNarrower = 0.9;
const kMostRounds = 10;

// Starts a program as a web server does, and kills it after a while unless it has ended by then. The body comes from a file and
// the wait is a loop: nothing of it hangs on a timer, which is too coarse for a program of a few milliseconds.
function killedAfter(program, request, after_ms) {
  const { path, env, body } = invocation(program, request);
  writeFileSync(kBody, body);
  const input = openSync(kBody, "r");
  const process = spawn(path, { env, stdio: [input, "ignore", "ignore"] });
  const end = performance.now() + after_ms;
  closeSync(input);
  while (performance.now() < end);
  process.kill("SIGKILL");
  return new Promise((resolve) => process.on("exit", (status, signal) => resolve(signal)));
}

/// Kills a program later and later in the same request, until it has ended by itself when the signal comes. prepare(step) makes
/// what the request needs, form(step) is the request, check(what) looks at what has become of it, `what` for its messages. How
/// long a program takes hangs on what else the machine does: it goes on until a quarter of the steps have come in time.
export async function killAtEachStep(program, form, { cookie, steps = kUsualSteps, prepare = () => {}, check }) {
  prepare(0);
  const first = { form: form(0), cookie };
  const begin = performance.now();
  run(program, first);
  let usual_ms = performance.now() - begin;
  for (let step = 0, killed = 0; step < steps || killed <= steps / 4; ++step) {
    assert.ok(step < kMostRounds * steps, `only ${killed} of ${step} were killed before they had ended`);
    prepare(step);
    if (await killedAfter(program, { form: form(step), cookie }, (usual_ms * (step % steps)) / steps)) ++killed;
    // The first run may have been a slow one.
    else usual_ms *= kNarrower;
    check(`step ${step}`, step);
  }
}
