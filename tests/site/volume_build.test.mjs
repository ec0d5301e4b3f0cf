// The building of a volume as a person watches it: begun with the keyboard, done by a worker, told in both languages.
import assert from "node:assert/strict";
import { readFile, rm, writeFile } from "node:fs/promises";
import path from "node:path";
import { test } from "node:test";
import { agents } from "../program/agents.mjs";
import { withSite } from "./harness.mjs";
import { comesTrue, processesOf, rootOf } from "./inside.mjs";
import { errorBeside, focused, tabTo, typeInto } from "./person.mjs";
import { projectDir } from "./server.mjs";

const kMiB = 1024 * 1024;
// The making of the file system begins when the test lets it (held_mkfs).
const server = ["--disk", "/volume1", String(256 * kMiB), "--ro-bind", "/usr/sbin/mke2fs", "/run/mke2fs", "--ro-bind",
  path.join(projectDir, "tests/program/held_mkfs"), "/usr/sbin.machine/mke2fs"];
const hold = (state) => writeFile(`${state}/tmp/hold-formatting`, "");
const letGo = (state) => rm(`${state}/tmp/hold-formatting`);
const wantFailure = (state) => writeFile(`${state}/tmp/fail-formatting`, "");

// Who has started the making of the file system: other programs of that name only look. It says how far it is before it starts.
async function workerOf(server) {
  let maker;
  assert.ok(await comesTrue(async () => (maker = (await processesOf(server)).find(({ name }) => name === "mkfs.ext4"))), "no file system is made");
  return Number(/^PPid:\s+(\d+)$/m.exec(await readFile(`/proc/${maker.pid}/status`, "utf8"))[1]);
}

const words = (page, wanted) => page.waitForFunction((text) => document.getElementById("progress-words").textContent === text, wanted);
const reached = (page, percent) => page.waitForFunction((wanted) => document.getElementById("progress-bar").getAttribute("aria-valuenow") === wanted, String(percent));

async function openVolumes({ page, url, login }) {
  await login("admin");
  await page.goto(`${url}/volumes.html`);
  await page.waitForSelector("#volume option", { state: "attached" });
}

test("A volume is built with the keyboard, watched, and told when it is done", () =>
  withSite("volume-build", async (site) => {
    const { page, shot, state } = site;
    await openVolumes(site);
    assert.equal(await page.isVisible("#progress"), false);

    await typeInto(page, "size", "many");
    await page.keyboard.press("Enter");
    await page.waitForSelector("#notice.error:not([hidden])");
    assert.equal(await errorBeside(page, "size"), "A whole number of MiB is wanted, from 1 to 1048576.");
    assert.equal(await focused(page), "size");
    await shot("refused");
    await typeInto(page, "size", "9999");
    await page.keyboard.press("Enter");
    await page.waitForFunction(() => document.getElementById("size-error").textContent === "The volume has no room for this.");

    await hold(state);
    await typeInto(page, "size", "32");
    await tabTo(page, "#start");
    await page.keyboard.press("Enter");
    await words(page, "/volume2 is being built.");
    await reached(page, 95);
    const share = await page.$eval("#progress-bar", (bar) => bar.firstElementChild.getBoundingClientRect().width / bar.clientWidth);
    assert.ok(Math.abs(share - 0.95) < 0.01, `the bar is filled to ${share}`);
    assert.equal(await page.getByRole("progressbar", { name: "Build a volume" }).count(), 1);
    assert.equal(await page.isVisible("#build-form"), false);
    await shot("building");

    // Whoever comes later sees it, too.
    await page.reload();
    await words(page, "/volume2 is being built.");
    await reached(page, 95);
    await letGo(state);
    await words(page, "/volume2 is built.");
    assert.equal(await page.isVisible("#progress-bar"), false);
    assert.equal(await page.isVisible("#build-form"), true);
    await page.waitForFunction(() => document.querySelector('[data-volume="1"] .facts')?.textContent.startsWith("Used32.1 MiB (13 %)"));
    await shot("done");
  }, { server }));

test("What goes wrong is said in words, in both languages", () =>
  withSite("volume-build-failure", async (site) => {
    const { page, shot, state } = site;
    await wantFailure(state);
    await openVolumes(site);
    await page.click("#start");
    await words(page, "/volume2 could not be built. The file system could not be made.");
    await shot("failed");
    await page.click('.languages button[lang="de"]');
    await words(page, "/volume2 konnte nicht angelegt werden. Das Dateisystem konnte nicht angelegt werden.");

    await hold(state);
    await page.click("#start");
    await words(page, "/volume2 wird angelegt.");
    await reached(page, 95);
    process.kill(await workerOf(site.server), "SIGKILL");
    await words(page, "Das Anlegen von /volume2 ist ohne Angabe eines Grundes stehen geblieben.");
    await letGo(state);

    const root = await rootOf(site.server);
    await writeFile(`${root}/tmp/tarvel/modules/volume`, '{"pid": "x"');
    await page.reload();
    await words(page, "Wie weit das letzte Anlegen ist, lässt sich nicht lesen.");
  }, { server }));

test("A record of any kind is text on the page, and the bar stays in its place", () =>
  withSite("volume-build-record", async (site) => {
    const { page, state } = site;
    await openVolumes(site);
    await page.click("#start");
    await words(page, "/volume2 is built.");
    const record = { pid: 1, vol_path: "<img src=x onerror=alert(1)>", action: 1, step: 5000, status: 1 };
    await writeFile(`${state}/tmp/tarvel/modules/volume`, JSON.stringify(record));
    await page.reload();
    await words(page, "<img src=x onerror=alert(1)> is being built.");
    await reached(page, 100);
    assert.equal(await page.$("#progress img"), null);
  }, { server }));

test("A building on a dark phone, in German", () =>
  withSite(
    "volume-build-phone",
    async (site) => {
      const { page, shot, state } = site;
      await hold(state);
      await openVolumes(site);
      await page.click("#start");
      await words(page, "/volume2 wird angelegt.");
      await reached(page, 95);
      const width = await page.evaluate(() => [document.documentElement.scrollWidth, innerWidth]);
      assert.ok(width[0] <= width[1], `the page is wider than the screen: ${width}`);
      await shot("building");
      await letGo(state);
      await words(page, "/volume2 ist angelegt.");
      await shot("done");
    },
    { server, context: { viewport: { width: 360, height: 740 }, colorScheme: "dark", locale: "de-DE", deviceScaleFactor: 2, userAgent: agents["an iPhone"].agent } },
  ));
