// The page of the volumes as a person sees it, with memory disks as volumes.
import assert from "node:assert/strict";
import { chmod, mkdir, writeFile } from "node:fs/promises";
import { test } from "node:test";
import { agents } from "../program/agents.mjs";
import { sessionCookie, withSite } from "./harness.mjs";
import { rootOf } from "./inside.mjs";
import { tabTo } from "./person.mjs";
import { quiet } from "./traffic.mjs";

const kMiB = 1024 * 1024;
const kMemory = ["--disk", "/volume1", String(64 * kMiB), "--tmpfs", "/volume2", String(20 * kMiB), "--tmpfs", "/volumeUSB1/usbshare", String(8 * kMiB)];
// With one of the machine's own disks, on which others write at any time.
const kVolumes = [...kMemory, "--ro-bind", "/usr/share/zoneinfo", "/volumeX1"];

// The backup's own disk has been pulled out.
async function loseDisk(state) {
  const file = `${state}/usr/kest/etc/services.conf`;
  await mkdir(`${state}/usr/kest/etc`, { recursive: true });
  await writeFile(file, 'backup_volume="/volumeUSB3/usbshare"\ndownload_volume="/volume2"\n');
  await chmod(file, 0o644);
}

async function fill(server, path, bytes) {
  const file = `${await rootOf(server)}${path}`;
  await writeFile(file, Buffer.alloc(bytes, 1));
  await chmod(file, 0o666);
}

const listed = (page, status) => page.waitForFunction((words) => document.getElementById("status").textContent === words, status);
const cards = (page) => page.$$eval("#volumes > li", (items) => items.map((item) => [item.querySelector("h2").textContent, item.querySelector(".state").textContent]));

async function openVolumes(site) {
  await loseDisk(site.state);
  await fill(site.server, "/volume2/music", 15 * kMiB);
  await site.login("admin");
  await site.page.goto(`${site.url}/volumes.html`);
}

test("The volumes, their state and how full they are, with the keyboard, in both languages", () =>
  withSite(
    "volumes",
    async (site) => {
      const { page, shot } = site;
      await openVolumes(site);
      await listed(page, "5 volumes");
      assert.deepEqual(await cards(page), [
        ["usbshare3 (crashed or missing)", "Crashed"],
        ["Volume 1 (Free: 0.06 GiB )", "Normal"],
        ["Volume 2 (Free: 0.00 GiB )", "Normal"],
        ["usbshare1 (Free: 0.01 GiB )", "Normal"],
        ["/volumeX1", "Read-only"],
      ]);
      const second = page.getByRole("meter", { name: "Volume 2" });
      assert.equal(await second.getAttribute("aria-valuenow"), "75");
      assert.equal(await second.getAttribute("aria-valuetext"), "75 %");
      const drawn = await second.evaluate((bar) => bar.firstElementChild.getBoundingClientRect().width / bar.clientWidth);
      assert.ok(Math.abs(drawn - 0.75) < 0.01, `the bar is filled to ${drawn}`);
      assert.equal(await page.getByRole("meter").count(), 4, "what is gone has no bar");
      assert.match(await page.textContent('[data-volume="2"] .facts'), /Used15 MiB \(75 %\)Free5 MiBSize20 MiB/);
      assert.equal(await page.textContent("#place"), "The service keeps its data on /volumeUSB3/usbshare.");
      await shot("page");

      await tabTo(page, "#service");
      await page.keyboard.press("d");
      await listed(page, "4 volumes");
      assert.equal(await page.textContent("#place"), "The service keeps its data on /volume2.");
      assert.equal((await cards(page))[0][0], "Volume 1 (Free: 0.06 GiB )");

      await page.click('.languages button[lang="de"]');
      await page.waitForFunction(() => document.querySelector("#volumes h2")?.textContent === "Volume 1 (Frei: 0.06 GiB )");
      await listed(page, "4 Volumes");
      await page.selectOption("#service", "backup");
      await listed(page, "5 Volumes");
      assert.deepEqual((await cards(page))[0], ["usbshare3 (ausgefallen oder nicht angeschlossen)", "Ausgefallen"]);
      await shot("german");
    },
    { server: kVolumes },
  ));

test("The volumes on a dark phone, in German", () =>
  withSite(
    "volumes-phone",
    async (site) => {
      const { page, shot } = site;
      await openVolumes(site);
      await listed(page, "5 Volumes");
      const width = await page.evaluate(() => [document.documentElement.scrollWidth, innerWidth]);
      assert.ok(width[0] <= width[1], `the page is wider than the screen: ${width}`);
      await shot("page");
    },
    {
      server: kVolumes,
      context: { viewport: { width: 360, height: 740 }, colorScheme: "dark", locale: "de-DE", deviceScaleFactor: 2, userAgent: agents["an iPhone"].agent },
    },
  ));

// What really came over the wire for the list, which a page that reads its cache does not see.
async function listReplies(site) {
  const session = await site.context.newCDPSession(site.page);
  await session.send("Network.enable");
  const waiting = [];
  const came = [];
  const lists = new Map();
  session.on("Network.requestWillBeSent", ({ requestId, request }) => {
    if (request.url.includes("/cgi/volumes.cgi")) lists.set(requestId, request.url);
  });
  session.on("Network.responseReceivedExtraInfo", ({ requestId, statusCode, headers }) => {
    const list = { requestId, status: statusCode, headers: Object.fromEntries(Object.entries(headers).map(([name, value]) => [name.toLowerCase(), value])) };
    came.push(list);
    for (const wake of waiting.splice(0)) wake();
  });
  const known = () => came.filter(({ requestId }) => lists.has(requestId));
  return async (count) => {
    while (known().length < count) await new Promise((resolve) => waiting.push(resolve));
    return known();
  };
}

test("The browser's second request for an unchanged list gets 304, and a changed list is sent", () =>
  withSite(
    "volumes-known",
    async (site) => {
      const { page, server } = site;
      const replies = await listReplies(site);
      await openVolumes(site);
      await listed(page, "4 volumes");
      for (let again = 2; again <= 4; ++again) {
        await page.click("#refresh");
        assert.equal((await replies(again)).at(-1).status, 304, `request ${again}`);
        await quiet(page);
        await listed(page, "4 volumes");
        assert.equal((await cards(page)).length, 4);
      }
      await fill(server, "/volume2/more", 2 * kMiB);
      await page.click("#refresh");
      const all = await replies(5);
      assert.deepEqual(all.map(({ status }) => status), [200, 304, 304, 304, 200]);
      await page.waitForFunction(() => document.querySelector('[data-volume="2"] [role="meter"]').getAttribute("aria-valuenow") === "85");
      const tags = all.map(({ headers }) => headers.etag);
      assert.equal(new Set(tags.slice(0, 4)).size, 1);
      assert.notEqual(tags[4], tags[0]);
      assert.ok(all.every(({ headers }) => headers["cache-control"] === "private, no-cache"), JSON.stringify(all));

      // Whoever is not logged in learns nothing, whatever tag he has.
      await page.context().clearCookies();
      await page.click("#refresh");
      await page.waitForURL(/\/login\.html/);
    },
    { server: kMemory },
  ));

test("A plain request gets 304 by the tag alone, and the list without it", () =>
  withSite(
    "volumes-plain",
    async (site) => {
      await loseDisk(site.state);
      const cookie = await sessionCookie(site);
      const ask = (headers = {}) => fetch(`${site.url}/cgi/volumes.cgi?service=backup`, { headers: { cookie, ...headers }, cache: "no-store" });
      const first = await ask();
      const tag = first.headers.get("etag");
      assert.equal((await first.json()).data.volume_count, 3);
      const again = await ask({ "if-none-match": tag });
      assert.equal(again.status, 304);
      assert.equal(again.headers.get("etag"), tag);
      assert.equal((await again.text()).length, 0);
      await fill(site.server, "/volume2/more", kMiB);
      const changed = await ask({ "if-none-match": tag });
      assert.equal(changed.status, 200);
      assert.notEqual(changed.headers.get("etag"), tag);
      await changed.text();
      const refused = await ask({ "if-none-match": changed.headers.get("etag"), cookie: "id=0" });
      assert.equal(refused.status, 200);
      assert.equal(refused.headers.get("x-request-error"), "timeout");
      assert.equal(refused.headers.get("cache-control"), "no-store");
    },
    { browser: false, server: kMemory },
  ));

test("An ordinary account is told that this is for administrators", () =>
  withSite("volumes-anna", async ({ page, url, login }) => {
    await login("anna");
    await page.goto(`${url}/volumes.html`);
    await page.waitForSelector("#notice.error:not(:empty)");
    assert.equal(await page.isVisible("#service"), false);
  }));
