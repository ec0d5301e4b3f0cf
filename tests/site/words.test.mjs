// The words of the pages and programs against the string tables: none is missing, none says two things, none is unused.
import assert from "node:assert/strict";
import { readdirSync, readFileSync } from "node:fs";
import path from "node:path";
import { test } from "node:test";
import { projectDir } from "./server.mjs";

const read = (file) => readFileSync(path.join(projectDir, file), "utf8");
const filesIn = (folder, ending) => readdirSync(path.join(projectDir, folder)).filter((name) => name.endsWith(ending)).map((name) => `${folder}/${name}`);

// "section:key" -> text; a key that comes twice fails.
function table(language, module = "tarvel") {
  const texts = new Map();
  let section = "";
  for (const line of read(`site/texts/${module}/${language}.ini`).split("\n")) {
    const heading = /^\[(\w+)\]$/.exec(line);
    const entry = /^(\w+)="(.*)"$/.exec(line);
    if (heading) section = heading[1];
    else if (entry) {
      const name = `${section}:${entry[1]}`;
      assert.ok(!texts.has(name), `${language}: ${name} comes twice`);
      texts.set(name, entry[2]);
    } else assert.match(line, /^(;.*)?$/, `${language}: no line of a table: ${line}`);
  }
  return texts;
}

const english = table("en");
const german = table("de");
const sections = new Set([...english.keys()].map((name) => name.split(":")[0]));
const kNames = new RegExp(`\\b(${[...sections].join("|")}):([a-z][a-z0-9_]*)`, "g");
const kPair = new RegExp(`"(${[...sections].join("|")})", "(error_\\w+)"`, "g");
const pages = ["site", "site/pages", "site/frame"].flatMap((folder) => filesIn(folder, ".html"));
const scripts = filesIn("site/js", ".js");
const programs = filesIn("cgi", ".cpp").concat(filesIn("cgi", ".h"));

// Words that the library looks up for lists and labels of volumes, for the summary of a schedule and for a mail.
const kSectionOfLibrary = { "src/volume.cpp": "volume", "src/volume_status.cpp": "volume", "src/schedule.cpp": "schedule", "src/webutils_server.cpp": "common" };
const namesInLibrary = () =>
  Object.entries(kSectionOfLibrary).flatMap(([file, section]) =>
    [...read(file).matchAll(/Text\("(\w+)"|, "(volume_\w+)"}|"(schedule_\w{3})",/g)]
      .map(([, ...keys]) => keys.find(Boolean))
      .map((key) => `${key === "colon" ? "common" : section}:${key}`),
  );

// Sections whose keys a program names alone.
const kSectionOf = { "cgi/chart.cpp": "chart", "cgi/disks.cpp": "disks", "cgi/download.cpp": "files", "cgi/file_refusal.h": "files", "cgi/login.cpp": "login",
  "cgi/volume_build.cpp": "volumes", "cgi/volume_worker.cpp": "volumes" };

// The programs name section and key apart: Refuse(request, "error", "error_x"), or a key of their own section or "error" alone.
function namesInPrograms() {
  const names = new Set(["login:error_timeout", "login:error_interrupt", "login:error_noprivilege", "common:error_system", "error:error_field_too_long"]);
  for (const file of programs) {
    const text = read(file);
    for (const [, section, key] of text.matchAll(kPair)) names.add(`${section}:${key}`);
    const alone = kSectionOf[file] ?? "error";
    for (const [, key] of text.replace(kPair, "").matchAll(/"(error_\w+)"/g)) names.add(`${alone}:${key}`);
    for (const [, key] of text.matchAll(/\b(?:words|Filled|Slice)\("(\w+)"/g)) names.add(`${alone}:${key}`);
  }
  return names;
}

// The frame's navigation names its texts as a page does.
const namesInPages = () => new Set([...pages, ...scripts, "cgi/index.cpp"].flatMap((file) => [...read(file).matchAll(kNames)].map(([name]) => name)));

test("Both languages have the same texts, with the same places for values", () => {
  assert.deepEqual([...german.keys()], [...english.keys()]);
  for (const [name, text] of english) {
    assert.notEqual(text, "", name);
    assert.equal(german.get(name).includes("{value}"), text.includes("{value}"), name);
  }
});

test("The banner has its words in both languages", () => {
  const wanted = [...read("src/app_banner.cpp").matchAll(/texts_\.Text\("(\w+)"/g)].map(([, key]) => `uicommon:${key}`).sort();
  for (const language of ["en", "de"]) {
    const words = table(language, "scripts");
    assert.deepEqual([...words.keys()].sort(), wanted, language);
    assert.ok([...words.values()].every(Boolean), language);
  }
});

test("Every text that a page or a program names exists, and every text is named", () => {
  const named = new Set([...namesInPages(), ...namesInPrograms(), ...namesInLibrary()]);
  assert.deepEqual([...named].filter((name) => !english.has(name)).sort(), []);
  assert.deepEqual([...english.keys()].filter((name) => !named.has(name)), []);
});

test("The English words in the pages are those of the table", () => {
  let count = 0;
  for (const page of pages) {
    for (const [, name, words] of read(page).matchAll(/data-text="([\w:]+)"[^>]*>([^<]*)</g)) {
      // A layout is filled in by the frame program, in the language of the request.
      const placeholder = page.startsWith("site/frame/") && words === `{${name.split(":")[1]}}`;
      assert.equal(placeholder ? english.get(name) : words.trim(), english.get(name), `${page}: ${name}`);
      count += 1;
    }
  }
  assert.ok(count > 40, `only ${count} words were compared`);
});

test("No page holds a style or a script of its own, or anything from elsewhere", () => {
  for (const page of pages) {
    const text = read(page);
    assert.doesNotMatch(text, /<style|style=|\son[a-z]+=|<script(?![^>]*\bsrc=)/i, page);
    for (const [, address] of text.matchAll(/(?:src|href)="([^"]*)"/g)) assert.match(address, /^[/#](?!\/)/, `${page}: ${address}`);
  }
});
