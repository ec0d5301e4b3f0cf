// The ports in front of a person: a form for each service, refused where another one has the port.
import assert from "node:assert/strict";
import { test } from "node:test";
import { withSite } from "./harness.mjs";
import { errorBeside, focused, save as saveForm, settingsOf, tabTo, typeInto } from "./person.mjs";

const kConflict = "Another service has this port.";

async function openPorts({ page, url, login }) {
  await login();
  await page.goto(`${url}/ports.html`);
  await page.waitForFunction(() => document.getElementById("ftpport")?.value);
}

const save = (page, service, outcome) => saveForm(page, outcome, `#save-${service}`);

// Service, field, and a port that another service of the demonstration has.
const taken = [
  ["adminUI", "secure_admin_port", "21"],
  ["http", "httpport", "5006"],
  ["https", "httpsport", "5000"],
  ["ftp", "ftpport", "80"],
  ["download", "download_end_port", "55536"],
  ["surveillance", "surveillance_low_port", "55540"],
  ["cfs", "cfs_httpport", "6885"],
];

test("A port that another service has is refused beside the field of every service", () =>
  withSite("ports", async (site) => {
    const { page, shot, state } = site;
    await openPorts(site);
    await shot("all");
    const before = await settingsOf(state);
    for (const [service, field, port] of taken) {
      const old = await page.inputValue(`#${field}`);
      await page.fill(`#${field}`, port);
      // A range stays one: only its collision with others is asked for here.
      if (field === "download_end_port") await page.fill("#download_start_port", "50000");
      await save(page, service, "error");
      assert.equal(await errorBeside(page, field), kConflict, service);
      assert.equal(await focused(page), field, service);
      assert.equal(await page.locator("[aria-invalid]").count(), 1, service);
      await page.fill(`#${field}`, old);
    }
    await shot("refused");
    assert.deepEqual(await settingsOf(state), before);
  }));

test("A port is changed with the keyboard, and the next load has it", () =>
  withSite("ports-keyboard", async (site) => {
    const { page, shot, state } = site;
    await openPorts(site);
    await typeInto(page, "ftpport", "2121");
    await tabTo(page, "#save-ftp");
    await page.keyboard.press("Enter");
    await page.waitForSelector("#notice.success");
    assert.equal((await settingsOf(state)).ftpport, "2121");
    await shot("saved");
    await page.reload();
    await page.waitForFunction(() => document.getElementById("ftpport").value === "2121");
    // The port that FTP had is free now.
    await page.fill("#cfs_httpport", "21");
    await save(page, "cfs", "success");
  }));

for (const [name, context] of Object.entries({
  phone: { viewport: { width: 360, height: 740 }, isMobile: true, hasTouch: true, locale: "de-DE", colorScheme: "dark" },
  desk: { viewport: { width: 1280, height: 800 }, locale: "de-DE" },
})) {
  test(`The page is German and fits its screen: ${name}`, () =>
    withSite(
      `ports-german-${name}`,
      async (site) => {
        const { page, shot } = site;
        await openPorts(site);
        await page.fill("#cfs_httpsport", "21");
        await save(page, "cfs", "error");
        assert.equal(await errorBeside(page, "cfs_httpsport"), "Diesen Port hat ein anderer Dienst.");
        const { content, screen } = await page.evaluate(() => ({ content: document.documentElement.scrollWidth, screen: innerWidth }));
        assert.ok(content <= screen, `the page is ${content} wide on a screen of ${screen}`);
        await shot("refused");
      },
      { context },
    ));
}
