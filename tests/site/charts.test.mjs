// The page of the charts as a person sees it, drawn from what the program really sends.
import assert from "node:assert/strict";
import { appendFile } from "node:fs/promises";
import { test } from "node:test";
import { withSite } from "./harness.mjs";
import { tabTo } from "./person.mjs";

const drawn = (page, id) => page.waitForSelector(`#${id} canvas`);
const cells = (page, id) => page.$$eval(`#${id} tbody tr`, (rows) => rows.map((row) => [...row.cells].map((cell) => cell.textContent)));

// Waits until more than this share of the canvas is painted.
const painted = (page, id, share) =>
  page.waitForFunction(
    ([selector, least]) => {
      const canvas = document.querySelector(selector);
      const { data } = canvas.getContext("2d").getImageData(0, 0, canvas.width, canvas.height);
      let count = 0;
      for (let i = 3; i < data.length; i += 4) count += data[i] > 0 ? 1 : 0;
      return count > (data.length / 4) * least;
    },
    [`#${id} canvas`, share],
  );

const requestsOf = (back) => Math.round(62 + 35 * Math.sin(back / 2.1) + 25 * Math.cos(back / 5));

// A day with a morning and an afternoon, as the web server would have logged it.
async function logADay(state) {
  const now = Math.floor(Date.now() / 3_600_000);
  const lines = [];
  for (let back = 23; back >= 1; --back) {
    const time = new Date((now - back) * 3_600_000).toISOString().replace(/\.000Z$/, "+0000");
    lines.push(`127.0.0.1 ${time} "GET / HTTP/1.1" 200 1759 210us\n`.repeat(requestsOf(back)));
  }
  await appendFile(`${state}/var/log/httpd-access.log`, lines.join(""));
  return now;
}

// Opens the page; a day of the log is drawn. Resolves to the hour in which it was logged.
async function openCharts({ page, url, login, state }, account = "admin") {
  const loggedAt = await logADay(state);
  await login(account);
  await page.goto(`${url}/charts.html`);
  await drawn(page, "volumes");
  return loggedAt;
}

const kPhone =
  "Mozilla/5.0 (iPhone; CPU iPhone OS 17_5 like Mac OS X) AppleWebKit/605.1.15 (KHTML, like Gecko) Version/17.5 Mobile/15E148 Safari/604.1";

const screens = {
  dark: { colorScheme: "dark" },
  phone: { viewport: { width: 360, height: 740 }, deviceScaleFactor: 2 },
  "phone-dark-german": { viewport: { width: 360, height: 740 }, colorScheme: "dark", locale: "de-DE", deviceScaleFactor: 2, userAgent: kPhone },
};

for (const [name, context] of Object.entries(screens)) {
  test(`Both charts are drawn: ${name}`, () =>
    withSite(
      `charts-${name}`,
      async (site) => {
        const { page } = site;
        await openCharts(site);
        await drawn(page, "requests");
        await painted(page, "volumes", 0.15);
        await painted(page, "requests", 0.01);
        await site.shot("page");
        const width = await page.evaluate(() => [document.documentElement.scrollWidth, innerWidth]);
        assert.ok(width[0] <= width[1], `the page is wider than the screen: ${width}`);
      },
      { context: { ...context, reducedMotion: "reduce" } },
    ));
}

test("Keyboard, table, language and screen", () =>
  withSite("charts-use", async (site) => {
    const { page, shot, url } = site;
    const asked = [];
    page.on("request", (request) => asked.push(request.url()));
    const loggedAt = await openCharts(site);
    await drawn(page, "requests");
    assert.ok(asked.includes(`${url}/lib/chart.js`));
    assert.deepEqual(asked.filter((address) => !address.startsWith(`${url}/`)), [], "something came from elsewhere");
    await painted(page, "volumes", 0.15);
    await painted(page, "requests", 0.01);
    await shot("page");

    // What is drawn is also said, and the table is reached without a mouse.
    for (const id of ["volumes", "requests"]) {
      await tabTo(page, `#${id} summary`);
      await page.keyboard.press("Enter");
      await page.waitForSelector(`#${id} details[open] table`);
    }
    const [used, free] = await cells(page, "volumes");
    assert.match(used.join("|"), /^\/volume1: [\d.]+ .iB used\|[\d,]+\|[\d.]+%$/);
    assert.match(free[0], /free$/);
    const hours = await cells(page, "requests");
    assert.equal(hours.length, 24);
    // Whatever the time is when the page is opened: each hour of the day stands there once.
    const lastWhole = `${String((loggedAt - 1) % 24).padStart(2, "0")}:00`;
    assert.equal(hours.find(([hour]) => hour === lastWhole)?.[1], String(requestsOf(1)));
    const name = await page.getByRole("img", { name: "Requests of the last 24 hours Line chart" }).count();
    assert.equal(name, 1, "the drawing has no name");
    await shot("tables");

    // A new language brings the program's words anew; the table stays open.
    await page.click('.languages button[lang="de"]');
    await page.waitForFunction(() => document.querySelector("#requests h2")?.textContent === "Anfragen der letzten 24 Stunden");
    await page.waitForFunction(() => document.querySelector("#requests details[open] thead th:last-child")?.textContent === "Anfragen pro Stunde");
    assert.match(await page.textContent("#requests .x-legend"), /^Stunde \(UTC\)/);

    // A screen that turns dark is drawn for.
    const before = await page.$eval("#requests canvas", (canvas) => canvas.toDataURL());
    await page.emulateMedia({ colorScheme: "dark" });
    await page.waitForFunction((old) => document.querySelector("#requests canvas").toDataURL() !== old, before);
  }, { context: { reducedMotion: "reduce" } }));

test("The libraries are served with their licences", () =>
  withSite(
    "charts-licences",
    async ({ url }) => {
      for (const name of ["chart.LICENSE.txt", "chart.color.LICENSE.txt"]) {
        const reply = await fetch(`${url}/lib/${name}`);
        assert.equal(reply.headers.get("content-type"), "text/plain; charset=utf-8");
        assert.match(await reply.text(), /Permission is hereby granted/);
      }
      assert.match(await (await fetch(`${url}/lib/chart.js`)).text(), /^\/\*!\n \* Chart\.js v4/);
      assert.equal((await fetch(`${url}/package.json`)).status, 404);
      assert.equal((await fetch(`${url}/package-lock.json`)).status, 404);
    },
    { browser: false },
  ));

test("An ordinary account sees the volumes, and that the requests are for administrators", () =>
  withSite("charts-anna", async (site) => {
    const { page, pageLog } = site;
    await openCharts(site, "anna");
    await page.waitForFunction(() => document.querySelector("#requests .chart-message")?.textContent === "Administrators only");
    assert.equal(await page.$("#requests canvas"), null);
    assert.deepEqual(pageLog.filter(({ kind }) => kind === "error"), []);
  }));

test("What goes wrong is said in words", () =>
  withSite("charts-faults", async (site) => {
    const { page, url } = site;
    let answer;
    await page.route("**/cgi/chart.cgi?chart=requests", (route) => route.fulfill(answer));
    const said = async (reply, words) => {
      answer = reply;
      await page.goto(`${url}/charts.html`);
      await page.waitForFunction((wanted) => document.querySelector("#requests .chart-message")?.textContent.startsWith(wanted), words);
    };
    await openCharts(site).catch(() => {});
    await said({ body: '{"success": false, "errno": {"section": "chart", "key": "error_no_log"}}' }, "There is no log of the web server yet");
    await said({ body: '{"elements": 5}' }, 'The description of this chart cannot be understood: "elements" is no list');
    await said({ body: '{"elements": [{"type": "pie", "values": []}]}' }, "This chart has no figures");
    await said({ status: 500, body: "<h1>Internal error</h1>" }, "The appliance did not answer");

    // Without the library the figures are there all the same.
    await page.route("**/lib/chart.js", (route) => route.abort());
    await page.goto(`${url}/charts.html`);
    await page.waitForSelector("#volumes details[open] td");
    await page.waitForFunction(() => /The figures are in the table/.test(document.querySelector("#volumes .chart-message").textContent));
  }));
