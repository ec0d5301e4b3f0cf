// Replies held against whole files: golden/NAME.txt has the status, the headers by name and the body. After a wanted change
// look at the difference, then write the files anew:
//
//   mkdir -m 777 build/golden && TARVEL_GOLDEN=$PWD/build/golden tests/program/run dev frame.test.mjs
//   cp build/golden/* tests/program/golden
import assert from "node:assert/strict";
import { readFileSync, writeFileSync } from "node:fs";
import path from "node:path";
import { fileURLToPath } from "node:url";

const kFolder = path.join(path.dirname(fileURLToPath(import.meta.url)), "golden");

const written = ({ status, headers, text }) =>
  `${[`status: ${status}`, ...[...headers].filter(([name]) => name !== "status").map(([name, value]) => `${name}: ${value}`)].join("\n")}\n\n${text}`;

export function assertGolden(name, reply) {
  const text = written(reply);
  if (process.env.TARVEL_GOLDEN) writeFileSync(path.join(process.env.TARVEL_GOLDEN, `${name}.txt`), text);
  else assert.equal(text, readFileSync(path.join(kFolder, `${name}.txt`), "utf8"), name);
}
