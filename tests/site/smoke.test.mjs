// The site answers, and what every reply carries.
import assert from "node:assert/strict";
import { readFile } from "node:fs/promises";
import http from "node:http";
import { test } from "node:test";
import { withSite } from "./harness.mjs";

// The path as it stands: fetch would tidy it up first.
function statusOf(url, path) {
  return new Promise((resolve, reject) => {
    http.get(url, { path }, (reply) => resolve(reply.resume().statusCode)).on("error", reject);
  });
}

test("The first page opens in a browser and needs nothing from elsewhere", () =>
  withSite("smoke", async ({ url, page, shot }) => {
    const elsewhere = [];
    page.on("request", (request) => {
      if (!request.url().startsWith(`${url}/`)) elsewhere.push(request.url());
    });
    const reply = await page.goto(`${url}/`);
    assert.equal(reply.status(), 200);
    await page.waitForFunction(() => document.title !== "");
    await page.waitForLoadState("networkidle");
    assert.deepEqual(elsewhere, []);
    await shot("first-page");
  }));

test("Each demo account logs in and is known by its name", () =>
  withSite("smoke-login", async ({ url, context, accounts, login }) => {
    for (const name of Object.keys(accounts)) {
      await login(name);
      const reply = await context.request.get(`${url}/cgi/whoami.cgi`);
      const { data } = await reply.json();
      assert.equal(data.user, name);
      assert.equal(data.may.settings, accounts[name].role === "administrator");
    }
  }));

test("Every reply names what may be loaded and tells nothing about the server", () =>
  withSite(
    "smoke-headers",
    async ({ url }) => {
      for (const path of ["/", "/cgi/whoami.cgi", "/nothing-here", "/cgi/nothing.cgi", "/cgi/"]) {
        const { headers } = await fetch(url + path);
        assert.match(headers.get("content-security-policy") ?? "", /default-src 'self'/, path);
        assert.equal(headers.get("x-content-type-options"), "nosniff", path);
        assert.equal(headers.get("server"), "Apache", path);
        assert.equal(headers.get("x-powered-by"), null, path);
      }
      assert.match((await fetch(`${url}/`)).headers.get("cache-control"), /no-cache/);
      assert.match((await fetch(`${url}/cgi/whoami.cgi`)).headers.get("cache-control"), /no-store/);
    },
    { browser: false },
  ));

test("Nothing beside the pages and the programs can be fetched, and only with the methods meant", () =>
  withSite(
    "smoke-closed",
    async ({ url, state }) => {
      const refused = {
        "/cgi/..%2f..%2fetc%2faccounts.db": 404,
        "/cgi/%2e%2e/%2e%2e/etc/accounts.db": 400,
        "/cgi/../../../etc/accounts.db": 400,
        "/../etc/accounts.db": 400,
        "/cgi/whoami.cgi/further": 404,
        "/cgi/": 403,
      };
      for (const [path, status] of Object.entries(refused)) {
        assert.equal(await statusOf(url, path), status, path);
      }
      assert.equal((await fetch(`${url}/`, { method: "POST" })).status, 405);
      assert.equal((await fetch(`${url}/cgi/whoami.cgi`, { method: "DELETE" })).status, 405);
      const access = await readFile(`${state}/var/log/httpd-access.log`, "utf8");
      assert.match(access, /"GET \/cgi\/ HTTP\/1.1" 403/);
    },
    { browser: false },
  ));
