// Many requests at once: none is lost, each gets its own answer, and nothing stays behind.
import assert from "node:assert/strict";
import http from "node:http";
import { test } from "node:test";
import { sessionCookie, withSite } from "./harness.mjs";
import { comesTrue, filesOf, programsOf } from "./inside.mjs";
import { upload } from "./upload_client.mjs";

const kRequests = 10_000;
const kAtOnce = 50;
const kUploads = 500;

function get(url, path, agent, cookie) {
  return new Promise((resolve, reject) => {
    const request = http.get(url + path, { agent, headers: cookie ? { Cookie: cookie } : {} }, (reply) => {
      let text = "";
      reply.setEncoding("utf8").on("data", (part) => (text += part));
      reply.on("end", () => resolve({ status: reply.statusCode, headers: reply.headers, text }));
      reply.on("error", reject);
    });
    // The web server may close a connection that has been idle just when it is used again.
    request.on("error", (error) => (request.reusedSocket && error.code === "ECONNRESET" ? resolve(get(url, path, agent, cookie)) : reject(error)));
  });
}

// Runs `job(i)` for each i below `count`, `kAtOnce` at a time.
async function inParallel(count, job) {
  let next = 0;
  const worker = async () => {
    while (next < count) await job(next++);
  };
  await Promise.all(Array.from({ length: kAtOnce }, worker));
}

function checkSession(user) {
  return ({ text }) => assert.equal(JSON.parse(text).data.user, user);
}

test(`${kRequests} requests, ${kAtOnce} at a time, are all answered and leave no file`, () =>
  withSite(
    "load",
    async (site) => {
      const { url, server } = site;
      const admin = await sessionCookie(site, "admin");
      const anna = await sessionCookie(site, "anna");
      const kinds = [
        { path: "/cgi/whoami.cgi", cookie: admin, check: checkSession("admin") },
        { path: "/cgi/whoami.cgi", cookie: anna, check: checkSession("anna") },
        { path: "/", cookie: anna, check: ({ text }) => assert.match(text, /<span id="welcome">Welcome anna<[^]*<\/html>\n$/) },
        { path: "/cgi/general.cgi?action=load", cookie: admin, check: ({ text }) => assert.equal(JSON.parse(text).success, true) },
        {
          path: "/cgi/general.cgi?action=load",
          cookie: anna,
          check: ({ headers }) => assert.equal(headers["x-request-error"], "unauth"),
        },
        {
          path: "/cgi/whoami.cgi",
          cookie: `id=${"0".repeat(32)}`,
          check: ({ headers }) => assert.equal(headers["x-request-error"], "timeout"),
        },
      ];
      const before = await filesOf(server);
      const agent = new http.Agent({ keepAlive: true, maxSockets: kAtOnce });
      let answered = 0;
      await inParallel(kRequests, async (i) => {
        const { path, cookie, check } = kinds[i % kinds.length];
        const reply = await get(url, path, agent, cookie);
        assert.equal(reply.status, 200, `request ${i}: ${path}: ${reply.text}`);
        check(reply);
        ++answered;
      });
      agent.destroy();
      assert.equal(answered, kRequests);
      assert.ok(await comesTrue(async () => (await programsOf(server)).length === 0), "programs still run");
      assert.deepEqual(await filesOf(server), before);
    },
    { browser: false, timeout_ms: 900_000 },
  ));

test(`${kUploads} uploads, ${kAtOnce} at a time, keep apart and leave nothing staged`, () =>
  withSite(
    "load-upload",
    async (site) => {
      const { url, server } = site;
      const cookie = await sessionCookie(site, "anna");
      const before = await filesOf(server);
      await inParallel(kUploads, async (i) => {
        const size = 1000 + i * 37;
        const reply = await upload(url, { cookie, size, name: `file-${i}.bin` });
        assert.equal(reply.status, 200, reply.text);
        assert.deepEqual(JSON.parse(reply.text).data, { name: `file-${i}.bin`, size });
      });
      assert.ok(await comesTrue(async () => (await programsOf(server)).length === 0), "programs still run");
      const arrived = Array.from({ length: kUploads }, (_, i) => `/volume1/public/file-${i}.bin`);
      assert.deepEqual(await filesOf(server), [...before, ...arrived].sort());
    },
    { browser: false, timeout_ms: 900_000 },
  ));
