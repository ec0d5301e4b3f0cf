// The size of an upload does not show in the memory of the program that receives it.
import assert from "node:assert/strict";
import { copyFile, readFile, rm, stat } from "node:fs/promises";
import { test } from "node:test";
import { sessionCookie, withSite } from "./harness.mjs";
import { filesOf, programsOf } from "./inside.mjs";
import { upload } from "./upload_client.mjs";

const kMiB = 1024 * 1024;

// The peak memory, in KiB, of the program that receives an upload; the peak only grows.
async function peakOf(server) {
  const [program, ...others] = (await programsOf(server)).filter(({ name }) => name === "upload.cgi");
  assert.deepEqual(others, []);
  return Number(/^VmHWM:\s+(\d+) kB/m.exec(await readFile(`/proc/${program.pid}/status`, "utf8"))[1]);
}

// The program is looked at while it waits for the end of the body: by then it has taken all of the file but what fits between
// it and its client.
async function measure(site, cookie, { name, size }) {
  const began = Date.now();
  let peak_KiB;
  const reply = await upload(site.url, { cookie, size, name, beforeEnd: async () => (peak_KiB = await peakOf(site.server)) });
  assert.equal(reply.status, 200, reply.text);
  assert.deepEqual(JSON.parse(reply.text).data, { name, size });
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
      const small = await measure(site, cookie, { name: "small.bin", size: 16 * kMiB });
      const large = await measure(site, cookie, { name: "large.bin", size: 1024 * kMiB });
      console.log(`peak memory of upload.cgi: 16 MiB ${small.peak_KiB} KiB, 1 GiB ${large.peak_KiB} KiB`);
      assert.ok(large.peak_KiB < small.peak_KiB + 1024, `16 MiB: ${small.peak_KiB} KiB, 1 GiB: ${large.peak_KiB} KiB`);
      assert.deepEqual(await filesOf(site.server), [...before, "/volume1/public/large.bin", "/volume1/public/small.bin"].sort());
      const folder = `${site.state}/volume1/public`;
      assert.equal((await stat(`${folder}/large.bin`)).size, 1024 * kMiB);
      const copied_ms = await copy_ms(`${folder}/large.bin`, `${folder}/copy.bin`);
      console.log(`1 GiB: uploaded in ${large.took_ms} ms, copied in ${copied_ms} ms, ratio ${(large.took_ms / copied_ms).toFixed(2)}`);
      for (const name of ["large.bin", "copy.bin"]) await rm(`${folder}/${name}`);
    },
    { browser: false, timeout_ms: 900_000 },
  ));
