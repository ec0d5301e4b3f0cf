// The size of an upload does not show in the memory of the program that receives it.
import assert from "node:assert/strict";
import { readFile } from "node:fs/promises";
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
async function measure(site, cookie, size, pause_ms) {
  const sending = upload(site.url, { cookie, size, name: "large.bin", pause_ms });
  const peak_KiB = await peakDuring(site.server, sending);
  const reply = await sending;
  assert.equal(reply.status, 200, reply.text);
  assert.deepEqual(JSON.parse(reply.text).data, { name: "large.bin", size });
  assert.notEqual(peak_KiB, 0, "the program was never seen running");
  return peak_KiB;
}

test("An upload of 1 GiB takes no more memory than one of 16 MiB", () =>
  withSite(
    "upload-large",
    async (site) => {
      const cookie = await sessionCookie(site, "anna");
      const before = await filesOf(site.server);
      const small_KiB = await measure(site, cookie, 16 * kMiB, 10);
      const large_KiB = await measure(site, cookie, 1024 * kMiB, 0);
      console.log(`peak memory of upload.cgi: 16 MiB ${small_KiB} KiB, 1 GiB ${large_KiB} KiB`);
      assert.ok(large_KiB < small_KiB + 1024, `16 MiB: ${small_KiB} KiB, 1 GiB: ${large_KiB} KiB`);
      assert.deepEqual(await filesOf(site.server), before);
    },
    { browser: false, timeout_ms: 400_000 },
  ));
