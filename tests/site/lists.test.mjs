// Long lists without a browser: which pages there are, which answers count, what has been marked on pages that are not seen.
import assert from "node:assert/strict";
import { test } from "node:test";
import { Marks } from "../../site/js/marks.js";
import { Newest } from "../../site/js/newest.js";
import { kRows, pagesAround, shorterPage } from "../../site/js/paging.js";

const none = { first: null, previous: null, next: null, last: null };

for (const [what, offset, total, wanted] of [
  ["an empty list", 0, 0, { ...none, from: 0, to: 0 }],
  ["one page", 0, kRows, { ...none, from: 1, to: kRows }],
  ["the first of two pages", 0, kRows + 1, { ...none, next: kRows, last: kRows, from: 1, to: kRows }],
  ["the last of two pages", kRows, kRows + 1, { ...none, first: 0, previous: 0, from: kRows + 1, to: kRows + 1 }],
  ["the middle of a hundred thousand", 500, 100_000, { first: 0, previous: 450, next: 550, last: 99_950, from: 501, to: 550 }],
  ["a page that stands between two", 20, 200, { first: 0, previous: 0, next: 70, last: 150, from: 21, to: 70 }],
  ["a page behind the end", 400, 60, { ...none, first: 0, previous: 50, from: 60, to: 60 }],
]) {
  test(`Around ${what} there are these pages`, () => assert.deepEqual(pagesAround(offset, total), wanted));
}

test("A list that has become shorter shows its last page instead of none", () => {
  assert.equal(shorterPage(100, 100), 50);
  assert.equal(shorterPage(100, 30), 0);
  assert.equal(shorterPage(50, 0), 0);
  assert.equal(shorterPage(0, 0), null);
  assert.equal(shorterPage(50, 51), null);
});

test("An answer counts only when nothing else has been asked meanwhile", async () => {
  const newest = new Newest();
  const answers = [];
  const question = () => newest.of(() => new Promise((resolve) => answers.push(resolve)));
  const [first, second, third] = [question(), question(), question()];
  answers[2]("third");
  answers[0]("first");
  answers[1]("second");
  assert.deepEqual(await Promise.all([first, second, third]), [undefined, undefined, "third"]);
  assert.equal(await newest.of(async () => "fourth"), "fourth");
});

test("A question that fails late disturbs nobody", async () => {
  const newest = new Newest();
  const failing = newest.of(() => Promise.reject(new Error("no answer")));
  await assert.rejects(failing, /no answer/);
  assert.equal(await newest.of(async () => 1), 1);
});

test("Marks are kept across pages, and one that is put back is no change", () => {
  const marks = new Marks();
  marks.set("anna", false, true);
  marks.set("bernd", true, false);
  marks.set("carl", true, false);
  marks.set("carl", true, true);
  assert.deepEqual([marks.added, marks.removed, marks.count], [["anna"], ["bernd"], 2]);
  assert.deepEqual(["anna", "bernd", "carl"].map((name) => marks.isMarked(name, name !== "anna")), [true, false, true]);
  assert.equal(marks.isMarked("never seen", true), true);
  marks.clear();
  assert.deepEqual([marks.added, marks.removed, marks.count], [[], [], 0]);
});

test("Any name can be marked", () => {
  const marks = new Marks();
  for (const name of ["__proto__", "constructor", "<b>", "a\nb", "\u5b89"]) marks.set(name, false, true);
  assert.deepEqual(marks.added, ["__proto__", "constructor", "<b>", "a\nb", "\u5b89"]);
});
