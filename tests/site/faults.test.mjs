// What a person sees when a disk is full, and what is left when a client goes away.
import assert from "node:assert/strict";
import { open, readFile, rm } from "node:fs/promises";
import net from "node:net";
import { test } from "node:test";
import { sessionCookie, withSite } from "./harness.mjs";
import { comesTrue, filesOf, programsOf, rootOf } from "./inside.mjs";
import { upload } from "./upload_client.mjs";

const kMiB = 1024 * 1024;
const kBlock = Buffer.alloc(4096, "x");

// Takes all the room of the disk that holds `file`.
async function fillDisk(file) {
  const filler = await open(file, "w");
  try {
    for (let blocks = 0; blocks < 100_000; ++blocks) await filler.write(kBlock);
    assert.fail(`${file}: the disk does not end`);
  } catch (error) {
    if (error.code !== "ENOSPC") throw error;
  } finally {
    await filler.close();
  }
}

async function load(site, cookie) {
  const reply = await fetch(`${site.url}/cgi/general.cgi?action=load`, { headers: { Cookie: cookie } });
  return (await reply.json()).data;
}

async function apply(site, cookie, values) {
  const body = new URLSearchParams({ action: "apply", ...values });
  const reply = await fetch(`${site.url}/cgi/general.cgi`, { method: "POST", headers: { Cookie: cookie }, body });
  return reply.json();
}

async function assertIdle(site, filesBefore) {
  assert.ok(await comesTrue(async () => (await programsOf(site.server)).length === 0), "a program still runs");
  assert.deepEqual(await filesOf(site.server), filesBefore);
}

test("An upload that does not fit is refused by name, and the next one is received", () =>
  withSite(
    "faults-upload-disk",
    async (site) => {
      const cookie = await sessionCookie(site, "anna");
      const before = await filesOf(site.server);
      const refused = await upload(site.url, { cookie, size: 16 * kMiB });
      assert.equal(refused.status, 507, refused.text);
      assert.equal(refused.headers["x-request-refused"], "upload_storage");
      assert.deepEqual(JSON.parse(refused.text).errno, { section: "upload", key: "error_not_received" });
      await assertIdle(site, before);

      const received = await upload(site.url, { cookie, size: kMiB });
      assert.equal(JSON.parse(received.text).data.size, kMiB);
      await assertIdle(site, [...before, "/volume1/public/file.bin"].sort());
    },
    { browser: false, server: ["--disk", "/volume1", String(4 * kMiB)] },
  ));

test("An upload that nobody may send is answered, however large it is", () =>
  withSite(
    "faults-upload-unwanted",
    async (site) => {
      const before = await filesOf(site.server);
      for (const size of [1, 100_000, 16 * kMiB]) {
        const reply = await upload(site.url, { cookie: `id=${"0".repeat(32)}`, size });
        assert.equal(reply.status, 200, reply.text);
        assert.equal(reply.headers["x-request-error"], "timeout");
        assert.deepEqual(JSON.parse(reply.text).errno, { section: "login", key: "error_timeout" });
      }
      await assertIdle(site, before);
    },
    { browser: false },
  ));

test("Settings that cannot be written stay as they were, and the form says so", () =>
  withSite(
    "faults-settings-disk",
    async (site) => {
      const cookie = await sessionCookie(site);
      const etc = `${await rootOf(site.server)}/etc`;
      const files = await filesOf(site.server);
      const settings = await readFile(`${etc}/kestinfo.conf`, "utf8");
      const old = await load(site, cookie);
      const wanted = { ...old, description: "A longer description than before", log_level: "2" };

      await fillDisk(`${etc}/filler`);
      const failed = await apply(site, cookie, wanted);
      assert.equal(failed.success, false);
      assert.deepEqual(failed.errinfo && { sec: failed.errinfo.sec, key: failed.errinfo.key }, { sec: "error", key: "error_save_failed" });
      await rm(`${etc}/filler`);
      assert.equal(await readFile(`${etc}/kestinfo.conf`, "utf8"), settings);
      assert.deepEqual(await load(site, cookie), old);
      await assertIdle(site, files);

      assert.equal((await apply(site, cookie, wanted)).success, true);
      assert.deepEqual(await load(site, cookie), wanted);
      await assertIdle(site, files);
    },
    { browser: false, server: ["--disk", "/etc", "131072"] },
  ));

test("A draft that cannot be kept is said to be lost, and the old one stays", () =>
  withSite(
    "faults-draft-disk",
    async (site) => {
      const Cookie = await sessionCookie(site);
      const draft = async (body) =>
        (await fetch(`${site.url}/cgi/draft.cgi`, { method: "POST", headers: { Cookie }, body: JSON.stringify({ form: "general", ...body }) })).json();
      const first = await draft({ action: "save", values: { description: "first" } });
      assert.equal(first.success, true);

      const tmp = `${await rootOf(site.server)}/tmp`;
      await fillDisk(`${tmp}/filler`);
      const second = await draft({ action: "save", values: { description: "x".repeat(8000) } });
      assert.deepEqual(second.errno, { section: "error", key: "error_save_failed" });
      await rm(`${tmp}/filler`);
    },
    { browser: false, server: ["--disk", "/tmp", "131072"] },
  ));

test("A client that goes away half-way through an upload leaves nothing", () =>
  withSite(
    "faults-upload-cut",
    async (site) => {
      const cookie = await sessionCookie(site, "anna");
      const before = await filesOf(site.server);
      for (const stopAfter of [0, kMiB, 24 * kMiB]) {
        assert.equal(await upload(site.url, { cookie, size: 32 * kMiB, stopAfter }), null);
        await assertIdle(site, before);
      }
    },
    { browser: false },
  ));

test("A slow upload is received whole", () =>
  withSite(
    "faults-upload-slow",
    async (site) => {
      const cookie = await sessionCookie(site, "anna");
      const reply = await upload(site.url, { cookie, size: 6000, chunkBytes: 1000, pause_ms: 700 });
      assert.equal(JSON.parse(reply.text).data.size, 6000);
    },
    { browser: false },
  ));

// Sends the beginning of a request and then nothing more; resolves with what came back once the connection ends.
function stall(url, beginning) {
  return new Promise((resolve) => {
    const { hostname, port } = new URL(url);
    let text = "";
    const socket = net.connect(Number(port), hostname, () => socket.write(beginning));
    socket.setEncoding("latin1").on("data", (part) => (text += part));
    socket.on("error", () => {});
    socket.on("close", () => resolve(text));
  });
}

test("Clients that stall do not keep others waiting and are let go", () =>
  withSite(
    "faults-stalled",
    async (site) => {
      const Cookie = await sessionCookie(site, "anna");
      const before = await filesOf(site.server);
      const headers = Array.from({ length: 60 }, () => stall(site.url, "GET / HTTP/1.1\r\nHost: localhost\r\nX-Half: "));
      const bodies = Array.from({ length: 20 }, () =>
        stall(
          site.url,
          `POST /cgi/upload.cgi?path=/public HTTP/1.1\r\nHost: localhost\r\nCookie: ${Cookie}\r\nContent-Length: 100000\r\n` +
            "Content-Type: multipart/form-data; boundary=b\r\n\r\n" +
            '--b\r\nContent-Disposition: form-data; name="file"; filename="x"\r\n\r\nabc',
        ),
      );
      const reply = await fetch(`${site.url}/cgi/whoami.cgi`, { headers: { Cookie } });
      assert.equal((await reply.json()).data.user, "anna");

      for (const text of await Promise.all(headers)) assert.match(text, /^HTTP\/1\.1 408 |^$/);
      for (const text of await Promise.all(bodies)) assert.match(text, /^HTTP\/1\.1 4\d\d |^$/);
      await assertIdle(site, before);
    },
    { browser: false },
  ));
