// A backup task that is made in the browser is started by the machine's cron daemon, and the page shows it in the event log.
// cron needs root: without it this is skipped.
import assert from "node:assert/strict";
import { readFile } from "node:fs/promises";
import { test } from "node:test";
import { withSite } from "./harness.mjs";
import { makeTask, shownEvents } from "./person.mjs";
import { rootOf } from "./inside.mjs";

// A second of ours is a minute of cron's, so that each hour comes by soon.
const options = { server: ["--cron-clock", "@2026-01-01 02:50:00 x60"], timeout_ms: 400_000 };
const kPatience_ms = 300_000;
const skip = process.getuid() === 0 ? false : "needs cron, which needs root";
const kHourly = { schedule: "advance", start: "00:07", frequency: "1", lasttime: "23" };

const started = (page, task) =>
  page.waitForFunction(
    (name) => [...document.querySelectorAll("#events tr")].some(({ cells }) => cells[1].textContent === "Started by its schedule" && cells[2].textContent === name),
    task,
    { timeout: kPatience_ms, polling: 200 },
  );

test("cron starts a task that was made in the browser, and the event log names it; a disabled one is not started", { skip }, () =>
  withSite(
    "backups-cron",
    async (site) => {
      const { page, url, login, shot, server } = site;
      await login();
      await page.goto(`${url}/backups.html`);
      // Disabled from the beginning: its hour may come at any moment.
      await makeTask(page, { name: "at rest", enable: false, ...kHourly });
      await page.waitForSelector(".task-state.off");
      await makeTask(page, { name: "Photos \u00dcber 2027", kind: "network", ...kHourly });
      await started(page, "Photos \u00dcber 2027");
      await shot("started");
      const newest = (await shownEvents(page))[0];
      assert.deepEqual(newest, ["Started by its schedule", "Photos \u00dcber 2027", ""]);
      const crontab = await readFile(`${await rootOf(server)}/var/spool/cron/crontabs/www-data`, "utf8");
      assert.match(crontab, /^7 0,1,.*,23 \* \* \* \/usr\/kest\/bin\/kestjob run \d+$/m);
      assert.equal((await shownEvents(page)).filter(([event, task]) => /Started/.test(event) && task === "at rest").length, 0);
    },
    options,
  ));
