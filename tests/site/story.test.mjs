// The main story, by keyboard alone: log in, change a setting, be told beside the field what is wrong, mend it, save, find
// it again, log out.
import assert from "node:assert/strict";
import { readFile } from "node:fs/promises";
import { test } from "node:test";
import { withSite } from "./harness.mjs";
import { errorBeside, focused, goByNavigation, logInByKeyboard, openForm, saved, settingsOf, tabTo, typeInto } from "./person.mjs";

const german = { context: { locale: "de-DE" } };

for (const { language, options, said } of [
  {
    language: "english",
    options: {},
    said: { wrong: "This value is not accepted.", long: "This text is too long.", count: /2 fields/, saved: "The settings are saved." },
  },
  {
    language: "german",
    options: german,
    said: { wrong: "Dieser Wert ist nicht zul\u00e4ssig.", long: "Dieser Text ist zu lang.", count: /2 Felder/, saved: "Die Einstellungen sind gespeichert." },
  },
]) {
  test(`A person changes a setting by keyboard, is corrected in ${language}, saves and finds it again`, () =>
    withSite(
      `story-${language}`,
      async (site) => {
        const { page, url, shot, state, accounts } = site;
        await page.goto(`${url}/`);
        await page.waitForURL(/login\.html/);
        await shot("1-login");
        await logInByKeyboard(site, accounts.admin);
        await shot("2-overview");

        await goByNavigation(page, "/general.html");
        await page.waitForURL(`${url}/general.html`);
        await page.waitForFunction(() => document.getElementById("session_timeout").value !== "");
        await shot("3-form");

        await typeInto(page, "description", "\u00e4".repeat(33));
        await typeInto(page, "session_timeout", "70000");
        await page.keyboard.press("Enter");
        await page.waitForSelector("#notice.error");
        assert.equal(await errorBeside(page, "description"), said.long);
        assert.equal(await errorBeside(page, "session_timeout"), said.wrong);
        assert.equal(await errorBeside(page, "timezone"), null);
        assert.match(await page.textContent("#notice"), said.count);
        assert.equal(await focused(page), "description", "the first bad field has the focus");
        await shot("4-corrected");
        assert.equal((await settingsOf(state)).session_timeout, "15", "nothing was saved");

        await typeInto(page, "description", "In the cellar");
        await typeInto(page, "session_timeout", "8000");
        await page.keyboard.press("Enter");
        await saved(page);
        assert.equal(await page.textContent("#notice"), said.saved);
        for (const field of ["description", "session_timeout"]) assert.equal(await errorBeside(page, field), null);
        await shot("5-saved");
        assert.equal((await settingsOf(state)).session_timeout, "8000");

        await page.reload();
        await openForm(page);
        assert.equal(await page.inputValue("#session_timeout"), "8000");
        assert.equal(await page.inputValue("#description"), "In the cellar");
        assert.equal(await page.isVisible("#draft"), false, "what was saved is no draft");

        await tabTo(page, '#appbanner a[href$="/logout.cgi"]');
        await page.keyboard.press("Enter");
        await page.waitForURL(/login\.html$/);
        await page.goto(`${url}/general.html`);
        await page.waitForURL(/login\.html/);
        assert.doesNotMatch(await readFile(`${state}/var/log/httpd-error.log`, "utf8"), /cgi/i, "no program complained");
      },
      options,
    ));
}

test("Wrong and right password at the form", () =>
  withSite("login", async ({ page, url, accounts, shot }) => {
    await page.goto(`${url}/login.html?next=/files.html`);
    await page.waitForSelector("html:not(.waiting)");
    assert.equal(await page.isVisible("#notice"), false, "a first visit is not told that it was logged out");
    await page.fill("#user", "anna");
    await page.fill("#passwd", "guess");
    await page.keyboard.press("Enter");
    await page.waitForSelector("#notice.error");
    assert.equal(await page.textContent("#notice"), "User name or password is not right.");
    assert.equal(await focused(page), "passwd");
    assert.equal(await page.inputValue("#passwd"), "");
    await shot("refused");
    await page.keyboard.type(accounts.anna.password);
    await page.keyboard.press("Enter");
    await page.waitForURL(`${url}/files.html`);
  }));

test("After the login nobody is sent to an address from outside", () =>
  withSite("login-next", async ({ page, url, accounts }) => {
    for (const next of ["https://example.com/", "//example.com/", "/\\example.com", "javascript:alert(1)", "/cgi/logout.cgi"]) {
      await page.goto(`${url}/login.html?next=${encodeURIComponent(next)}`);
      await page.waitForSelector("html:not(.waiting)");
      await page.fill("#user", "anna");
      await page.fill("#passwd", accounts.anna.password);
      await page.keyboard.press("Enter");
      await page.waitForURL(`${url}/`);
    }
  }));

test("A language chosen by hand changes the words at once, keeps what was typed, and stays", () =>
  withSite("language", async ({ page, url, login, shot }) => {
    await login();
    await page.goto(`${url}/general.html`);
    await openForm(page);
    await page.fill("#description", "half a sen");
    await page.click('.languages button[lang="de"]');
    await page.waitForFunction(() => document.documentElement.lang === "de");
    assert.equal(await page.textContent("h1"), "Allgemeine Einstellungen");
    assert.equal(await page.title(), "Allgemeine Einstellungen - Speichersystem");
    assert.equal(await page.inputValue("#description"), "half a sen");
    assert.equal(await page.getAttribute('.languages button[lang="de"]', "aria-pressed"), "true");
    await shot("german");
    await page.goto(`${url}/files.html`);
    await page.waitForSelector("html:not(.waiting)");
    assert.equal(await page.textContent("h1"), "Dateien");
  }));
