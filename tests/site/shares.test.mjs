// The shared folders in front of a person: what the page says is saved is in the database and on the volume.
import assert from "node:assert/strict";
import { stat } from "node:fs/promises";
import path from "node:path";
import { test } from "node:test";
import { withSite } from "./harness.mjs";
import { errorBeside, focused, goByNavigation, holdPosts, save, saved, tabTo, typeInto } from "./person.mjs";

const kDescription = "Bilder f\u00fcr alle \u{1F4F7}";
const kPassphrase = "correct horse battery";
const kTwice = "anna stands in another list, too. A name may stand in one list only.";

async function openShares({ page, url, login }) {
  await login();
  await page.goto(`${url}/`);
  await goByNavigation(page, "/shares.html");
  await listed(page);
}

const listed = (page) => page.waitForFunction(() => !/being read|gelesen/.test(document.getElementById("status").textContent));
const isFolder = async ({ state }, name) => (await stat(path.join(state, "volume1", name)).catch(() => null))?.isDirectory() === true;
const rowOf = (page, name) => page.locator(`#shares tbody tr[data-name="${name}"]`);
const namesIn = (page, list) => page.$$eval(`#${list}-label + .chips > li > :first-child`, (names) => names.map(({ textContent }) => textContent));
const opened = (page, section) => page.waitForSelector(`#${section}:not([hidden])`);

// Types the beginning of a name and takes the first that is offered.
async function choose(page, list, beginning, name) {
  await tabTo(page, `#${list}`);
  await page.keyboard.type(beginning);
  await page.waitForSelector(`#${list}-choices [aria-selected="true"][data-name="${name}"]`);
  await page.keyboard.press("Enter");
  await page.waitForFunction(([id, wanted]) => document.querySelector(`#${id}-label + .chips`).textContent.includes(wanted), [list, name]);
}

test("A folder is made with the keyboard, changed, refused, renamed, and cannot be encrypted here", () =>
  withSite("shares", async (site) => {
    const { page, shot, pageLog } = site;
    await openShares(site);
    await tabTo(page, "#new");
    await page.keyboard.press("Enter");
    await opened(page, "editor");
    assert.equal(await focused(page), "name");
    await page.keyboard.type("pictures");
    await typeInto(page, "desc", kDescription);
    assert.equal(await page.textContent("#desc-count"), "17 / 64");
    await choose(page, "rw", "an", "anna");
    await choose(page, "ro", "@us", "@users");
    await page.keyboard.type("ber");
    await page.waitForSelector("#ro-choices [aria-selected]");
    await shot("form");
    await page.keyboard.press("ArrowDown");
    await page.keyboard.press("Escape");
    await typeInto(page, "ro", "");
    await tabTo(page, "#save");
    await Promise.all([saved(page), page.keyboard.press("Enter")]);
    assert.ok(await isFolder(site, "pictures"));
    assert.match(await rowOf(page, "pictures").textContent(), new RegExp(kDescription, "u"));
    assert.equal(await page.evaluate(() => document.activeElement.textContent), "pictures");

    await rowOf(page, "pictures").locator("[id^=edit]").click();
    await opened(page, "editor");
    assert.deepEqual([await namesIn(page, "rw"), await namesIn(page, "ro"), await page.inputValue("#desc")], [["anna"], ["@users"], kDescription]);
    await page.check("#hidden");
    await page.check("#disable_download");
    await page.fill("#na", "anna");
    await save(page, "error");
    assert.deepEqual([await errorBeside(page, "na"), await errorBeside(page, "rw"), await errorBeside(page, "ro")], [kTwice, kTwice, null]);
    await page.fill("#desc", "\u00e4".repeat(65));
    assert.ok(await page.locator("#desc-count.over").count());
    await page.click("#na-label + .chips button");
    // The beginning of somebody's name is nobody's.
    await page.fill("#ro", "ber");
    await save(page, "error");
    assert.equal(await errorBeside(page, "desc"), "A description has 64 characters at most.");
    assert.equal(await errorBeside(page, "ro"), "There is no account or group ber.");
    assert.equal(await focused(page), "desc");
    await shot("refused");
    await page.fill("#desc", "<b>bold</b>");
    await page.locator("#ro-label + .chips li", { hasText: "ber" }).locator("button").click();
    await save(page, "success");
    assert.match(await rowOf(page, "pictures").textContent(), /<b>bold<\/b>.*HiddenNot downloaded/);

    await rowOf(page, "pictures").locator("[id^=rename]").click();
    await opened(page, "renaming");
    await page.keyboard.press("Enter");
    await page.waitForSelector("#notice.error");
    assert.equal(await errorBeside(page, "new_name"), "This is its name already.");
    await typeInto(page, "new_name", "Our pictures");
    const renames = await holdPosts(page, "share");
    await page.keyboard.press("Enter");
    await page.keyboard.press("Enter");
    renames.letGo();
    await saved(page);
    assert.equal(renames.count(), 1, "whoever presses twice has pressed once");
    assert.deepEqual([await isFolder(site, "pictures"), await isFolder(site, "Our pictures")], [false, true]);

    await rowOf(page, "Our pictures").locator("[id^=encryption]").click();
    await opened(page, "encrypting");
    assert.ok(await page.isDisabled("#encrypt-save"));
    await page.selectOption("#encryption", "auto");
    await page.fill("#passphrase", kPassphrase);
    await page.fill("#again", `${kPassphrase}!`);
    await page.click("#encrypt-save");
    await page.waitForSelector("#notice.error");
    assert.equal(await errorBeside(page, "again"), "The two passphrases differ.");
    assert.equal(await page.inputValue("#passphrase"), "");
    await page.fill("#passphrase", kPassphrase);
    await page.fill("#again", kPassphrase);
    const encryption = await holdPosts(page, "share");
    await page.click("#encrypt-save");
    await page.waitForSelector("#notice.info");
    assert.match(await page.textContent("#notice"), /leave this page open/);
    encryption.letGo();
    await page.waitForFunction(() => /cannot encrypt folders/.test(document.getElementById("notice").textContent));
    await shot("not-encrypted");
    assert.ok(!pageLog.some(({ text }) => text.includes(kPassphrase)));
    await page.click("#encrypt-close");
    assert.equal(await page.evaluate(() => document.activeElement.textContent), "Our pictures");
    await page.fill("#search", "OUR");
    await page.waitForFunction(() => document.getElementById("status").textContent.endsWith("/ 1"));
    assert.ok(await page.isHidden("#full"));
    await page.route("**/cgi/shares.cgi*", async (route) => {
      const { data } = await (await route.fetch()).json();
      await route.fulfill({ json: { success: true, data: { ...data, full: true } } });
    });
    await page.fill("#search", "our");
    await page.waitForSelector("#full:not([hidden])");
    await shot("list");
  }));

test("The page is German on a phone, and fits it", () =>
  withSite(
    "shares-phone",
    async (site) => {
      const { page, shot, login, url } = site;
      await login();
      await page.goto(`${url}/shares.html`);
      await listed(page);
      await page.click("#new");
      await opened(page, "editor");
      await page.fill("#name", "Surveillance");
      await page.selectOption("#new_encryption", "manual");
      await page.fill("#new_passphrase", "kurz");
      await save(page, "error");
      assert.equal(await errorBeside(page, "name"), "Dieser Name ist den Aufnahmen der \u00dcberwachung vorbehalten.");
      await shot("refused");
      await page.selectOption("#new_encryption", "none");
      await page.fill("#name", "Ein Name aus zweiunddrei\u00dfig Zei.");
      await page.fill("#desc", "Eine Beschreibung, die so lang ist, wie es gerade noch erlaubt ist");
      await page.fill("#desc", (await page.inputValue("#desc")).slice(0, 64));
      for (const id of ["hidden", "disable_list", "disable_modify", "disable_download"]) await page.check(`#${id}`);
      await page.fill("#rw", "@users");
      await save(page, "success");
      const { content, screen } = await page.evaluate(() => ({ content: document.documentElement.scrollWidth, screen: innerWidth }));
      assert.ok(content <= screen, `the page is ${content} wide on a screen of ${screen}`);
      await shot("german");
    },
    { context: { viewport: { width: 360, height: 740 }, isMobile: true, hasTouch: true, locale: "de-DE", colorScheme: "dark" } },
  ));
