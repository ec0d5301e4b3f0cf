// Accounts and groups behind the programs' back, and names of every kind.
import { spawnSync } from "node:child_process";
import assert from "node:assert/strict";
import { account, login, makeAccounts, run } from "./program.mjs";

/// Makes accounts without a password, all at once: names, or [name, description, mail address].
export function loadAccounts(accounts) {
  const lines = accounts.map((account) => (Array.isArray(account) ? account : [account, "", ""]).join("\t")).join("\n");
  const ended = spawnSync("/usr/kest/bin/kestaccount", ["load"], { input: `${lines}\n` });
  assert.equal(ended.status, 0, `kestaccount load: ${ended.stderr}`);
}

/// The names of so many accounts: person00000, ...
export const people = (count) => Array.from({ length: count }, (_, i) => `person${String(i).padStart(5, "0")}`);

export const formError = (key) => ({ errinfo: { key, sec: "error" }, success: false });
export const fieldErrors = (errors) => ({ errors, success: false });

/// Names that an account or a group may have, each of another kind.
export const oddNames = ["a", "<b>bold", "it's", "a;b", "$(id)", "%00", "a b", "x' OR '1'='1", "{name}", "\u5b89\u5168", "M\u00fcller", "=1+1", "..a", "x".repeat(255)];

/// Names that neither may have.
export const badNames = [" a", "a ", "a,b", "a:b", "a@b", "a\\b", "a/b", 'a"b', "a\nb", "a\r", "a\tb", "a\u0001", "a\u007f", "a\u0085b", "a\u202eb", "\u2066a", ".", "..", "-a"];

/// The accounts and an empty group "editors", with what an administrator's page does: loads a form, applies it.
export function startAdministration() {
  makeAccounts();
  account("groupadd", "editors", "who writes");
  const cookie = login();
  const load = (program, query) => run(program, { query: { action: "load", ...query }, cookie }).json.data;
  const apply = (program, form) => run(program, { form: { action: "apply", ...form }, cookie }).json;
  return { cookie, load, apply };
}

/// A form's body with bytes that are no UTF-8 where `MARK` stands.
export const brokenForm = (fields) => new URLSearchParams(fields).toString().replace("MARK", "%C3%28");

/// What a program answers to a session that is none, to an ordinary account, to a link and to a page of elsewhere.
export function answersToOthers(program, form, { cookie, anna }) {
  const foreign = run(program, { form, cookie, env: { HTTP_ORIGIN: "http://elsewhere.example", HTTP_HOST: "nas" } });
  const link = run(program, { query: form, cookie });
  return {
    none: run(program, { form }).headers.get("x-request-error"),
    account: run(program, { form, cookie: anna }).headers.get("x-request-error"),
    link: [link.status, link.json],
    foreign: [foreign.status, foreign.json],
  };
}

export const refusedToOthers = {
  none: "timeout",
  account: "unauth",
  link: [405, formError("error_not_posted")],
  foreign: [403, formError("error_not_posted")],
};
