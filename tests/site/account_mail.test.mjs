// Account data mailed by a person: with the keyboard, corrected beside the field, in German on a phone; the mail is in the
// appliance's mailbox afterwards.
import assert from "node:assert/strict";
import { readdir, readFile } from "node:fs/promises";
import { test } from "node:test";
import { withSite } from "./harness.mjs";
import { errorBeside, focused, saved, tabTo, typeInto } from "./person.mjs";

const kPhone = { viewport: { width: 360, height: 740 }, isMobile: true, deviceScaleFactor: 2, locale: "de-DE" };

async function openPage({ page, url, login }) {
  await login();
  await page.goto(`${url}/account_mail.html`);
  await page.waitForSelector("html:not(.waiting)");
}

// The texts of the mails that have been sent.
async function mails(state) {
  const folder = `${state}/var/spool/mailbox/new`;
  const names = await readdir(folder).catch(() => []);
  return Promise.all(
    names.map(async (name) => {
      const [head, body] = (await readFile(`${folder}/${name}`, "latin1")).split("\n\n");
      return { head, body: Buffer.from(body, "base64").toString("utf8") };
    }),
  );
}

test("A person mails account data with the keyboard, is corrected, and the mail is there", () =>
  withSite("account-mail", async (site) => {
    const { page, shot, state } = site;
    await openPage(site);
    await typeInto(page, "user", "nobody");
    await typeInto(page, "recipient", "anna@example.org, eve@example.org");
    await typeInto(page, "password", "a new one");
    await page.keyboard.press("Enter");
    await page.waitForSelector("#notice.error");
    assert.equal(await errorBeside(page, "recipient"), "Please give one mail address, as name@example.org.");
    assert.equal(await focused(page), "recipient");
    await typeInto(page, "recipient", "anna@example.org");
    await page.keyboard.press("Enter");
    await page.waitForFunction(() => document.getElementById("user").getAttribute("aria-invalid") === "true");
    assert.equal(await errorBeside(page, "user"), "There is no such account.");
    assert.equal(await page.textContent("#notice"), "Nothing was sent: one field needs your attention.");
    await shot("refused");
    assert.deepEqual(await mails(state), []);

    await page.keyboard.press("Control+A");
    await page.keyboard.type("anna");
    await tabTo(page, "#send");
    await page.keyboard.press("Enter");
    await saved(page);
    assert.equal(await page.textContent("#notice"), "The mail to anna@example.org has been handed to the mail system.");
    assert.equal(await page.inputValue("#password"), "", "the password does not stay in the page");
    await shot("sent");
    const [mail, ...others] = await mails(state);
    assert.deepEqual(others, []);
    assert.match(mail.head, /^To: anna@example\.org$/m);
    assert.match(mail.body, /User name: +anna\r\n +Password: +a new one\r\n/);
  }));

test("On a German phone the page fits its screen, and the mail is in German", () =>
  withSite(
    "account-mail-phone",
    async (site) => {
      const { page, shot, state } = site;
      await openPage(site);
      await page.fill("#user", "bernd");
      await page.fill("#recipient", "bernd@example.org");
      await page.click("#send");
      await saved(page);
      const { content, screen } = await page.evaluate(() => ({ content: document.documentElement.scrollWidth, screen: innerWidth }));
      assert.ok(content <= screen, `${content} wide on a screen of ${screen}`);
      await shot("sent");
      const [{ body }] = await mails(state);
      assert.match(body, /Kennwort: +\(keines\)\r\n/);
    },
    { context: kPhone },
  ));

test("Who is no administrator is told so", () =>
  withSite("account-mail-no-right", async ({ page, url, login }) => {
    await login("anna");
    await page.goto(`${url}/account_mail.html`);
    await page.waitForSelector("#notice.error:not(:empty)");
    assert.equal(await page.locator("#mail").count(), 0);
  }));
