// The table of types that the build makes from the machine's own.
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { test } from "node:test";

const kTable = "/usr/kest/etc.defaults/mimetypes.txt";
const lines = readFileSync(kTable, "utf8").trimEnd().split("\n");
const types = Object.fromEntries(lines.map((line) => line.split(" ")));

test("Each line is an extension and a type", () => {
  for (const line of lines) assert.match(line, /^[^\s/.A-Z][^\s/A-Z]* [^\s/]+\/[^\s/]+$/);
});

test("No extension is there twice", () => {
  assert.equal(new Set(lines.map((line) => line.split(" ")[0])).size, lines.length);
});

test("Every extension of the machine's table is there with its first type", () => {
  const machine = new Map();
  for (const line of readFileSync("/etc/mime.types", "utf8").split("\n").filter((text) => !text.startsWith("#"))) {
    const [type, ...extensions] = line.split(/\s+/).filter(Boolean);
    for (const extension of extensions.map((text) => text.toLowerCase())) if (!machine.has(extension)) machine.set(extension, type);
  }
  assert.ok(machine.size > 1000, `${machine.size} extensions are not all`);
  assert.deepEqual(types, Object.fromEntries(machine));
});

test("The types that people meet every day come out", () => {
  const expected = {
    avif: "image/avif",
    css: "text/css",
    docx: "application/vnd.openxmlformats-officedocument.wordprocessingml.document",
    epub: "application/epub+zip",
    flac: "audio/flac",
    gif: "image/gif",
    gz: "application/gzip",
    heic: "image/heic",
    html: "text/html",
    jpeg: "image/jpeg",
    jpg: "image/jpeg",
    js: "text/javascript",
    json: "application/json",
    m4a: "audio/mp4",
    mkv: "video/x-matroska",
    mp3: "audio/mpeg",
    mp4: "video/mp4",
    pdf: "application/pdf",
    png: "image/png",
    svg: "image/svg+xml",
    tar: "application/x-tar",
    txt: "text/plain",
    webm: "video/webm",
    webp: "image/webp",
    zip: "application/zip",
  };
  for (const [extension, type] of Object.entries(expected)) assert.equal(types[extension], type, extension);
});
