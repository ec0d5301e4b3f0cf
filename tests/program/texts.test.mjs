// texts.cgi and language.cgi: the words of the pages, in whose language.
import assert from "node:assert/strict";
import { test } from "node:test";
import { assertRefused, keepSettings, run, writeSetting } from "./program.mjs";

const ask = (keys, request = {}) => run("texts", { query: { keys }, ...request });
const titleIn = (request) => ask("login:title", request).json.data.texts.login.title;

test("Words come by section and key, and what has no text is left out", () => {
  const { json } = ask("login:title,login:user,common:logout,login:nothing,nowhere:title");
  assert.deepEqual(json, {
    data: { language: "en", texts: { common: { logout: "Log out" }, login: { title: "Log in", user: "User name" }, nowhere: {} } },
    success: true,
  });
});

test("Two sections keep their keys apart", () => {
  const { texts } = ask("login:title,volumes:title").json.data;
  assert.deepEqual([texts.login.title, texts.volumes.title], ["Log in", "Volumes"]);
});

test("The cookie decides the language, then the setting, then the browser, then it is English", (t) => {
  keepSettings(t);
  const german = { HTTP_ACCEPT_LANGUAGE: "fr;q=0.9, de-AT;q=0.8, en;q=0.1" };
  assert.equal(titleIn({ env: german }), "Anmelden");
  assert.equal(titleIn({ env: german, cookie: "lang=en" }), "Log in");
  assert.equal(titleIn({ env: { HTTP_ACCEPT_LANGUAGE: "fr" } }), "Log in");
  assert.equal(titleIn({ cookie: "lang=../../../etc/passwd" }), "Log in");
  writeSetting("language", "de");
  assert.equal(titleIn({}), "Anmelden");
  assert.equal(titleIn({ cookie: "lang=auto" }), "Anmelden");
});

for (const keys of ["", "login", "login:", ":title", "login:title:more", "../login:title", "login:Title", ",", "a:b,,c:d"]) {
  test(`keys=${keys} is refused`, () => assertRefused(ask(keys), "error", "error_bad_request"));
}

test("300 keys of 8 sections are looked up, more of either are refused", () => {
  const keys = (count, section) => Array.from({ length: count }, (_, i) => `${section(i)}:k${i}`).join(",");
  assert.equal(ask(keys(300, (i) => `s${i % 8}`)).json.success, true);
  assertRefused(ask(keys(301, () => "s")), "error", "error_bad_request");
  assertRefused(ask(keys(9, (i) => `s${i}`)), "error", "error_bad_request");
});

test("A language that is offered is kept in a cookie", () => {
  for (const lang of ["auto", "en", "de"]) {
    const reply = run("language", { form: { lang } });
    assert.deepEqual(reply.json, { data: lang, success: true });
    assert.match(reply.headers.get("set-cookie"), new RegExp(`^lang=${lang};.*path=/`, "i"));
  }
});

test("A language that is not offered sets nothing, nor does a link", () => {
  for (const lang of ["fr", "", "DE", "de; path=/x", "de\r\nSet-Cookie: id=1"]) {
    const reply = run("language", { form: { lang } });
    assertRefused(reply, "error", "error_unknown_language");
    assert.equal(reply.headers.get("set-cookie"), null);
  }
  assertRefused(run("language", { query: { lang: "de" } }), "error", "error_not_posted", 405);
});
