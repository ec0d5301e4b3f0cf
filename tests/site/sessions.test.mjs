// A session that does not allow a page any more: the user ends at the right place, with the right words, and comes back.
import assert from "node:assert/strict";
import { readdir, readFile, utimes, writeFile } from "node:fs/promises";
import { test } from "node:test";
import { sessionCookie, withSite } from "./harness.mjs";
import { openForm, save } from "./person.mjs";
import { quiet } from "./traffic.mjs";

async function logIn({ page, accounts }, name) {
  await page.fill("#user", name);
  await page.fill("#passwd", accounts[name].password);
  await page.keyboard.press("Enter");
}

async function openGeneral(site, name = "admin") {
  await site.page.goto(`${site.url}/login.html`);
  await site.page.waitForSelector("html:not(.waiting)");
  await logIn(site, name);
  await site.page.waitForURL(`${site.url}/`);
  await site.page.goto(`${site.url}/general.html`);
}

async function settle(page) {
  await page.waitForURL(/login\.html/);
  await page.waitForSelector("#notice:not([hidden])");
}

// All sessions have been idle for an hour. The page is at rest: a request under way would renew its session, or end with it.
async function letTimePass({ page, state }) {
  await quiet(page);
  const folder = `${state}/usr/kest/var/session`;
  const anHourAgo = Date.now() / 1000 - 3600;
  for (const name of await readdir(folder)) await utimes(`${folder}/${name}`, anHourAgo, anHourAgo);
}

test("A session that timed out leads to the login, says so, and leads back to the form", () =>
  withSite("session-timeout", async (site) => {
    const { page, url, shot } = site;
    await openGeneral(site);
    await openForm(page);
    await letTimePass(site);
    await page.click("#save");
    await settle(page);
    assert.equal(await page.textContent("#notice"), "Your session has ended after some time without activity. Please log in again.");
    await shot("login");
    await logIn(site, "admin");
    await page.waitForURL(`${url}/general.html`);
    await openForm(page);
  }));

test("The words are German for a German browser", () =>
  withSite(
    "session-timeout-german",
    async (site) => {
      await openGeneral(site);
      await openForm(site.page);
      await letTimePass(site);
      await site.page.reload();
      await settle(site.page);
      assert.match(await site.page.textContent("#notice"), /^Ihre Sitzung wurde nach l\u00e4ngerer Unt\u00e4tigkeit beendet/);
    },
    { context: { locale: "de-DE" } },
  ));

test("A session ended by a newer login leads to the login with other words", () =>
  withSite("session-interrupted", async (site) => {
    const { page, url, state, shot } = site;
    const settings = `${state}/etc/kestinfo.conf`;
    await writeFile(settings, `${await readFile(settings, "utf8")}session_single="yes"\n`);
    await openGeneral(site);
    await openForm(page);
    await sessionCookie(site, "admin");
    await page.click("#save");
    await settle(page);
    assert.match(await page.textContent("#notice"), /^Your session was ended from elsewhere/);
    await shot("login");
    await logIn(site, "admin");
    await page.waitForURL(`${url}/general.html`);
  }));

test("An account without the right stays, is told, and finds the way back", () =>
  withSite("session-unprivileged", async (site) => {
    const { page, url, shot } = site;
    await openGeneral(site, "anna");
    await page.waitForSelector("#notice.error:not(:empty)");
    assert.equal(page.url(), `${url}/general.html`);
    assert.equal(await page.textContent("#notice"), "Your account may not use this page. Please ask an administrator.");
    assert.equal(await page.locator("form").count(), 0, "no form is offered that could not be saved");
    await shot("told");
    await page.click("a.button");
    await page.waitForURL(`${url}/`);
    await page.waitForFunction(() => document.getElementById("account")?.textContent === "anna");
    assert.deepEqual(await page.locator(".tile a:visible").evaluateAll((all) => all.map(({ pathname }) => pathname)), ["/charts.html", "/files.html"]);
    assert.equal(await page.locator('nav a[href="/general.html"]').count(), 0);
    await shot("overview");
  }));

test("A request that the appliance cannot serve is said on the page, which stays as it is", () =>
  withSite("session-system", async (site) => {
    const { page, url, shot } = site;
    await openGeneral(site);
    await openForm(page);
    const draft = page.waitForResponse((reply) => reply.url().endsWith("/draft.cgi") && reply.status() === 413);
    await page.fill("#timezone", "x".repeat(1_100_000));
    await draft;
    // The same words as those that the save shows.
    await page.waitForSelector("#notice.error");
    await save(page, "error");
    assert.equal(await page.textContent("#notice"), "The appliance could not carry out this request. Please try again.");
    assert.equal(page.url(), `${url}/general.html`);
    assert.equal(await page.isEnabled("#save"), true);
    await page.fill("#timezone", "UTC");
    await shot("said");
    await save(page, "success");
  }));
