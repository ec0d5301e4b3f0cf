// What a person in front of a page does and sees.
import assert from "node:assert/strict";
import { readFile } from "node:fs/promises";
import { quiet } from "./traffic.mjs";

const kMostTabs = 60;

export const focused = (page) => page.evaluate(() => document.activeElement.id);

/// Presses Tab until the element has the focus, which must be seen.
export async function tabTo(page, selector) {
  for (let count = 0; count < kMostTabs; ++count) {
    if (await page.evaluate((wanted) => document.activeElement.matches(wanted), selector)) return assertFocusIsSeen(page);
    await page.keyboard.press("Tab");
  }
  assert.fail(`${selector} is not reached with the keyboard`);
}

async function assertFocusIsSeen(page) {
  const outline = await page.evaluate(() => {
    const marked = document.activeElement.closest(".tile") ?? document.activeElement;
    const { outlineStyle, outlineWidth } = getComputedStyle(marked);
    return outlineStyle === "none" ? 0 : Number.parseFloat(outlineWidth);
  });
  assert.ok(outline >= 2, "the focus is not seen");
}

/// Logs in at the form, by keyboard.
export async function logInByKeyboard({ page, url }, { name, password }) {
  await page.goto(`${url}/login.html`);
  await page.waitForSelector("html:not(.waiting)");
  assert.equal(await focused(page), "user", "the first field has the focus");
  await page.keyboard.type(name);
  await page.keyboard.press("Tab");
  await page.keyboard.type(password);
  await page.keyboard.press("Enter");
  await page.waitForURL(`${url}/`);
  await page.waitForFunction((user) => document.getElementById("account")?.textContent === user, name);
}

/// Goes to a page by the navigation and by keyboard. What folds around its link is opened first: a group, on a phone the menu, too.
export async function goByNavigation(page, address) {
  const link = `nav a[href="${address}"]`;
  const closed = page.locator(`header details:not([open]):has(li a[href="${address}"])`);
  while ((await closed.count()) > 0) {
    const fold = await closed.first().evaluate((details) => details.className || details.firstElementChild.dataset.text);
    await tabTo(page, fold === "menu" ? ".menu > summary" : `nav summary[data-text="${fold}"]`);
    await page.keyboard.press("Enter");
    await page.waitForSelector(fold === "menu" ? ".menu[open]" : `nav details[open] > summary[data-text="${fold}"]`);
  }
  await tabTo(page, link);
  await page.keyboard.press("Enter");
}

/// Reaches the field by keyboard and replaces its value.
export async function typeInto(page, id, value) {
  await tabTo(page, `#${id}`);
  await page.keyboard.press("Control+A");
  await page.keyboard.press("Delete");
  await page.keyboard.type(value);
}

/// Waits until the settings are in the form, and a draft is offered if there is one.
export async function openForm(page) {
  await page.waitForFunction(() => document.getElementById("session_timeout")?.value);
  await quiet(page);
}

/// Waits until the page says that the appliance keeps what was typed.
export const draftKept = (page) => page.waitForFunction(() => /draft/.test(document.getElementById("status").textContent));

export async function saved(page) {
  await page.waitForSelector("#notice.success");
  await quiet(page);
}

/// Saves the form; `outcome` is the notice that comes of it. What was said of the save before goes with the click.
export async function save(page, outcome, button = "#save") {
  await page.click(button);
  await page.waitForSelector(`#notice.${outcome}`);
  await quiet(page);
}

/// Holds back what the page posts to a program until letGo(); count() tells how often it has.
export async function holdPosts(page, program) {
  let count = 0;
  let letGo;
  const released = new Promise((resolve) => (letGo = resolve));
  const address = `**/cgi/${program}.cgi`;
  await page.route(address, async (route) => {
    if (route.request().method() !== "POST") return route.fallback();
    count += 1;
    await released;
    return route.continue();
  });
  return { count: () => count, letGo };
}

/// Opens the form of a new backup task.
export async function openTaskForm(page) {
  await page.click("#new");
  await page.waitForSelector("#editor:not([hidden])");
}

/// Makes a backup task: fields by their id, switches as true or false.
export async function makeTask(page, fields) {
  await openTaskForm(page);
  for (const [id, value] of Object.entries(fields)) {
    if (typeof value === "boolean") await page.setChecked(`#${id}`, value);
    else if (["name", "start"].includes(id)) await page.fill(`#${id}`, value);
    else await page.selectOption(`#${id}`, value);
  }
  await save(page, "success");
}

/// The newest entries of the event log that the page shows: event, task, schedule.
export const shownEvents = (page) =>
  page.$$eval("#events tr", (rows) => rows.map((row) => [...row.cells].slice(1).map(({ textContent }) => textContent)));

/// The message beside a field, or null. A field with a message is marked as invalid and described by it.
export async function errorBeside(page, id) {
  return page.evaluate((name) => {
    const field = document.getElementById(name);
    const message = document.getElementById(`${name}-error`);
    const described = field.getAttribute("aria-describedby").split(" ").includes(message.id);
    const marked = field.getAttribute("aria-invalid") === "true";
    if (marked === message.hidden || !described) throw new Error(`${name} and its message disagree`);
    if (field.closest(".field") !== message.closest(".field")) throw new Error(`${name}: the message is elsewhere`);
    return message.hidden ? null : message.textContent;
  }, id);
}

export async function settingsOf(state) {
  const text = await readFile(`${state}/etc/kestinfo.conf`, "utf8");
  return Object.fromEntries([...text.matchAll(/^(\w+)="(.*)"$/gm)].map(([, key, value]) => [key, value]));
}
