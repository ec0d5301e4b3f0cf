// The backup tasks for a person: made, corrected, changed, renamed, turned off and on, removed; by keyboard, on a phone, in
// German. That cron starts what is made here is told by backups_cron.test.mjs.
import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { readdir } from "node:fs/promises";
import { test } from "node:test";
import { withSite } from "./harness.mjs";
import { errorBeside, focused, makeTask, openTaskForm, save, shownEvents, tabTo, typeInto } from "./person.mjs";
import { preset, projectDir } from "./server.mjs";

const kPhone = { viewport: { width: 360, height: 740 }, hasTouch: true, isMobile: true, deviceScaleFactor: 2 };
const records = (state) => readdir(`${state}/usr/kest/etc/backup`).catch(() => []);

async function openPage({ page, url, login }) {
  await login();
  await page.goto(`${url}/backups.html`);
  await page.waitForFunction(() => document.getElementById("tasks").children.length > 0 || /yet|noch/.test(document.getElementById("status").textContent));
}

// The tasks of the list: name, line below it, state.
const tasks = (page) =>
  page.$$eval("#tasks > li", (cards) => cards.map((card) => [card.querySelector("h2"), card.querySelector("p"), card.querySelector(".task-state")].map(({ textContent }) => textContent)));

const act = (page, name, words) => page.click(`#tasks li[data-name="${name}"] button:text-is("${words}")`);

// The tool for jobs and events, beside the running site.
function kestjob(state, ...command) {
  const ended = spawnSync(`${projectDir}/script/appliance`, ["--preset", preset, "--state", state, "--", "/usr/kest/bin/kestjob", ...command], { encoding: "utf8" });
  assert.equal(ended.status, 0, ended.stderr);
}

test("A task is made, and its schedule stands in the list and in the event log", () =>
  withSite("backups-make", async (site) => {
    const { page, shot } = site;
    await openPage(site);
    assert.deepEqual(await tasks(page), []);
    await shot("empty");
    await openTaskForm(page);
    assert.match(await page.textContent("#start-hint"), /^By the clock of the appliance: UTC([+-]\d\d:\d\d)?\.$/);
    await shot("form");
    await makeTask(page, { name: "Photos 2027", start: "03:07" });
    assert.equal(await page.isVisible("#editor"), false);
    assert.equal(await page.textContent("#notice"), "The task is saved.");
    assert.deepEqual(await tasks(page), [["Photos 2027", "Local backup. Time: 03:07 Days: daily", "Starts by itself"]]);
    await makeTask(page, { name: "documents", kind: "network", schedule: "advance", schedule_mon: true, schedule_wed: true, schedule_fri: true,
      schedule_sun: false, schedule_tue: false, schedule_thu: false, schedule_sat: false, frequency: "4", start: "08:30", lasttime: "20" });
    assert.deepEqual((await tasks(page))[0], ["documents", "Network backup. Time: 08:30 ~ 20:30, every 4 h Days: Monday,Wednesday,Friday", "Starts by itself"]);
    assert.deepEqual(await shownEvents(page), [
      ["Schedule set", "documents", " Time: 08:30 ~ 20:30, every 4 h Days: Monday,Wednesday,Friday"],
      ["Schedule set", "Photos 2027", " Time: 03:07 Days: daily"],
    ]);
    await shot("list");
    await act(page, "documents", "Edit");
    await page.waitForSelector("#editor:not([hidden])");
    await shot("advanced");
    assert.equal(await page.inputValue("#lasttime"), "20");
    assert.equal(await page.isVisible("#name"), false, "a task is renamed elsewhere");
    assert.equal(await page.isDisabled("#kind"), true);
    assert.equal(await page.isChecked("#schedule_wed"), true);
  }));

test("What cannot be kept is said beside its field, and nothing is saved", () =>
  withSite("backups-refused", async (site) => {
    const { page, shot, state } = site;
    await openPage(site);
    const rules = [
      ["name", () => page.fill("#name", 'x" ; reboot ; "'), /letters, digits, blanks/],
      ["name", () => page.fill("#name", "$(reboot)"), /letters, digits, blanks/],
      ["start", () => page.fill("#start", ""), /not accepted/],
      ["schedule_sun", async () => {
        await page.selectOption("#schedule", "advance");
        for (const day of ["sun", "mon", "tue", "wed", "thu", "fri", "sat"]) await page.uncheck(`#schedule_${day}`);
      }, /at least one day/],
      ["lasttime", async () => {
        await page.selectOption("#schedule", "advance");
        await page.selectOption("#frequency", "2");
        await page.selectOption("#lasttime", "1");
      }, /before the first/],
    ];
    for (const [id, spoil, message] of rules) {
      await openTaskForm(page);
      await page.fill("#name", "photos");
      await spoil();
      await save(page, "error");
      assert.match(await errorBeside(page, id), message, id);
      assert.equal(await page.locator("#backup [aria-invalid]").count(), 1, id);
      assert.equal(await focused(page), id);
      await shot(`refused-${id}`);
    }
    assert.deepEqual(await records(state), []);
    await openTaskForm(page);
    assert.equal(await page.locator("#backup [aria-invalid]").count(), 0, "a form that is opened again has no marks");
  }));

test("A task is renamed, turned off and on, and removed after a question", () =>
  withSite("backups-change", async (site) => {
    const { page, shot, state } = site;
    await openPage(site);
    await makeTask(page, { name: "photos", start: "03:30" });
    await makeTask(page, { name: "letters", start: "04:30" });

    await act(page, "photos", "Rename");
    await page.fill("#new_name", "letters");
    await save(page, "error", "#rename .primary");
    assert.equal(await errorBeside(page, "new_name"), "Another task has this name already.");
    await shot("taken");
    await page.fill("#new_name", "pictures");
    await save(page, "success", "#rename .primary");
    assert.deepEqual((await tasks(page)).map(([name]) => name), ["letters", "pictures"]);

    await act(page, "pictures", "Disable");
    await page.waitForSelector('#tasks li[data-name="pictures"] .task-state.off');
    await shot("off");
    await act(page, "pictures", "Enable");
    await page.waitForSelector('#tasks li[data-name="pictures"] .task-state.on');
    assert.deepEqual((await tasks(page))[1], ["pictures", "Local backup. Time: 03:30 Days: daily", "Starts by itself"]);

    await act(page, "pictures", "Remove");
    await page.waitForSelector("dialog[open]");
    assert.match(await page.textContent("#remove-question"), /pictures/);
    await shot("question");
    assert.equal(await focused(page), "remove-cancel");
    await page.keyboard.press("Escape");
    assert.equal((await tasks(page)).length, 2);
    await act(page, "pictures", "Remove");
    await page.click("#remove-confirm");
    await page.waitForFunction(() => document.getElementById("tasks").children.length === 1);
    assert.deepEqual(await records(state), ["letters"]);
  }));

test("A person with a keyboard makes and changes a task", () =>
  withSite("backups-keyboard", async (site) => {
    const { page } = site;
    await openPage(site);
    await tabTo(page, "#new");
    await page.keyboard.press("Enter");
    await page.waitForSelector("#editor:not([hidden])");
    assert.equal(await focused(page), "name", "the first field has the focus");
    await typeInto(page, "name", "photos");
    await tabTo(page, "#schedule");
    await page.keyboard.press("ArrowDown");
    await page.waitForSelector("#schedule_sun");
    await tabTo(page, "#schedule_sun");
    await page.keyboard.press("Space");
    await tabTo(page, "#save");
    await page.keyboard.press("Enter");
    await page.waitForSelector("#notice.success");
    assert.match(await page.evaluate(() => document.activeElement.textContent), /^photos$/, "the focus is on the task");
    assert.match((await tasks(page))[0][1], /Monday,Tuesday,Wednesday,Thursday,Friday,Saturday$/);
    await tabTo(page, 'button[id^="edit-"]');
    await page.keyboard.press("Enter");
    await page.waitForSelector("#editor:not([hidden])");
    assert.equal(await focused(page), "enable");
    await page.keyboard.press("Space");
    await tabTo(page, "#save");
    await page.keyboard.press("Enter");
    await page.waitForSelector(".task-state.off");
  }));

test("On a German phone the page fits its screen, and changes its words with the language", () =>
  withSite(
    "backups-phone",
    async (site) => {
      const { page, shot } = site;
      await openPage(site);
      await makeTask(page, { name: "Fotos-aus-dem-Urlaub-in-den-Bergen-und-am-Meer-2027", schedule: "advance", frequency: "6", lasttime: "21" });
      assert.match((await tasks(page))[0][1], /^Lokale Sicherung\. Zeit: 03:00 ~ 21:00, alle 6 Std\. Tage: t\u00e4glich$/);
      const fits = async (what) => {
        const { content, screen } = await page.evaluate(() => ({ content: document.documentElement.scrollWidth, screen: innerWidth }));
        assert.ok(content <= screen, `${what} is ${content} wide on a screen of ${screen}`);
        await shot(what);
      };
      await fits("list");
      await page.click('#tasks button[id^="edit-"]');
      await page.waitForSelector("#editor:not([hidden])");
      assert.match(await page.textContent("#start-hint"), /^Nach der Uhr des Ger\u00e4ts: UTC/);
      await fits("form");
      await page.click("#close");
      await page.click('#tasks button[id^="remove-"]');
      await page.waitForSelector("dialog[open]");
      await fits("question");
    },
    { context: { ...kPhone, locale: "de-DE" } },
  ));

test("Another language changes what the programs say, too", () =>
  withSite("backups-language", async (site) => {
    const { page } = site;
    await openPage(site);
    await makeTask(page, { name: "photos" });
    await page.click('.languages button[lang="de"]');
    await page.waitForFunction(() => /t\u00e4glich/.test(document.querySelector("#tasks p").textContent));
    assert.deepEqual((await tasks(page))[0].slice(1), ["Lokale Sicherung. Zeit: 03:00 Tage: t\u00e4glich", "Beginnt von selbst"]);
  }));

test("Who is no administrator is told so, and sees no task", () =>
  withSite("backups-no-right", async (site) => {
    const { page, url, login } = site;
    await login("anna");
    await page.goto(`${url}/backups.html`);
    await page.waitForSelector("#notice.error:not(:empty)");
    assert.equal(await page.locator("#tasks").count(), 0);
  }));

test("Words in the event log are words, whatever they look like", () =>
  withSite("backups-markup", async (site) => {
    const { page, url, login, state } = site;
    await login();
    kestjob(state, "enter", "5", "1", "0x12400012", "", "<img src=x onerror=alert(1)>");
    await page.goto(`${url}/backups.html`);
    await page.waitForSelector("#events tr");
    assert.deepEqual((await shownEvents(page))[0].slice(0, 2), ["Started by its schedule", "<img src=x onerror=alert(1)>"]);
    assert.equal(await page.locator("#events img").count(), 0);
  }));
