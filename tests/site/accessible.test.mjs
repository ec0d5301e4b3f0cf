// Every page in every state, on light and dark screens, against the rules of WCAG 2.2 level AA that a program can check.
import { test } from "node:test";
import { agents } from "../program/agents.mjs";
import { assertAccessible } from "./axe.mjs";
import { withSite } from "./harness.mjs";
import { freePort } from "./inside.mjs";
import { draftKept, openForm, openTaskForm } from "./person.mjs";

async function pagesOfAnOrdinaryAccount({ page, url, login }) {
  await page.goto(`${url}/login.html?reason=timeout`);
  await page.waitForSelector("#notice.info");
  await assertAccessible(page, "login, timed out");
  await login("anna");
  await page.goto(`${url}/general.html`);
  await page.waitForSelector("#notice.error:not(:empty)");
  await assertAccessible(page, "settings, no right");
  await page.goto(`${url}/`);
  await page.waitForFunction(() => document.getElementById("account")?.textContent === "anna");
  await assertAccessible(page, "overview, not everything allowed");
  await page.goto(`${url}/charts.html`);
  await page.waitForSelector("#volumes canvas");
  await assertAccessible(page, "charts, not everything allowed");
  await page.goto(`${url}/files.html`);
  await page.waitForSelector("#items tr");
  await assertAccessible(page, "files, the shares");
  await page.goto(`${url}/files.html#%2Fpublic`);
  await page.waitForSelector("#tools:not([hidden])");
  await page.click("#make");
  await page.click("#make-form .primary");
  await page.waitForSelector("#name-error:not([hidden])");
  await page.setInputFiles("#chosen", ["hello.txt", "welcome.txt"].map((name) => ({ name, mimeType: "text/plain", buffer: Buffer.from("x") })));
  await page.waitForSelector("#uploads-list .done");
  await page.waitForSelector("#uploads-list .failed");
  await page.waitForFunction(() => document.getElementById("uploads-status").textContent.includes("1 / 2"));
  await assertAccessible(page, "files, a folder refused, a file uploaded and one refused");
  for (const [file, element] of Object.entries({ "clock.webm": "video", "chime.wav": "audio", "hills.jpg": "img" })) {
    await page.click(`#items .name a[href$="${file}"]`);
    await page.waitForSelector(`#preview ${element}`);
    await assertAccessible(page, `files, ${file} previewed`);
  }
}

async function backupPage({ page, url }) {
  await page.goto(`${url}/backups.html`);
  await openTaskForm(page);
  await page.selectOption("#schedule", "advance");
  await page.fill("#name", "a;b");
  await page.click("#save");
  await page.waitForSelector("#notice.error");
  await assertAccessible(page, "backups, a field refused");
  await page.fill("#name", "photos");
  await page.click("#save");
  await page.waitForSelector("#notice.success");
  await page.waitForSelector("#events tr");
  await assertAccessible(page, "backups, a task and an event");
  await page.click("#rename-0");
  await assertAccessible(page, "backups, a task renamed");
  await page.click("#remove-0");
  await page.waitForSelector("dialog[open]");
  await assertAccessible(page, "backups, the question before a task is removed", 15);
}

async function sharePage({ page, url }) {
  await page.goto(`${url}/shares.html`);
  await page.click("#new");
  await page.fill("#name", "global");
  await page.selectOption("#new_encryption", "auto");
  await page.click("#save");
  await page.waitForSelector("#notice.error");
  await page.fill("#ro", "a");
  await page.waitForSelector("#ro-choices [aria-selected]");
  await assertAccessible(page, "shared folders, fields refused and names offered");
  await page.selectOption("#new_encryption", "none");
  for (const [id, words] of Object.entries({ name: "pictures", desc: "Pictures", ro: "", rw: "@users" })) await page.fill(`#${id}`, words);
  await page.check("#hidden");
  await page.click("#save");
  await page.waitForSelector("#notice.success");
  const row = page.locator('#shares tr[data-name="pictures"]');
  await row.locator("[id^=edit]").click();
  await page.waitForSelector("#editor:not([hidden])");
  await assertAccessible(page, "shared folders, one changed");
  await row.locator("[id^=encryption]").click();
  await page.waitForSelector("#encrypting:not([hidden])");
  await page.selectOption("#encryption", "manual");
  await assertAccessible(page, "shared folders, one to be encrypted");
}

async function pagesOfAnAdministrator({ page, url, login }) {
  await login("admin");
  for (const name of ["index", "files", "logout", "nowhere"]) {
    await page.goto(`${url}/${name}.html`);
    await page.waitForLoadState("networkidle");
    await assertAccessible(page, name);
  }
  await page.goto(`${url}/charts.html`);
  for (const id of ["volumes", "requests"]) await page.click(`#${id} summary`);
  await assertAccessible(page, "charts, with their tables");
  await backupPage({ page, url });
  await page.goto(`${url}/account_mail.html`);
  await page.fill("#recipient", "nobody");
  await page.click("#send");
  await page.waitForSelector("#notice.error");
  await assertAccessible(page, "account mail, fields refused");
  await page.goto(`${url}/volumes.html`);
  await page.waitForSelector("#volumes .bar");
  await page.fill("#size", "none");
  await page.click("#start");
  await page.waitForSelector("#notice.error:not([hidden])");
  await assertAccessible(page, "volumes, a field refused");
  await page.route("**/cgi/volume_build.cgi*", (route) =>
    route.fulfill({ body: '{"success": true, "data": {"state": "building", "step": 40, "volume": "/volume2"}}' }));
  await page.reload();
  await page.waitForSelector("#progress:not([hidden])");
  await assertAccessible(page, "volumes, one being built");
  await sharePage({ page, url });
  await page.goto(`${url}/disks.html`);
  await page.waitForSelector("#disks [data-disk]");
  await assertAccessible(page, "external disks");
  await page.click('[data-disk="usb1"] button');
  await page.waitForSelector("#question[open]");
  await assertAccessible(page, "the question before formatting", 15);
  await page.goto(`${url}/ports.html`);
  await page.waitForFunction(() => document.getElementById("ftpport")?.value);
  await page.fill("#ftpport", "80");
  await page.click("#save-ftp");
  await page.waitForSelector("#notice.error");
  await assertAccessible(page, "ports, one refused");
  await page.goto(`${url}/vhosts.html`);
  await page.waitForSelector("#status:not(:empty)");
  await page.click("#new");
  await page.fill("#host", "a b");
  await page.fill("#folder", "shop");
  await page.click("#save");
  await page.waitForSelector("#notice.error");
  await assertAccessible(page, "virtual hosts, a field refused");
  await page.fill("#host", "shop.example");
  await page.fill("#port", String(await freePort()));
  await page.click("#save");
  await page.waitForSelector("#notice:not(.error)");
  await assertAccessible(page, "virtual hosts, one served");
  await page.click("#remove-0");
  await page.waitForSelector("dialog[open]");
  await assertAccessible(page, "virtual hosts, the question before one is removed", 15);
  await page.goto(`${url}/general.html`);
  await openForm(page);
  await page.fill("#session_timeout", "x");
  await draftKept(page);
  await page.reload();
  await page.waitForSelector("#draft:not([hidden])");
  await page.fill("#session_timeout", "x");
  await page.click("#save");
  await page.waitForSelector("#notice.error");
  await assertAccessible(page, "settings, a draft offered and a field refused");
  await page.fill("#session_timeout", "80");
  await page.click("#save");
  await page.waitForSelector("#notice.success");
  await assertAccessible(page, "settings, saved");
}

async function powerMenu({ page, url, login }) {
  await login("admin");
  await page.goto(`${url}/`);
  await page.waitForLoadState("networkidle");
  if (await page.isVisible(".menu > summary")) {
    await assertAccessible(page, "a phone, the menu closed");
    await page.click(".menu > summary");
    await assertAccessible(page, "a phone, the menu open");
  }
  await page.click("nav summary");
  await assertAccessible(page, "a group of the navigation open");
  await page.click("#appbanner-powermenu-trigger");
  await assertAccessible(page, "the power menu");
  await page.keyboard.press("Enter");
  await page.waitForSelector("dialog[open]");
  await assertAccessible(page, "the question of the power menu");
}

for (const colorScheme of ["light", "dark"]) {
  test(`Every page is accessible on a ${colorScheme} screen`, () =>
    withSite(
      `accessible-${colorScheme}`,
      async (site) => {
        await pagesOfAnOrdinaryAccount(site);
        await pagesOfAnAdministrator(site);
        await powerMenu(site);
      },
      { context: { colorScheme } },
    ));

  test(`The phone's layout is accessible on a ${colorScheme} screen`, () =>
    withSite(`accessible-phone-${colorScheme}`, powerMenu, {
      context: { colorScheme, viewport: { width: 360, height: 740 }, userAgent: agents["an iPhone"].agent },
    }));
}
