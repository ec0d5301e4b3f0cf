// One story of a person in front of the site: a server of its own, a browser, and everything a failure needs to be read.
//
//   test("A wrong password is said beside the form", () => withSite("login-wrong", async ({ url, page, shot }) => {
//     await page.goto(url);
//     ...
//     await shot("refused");
//   }));
//
// withSite(name, story, options) calls the story with
//   url        address of the site, without a slash at its end
//   page       a page of a fresh browser (playwright's Page); `context` is its browser context
//   login      login("anna") gives the page's browser a session of that demo account (default: admin)
//   accounts   the demo accounts: accounts.admin.password, ...
//   state      folder with the appliance's files: state + "/etc/kestinfo.conf" is the appliance's /etc/kestinfo.conf
//   shot       shot("form") keeps a picture in build/<preset>/screenshots/<name>-form.png
//   pageLog    what the page wrote to its console, and its uncaught errors
//   server     the running server (server.mjs)
// options: context (for playwright's newContext: viewport, locale, ...), server (arguments for script/server),
//          browser: false (no page), timeout_ms (of the story; default: kStoryTimeout_ms),
//          pageErrors: true (uncaught errors and refused content are expected).
import assert from "node:assert/strict";
import { mkdir, mkdtemp, rm } from "node:fs/promises";
import { tmpdir } from "node:os";
import path from "node:path";
import { chromium } from "playwright-core";
import { buildDir, demoAccounts, Server } from "./server.mjs";
import { watchTraffic } from "./traffic.mjs";

const kBrowserArguments = [
  "--no-sandbox",
  "--disable-gpu",
  "--disable-quic",
  "--no-first-run",
  "--disable-background-networking",
  "--disable-component-update",
  "--disable-sync",
];
// No measure of anything: what never comes is told in the end, however slow and busy the machine is.
const kActionTimeout_ms = 60_000;
const kStoryTimeout_ms = 400_000;
const kMostDelay_ms = Number(process.env.SITE_DELAY_MS ?? 0);
const kBrowserLanguage = "en-US";

export const screenshotDir = path.join(buildDir, "screenshots");

export async function withSite(name, story, options = {}) {
  const server = await Server.start(name, options.server);
  const site = { url: server.url, state: server.state, server, accounts: await demoAccounts(), pageLog: [] };
  let failed = true;
  try {
    if (options.browser !== false) await openBrowser(site, name, options);
    await inTime(story(site), options.timeout_ms ?? kStoryTimeout_ms);
    assertQuiet(site, options);
    failed = false;
  } catch (error) {
    await tellFailure(site, name, error);
    throw error;
  } finally {
    await closeBrowser(site);
    await server.stop();
    if (!failed) await server.removeState();
  }
}

/// Logs in over HTTP, without a page; returns the Cookie header of the session.
export async function sessionCookie(site, name = "admin") {
  const { password } = site.accounts[name];
  const reply = await fetch(`${site.url}/cgi/login.cgi`, {
    method: "POST",
    body: new URLSearchParams({ user: name, passwd: password }),
  });
  const cookie = /(?:^|, *)(id=[0-9a-f]+)/.exec(reply.headers.get("set-cookie") ?? "");
  assert.ok(cookie, `${name} could not log in: ${reply.status} ${await reply.text()}`);
  return cookie[1];
}

async function openBrowser(site, name, options) {
  await mkdir(screenshotDir, { recursive: true });
  site.profile = await mkdtemp(path.join(tmpdir(), "site-browser-"));
  site.context = await chromium.launchPersistentContext(site.profile, {
    executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium",
    headless: true,
    args: kBrowserArguments,
    locale: kBrowserLanguage,
    ...options.context,
  });
  site.context.setDefaultTimeout(kActionTimeout_ms);
  if (kMostDelay_ms > 0) await delayRequests(site.context);
  site.page = site.context.pages()[0] ?? (await site.context.newPage());
  for (const page of site.context.pages()) listen(page, site.pageLog);
  site.context.on("page", (page) => listen(page, site.pageLog));
  site.shot = (what) => site.page.screenshot({ path: path.join(screenshotDir, `${name}-${what}.png`), fullPage: true });
  site.login = (account) => login(site, account);
}

// As behind a slow and unsteady line: whoever counts on the order of a page's answers, or on their being there, is found out. The
// browser keeps nothing in its cache then.
async function delayRequests(context) {
  await context.route("**/*", async (route) => {
    await new Promise((resolve) => setTimeout(resolve, Math.random() * kMostDelay_ms));
    await route.fallback().catch(() => {});
  });
}

function inTime(work, timeout_ms) {
  let late;
  const limit = new Promise((_, reject) => {
    late = setTimeout(() => reject(new Error(`the story took longer than ${timeout_ms} ms`)), timeout_ms);
  });
  return Promise.race([work, limit]).finally(() => clearTimeout(late));
}

function listen(page, log) {
  watchTraffic(page);
  page.on("console", (message) => log.push({ kind: message.type(), text: message.text(), where: message.location().url }));
  page.on("pageerror", (error) => log.push({ kind: "uncaught", text: error.stack ?? String(error) }));
}

async function login(site, name = "admin") {
  const { password } = site.accounts[name];
  const reply = await site.context.request.post(`${site.url}/cgi/login.cgi`, { form: { user: name, passwd: password } });
  const text = await reply.text();
  assert.ok(reply.ok() && JSON.parse(text).success, `${name} could not log in: ${reply.status()} ${text}`);
}

// A refused request is an ordinary thing and shows in the console; an uncaught error or refused content never is.
function assertQuiet(site, options) {
  if (options.pageErrors) return;
  const loud = site.pageLog.filter(({ kind, text }) => kind === "uncaught" || (kind === "error" && !/^Failed to load resource/.test(text)));
  assert.deepEqual(loud, [], "the page wrote errors to its console");
}

async function tellFailure(site, name, error) {
  console.error(`${name} failed: ${error.message}`);
  if (site.page) {
    const picture = path.join(screenshotDir, `failed-${name}.png`);
    await site.page.screenshot({ path: picture, fullPage: true }).catch(() => {});
    console.error(`--- page ${site.page.url()}, see ${picture}`);
    for (const { kind, text, where } of site.pageLog) console.error(`${kind}: ${text} ${where ?? ""}`);
  }
  console.error(await site.server.logs());
  console.error(`--- files of the appliance: ${site.state}`);
}

async function closeBrowser(site) {
  await site.context?.close().catch(() => {});
  if (site.profile) await rm(site.profile, { recursive: true, force: true, maxRetries: 5 });
}
