// The size of an upload does not show in the memory of the program that receives it.
import assert from "node:assert/strict";
import { copyFile, readFile, rm, stat } from "node:fs/promises";
import { test } from "node:test";
import { sessionCookie, withSite } from "./harness.mjs";
import { filesOf, programsOf } from "./inside.mjs";
import { upload } from "./upload_client.mjs";

const kMiB = 1024 * 1024;

// The largest peak memory, in KiB, of the program that receives an upload, read while it runs; the peak only grows.
async function peakDuring(server, running) {
  let peak_KiB = 0;
  let over = false;
  running.finally(() => (over = true)).catch(() => {});
  while (!over) {
    for (const { pid, name } of await programsOf(server)) {
      const status = name === "upload.cgi" ? await readFile(`/proc/${pid}/status`, "utf8").catch(() => "") : "";
      peak_KiB = Math.max(peak_KiB, Number(/^VmHWM:\s+(\d+) kB/m.exec(status)?.[1] ?? 0));
    }
    await new Promise((resolve) => setTimeout(resolve, 10));
  }
  return peak_KiB;
}

// The pauses give the program's memory time to be looked at.
async function measure(site, cookie, { name, size, pause_ms }) {
  const began = Date.now();
  const sending = upload(site.url, { cookie, size, name, pause_ms });
  const peak_KiB = await peakDuring(site.server, sending);
  const reply = await sending;
  assert.equal(reply.status, 200, reply.text);
  assert.deepEqual(JSON.parse(reply.text).data, { name, size });
  assert.notEqual(peak_KiB, 0, "the program was never seen running");
  return { peak_KiB, took_ms: Date.now() - began };
}

async function copy_ms(from, to) {
  const began = Date.now();
  await copyFile(from, to);
  return Date.now() - began;
}

test("An upload of 1 GiB takes no more memory than one of 16 MiB", () =>
  withSite(
    "upload-large",
    async (site) => {
      const cookie = await sessionCookie(site, "anna");
      const before = await filesOf(site.server);
      const small = await measure(site, cookie, { name: "small.bin", size: 16 * kMiB, pause_ms: 10 });
      const large = await measure(site, cookie, { name: "large.bin", size: 1024 * kMiB, pause_ms: 0 });
      console.log(`peak memory of upload.cgi: 16 MiB ${small.peak_KiB} KiB, 1 GiB ${large.peak_KiB} KiB`);
      assert.ok(large.peak_KiB < small.peak_KiB + 1024, `16 MiB: ${small.peak_KiB} KiB, 1 GiB: ${large.peak_KiB} KiB`);
      assert.deepEqual(await filesOf(site.server), [...before, "/volume1/public/large.bin", "/volume1/public/small.bin"].sort());
      const folder = `${site.state}/volume1/public`;
      assert.equal((await stat(`${folder}/large.bin`)).size, 1024 * kMiB);
      const copied_ms = await copy_ms(`${folder}/large.bin`, `${folder}/copy.bin`);
      console.log(`1 GiB: uploaded in ${large.took_ms} ms, copied in ${copied_ms} ms, ratio ${(large.took_ms / copied_ms).toFixed(2)}`);
      for (const name of ["large.bin", "copy.bin"]) await rm(`${folder}/${name}`);
    },
    { browser: false, timeout_ms: 400_000 },
  ));
