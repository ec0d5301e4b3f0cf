// The virtual hosts in front of a person: each save is served when the page says so.
import assert from "node:assert/strict";
import { mkdir, readFile, writeFile } from "node:fs/promises";
import path from "node:path";
import { test } from "node:test";
import { withSite } from "./harness.mjs";
import { freePort } from "./inside.mjs";
import { errorBeside, focused, save, tabTo, typeInto } from "./person.mjs";

const kHost = "shop.example";

async function openVHosts({ page, url, login }) {
  await login();
  await page.goto(`${url}/vhosts.html`);
  await page.waitForSelector("#status:not(:empty)");
}

async function makePage({ state }, folder, words) {
  await mkdir(path.join(state, "var/services/web", folder), { recursive: true });
  await writeFile(path.join(state, "var/services/web", folder, "index.html"), `<!doctype html><html lang="en"><title>Shop</title><h1>${words}</h1></html>`);
}

const httpFile = ({ state }) => readFile(path.join(state, "usr/kest/etc/httpd-vhost.conf-user"), "utf8");

async function fill(page, { host = kHost, folder = "shop", vhosttype = "0", port }) {
  await page.fill("#host", host);
  await page.fill("#folder", folder);
  await page.selectOption("#vhosttype", vhosttype);
  await page.fill("#port", String(port));
}

// A browser that finds every name of example at this machine, and takes the appliance's own certificate.
const kBrowser = { context: { args: ["--no-sandbox", "--disable-gpu", "--host-resolver-rules=MAP *.example 127.0.0.1"], ignoreHTTPSErrors: true } };

test("A host that is added with the keyboard answers in the browser, is changed, moves to HTTPS and is removed", () =>
  withSite(
    "vhosts",
    async (site) => {
      const { page, shot } = site;
      const port = await freePort();
      await makePage(site, "shop", "The shop");
      await makePage(site, "sale", "The sale");
      await openVHosts(site);
      await shot("none");
      await tabTo(page, "#new");
      await page.keyboard.press("Enter");
      await page.waitForSelector("#editor:not([hidden])");
      assert.equal(await focused(page), "host");
      await page.keyboard.type(kHost);
      await typeInto(page, "folder", "shop");
      await typeInto(page, "port", String(port));
      await shot("form");
      await Promise.all([page.waitForSelector("#notice.success"), page.keyboard.press("Enter")]);
      assert.equal(await focused(page), "host-0");
      assert.match(await httpFile(site), new RegExp(`ServerName ${kHost}\n`));
      await shot("served");

      await page.click("#host-0");
      await page.waitForURL(`http://${kHost}:${port}/`);
      assert.equal(await page.textContent("h1"), "The shop");
      await page.goBack();
      await page.waitForSelector("#host-0");

      await page.click("#edit-0");
      await page.waitForSelector("#editor:not([hidden])");
      await fill(page, { folder: "sale", vhosttype: "1", port });
      await save(page, "success");
      await page.goto(`https://${kHost}:${port}/`);
      assert.equal(await page.textContent("h1"), "The sale");

      await page.goto(`${site.url}/vhosts.html`);
      await page.click("#remove-0");
      await page.waitForSelector("dialog[open]");
      assert.equal(await focused(page), "remove-cancel");
      await shot("remove");
      await page.keyboard.press("Escape");
      assert.equal(await page.locator("#hosts li").count(), 1);
      await page.click("#remove-0");
      await Promise.all([page.waitForSelector("#notice.success"), page.click("#remove-confirm")]);
      assert.equal(await page.locator("#hosts li").count(), 0);
      assert.equal(await focused(page), "new");
      await assert.rejects(page.goto(`https://${kHost}:${port}/`), /ERR_CONNECTION_REFUSED/);
    },
    kBrowser,
  ));

const rules = [
  ["host", "two words", "This is not a name of a host: letters, digits and hyphens, with dots in between."],
  ["host", "", "This value is not accepted."],
  ["folder", 'a"b', "A folder's name has no quotes, slashes or other marks with a meaning of their own, and no dot or blank at its beginning."],
  ["folder", "", "This value is not accepted."],
  ["port", "0", "This value is not accepted."],
  ["port", "21", "Another service has this port."],
  ["host", "SHOP.example", "There is a host of this name on this port already."],
];

test("Each thing that cannot be is said beside its field, and nothing is written", () =>
  withSite("vhosts-rules", async (site) => {
    const { page, shot, server } = site;
    const port = await freePort();
    await openVHosts(site);
    await page.click("#new");
    await fill(page, { port });
    await save(page, "success");
    const before = await httpFile(site);
    await page.click("#new");
    for (const [field, value, message] of rules) {
      await fill(page, { host: "other.example", port, [field]: value });
      await save(page, "error");
      assert.equal(await errorBeside(page, field), message, value);
      assert.equal(await focused(page), field);
      assert.equal(await page.locator("[aria-invalid]").count(), 1, value);
    }
    await shot("refused");
    // The administration's own port is in no setting here; the web server is asked.
    await fill(page, { host: "other.example", port: new URL(server.url).port });
    await save(page, "error");
    assert.match(await errorBeside(page, "port"), /cannot open this port/);
    assert.equal(await httpFile(site), before);
    await page.click("#close");
    assert.equal(await focused(page), "new");
    assert.equal(await page.isVisible("#editor"), false);
  }));

test("The page is German on a phone, and fits it", () =>
  withSite(
    "vhosts-phone",
    async (site) => {
      const { page, shot } = site;
      await openVHosts(site);
      await page.click("#new");
      await fill(page, { host: `${"long-name-".repeat(6)}of.example`, folder: "ein langer ordnername mit leerzeichen, grün", port: await freePort() });
      await save(page, "success");
      assert.match(await page.textContent("#notice"), /gespeichert und erreichbar/);
      await page.click("#edit-0");
      await page.fill("#host", "a b");
      await save(page, "error");
      const { content, screen } = await page.evaluate(() => ({ content: document.documentElement.scrollWidth, screen: innerWidth }));
      assert.ok(content <= screen, `the page is ${content} wide on a screen of ${screen}`);
      await shot("german");
    },
    { context: { viewport: { width: 360, height: 740 }, isMobile: true, hasTouch: true, locale: "de-DE", colorScheme: "dark" } },
  ));
