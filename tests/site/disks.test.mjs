// The page of the external disks: a disk is formatted by a person, and really has the file system then.
import assert from "node:assert/strict";
import { execFile } from "node:child_process";
import { chown, rm, truncate, writeFile } from "node:fs/promises";
import path from "node:path";
import { test } from "node:test";
import { promisify } from "node:util";
import { agents } from "../program/agents.mjs";
import { sessionCookie, withSite } from "./harness.mjs";
import { comesTrue, programsOf } from "./inside.mjs";
import { tabTo } from "./person.mjs";
import { projectDir } from "./server.mjs";

const kMiB = 1024 * 1024;
const usb = "/volume1/@disks/usb1.img";
const title = `USB Disk 1 (${usb})`;

const typeOf = async (path) => (await promisify(execFile)("/usr/sbin/blkid", ["-p", "-o", "value", "-s", "TYPE", path])).stdout.trim();
const stateOf = (page, id) => page.$eval(`[data-disk="${id}"] .state`, (badge) => (badge.hidden ? "" : badge.textContent));
const says = (page, id, words) => page.waitForFunction(([disk, wanted]) => document.querySelector(`[data-disk="${disk}"] .state`)?.textContent === wanted, [id, words]);
const hasFocus = (page, id) => page.waitForFunction((wanted) => document.activeElement.id === wanted, id);
const notice = (page, kind) => page.waitForSelector(`#notice.${kind}:not([hidden])`).then((element) => element.textContent());

async function openDisks({ page, url, login }) {
  await login("admin");
  await page.goto(`${url}/disks.html`);
  await page.waitForSelector("#disks [data-disk]");
}

// With the keyboard, up to the question.
async function askFor(page, id, system) {
  await tabTo(page, `#system-${id}`);
  await page.selectOption(`#system-${id}`, system);
  await page.keyboard.press("Tab");
  await page.keyboard.press("Enter");
  await page.waitForSelector("#question[open]");
}

// The formatting begins when the test lets it (held_mkfs).
const held = { server: ["--ro-bind", "/usr/sbin/mke2fs", "/run/mke2fs", "--ro-bind", path.join(projectDir, "tests/program/held_mkfs"), "/usr/sbin.machine/mke2fs"] };
const holdFile = (state) => `${state}/tmp/hold-formatting`;
const hold = (state) => writeFile(holdFile(state), "");
const letGo = (state) => rm(holdFile(state));

test("A disk is formatted after a question that names it, and the page watches without keeping the server", () =>
  withSite("disks", async (site) => {
    const { page, shot, state, server } = site;
    await hold(state);
    await openDisks(site);
    await page.waitForFunction(() => document.getElementById("status").textContent === "2 disks");
    assert.deepEqual(await page.$$eval("#disks h2", (names) => names.map((name) => name.textContent)), ["USB Disk 1", "SATA Disk"]);
    await shot("list");

    // Whoever thinks twice has lost nothing.
    await askFor(page, "usb1", "EXT3");
    assert.equal(await page.textContent("#question-disk"), `Everything on ${title} is lost.`);
    assert.equal(await page.textContent("#question-system"), "The disk gets the file system EXT3.");
    await hasFocus(page, "cancel");
    await shot("question");
    await page.keyboard.press("Escape");
    await hasFocus(page, "format-usb1");
    assert.equal(await stateOf(page, "usb1"), "");

    await askFor(page, "usb1", "EXT3");
    await tabTo(page, "#confirm");
    await page.keyboard.press("Enter");
    await says(page, "usb1", "Is being formatted");
    assert.equal(await page.isVisible('[data-disk="usb1"] [role="progressbar"]'), true);
    assert.equal(await page.isVisible("#system-usb1"), false);
    for (let polls = 0; polls < 2; ++polls) await page.waitForResponse(/disks\.cgi\?poll=1$/);
    // The programs of the looks come and go; the one that formats stays.
    const alone = async () => (await programsOf(server)).map(({ name }) => name).join() === "disks.cgi";
    assert.ok(await comesTrue(alone), "it does not go on behind the answered request");
    await shot("formatting");
    await letGo(state);
    await says(page, "usb1", "Formatted");
    assert.equal(await notice(page, "success"), "USB Disk 1 is formatted.");
    assert.equal(await typeOf(`${state}${usb}`), "ext3");
    assert.equal(await stateOf(page, "sata"), "");
    await shot("formatted");
  }, held));

test("A formatting that somebody else has begun is watched, too, and its failure is said", () =>
  withSite("disks-failure", async (site) => {
    const { page, shot, state, url } = site;
    await truncate(`${state}${usb}`, 1024);
    await openDisks(site);
    await askFor(page, "usb1", "EXT4");
    await page.click("#confirm");
    await says(page, "usb1", "Formatting failed");
    assert.equal(await notice(page, "error"), "USB Disk 1 could not be formatted. The system log of the appliance says why.");
    await shot("failed");

    // In German, begun elsewhere.
    await page.click('.languages button[lang="de"]');
    await says(page, "usb1", "Formatieren fehlgeschlagen");
    await hold(state);
    const cookie = await sessionCookie(site);
    const fields = { action: "format", disk: "usb1", device: usb, file_system: "EXT3" };
    await truncate(`${state}${usb}`, 64 * kMiB);
    await fetch(`${url}/cgi/disks.cgi`, { method: "POST", headers: { cookie }, body: new URLSearchParams(fields) });
    await page.reload();
    await says(page, "usb1", "Wird formatiert");
    await letGo(state);
    await says(page, "usb1", "Formatiert");
    assert.equal(await notice(page, "success"), "USB Disk 1 ist formatiert.");
  }, held));

test("What cannot be formatted is said in words", () =>
  withSite("disks-refused", async (site) => {
    const { page, shot, state } = site;
    await openDisks(site);
    const named = `${state}/usr/kest/etc/external_disks.conf`;
    const name = async (lines) => {
      await writeFile(named, lines);
      if (process.getuid() === 0) await chown(named, 33, 33);
    };
    const listed = async (lines) => {
      await name(lines);
      await page.reload();
      await page.waitForSelector("#disks [data-disk]");
    };
    const refused = async (words) => {
      await page.click('[data-disk="usb1"] button');
      await page.waitForSelector("#question[open]");
      await page.click("#confirm");
      assert.equal(await notice(page, "error"), words);
    };
    await name(`usb1="${usb}.other"\n`);
    await refused("Another disk has come to this place. Please look at the list again.");
    await listed(`usb1="${usb}.other"\n`);
    await refused("The disk is not there, or is not a disk.");
    await listed(`usb1="${usb}"\n`);
    await name("");
    await refused("The appliance has no such external disk any more.");
    await page.waitForFunction(() => document.getElementById("status").textContent === "There is no external disk.");
    await shot("none");
  }));

test("The disks on a dark phone, in German", () =>
  withSite(
    "disks-phone",
    async (site) => {
      const { page, shot } = site;
      await openDisks(site);
      const width = await page.evaluate(() => [document.documentElement.scrollWidth, innerWidth]);
      assert.ok(width[0] <= width[1], `the page is wider than the screen: ${width}`);
      await shot("list");
      await page.click('[data-disk="usb1"] button');
      await page.waitForSelector("#question[open]");
      assert.equal(await page.textContent("#question-disk"), `Alles auf ${title} geht verloren.`);
      await shot("question");
    },
    { context: { viewport: { width: 360, height: 740 }, colorScheme: "dark", locale: "de-DE", deviceScaleFactor: 2, userAgent: agents["an iPhone"].agent } },
  ));

test("An ordinary account is told that this is for administrators", () =>
  withSite("disks-anna", async ({ page, url, login }) => {
    await login("anna");
    await page.goto(`${url}/disks.html`);
    await page.waitForSelector("#notice.error:not(:empty)");
    assert.equal(await page.isVisible("#disks"), false);
  }));
