// A page against the rules of WCAG 2.2 level AA that a program can check.
import assert from "node:assert/strict";
import { readFile } from "node:fs/promises";
import { createRequire } from "node:module";
import { quiet } from "./traffic.mjs";

const kRules = ["wcag2a", "wcag2aa", "wcag21aa", "wcag22aa", "best-practice"];
const axe = await readFile(createRequire(import.meta.url).resolve("axe-core/axe.min.js"), "utf8");

/// Behind an open question nothing is looked at, so fewer rules apply: `least` is how many must have looked at something.
export async function assertAccessible(page, state, least = 20) {
  // Half a page, or one that moves, is no state of it.
  await quiet(page);
  await page.evaluate(axe);
  const { violations, passes } = await page.evaluate((rules) => globalThis.axe.run(document, { runOnly: rules }), kRules);
  const found = violations.flatMap(({ help, nodes }) => nodes.map(({ html, failureSummary }) => `${help}: ${html}\n${failureSummary}`));
  assert.deepEqual(found, [], state);
  assert.ok(passes.length > least, `${state}: only ${passes.length} rules looked at something`);
}
