// vhosts.cgi killed at any moment of a save: each of the two files is the former one or the new one, whole.
// KILL_SEED=N kills at other moments.
import assert from "node:assert/strict";
import { before, test } from "node:test";
import { login, makeAccounts, run, start } from "./program.mjs";
import { filesNow, writeHosts } from "./sites.mjs";

const kRounds = 60;
const kOthers = 300;
const kNarrower = 0.9;
let cookie;

before(() => {
  makeAccounts();
  cookie = login();
});

// Moving between the files changes both.
const others = Array.from({ length: kOthers }, (_, i) => ({ vhosttype: i % 2, port: i % 2 ? 20443 : 20080, host: `h${i}.example`, folder: "shop" }));
const former = [{ vhosttype: 0, port: 20081, host: "moving.example", folder: "shop" }, ...others];
const wanted = { action: "apply", change: "save", original: "0:20081:moving.example", vhosttype: "1", port: "20443", host: "moving.example", folder: "shop" };

function randomFrom(seed) {
  let state = seed || 1;
  return () => {
    state = (Math.imul(state, 1103515245) + 12345) & 0x7fffffff;
    return state / 0x80000000;
  };
}

const pause = (time_ms) => new Promise((resolve) => setTimeout(resolve, time_ms));

test("Whenever it is killed, both files are whole, and the next save works", async (t) => {
  const seed = Number(process.env.KILL_SEED ?? 1);
  t.diagnostic(`KILL_SEED=${seed}`);
  const random = randomFrom(seed);
  writeHosts(former);
  const old = filesNow();
  const began = performance.now();
  assert.equal(run("vhosts", { form: wanted, cookie }).json.success, true);
  let whole_ms = performance.now() - began;
  const fresh = filesNow();
  assert.ok(!old[0].equals(fresh[0]) && !old[1].equals(fresh[1]), "a save changes both files");

  let killed = 0;
  const changed = [0, 0];
  for (let round = 0; round < kRounds; ++round) {
    writeHosts(former);
    const program = start("vhosts", { form: wanted, cookie });
    await pause(random() * whole_ms * 1.2);
    program.process.kill("SIGKILL");
    if ((await program.reply) === null) ++killed;
    // The first save may have been a slow one.
    else whole_ms *= kNarrower;
    filesNow().forEach((bytes, i) => {
      assert.ok(bytes.equals(old[i]) || bytes.equals(fresh[i]), `seed ${seed}, round ${round}: file ${i} is neither the old nor the new one`);
      if (bytes.equals(fresh[i])) ++changed[i];
    });
  }
  t.diagnostic(`${killed} of ${kRounds} were killed in time; the files were new in ${changed[0]} and ${changed[1]} rounds; a save takes up to ${whole_ms.toFixed(0)} ms`);
  assert.ok(killed > 0, `seed ${seed}: none was killed in time`);
  writeHosts(former);
  assert.equal(run("vhosts", { form: wanted, cookie }).json.success, true);
  assert.deepEqual(filesNow(), fresh);
});
