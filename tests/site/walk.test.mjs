// The whole site as one walk with the keyboard alone: over every page that the navigation offers, as an administrator and as an
// ordinary user, on a desktop and on a phone. A new page comes into it with its entry in the navigation.
import assert from "node:assert/strict";
import { readFile } from "node:fs/promises";
import { test } from "node:test";
import { agents } from "../program/agents.mjs";
import { assertAccessible } from "./axe.mjs";
import { assertFingersFit, walkByTab } from "./focus_stops.mjs";
import { withSite } from "./harness.mjs";
import { focused, goByNavigation, logInByKeyboard, openForm, saved, settingsOf, tabTo, typeInto } from "./person.mjs";
import { quiet } from "./traffic.mjs";

const kFinger = 44;
const kLogout = '#appbanner a[href$="/logout.cgi"]';
const desktop = { viewport: { width: 1280, height: 800 } };
const phone = { viewport: { width: 390, height: 844 }, isMobile: true, hasTouch: true, userAgent: agents["an iPhone"].agent };
const kTimeout_ms = 400_000;

// What the navigation and the overview offer: pages by their address, with the words of their links.
const linksIn = (page, place) =>
  page.$$eval(`${place} a[href]`, (links) => links.filter((link) => !link.closest("[hidden]")).map((link) => ({ address: link.pathname, words: link.textContent })));

// Nothing is asked for any more, so that nobody leaves a page that still reads something.
async function settled(page) {
  await page.waitForSelector("html:not(.waiting)");
  await quiet(page);
}

// Replies that refuse, and requests that got none.
function listenForFailures(page) {
  const failed = [];
  page.on("response", (reply) => reply.status() >= 400 && failed.push(`${reply.status()} ${reply.url()}`));
  page.on("requestfailed", (request) => failed.push(`${request.failure()?.errorText} ${request.url()}`));
  return failed;
}

async function assertPage(page, { address, words }, layout) {
  const { headings, title, brand, content, screen } = await page.evaluate(() => ({
    headings: [...document.querySelectorAll("h1")].map(({ textContent }) => textContent),
    title: document.title,
    brand: document.querySelector(".brand").textContent,
    content: document.documentElement.scrollWidth,
    screen: innerWidth,
  }));
  assert.deepEqual(headings, [words], `${address} is called what the link to it says`);
  assert.equal(title, `${words} - ${brand}`, address);
  assert.ok(content <= screen, `${address} is ${content} wide on a screen of ${screen}`);
  await walkByTab(page, address);
  if (layout === phone) await assertFingersFit(page, address, kFinger);
}

async function logOutByKeyboard(page) {
  if (await page.isVisible(".menu:not([open])")) {
    await tabTo(page, ".menu > summary");
    await page.keyboard.press("Enter");
  }
  await tabTo(page, kLogout);
  await page.keyboard.press("Enter");
  await page.waitForURL(/login\.html$/);
  await settled(page);
}

// From the login over every page to the way out. Resolves to the pages.
async function walk(site, name, layout, look = () => {}) {
  const { page, url, accounts } = site;
  const failed = listenForFailures(page);
  await logInByKeyboard(site, accounts[name]);
  await settled(page);
  const pages = await linksIn(page, "header nav");
  assert.ok(pages.length >= 3, `${pages.length} pages`);
  assert.deepEqual(await linksIn(page, ".tiles"), pages.slice(1), "the overview offers what the navigation does");
  for (const each of pages) {
    if (each.address !== "/") await goByNavigation(page, each.address);
    await page.waitForURL(url + each.address);
    await settled(page);
    await assertPage(page, each, layout);
    await look(each);
  }
  await logOutByKeyboard(page);
  assert.deepEqual(failed, [], "every request was answered");
  return pages.map(({ address }) => address);
}

// A page for administrators that an ordinary user opens by its address: words and the way back, and nothing beside them.
async function assertClosed({ page, url, login }, addresses) {
  await login("anna");
  for (const address of addresses) {
    await page.goto(url + address);
    await page.waitForSelector("main a.button");
    await settled(page);
    assert.equal(await page.textContent("#notice"), "Your account may not use this page. Please ask an administrator.", address);
    assert.equal(await page.locator("main :is(button, input, select)").count(), 0, address);
    await tabTo(page, "main a.button");
  }
  await page.keyboard.press("Enter");
  await page.waitForURL(`${url}/`);
}

for (const [name, layout] of Object.entries({ desktop, phone })) {
  test(`Every page is walked through by keyboard on a ${name}`, () =>
    withSite(
      `walk-${name}`,
      async (site) => {
        const { page, shot } = site;
        // What a page is to a screen reader is looked at on a desktop by the test of all pages.
        const look = async ({ address }) => {
          if (layout === phone) await assertAccessible(page, address, 10);
          await shot(address.replaceAll(/\W|html/g, "") || "overview");
        };
        const all = await walk(site, "admin", layout, look);
        const open = await walk(site, "anna", layout);
        await assertClosed(site, all.filter((address) => !open.includes(address)));
      },
      { context: layout, timeout_ms: kTimeout_ms },
    ));
}

async function press(page, selector) {
  await tabTo(page, selector);
  await page.keyboard.press("Enter");
}

// The page is at rest: it moves the focus no more.
async function shown(page, selector) {
  await page.waitForSelector(selector);
  await quiet(page);
}

async function makeUser(page, name, password) {
  await goByNavigation(page, "/users.html");
  await shown(page, "#list tbody tr");
  await press(page, "#new");
  await shown(page, "#editor:not([hidden])");
  await page.keyboard.type(name);
  for (const field of ["password", "password_again"]) await typeInto(page, field, password);
  await page.keyboard.press("Enter");
  await saved(page);
  assert.equal(await page.evaluate(() => document.activeElement.textContent), name, "the new user has the focus");
}

async function makeShare(page, name, user) {
  await goByNavigation(page, "/shares.html");
  await shown(page, "#shares tbody tr");
  await press(page, "#new");
  await shown(page, "#editor:not([hidden])");
  await page.keyboard.type(name);
  await tabTo(page, "#rw");
  await page.keyboard.type(user);
  await page.waitForSelector(`#rw-choices [aria-selected="true"][data-name="${user}"]`);
  await page.keyboard.press("Enter");
  await page.waitForFunction((wanted) => document.querySelector("#rw-label + .chips").textContent.includes(wanted), user);
  await press(page, "#save");
  await saved(page);
  assert.equal(await page.evaluate(() => document.activeElement.textContent), name, "the new folder has the focus");
}

// Presses the button that saves a form which stays open.
async function saveAndStay(page, button) {
  await press(page, `#${button}`);
  await saved(page);
  assert.equal(await focused(page), button, "the button keeps the focus");
}

async function uploadAndFetch(page, name, content) {
  // Asked for in time: the browser has to be told not to open a dialog of its own.
  const choosing = page.waitForEvent("filechooser");
  await press(page, "#choose");
  const chooser = await choosing;
  await chooser.setFiles({ name, mimeType: "text/plain", buffer: Buffer.from(content) });
  await shown(page, "#uploads-list .done");
  await shown(page, `#items a.fetch[href$="${name}"]`);
  await tabTo(page, `#items a.fetch[href$="${name}"]`);
  const [download] = await Promise.all([page.waitForEvent("download"), page.keyboard.press("Enter")]);
  return readFile(await download.path(), "utf8");
}

test("By keyboard alone an administrator makes an account and a folder, and its user uploads and downloads there", () =>
  withSite(
    "walk-work",
    async (site) => {
      const { page, state, accounts } = site;
      const kim = { name: "kim", password: "a fresh password" };
      await logInByKeyboard(site, accounts.admin);
      await goByNavigation(page, "/general.html");
      await openForm(page);
      await typeInto(page, "description", "In the cellar");
      await saveAndStay(page, "save");
      assert.equal((await settingsOf(state)).description, "In the cellar");
      await goByNavigation(page, "/ports.html");
      await page.waitForFunction(() => document.getElementById("ftpport")?.value);
      await quiet(page);
      await saveAndStay(page, "save-ftp");
      await makeUser(page, kim.name, kim.password);
      await makeShare(page, "plans", kim.name);
      await logOutByKeyboard(page);

      await logInByKeyboard(site, kim);
      await goByNavigation(page, "/files.html");
      await shown(page, '#items a[href="#%2Fplans"]');
      await press(page, '#items a[href="#%2Fplans"]');
      await shown(page, "#tools:not([hidden])");
      assert.equal(await focused(page), "folder", "the folder has the focus");
      assert.equal(await uploadAndFetch(page, "notes.txt", "what kim wrote\n"), "what kim wrote\n");
      assert.equal(await readFile(`${state}/volume1/plans/notes.txt`, "utf8"), "what kim wrote\n");

      // While the appliance does not answer, no words can be fetched from it either.
      await page.route("**/cgi/**", (route) => route.abort());
      await press(page, "#crumbs a");
      await page.waitForSelector("#notice.error");
      assert.match(await page.textContent("#notice"), /^The appliance did not answer\./);
      await page.unroute("**/cgi/**");
      await logOutByKeyboard(page);
    },
    { context: desktop, timeout_ms: kTimeout_ms },
  ));
