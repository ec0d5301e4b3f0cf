// The settings form on its own: every kind of rule, the draft, small screens, dark screens.
import assert from "node:assert/strict";
import { readFile } from "node:fs/promises";
import { test } from "node:test";
import { withSite } from "./harness.mjs";
import { comesTrue } from "./inside.mjs";
import { draftKept, errorBeside, focused, openForm, save, settingsOf } from "./person.mjs";
import { quiet } from "./traffic.mjs";

// The draft of "admin".
const kDraft = "/tmp/tarvel/modules/draft-general-61646d696e";
const kWrong = "This value is not accepted.";

async function openGeneral({ page, url, login }) {
  await login();
  await page.goto(`${url}/general.html`);
  await openForm(page);
}

// A choice that the page does not offer, as a page of another version might send it.
const forge = (id, value) => (page) =>
  page.evaluate(([name, text]) => {
    const field = document.getElementById(name);
    if (field.type === "checkbox") {
      field.dataset.on = field.dataset.off = text;
    } else {
      field.append(new Option(text, text));
      field.value = text;
    }
  }, [id, value]);
const type = (id, value) => (page) => page.fill(`#${id}`, value);

const rules = [
  ["a text with a limit", "description", type("description", "x".repeat(65)), "This text is too long."],
  ["a text that must not be empty", "timezone", type("timezone", ""), kWrong],
  ["a name that must be known", "timezone", type("timezone", "Mars/Olympus"), "This time zone is not known."],
  ["a number", "session_timeout", type("session_timeout", "0"), kWrong],
  ["a date", "maintenance_date", type("maintenance_date", "14.03.2027"), kWrong],
  ["an address", "allowed_address", type("allowed_address", "192.168.1.256"), kWrong],
  ["a mask", "allowed_mask", type("allowed_mask", "255.0.255.0"), kWrong],
  ["a number of a list", "log_level", forge("log_level", "9"), kWrong],
  ["a text of a list", "language", forge("language", "fr"), kWrong],
  ["a switch", "notify", forge("notify", "perhaps"), kWrong],
];

test("Each kind of rule shows its message beside its field, and there only", () =>
  withSite("general-rules", async (site) => {
    const { page, shot, state } = site;
    await openGeneral(site);
    const before = await settingsOf(state);
    for (const [what, id, spoil, message] of rules) {
      await page.goto(`${site.url}/general.html`);
      await openForm(page);
      await spoil(page);
      await save(page, "error");
      assert.equal(await errorBeside(page, id), message, what);
      assert.equal(await page.locator("[aria-invalid]").count(), 1, what);
      assert.equal(await focused(page), id, what);
      assert.deepEqual(await settingsOf(state), before, what);
    }
    await shot("last");
  }));

test("All bad fields are marked at once, and mended one by one", () =>
  withSite("general-all", async (site) => {
    const { page, shot } = site;
    await openGeneral(site);
    for (const id of ["timezone", "session_timeout", "maintenance_date", "allowed_address"]) await page.fill(`#${id}`, "?");
    await page.locator("#timezone").fill("");
    await save(page, "error");
    assert.equal(await page.locator("[aria-invalid]").count(), 4);
    assert.match(await page.textContent("#notice"), /4 fields/);
    await shot("marked");
    await page.waitForFunction(() => [...document.querySelectorAll("#timezones option")].some(({ value }) => value === "Europe/Berlin"));
    await page.fill("#timezone", "Europe/Berlin");
    await page.fill("#session_timeout", "60");
    await page.fill("#maintenance_date", "2027/03/14");
    await page.fill("#allowed_address", "10.0.0.0");
    await page.check("#notify");
    await page.selectOption("#log_level", "3");
    await save(page, "success");
    assert.equal(await page.locator("[aria-invalid]").count(), 0);
    const stored = await settingsOf(site.state);
    assert.deepEqual([stored.timezone, stored.notify, stored.log_level], ["Europe/Berlin", "on", "3"]);
  }));

test("The server's name and its domain stand above the form, in the language of the page", () =>
  withSite("general-server", async (site) => {
    const { page, shot } = site;
    const says = (id, words) => page.waitForFunction(([place, wanted]) => document.getElementById(place).textContent === wanted, [id, words]);
    await openGeneral(site);
    await says("server-domain", "none");
    assert.match(await page.textContent("#server-name"), /^[\w-]+$/);
    await shot("none");
    const domain = { name: "nas", domain: "OFFICE", membership: "joined" };
    await page.route("**/cgi/server.cgi*", (route) => route.fulfill({ json: { success: true, data: domain } }));
    await page.reload();
    await says("server-domain", "OFFICE, joined");
    await page.click('.languages button[lang="de"]');
    await says("server-domain", "OFFICE, beigetreten");
    await says("server-name", "nas");
    domain.membership = "not_joined";
    await page.reload();
    await says("server-domain", "OFFICE, nicht beigetreten");
    await shot("german");
  }));

test("What was typed and not saved is offered again, and taken or left", () =>
  withSite("general-draft", async (site) => {
    const { page, shot } = site;
    await openGeneral(site);
    assert.equal(await page.isVisible("#draft"), false);
    await page.fill("#description", "half a sen");
    await draftKept(page);
    await shot("kept");

    await page.reload();
    await page.waitForSelector("#draft:not([hidden])");
    assert.notEqual(await page.inputValue("#description"), "half a sen", "the form shows what is stored");
    await shot("offered");
    await page.click("#draft-restore");
    assert.equal(await page.inputValue("#description"), "half a sen");
    assert.equal(await page.isVisible("#draft"), false);
    assert.equal(await focused(page), "description");

    await page.fill("#description", "half a sentence");
    await page.reload();
    // The page that was left has sent it on its way out, and may still be waiting for its turn.
    assert.ok(await comesTrue(async () => /half a sentence/.test(await readFile(`${site.state}${kDraft}`, "utf8"))), "the draft is kept");
    await page.click("#draft-discard");
    await page.waitForSelector("#draft", { state: "hidden" });
    await quiet(page);
    await page.reload();
    await openForm(page);
    assert.equal(await page.isVisible("#draft"), false, "a discarded draft is gone");

    await page.fill("#description", "a sentence");
    await save(page, "success");
    await page.reload();
    await openForm(page);
    assert.equal(await page.isVisible("#draft"), false, "what was saved is no draft");
    assert.equal(await page.inputValue("#description"), "a sentence");
  }));

for (const [name, context] of Object.entries({
  phone: { viewport: { width: 360, height: 740 }, hasTouch: true, isMobile: true, deviceScaleFactor: 2 },
  "phone-german-dark": { viewport: { width: 360, height: 740 }, isMobile: true, locale: "de-DE", colorScheme: "dark" },
  "desk-dark": { viewport: { width: 1280, height: 800 }, colorScheme: "dark" },
})) {
  test(`Every page fits its screen: ${name}`, () =>
    withSite(
      `fits-${name}`,
      async (site) => {
        const { page, url, login, shot } = site;
        const assertFits = async (what) => {
          const { content, screen } = await page.evaluate(() => ({ content: document.documentElement.scrollWidth, screen: innerWidth }));
          assert.ok(content <= screen, `${what} is ${content} wide on a screen of ${screen}`);
          await shot(what);
        };
        await page.goto(`${url}/login.html?reason=relogin`);
        await page.waitForSelector("#notice.info");
        await assertFits("login");
        await login();
        for (const path of ["index", "files"]) {
          await page.goto(`${url}/${path}.html`);
          await page.waitForLoadState("networkidle");
          await assertFits(path);
        }
        await page.goto(`${url}/general.html`);
        await openForm(page);
        await page.fill("#session_timeout", "x");
        await page.fill("#allowed_mask", "x");
        await save(page, "error");
        await assertFits("general");
      },
      { context },
    ));
}
