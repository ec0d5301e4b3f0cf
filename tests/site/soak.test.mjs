// Several users do this and that at once for minutes: every request is answered right, and nothing grows or is left behind.
// SOAK_MINUTES=30 goes on for longer (script/soak); SOAK_SEED=N takes other decisions.
import assert from "node:assert/strict";
import { readdir, readFile, rm } from "node:fs/promises";
import { test } from "node:test";
import { sessionCookie, withSite } from "./harness.mjs";
import { comesTrue, filesOf, processesOf, programsOf, rootOf } from "./inside.mjs";
import { upload } from "./upload_client.mjs";

const kMinutes = Number(process.env.SOAK_MINUTES ?? 1);
const kSeed = Number(process.env.SOAK_SEED ?? 1);
const kPeople = 8;
const kMostRequests = kMinutes * 60 * 500;
const kLargestUpload = 300_000;
const kFilm = "/public/clock.webm";
const kRange = [1000, 4999];
// A program that is ended while it renews its session leaves the new file; later logins remove it when it is old.
const isUnfinishedSession = (file) => file.startsWith("/usr/kest/var/session/.new-");
// What a server may grow by: its threads touch more of their stacks for a while.
const kGrowth_kib = 8 * 1024;
const kMoreFiles = 8;

const kShares = { admin: "music office photo public", anna: "home music office photo public", bernd: "home music photo public" };

function randomFrom(seed) {
  let state = seed || 1;
  return (below) => {
    state = (Math.imul(state, 1103515245) + 12345) & 0x7fffffff;
    return Math.floor((state / 0x80000000) * below);
  };
}

// A person with a session. `ask` fails unless the status is the one that is expected.
class Person {
  constructor(site, name, cookie) {
    Object.assign(this, { site, name, cookie });
  }

  async ask(address, { status = 200, ...request } = {}) {
    const reply = await fetch(this.site.url + address, { ...request, headers: { Cookie: this.cookie, ...request.headers } });
    const body = Buffer.from(await reply.arrayBuffer());
    assert.equal(reply.status, status, `${this.name}: ${address}: ${body.subarray(0, 300)}`);
    return { headers: reply.headers, body, json: () => JSON.parse(body) };
  }

  async refused(address, reason) {
    const { headers } = await this.ask(address);
    assert.equal(headers.get("x-request-error"), reason, `${this.name}: ${address}`);
  }
}

const kTasks = {
  async looksAtPages(person) {
    for (const page of ["/", "/files.html"]) {
      assert.match((await person.ask(page)).body.toString(), new RegExp(`Welcome ${person.name}<`));
    }
  },
  async comesAndGoes({ site, name }) {
    const visitor = new Person(site, name, await sessionCookie(site, name));
    assert.equal((await visitor.ask("/cgi/whoami.cgi")).json().data.user, name);
    await visitor.ask("/cgi/logout.cgi", { method: "POST" });
    await visitor.refused("/cgi/whoami.cgi", "timeout");
  },
  async seesTheRightShares(person) {
    const { items } = (await person.ask("/cgi/files.cgi")).json().data;
    const names = items.map(({ name }) => name).filter((name) => name !== "home" || person.name !== "admin");
    assert.equal(names.sort().join(" "), kShares[person.name]);
  },
  async listsAFolder(person) {
    const reply = (await person.ask("/cgi/files.cgi?path=/public")).json();
    assert.ok(reply.data.items.some(({ name }) => kFilm.endsWith(`/${name}`)), JSON.stringify(reply));
  },
  async isKeptOut(person) {
    if (person.name === "bernd") await person.ask("/cgi/files.cgi?path=/office", { status: 403 });
    if (person.name === "admin") return;
    await person.refused("/cgi/shares.cgi", "unauth");
    const reply = await upload(person.site.url, { cookie: person.cookie, size: 1000, name: "not-mine.bin", folder: "/photo" });
    assert.equal(reply.status, 403, `${person.name} may write to /photo: ${reply.text}`);
  },
  async administers(person) {
    if (person.name !== "admin") return;
    for (const program of ["general.cgi?action=load", "shares.cgi", "volumes.cgi", "backups.cgi"]) {
      assert.equal((await person.ask(`/cgi/${program}`)).json().success, true, program);
    }
  },
  async fetchesAPiece(person, { film }) {
    const [first, last] = kRange;
    const { body } = await person.ask(`/cgi/download.cgi?path=${kFilm}`, { status: 206, headers: { Range: `bytes=${first}-${last}` } });
    assert.ok(body.equals(film.subarray(first, last + 1)), "another piece of the film");
  },
  async uploads(person, { number, random, root }) {
    const name = `soak-${number}.bin`;
    const size = 1 + random(kLargestUpload);
    const reply = await upload(person.site.url, { cookie: person.cookie, size, name });
    assert.deepEqual(JSON.parse(reply.text), { data: { name, size }, success: true });
    const { body } = await person.ask(`/cgi/download.cgi?path=/public/${name}`);
    assert.equal(body.length, size);
    await rm(`${root}/volume1/public/${name}`);
  },
  async goesAwayInAnUpload(person, { number, random }) {
    const size = kLargestUpload;
    await upload(person.site.url, { cookie: person.cookie, size, name: `lost-${number}.bin`, stopAfter: random(size / 2), chunkBytes: 16_384 });
  },
};

const kServers = ["apache2", "logd", "serve", "sitesd"];

// What the servers hold, which live as long as the site: memory in KiB, open files.
async function heldBy(server) {
  let memory_kib = 0;
  let files = 0;
  for (const { pid, name } of await processesOf(server)) {
    if (!kServers.includes(name)) continue;
    const status = await readFile(`/proc/${pid}/status`, "utf8").catch(() => "");
    memory_kib += Number(/^RssAnon:\s+(\d+)/m.exec(status)?.[1] ?? 0);
    files += (await readdir(`/proc/${pid}/fd`).catch(() => [])).length;
  }
  return { memory_kib, files };
}

async function work(people, random, facts, end) {
  const names = Object.keys(kTasks);
  const done = Object.fromEntries(names.map((name) => [name, 0]));
  let number = 0;
  const one = async () => {
    while (Date.now() < end && number < kMostRequests) {
      // However few requests a slow machine answers in that time: nothing is left out.
      const task = names[number < names.length ? number : random(names.length)];
      const person = people[random(people.length)];
      await kTasks[task](person, { ...facts, random, number: number++ });
      ++done[task];
    }
  };
  await Promise.all(Array.from({ length: kPeople }, one));
  return done;
}

test(`Mixed requests of several users for ${kMinutes} minutes`, (t) =>
  withSite(
    "soak",
    async (site) => {
      const { server } = site;
      t.diagnostic(`SOAK_SEED=${kSeed}`);
      const random = randomFrom(kSeed);
      const people = [];
      for (const name of Object.keys(kShares)) people.push(new Person(site, name, await sessionCookie(site, name)));
      // A home is made when its account first looks for it.
      for (const person of people) await kTasks.seesTheRightShares(person);
      const root = await rootOf(server);
      const facts = { root, film: await readFile(`${root}/volume1${kFilm}`) };
      const before = await filesOf(server);

      const begin = Date.now();
      await work(people, random, facts, begin + kMinutes * 60_000 * 0.2);
      const warm = await heldBy(server);
      const done = await work(people, random, facts, begin + kMinutes * 60_000);
      assert.ok(await comesTrue(async () => (await programsOf(server)).length === 0), "programs still run");
      const held = await heldBy(server);
      t.diagnostic(`${JSON.stringify(done)}; of the servers: ${JSON.stringify(warm)}, at the end ${JSON.stringify(held)}`);
      for (const [task, times] of Object.entries(done)) assert.ok(times > 0, `nobody ${task}`);
      assert.ok(held.memory_kib <= warm.memory_kib + kGrowth_kib, `the servers grew from ${warm.memory_kib} to ${held.memory_kib} KiB`);
      assert.ok(held.files <= warm.files + kMoreFiles, `open files: ${warm.files}, then ${held.files}`);
      assert.deepEqual((await filesOf(server)).filter((file) => !isUnfinishedSession(file)), before);
    },
    { browser: false, timeout_ms: (kMinutes + 3) * 60_000 },
  ));
