// Users and groups in front of a person: among many accounts one is found, made, corrected, put into a group and disabled.
import assert from "node:assert/strict";
import { test } from "node:test";
import { assertAccessible } from "./axe.mjs";
import { sessionCookie, withSite } from "./harness.mjs";
import { comesTrue, runInside } from "./inside.mjs";
import { errorBeside, focused, goByNavigation, holdPosts, saved, tabTo, typeInto } from "./person.mjs";
import { quiet } from "./traffic.mjs";

const kCount = 120;
const kPassword = "a fresh password";
const phone = { viewport: { width: 360, height: 740 }, isMobile: true, hasTouch: true, locale: "de-DE", colorScheme: "dark" };
const people = Array.from({ length: kCount }, (_, i) => `person${String(i).padStart(3, "0")}`);

const load = (server, lines) => runInside(server, ["/usr/kest/bin/kestaccount", "load"], `${lines.join("\n")}\n`);
const loadPeople = ({ server }) => load(server, people.map((name) => `${name}\tPerson of the list\t${name}@example.org`));

const namesOf = (page, list) => page.$$eval(`#${list} tbody th`, (cells) => cells.map(({ textContent }) => textContent));
const positionIs = (page, list, text) => page.waitForFunction(([id, wanted]) => document.querySelector(`#${id} .position`).textContent === wanted, [list, text]);
const view = (page, id) => page.waitForSelector(`#${id}:not([hidden])`);
const textOf = (page) => page.evaluate(() => document.activeElement.textContent);

async function openList({ page, url, login }, name) {
  await login();
  await page.goto(`${url}/${name}.html`);
  await page.waitForSelector("#list tbody tr");
}

// Presses a button of the row of that name.
const rowButton = (page, name, words) => page.click(`#list tr[data-name="${name}"] button:text-is("${words}")`);

test("Among many users one is made by keyboard, corrected, found again, put into a group and disabled", () =>
  withSite("users", async (site) => {
    const { page, shot, context, url, server } = site;
    await loadPeople(site);
    await runInside(server, ["/usr/kest/bin/kestaccount", "groupadd", "editors", "Who writes"]);
    await site.login();
    await page.goto(`${url}/`);
    await page.waitForSelector("html:not(.waiting)");
    await goByNavigation(page, "/users.html");
    await page.waitForSelector("#list tbody tr");
    await positionIs(page, "list", "1\u201350 / 123");
    await assertAccessible(page, "users");
    await shot("list");

    await tabTo(page, "#new");
    await page.keyboard.press("Enter");
    await view(page, "editor");
    assert.equal(await focused(page), "name");
    await page.keyboard.type("person,050");
    await typeInto(page, "email", "kim");
    await typeInto(page, "password", "short");
    await page.keyboard.press("Enter");
    await page.waitForSelector("#notice.error");
    assert.match(await errorBeside(page, "name"), /^A name has no , : @/);
    assert.equal(await errorBeside(page, "email"), "Please give one mail address, as name@example.org.");
    assert.equal(await errorBeside(page, "password"), "A password has 8 characters or more.");
    assert.equal(await errorBeside(page, "password_again"), "The two passwords differ.");
    assert.equal(await focused(page), "name", "the first bad field has the focus");
    await assertAccessible(page, "the form of a user, fields refused");
    await shot("refused");

    await typeInto(page, "name", "person099b");
    await typeInto(page, "email", "kim@example.org");
    await typeInto(page, "password", kPassword);
    await typeInto(page, "password_again", kPassword);
    await tabTo(page, "#mail");
    await page.keyboard.press("Space");
    await tabTo(page, "#state");
    await page.keyboard.press("v");
    await page.selectOption("#state", "until");
    await page.fill("#until", "2099-03-09");
    await shot("form");
    await tabTo(page, "#save");
    await page.keyboard.press("Enter");
    await saved(page);
    assert.equal(await page.textContent("#notice"), "person099b is saved, and the mail has been handed to the mail system.");
    assert.equal(await textOf(page), "person099b", "the new row has the focus");
    await positionIs(page, "list", "101\u2013124 / 124");
    assert.equal(await page.textContent('tr[data-name="person099b"] .state'), "Until Mar 9, 2099");
    await shot("saved");
    const logIn = async () => (await (await context.request.post(`${url}/cgi/login.cgi`, { form: { user: "person099b", passwd: kPassword } })).json()).success;
    assert.equal(await logIn(), true);
    await site.login();

    await rowButton(page, "person099b", "Groups");
    await view(page, "joining");
    const marks = await page.$$eval("#joining label", (all) => all.map(({ textContent, control }) => [textContent, control.checked, control.disabled]));
    assert.deepEqual(marks.filter(([name]) => ["administrators", "editors", "users"].includes(name)), [["administrators", false, false], ["editors", false, false], ["users", true, true]]);
    await page.check('#joining label:has-text("editors") input');
    await assertAccessible(page, "the groups of a user");
    await page.click("#join-save");
    await saved(page);
    assert.match(await runInside(server, ["/usr/kest/bin/kestaccount", "groups"]), /^editors\t\d+\t1\t/m);

    const turns = await holdPosts(page, "user");
    await page.dblclick('#list tr[data-name="person099b"] button:text-is("Disable")');
    turns.letGo();
    await page.waitForSelector('#list tr[data-name="person099b"] button:text-is("Enable")');
    assert.equal(turns.count(), 1, "a double click is one");
    await site.login();
    assert.equal(await logIn(), false);
  }));

test("A search shows what begins so while somebody types, and where the first one stands among all", () =>
  withSite("users-search", async (site) => {
    const { page, shot } = site;
    await loadPeople(site);
    await openList(site, "users");
    await page.fill("#search", "PERSON11");
    await positionIs(page, "list", "1\u201310 / 10");
    assert.deepEqual(await namesOf(page, "list"), people.slice(110));
    await page.focus("#search");
    await page.keyboard.press("Enter");
    await positionIs(page, "list", "101\u2013123 / 123");
    assert.deepEqual([await textOf(page), await page.inputValue("#search")], ["person110", ""]);
    await page.fill("#search", "nobody <b>");
    await page.waitForFunction(() => /Nothing begins with: nobody <b>/.test(document.querySelector("#list .position").textContent));
    assert.equal(await page.isVisible("#list table"), false);
    await shot("none");
    await page.fill("#search", "");
    await positionIs(page, "list", "1\u201350 / 123");
    for (const [turn, wanted] of [["next", "51\u2013100 / 123"], ["last", "101\u2013123 / 123"], ["previous", "51\u2013100 / 123"], ["first", "1\u201350 / 123"]]) {
      await page.click(`#list .turn.${turn}`);
      await positionIs(page, "list", wanted);
    }
    assert.equal(await page.locator("tbody tr").count(), 50, "no row but those of the page is in the document");
    assert.equal(await textOf(page), "\u203a", "the focus has gone to a button that leads on");
    await page.goto(`${site.url}/general.html`);
    await page.goto(`${site.url}/users.html#person060`);
    await page.waitForFunction(() => document.activeElement.textContent === "person060");
    await page.goto(`${site.url}/general.html`);
    await page.goto(`${site.url}/users.html#nobody`);
    await positionIs(page, "list", "1\u201350 / 123");
    assert.equal(await page.textContent("#notice"), "There is no such account.");
  }));

test("An answer that comes late is not shown", () =>
  withSite("users-late", async (site) => {
    const { page } = site;
    await loadPeople(site);
    await openList(site, "users");
    let release;
    let held = 0;
    await page.route("**/cgi/users.cgi*prefix=person0&*", (route) => route.continue());
    await page.route(/users\.cgi\?.*prefix=person0$/, async (route) => {
      held += 1;
      await new Promise((resolve) => (release = resolve));
      await route.continue();
    });
    await page.fill("#search", "person0");
    assert.ok(await comesTrue(() => held === 1), "the first question is under way");
    await page.fill("#search", "person01");
    await positionIs(page, "list", "1\u201310 / 10");
    const late = page.waitForResponse(/prefix=person0$/);
    release();
    await (await late).finished();
    await page.evaluate(() => new Promise((resolve) => setTimeout(resolve)));
    assert.deepEqual(await namesOf(page, "list"), people.slice(10, 20));
    assert.equal(held, 1);
  }));

test("A group is made and gets members from several pages; everybody's group shows everybody and is left alone", () =>
  withSite("groups", async (site) => {
    const { page, shot, server } = site;
    await loadPeople(site);
    await openList(site, "groups");
    await page.click("#new");
    await view(page, "editor");
    await page.keyboard.type("Users");
    await page.keyboard.press("Enter");
    await page.waitForSelector("#notice.error");
    assert.equal(await errorBeside(page, "name"), "This name is taken.");
    await assertAccessible(page, "the form of a group, a field refused");
    await typeInto(page, "name", "<b>editors");
    await typeInto(page, "description", "Who <i>writes</i>");
    await page.keyboard.press("Enter");
    await saved(page);
    assert.equal(await textOf(page), "<b>editors");
    assert.equal(await page.locator("#list tbody b, #list tbody i").count(), 0, "markup is text");
    await shot("list");
    await assertAccessible(page, "groups");

    await page.keyboard.press("Enter");
    await view(page, "members");
    await positionIs(page, "members", "1\u201350 / 123");
    await page.check("text=anna");
    await page.fill("#member-search", "person11");
    await positionIs(page, "members", "1\u201310 / 10");
    await page.check("text=person117");
    await page.fill("#member-search", "");
    await positionIs(page, "members", "1\u201350 / 123");
    assert.equal(await page.isChecked("text=anna"), true, "what was marked is marked still");
    await quiet(page);
    assert.equal(await page.textContent("#members-count"), "Not saved yet: 2");
    await assertAccessible(page, "the members of a group");
    await shot("members");
    await page.click("#members-save");
    await saved(page);
    assert.match(await runInside(server, ["/usr/kest/bin/kestaccount", "groups"]), /^<b>editors\t\d+\t2\t/m);
    await page.selectOption("#only", "members");
    await positionIs(page, "members", "1\u20132 / 2");
    assert.deepEqual(await namesOf(page, "members"), ["anna", "person117"]);

    await runInside(server, ["/usr/kest/bin/kestaccount", "remove", "bernd"]);
    await page.selectOption("#only", "all");
    await positionIs(page, "members", "1\u201350 / 122");
    await page.click("#members-close");
    await rowButton(page, "users", "Members");
    await view(page, "members");
    await page.waitForFunction(() => /122/.test(document.getElementById("members-lead").textContent));
    assert.equal(await page.isVisible("#members-save"), false);
    assert.ok(await page.$$eval("#members input[type=checkbox]", (all) => all.length === 50 && all.every(({ checked, disabled }) => checked && disabled)));
    await page.click("#members-close");
    assert.equal(await page.locator('#list tr[data-name="users"] button:text-is("Edit")').count(), 0);
  }));

test("What somebody else has changed meanwhile is said, and nobody's change is lost", () =>
  withSite("users-conflict", async (site) => {
    const { page, shot, server } = site;
    await openList(site, "users");
    await page.click("#list >> text=anna");
    await view(page, "editor");
    await page.fill("#description", "mine");
    await runInside(server, ["/usr/kest/bin/kestaccount", "disable", "anna"]);
    await page.click("#save");
    await page.waitForSelector("#notice.error");
    assert.match(await page.textContent("#notice"), /^Somebody else has changed this user meanwhile/);
    assert.equal(await page.inputValue("#description"), "mine", "what was typed is still there");
    await shot("told");
    await page.click("#close");
    await page.click("#list >> text=admin");
    await view(page, "editor");
    await page.selectOption("#state", "disabled");
    await page.click("#save");
    await page.waitForSelector("#notice.error");
    assert.match(await errorBeside(page, "state"), /^You cannot shut yourself out/);
  }));

test("On a German phone users and groups fit the screen", () =>
  withSite(
    "users-phone",
    async (site) => {
      const { page, shot } = site;
      const assertFits = async (what) => {
        const { content, screen } = await page.evaluate(() => ({ content: document.documentElement.scrollWidth, screen: innerWidth }));
        assert.ok(content <= screen, `${what}: ${content} wide on a screen of ${screen}`);
      };
      await load(site.server, [`${"langer-name-".repeat(8)}ende\t${"Beschreibung".repeat(10)}\t${"x".repeat(60)}@example.org`, ...people.slice(0, 60)]);
      await openList(site, "users");
      await assertFits("list");
      await assertAccessible(page, "users on a dark phone");
      await shot("list");
      await page.tap("#list >> text=anna");
      await view(page, "editor");
      await page.fill("#name", "a/b");
      await page.tap("#save");
      await page.waitForSelector("#notice.error");
      assert.match(await errorBeside(page, "name"), /^Ein Name hat kein/);
      await assertFits("form");
      await assertAccessible(page, "the form of a user on a dark phone");
      await shot("form");
      await page.fill("#name", "anna");
      await page.fill("#description", "Buchhaltung");
      await page.tap("#save");
      await saved(page);
      assert.equal(await page.textContent("#notice"), "anna ist gespeichert.");
      await page.goto(`${site.url}/groups.html`);
      await page.tap("#list >> text=administrators");
      await view(page, "members");
      await page.tap("text=anna");
      await page.waitForFunction(() => document.getElementById("members-count").textContent === "Noch nicht gespeichert: 1");
      await assertFits("members");
      await assertAccessible(page, "the members of a group on a dark phone");
      await shot("members");
      await page.tap("#members-save");
      await saved(page);
      assert.ok(await sessionCookie(site), "nobody's session is lost");
    },
    { context: phone },
  ));

// Marks that turn the text behind them, and what would be a pattern of a replacement.
const kLongest = "W".repeat(255);
const kTurning = "\u202egpj.exe";
const kPattern = "$& $1";
test("The longest name and odd ones fit a phone, and stand in words as they are", () =>
  withSite(
    "users-names",
    async (site) => {
      const { page, shot, server } = site;
      const fits = async (what) => {
        const beyond = await page.evaluate(() => document.documentElement.scrollWidth - document.documentElement.clientWidth);
        await shot(what);
        assert.ok(beyond <= 0, `${what}: ${beyond} pixels are beyond the edge`);
      };
      await load(server, [kLongest, kTurning, kPattern].map((name) => `${name}\t\t`));
      await runInside(server, ["/usr/kest/bin/kestaccount", "groupadd", kLongest.toLowerCase()]);
      await openList(site, "users");
      await fits("list");
      await page.click('#list tr[data-name^="WW"] button.name');
      await view(page, "editor");
      await fits("form");
      await page.click("#save");
      await saved(page);
      await fits("saved");
      await page.click('#list tr[data-name="admin"] button.name');
      await view(page, "editor");
      assert.match(await page.textContent("#password-hint"), /Sie melden sich damit wieder an/, "a new password of one's own ends the session");
      await page.click("#close");
      await page.locator("#list tbody tr").filter({ hasText: kPattern }).locator("button").last().click();
      await page.waitForFunction((words) => document.getElementById("notice").textContent === words, `${kPattern} ist gesperrt.`);
      assert.ok((await namesOf(page, "list")).includes("\ufffdgpj.exe"));
      await openList(site, "groups");
      await page.click('#list tr[data-name^="ww"] button.name');
      await view(page, "members");
      await fits("members");
    },
    { context: phone },
  ));
