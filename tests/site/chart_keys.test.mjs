// Each key of a chart's description has an effect that one can see: the page is drawn with and without it, and what is
// seen must differ.
import assert from "node:assert/strict";
import { test } from "node:test";
import { withSite } from "./harness.mjs";
import { comesTrue } from "./inside.mjs";

const kValues = [4, 9, 2, 7, 5];
const kAll = { stroke: 1, colour: "#404040", "grid-colour": "#c0c0c0" };
const line = () => ({
  title: { text: "Title", style: "{font-size: 18px}" },
  x_legend: { text: "across", style: "{font-size: 12px}" },
  y_legend: { text: "up", style: "{font-size: 12px}" },
  x_axis: { ...kAll, offset: false, labels: { labels: ["one", "two", "three", "four", "five"] } },
  y_axis: { ...kAll, stroke: "1", offset: false, max: 10, steps: 2, labels: {} },
  elements: [{ type: "line", text: "first", values: kValues }],
});
const pie = () => ({
  title: { text: "Title", style: "" },
  elements: [{ type: "pie", animate: 0, values: [{ value: 1, label: "a" }, { value: 2, label: "b" }, { value: 4, label: "c" }] }],
});

const at = (make, path) => (value) => {
  const description = make();
  const keys = path.split("/");
  const holder = keys.slice(0, -1).reduce((object, key) => object[key], description);
  holder[keys.at(-1)] = value;
  return description;
};

// [what is changed, into what, where the change shows]
const changes = [
  [line, "title/text", "Other", "text"],
  [line, "title/style", "{font-size: 30px}", "text"],
  [line, "title/style", "{font-size: 18px; color: #a00000}", "text"],
  [line, "title/style", "{font-size: 18px; text-align: right}", "text"],
  [line, "title/style", "{font-size: 18px; font-family: monospace}", "text"],
  [line, "title/style", "{font-size: 18px; font-weight: normal}", "text"],
  [line, "title/style", "{font-size: 18px; font-style: italic}", "text"],
  [line, "x_legend/text", "sideways", "text"],
  [line, "x_legend/style", "{font-size: 20px}", "text"],
  [line, "x_legend/style", "{font-size: 12px; text-align: left}", "text"],
  [line, "y_legend/text", "height", "text"],
  [line, "y_legend/style", "{font-size: 20px; color: #008000}", "text"],
  [line, "elements/0/text", "second", "text"],
  [line, "elements/0/font-size", 25, "text"],
  [line, "elements/0/font-family", "monospace", "text"],
  [line, "elements/0/colour", "#c02020", "pixels"],
  [line, "elements/0/width", 8, "pixels"],
  [line, "elements/0/dot-size", 10, "pixels"],
  [line, "elements/0/values", [4, null, 2, 7, 5], "pixels"],
  [line, "x_axis/steps", 2, "pixels"],
  [line, "x_axis/labels/steps", 2, "pixels"],
  [line, "x_axis/labels/labels", ["1", "2", "3", "4", "5"], "pixels"],
  [line, "x_axis/labels/labels", ["", "", "", "", ""], "pixels"],
  [line, "x_axis/labels/rotate", "vertical", "pixels"],
  [line, "x_axis/size", 20, "pixels"],
  [line, "x_axis/stroke", 6, "pixels"],
  [line, "x_axis/offset", true, "pixels"],
  [line, "x_axis/grid-colour", "#e0a000", "pixels"],
  [line, "x_axis/colour", "#0000c0", "pixels"],
  [line, "y_axis/min", 1, "pixels"],
  [line, "y_axis/max", 30, "pixels"],
  [line, "y_axis/steps", 5, "pixels"],
  [line, "y_axis/labels/steps", 4, "pixels"],
  [line, "y_axis/labels/labels", ["none", "few", "some"], "pixels"],
  [line, "y_axis/labels/rotate", "vertical", "pixels"],
  [line, "y_axis/offset", true, "pixels"],
  [line, "y_axis/stroke", "6", "pixels"],
  [line, "y_axis/grid-colour", "#e0a000", "pixels"],
  [line, "y_axis/colour", "#0000c0", "pixels"],
  [pie, "elements/0/start-angle", 90, "pixels"],
  [pie, "elements/0/alpha", 0.4, "pixels"],
  [pie, "elements/0/colour", ["#c02020", "#20c020"], "pixels"],
  [pie, "elements/0/values", [{ value: 5, label: "a" }, { value: 2, label: "b" }, { value: 4, label: "c" }], "pixels"],
  [pie, "elements/0/values", [{ value: 1, label: "z" }, { value: 2, label: "b" }, { value: 4, label: "c" }], "text"],
];

// Draws a description in a place of its own; resolves to what is seen of it.
const see = (page, description) =>
  page.evaluate(async (chart) => {
    const { ChartView } = await import("/js/chart_view.js");
    document.getElementById("probe")?.remove();
    const root = Object.assign(document.createElement("section"), { id: "probe", className: "card chart" });
    document.getElementById("content").prepend(root);
    await new ChartView(root).show(chart);
    await new Promise((resolve) => requestAnimationFrame(() => requestAnimationFrame(resolve)));
    const look = ["fontSize", "color", "textAlign", "fontFamily", "fontWeight", "fontStyle"];
    const words = [...root.querySelectorAll("h2, .x-legend, .y-legend, .key span")].map((element) => {
      const style = getComputedStyle(element);
      return [element.className, element.textContent, ...look.map((name) => style[name])].join(" ");
    });
    return { text: words.join("\n"), pixels: root.querySelector("canvas").toDataURL(), table: root.querySelector("table").textContent };
  }, description);

const open = async ({ page, url, login }) => {
  await login("admin");
  await page.goto(`${url}/charts.html`);
  await page.waitForSelector("#volumes canvas");
};

async function everyKeyShows(page) {
  const plain = new Map();
  for (const make of [line, pie]) {
    plain.set(make, await see(page, make()));
    assert.deepEqual(await see(page, make()), plain.get(make), "the same description looks the same twice");
  }
  for (const [make, path, value, where] of changes) {
    const seen = await see(page, at(make, path)(value));
    assert.notEqual(seen[where], plain.get(make)[where], `${path} = ${JSON.stringify(value)} is not seen`);
  }
  assert.deepEqual(await see(page, { ...line(), bg_colour: "#ff0000", unknown: { a: 1 } }), plain.get(line), "an unknown key is seen");
}

const picturesOf = (page, description) =>
  page.evaluate(async (chart) => {
    const { ChartView } = await import("/js/chart_view.js");
    const root = document.getElementById("probe");
    await new ChartView(root).show(chart);
    const canvas = root.querySelector("canvas");
    const blank = Object.assign(document.createElement("canvas"), { width: canvas.width, height: canvas.height }).toDataURL();
    const seen = new Set();
    for (let last = performance.now(); performance.now() < last + 500; ) {
      await new Promise(requestAnimationFrame);
      const count = seen.size;
      seen.add(canvas.toDataURL());
      if (seen.size > count) last = performance.now();
    }
    seen.delete(blank);
    return seen.size;
  }, description);

async function animateMoves(page) {
  // How many pictures are seen from the first on, until none has been new for half a second.
  const moves = (animate) => picturesOf(page, at(pie, "elements/0/animate")(animate)).then((count) => count > 1);
  assert.equal(await moves(0), false);
  // A busy machine may draw the beginning and the end only; each look begins the movement anew.
  assert.ok(await comesTrue(() => moves(1)));
  await page.emulateMedia({ reducedMotion: "reduce" });
  assert.equal(await moves(1), false);
}

async function markupIsText(page) {
  const markup = '<img src=x onerror="document.title=1"><script>document.title=2</script>&lt;b>';
  const description = line();
  for (const key of ["title", "x_legend", "y_legend"]) description[key] = { text: markup, style: `{color: red;} </style>${markup}` };
  description.elements[0] = { ...description.elements[0], text: markup, colour: markup, "font-family": markup };
  description.x_axis.labels = { labels: Array(5).fill(markup), rotate: markup };
  description.y_axis = { ...description.y_axis, stroke: markup, labels: { labels: [markup] } };
  await see(page, description);
  assert.equal(await page.$eval("#probe h2", (title) => title.textContent), markup);
  assert.equal(await page.$eval("#probe tbody th", (cell) => cell.textContent), markup);
  assert.equal(await page.$$eval("#probe img, #probe script, #probe style, #probe b", (found) => found.length), 0);
  const pieces = pie();
  pieces.elements[0].values[0].label = markup;
  await see(page, pieces);
  assert.equal(await page.$$eval("#probe img, #probe script", (found) => found.length), 0);
  assert.doesNotMatch(await page.title(), /[12]/);
}

test("What is seen of a description", (t) =>
  withSite("chart-keys", async (site) => {
    await open(site);
    await t.test("Every key shows, and nothing else does", () => everyKeyShows(site.page));
    await t.test("Markup in the texts of a description is text", () => markupIsText(site.page));
    await t.test("A pie with animate moves into place, one without is there at once", () => animateMoves(site.page));
  }));
