// The chart adapter without a browser: what each key of a description becomes, and what is not taken for one.
import assert from "node:assert/strict";
import { test } from "node:test";
import { adapt, ChartProblem } from "../../site/js/chart_adapter.js";
import { niceStep, shownEvery, verticalTicks } from "../../site/js/chart_axis.js";
import { contrast, fontFamily, onGround, parseColour, parseStyle } from "../../site/js/chart_style.js";

const kLight = { ground: [255, 255, 255], surface: "#ffffff", soft: "soft", line: "line", family: "sans", moves: true, format: String };
const kDark = { ...kLight, ground: [26, 34, 42] };
const css = (text, alpha = 1) => `rgba(${parseColour(text).join(", ")}, ${alpha})`;

const lineChart = (changes = {}, element = {}) => ({ elements: [{ type: "line", values: [1, 2, 3, 4], ...element }], ...changes });
const pieChart = (element = {}, changes = {}) => ({ elements: [{ type: "pie", values: [{ value: 3, label: "a" }, { value: 1, label: "b" }], ...element }], ...changes });
const x = (axis) => lineChart({ x_axis: axis });
const y = (axis) => lineChart({ y_axis: axis });

const chartOf = (description, theme = kLight) => adapt(description, theme);
const dataset = (description) => chartOf(description).config.data.datasets[0];
const scale = (name) => (description) => chartOf(description).config.options.scales[name];

// What an axis shows at each of its positions: words on the left, lines on the right.
function horizontalMarks(description, width = 1000) {
  const { data, options } = chartOf(description).config;
  const { grid, ticks } = options.scales.x;
  const chart = { width };
  return data.labels.map((_, value) => [ticks.callback.call({ chart }, value), grid.color({ tick: { value }, chart }) !== "transparent"]);
}

function verticalMarks(description) {
  const axis = scale("y")(description);
  const built = {};
  axis.afterBuildTicks(built);
  return built.ticks.map(({ value }) => [value, axis.ticks.callback(value), axis.grid.color({ tick: { value } }) !== "transparent"]);
}

const words = (marks) => marks.map(([word]) => word);
const lines = (marks) => marks.flatMap(([, line], i) => (line ? [i] : []));
const style = (text) => chartOf(lineChart({ title: { text: "t", style: text } })).title.style;

// Each key that a program can write: what it becomes, and what stands there without it.
const keys = {
  "title text": [({ title: { text } }) => chartOf(lineChart({ title: { text, style: "" } })).title.text, { title: { text: "Load" } }, "Load"],
  "line values": [(key) => dataset(lineChart({}, key)).data, { values: [1, null, { value: 2.5 }] }, [1, null, 2.5]],
  "line width": [(key) => dataset(lineChart({}, key)).borderWidth, { width: 7 }, 7, 2],
  "line dot-size": [(key) => dataset(lineChart({}, key)).pointRadius, { "dot-size": 9 }, 9, 3],
  "line colour": [(key) => dataset(lineChart({}, key)).borderColor, { colour: "#804000" }, css("#804000"), css("#17678c")],
  "line text": [(key) => chartOf(lineChart({}, key)).key.map(({ text }) => text), { text: "Reads" }, ["Reads"], []],
  "line font-size": [(key) => chartOf(lineChart({}, { text: "t", ...key })).key[0].size, { "font-size": 21 }, 21, undefined],
  "line font-family": [(key) => chartOf(lineChart({}, { text: "t", ...key })).key[0].family, { "font-family": "Courier, monospace" }, "Courier, monospace", undefined],
  "pie animate": [(key) => chartOf(pieChart(key)).config.options.animation, { animate: 1 }, { duration: 700 }, false],
  "pie start-angle": [(key) => dataset(pieChart(key)).rotation, { "start-angle": 100 }, 100, 0],
  "pie alpha": [(key) => dataset(pieChart(key)).backgroundColor[0], { alpha: 0.25 }, css("#17678c", 0.25), css("#17678c")],
  "pie colour": [(key) => dataset(pieChart(key)).backgroundColor, { colour: ["#ff0000"] }, [css("#ff0000"), css("#ff0000")], [css("#17678c"), css("#8c4a17")]],
  "pie values": [(key) => chartOf(pieChart(key)).key.map(({ text, share }) => [text, share]), { values: [1, { value: 3, label: "c" }] }, [["1", 0.25], ["c", 0.75]]],
  "x steps": [(key) => lines(horizontalMarks(x(key))), { steps: 2 }, [0, 2], [0, 1, 2, 3]],
  "x labels steps": [(key) => words(horizontalMarks(x(key))), { labels: { steps: 3 } }, ["1", "", "", "4"], ["1", "2", "3", "4"]],
  "x labels labels": [(key) => words(horizontalMarks(x(key))), { labels: { labels: ["a", { text: "b" }, 3] } }, ["a", "b", "3", ""]],
  "x empty labels": [(key) => words(horizontalMarks(x(key))), { labels: { labels: ["", "", "", "", ""] } }, ["", "", "", "", ""]],
  "x labels rotate": [(key) => scale("x")(x(key)).ticks.minRotation, { labels: { rotate: "vertical" } }, 90, 0],
  "x size": [(key) => scale("x")(x(key)).ticks.font.size, { size: 17 }, 17, 12],
  "x stroke": [(key) => scale("x")(x(key)).border.width, { stroke: 5 }, 5, 1],
  "x offset": [(key) => scale("x")(x(key)).offset, { offset: false }, false, true],
  "x grid-colour": [(key) => scale("x")(x(key)).grid.color({ tick: { value: 0 } }), { "grid-colour": "#c0c0ff" }, css("#c0c0ff"), "line"],
  "x colour": [(key) => scale("x")(x(key)).border.color, { colour: "#a00000" }, css("#a00000"), "soft"],
  "y min": [(key) => verticalMarks(y(key))[0][0], { min: 1 }, 1, 0],
  "y max": [(key) => verticalMarks(y(key)).at(-1)[0], { max: 20 }, 20, 4],
  "y steps": [(key) => verticalMarks(y({ max: 10, ...key })).map(([value]) => value), { steps: 5 }, [0, 5, 10], [0, 2, 4, 6, 8, 10]],
  "y labels steps": [(key) => words(verticalMarks(y({ max: 6, steps: 2, ...key })).map((mark) => mark.slice(1))), { labels: { steps: 4 } }, ["0", "", "4", ""], ["0", "2", "4", "6"]],
  "y labels labels": [(key) => words(verticalMarks(y({ max: 6, steps: 2, ...key })).map((mark) => mark.slice(1))), { labels: { labels: ["none", "few"] } }, ["none", "few", "", ""]],
  "y labels rotate": [(key) => scale("y")(y(key)).ticks.minRotation, { labels: { rotate: "vertical" } }, 90, 0],
  "y offset": [(key) => scale("y")(y(key)).offset, { offset: true }, true, false],
  "y stroke": [(key) => scale("y")(y(key)).border.width, { stroke: "4" }, 4, 1],
  "y grid-colour": [(key) => scale("y")(y(key)).grid.color({ tick: { value: 0 } }), { "grid-colour": "#00c000" }, css("#00c000"), "line"],
  "y colour": [(key) => scale("y")(y(key)).border.color, { colour: "#0000a0" }, css("#0000a0"), "soft"],
};

for (const [name, [see, key, expected, without]] of Object.entries(keys)) {
  test(`The key ${name}`, () => {
    assert.deepEqual(see(key), expected);
    if (without !== undefined || name.startsWith("line font")) assert.deepEqual(see({}), without, "without the key");
  });
}

const styles = {
  "{font-size: 20px; color:#0000ff; font-family: Verdana; text-align: center;}": { size: 20, colour: css("#0000ff"), family: "Verdana", align: "center" },
  "font-weight:bold;font-style:italic": { weight: "bold", slant: "italic", colour: undefined },
  "FONT-SIZE: 12; Text-Align: RIGHT; COLOR: GREEN": { size: 12, align: "right", colour: css("#008000") },
  "font-size: 9999px": { size: 72, colour: undefined },
  "font-size: 0px": { size: 6, colour: undefined },
  "font-size: 2em; text-align: justify; font-weight: heavy": { colour: undefined },
  "background: url(//elsewhere/x); position: fixed; color": { colour: undefined },
  "color: url(x); font-family: x\\0; font-family: a{b}<c>": { colour: undefined },
  ";;:;{}{:}": { colour: undefined },
  "": { colour: undefined },
};
for (const [text, expected] of Object.entries(styles)) {
  test(`The style ${text}`, () => {
    const found = style(text);
    assert.deepEqual(found, { colour: undefined, ...expected });
  });
}

test("Title and legends are told apart, and are optional", () => {
  const { title, xLegend, yLegend } = chartOf(lineChart({ x_legend: { text: "hour", style: "{text-align:right}" }, y_legend: { text: "MB" } }));
  assert.equal(title, null);
  assert.deepEqual([xLegend.text, xLegend.style.align, yLegend.text], ["hour", "right", "MB"]);
});

const colours = { "#09f": [0, 153, 255], "#0099FF": [0, 153, 255], "0x0099ff": [0, 153, 255], "0099ff": [0, 153, 255], " red ": [255, 0, 0] };
for (const [text, rgb] of Object.entries(colours)) test(`The colour ${text}`, () => assert.deepEqual(parseColour(text), rgb));
for (const text of ["", "#", "#12", "#12345", "#gggggg", "rgb(1,2,3)", "constructor", "url(x)", "#0099ff;x", null, 5, {}, []]) {
  test(`No colour: ${JSON.stringify(text)}`, () => assert.equal(parseColour(text), null));
}

test("A font's name is a name", () => {
  assert.equal(fontFamily("'DejaVu Sans', serif"), "'DejaVu Sans', serif");
  for (const text of ["", "a;b", "url(x)", "a\\b", "x".repeat(101), null, 7]) assert.equal(fontFamily(text), undefined);
});

for (const colour of ["#000000", "#17678c", "#a9cfe0", "#ffff00", "#ffffff", "#ff0000", "#808080"]) {
  test(`${colour} can be told from every ground`, () => {
    const rgb = parseColour(colour);
    for (const { ground } of [kLight, kDark]) {
      for (const least of [3, 4.5]) assert.ok(contrast(onGround(rgb, ground, least), ground) > least - 0.1, `${ground} ${least}`);
    }
    assert.deepEqual(onGround(rgb, kLight.ground, 1), rgb, "on white paper it is itself");
  });
}

test("On a dark ground a colour keeps its hue and its contrast", () => {
  const [red, green, blue] = onGround(parseColour("#17678c"), kDark.ground, 3);
  assert.ok(red < green && green < blue);
  assert.ok(Math.abs(contrast([red, green, blue], kDark.ground) - contrast(parseColour("#17678c"), [255, 255, 255])) < 0.2);
});

test("A colour is changed no further than it must be, and keeps the order of its parts", () => {
  for (const colour of ["#ffff00", "#00ff80", "#80ff00", "#ff0080", "#8000ff", "#ffe0c0", "#c0ffe0"]) {
    const rgb = parseColour(colour);
    const order = (parts) => [0, 1, 2].sort((a, b) => parts[a] - parts[b] || a - b);
    for (const [ground, wanted] of [[kLight.ground, 4.5], [kDark.ground, Math.max(4.5, contrast(rgb, kLight.ground))]]) {
      const seen = onGround(rgb, ground, 4.5);
      assert.deepEqual(order(seen), order(rgb), `${colour} became ${seen}`);
      assert.ok(contrast(seen, ground) < wanted + 0.2 || contrast(rgb, ground) >= 4.5, `${colour} became ${seen}`);
    }
  }
});

test("Words of a faint colour are written in a stronger one", () => {
  const [, ...rgb] = /(\d+), (\d+), (\d+)/.exec(style("color: yellow").colour).map(Number);
  assert.ok(contrast(rgb, kLight.ground) >= 4.4);
});

test("Labels between two grid lines have none of their own", () => {
  assert.deepEqual(verticalMarks(y({ max: 6, steps: 3, labels: { steps: 2 } })), [[0, "0", true], [2, "2", false], [3, "", true], [4, "4", false], [6, "6", true]]);
});

test("Turned labels of the vertical axis stand in the middle of their ticks, once", () => {
  assert.deepEqual(chartOf(lineChart()).config.plugins, []);
  const { plugins, options } = chartOf(y({ labels: { rotate: "vertical", labels: ["low", "very high"] } })).config;
  assert.equal(options.layout.padding.top, 36);
  const item = { font: { size: 12 }, options: { textAlign: "right", translation: [50, 10] } };
  for (let drawing = 0; drawing < 2; ++drawing) plugins[0].beforeDraw({ scales: { y: { getLabelItems: () => [item] } } });
  assert.deepEqual(item.options, { textAlign: "center", translation: [44, 10] });
});

test("A pale colour stays pale on a dark ground", () => {
  const span = (rgb) => Math.max(...rgb) - Math.min(...rgb);
  for (const colour of ["#ffd0d0", "#d0d0ff"]) assert.ok(span(onGround(parseColour(colour), kDark.ground, 1)) <= 50);
});

test("Words that would run into each other are shown less often, by multiples of what is wanted", () => {
  const labels = Array.from({ length: 24 }, (_, i) => `${i}:00`);
  const every = (steps, width) => shownEvery({ labels: { steps } }, labels, width);
  assert.deepEqual([every(3, 1000), every(3, 300), every(3, 150), every(undefined, 2000), every(undefined, 400)], [3, 6, 9, 1, 3]);
  assert.equal(shownEvery({ labels: { steps: 3, rotate: "vertical" } }, labels, 300), 3);
});

test("Steps are 1, 2 or 5 and noughts", () => {
  assert.deepEqual([0, 1, 6, 7, 60, 100, 0.03, 1e12].map((range) => niceStep(range)), [1, 0.2, 1, 2, 10, 20, 0.005, 2e11]);
});

const axes = {
  "without values": [{}, [], [0, 1]],
  "values below zero": [{}, [-7, 3], [-8, 3]],
  "a least value above the greatest": [{ min: 100, max: 50 }, [1], [100, 101]],
  "a least value above all values": [{ min: 10 }, [1, 2], [10, 11]],
  "a range of a step": [{ max: 1, steps: 5 }, [1], [0, 1]],
};
for (const [name, [axis, values, range]] of Object.entries(axes)) {
  test(`A vertical axis with ${name}`, () => {
    const { min, max, ticks } = verticalTicks(axis, values, String);
    assert.deepEqual([min, max], range);
    assert.ok(ticks.length >= 1 && ticks.every(({ value }) => value >= min && value <= max));
  });
}

test("A step that would draw thousands of lines is widened", () => {
  const { ticks } = verticalTicks({ max: 1e9, steps: 1, labels: { steps: 1 } }, [1], String);
  assert.ok(ticks.length <= 80, `${ticks.length} positions`);
  const { ticks: few } = verticalTicks({ max: 1e300, steps: 1e-300 }, [1], String);
  assert.ok(few.length <= 80);
});

test("The table has every figure, and says which are not known", () => {
  const { table } = chartOf({ elements: [{ type: "line", text: "r", values: [1, null] }, { type: "line", values: [2, 3, 4] }], x_axis: { labels: { labels: ["a"] } } });
  assert.deepEqual(table.names, ["r", ""]);
  assert.deepEqual(table.rows, [
    { label: "a", values: [1, 2] },
    { label: "2", values: [null, 3] },
    { label: "3", values: [null, 4] },
  ]);
});

test("A value that is not known is a gap in the line", () => {
  const { data, spanGaps } = dataset(lineChart({}, { values: [1, null, 3] }));
  assert.deepEqual([data, spanGaps], [[1, null, 3], false]);
});

test("Nothing moves for somebody who asks for that", () => {
  assert.equal(chartOf(pieChart({ animate: 1 }), { ...kLight, moves: false }).config.options.animation, false);
  assert.equal(chartOf(lineChart()).config.options.animation, false);
});

test("Unknown keys and elements are passed over", () => {
  const plain = chartOf(lineChart());
  const more = chartOf(lineChart({ bg_colour: "#fff", tooltip: {}, radar_axis: 5 }, { "on-click": "alert(1)", tip: "#val#" }));
  assert.deepEqual(JSON.parse(JSON.stringify(more)), JSON.parse(JSON.stringify(plain)));
  assert.equal(chartOf({ elements: [{ type: "bar_3d" }, null, "x", { type: "line", values: [1] }] }).config.data.datasets.length, 1);
});

test("A text is cut after 500 characters, and a number is a text", () => {
  const { title } = chartOf(lineChart({ title: { text: "x".repeat(100_000) } }));
  assert.equal(title.text.length, 500);
  assert.equal(chartOf(lineChart({ title: { text: 7 } })).title.text, "7");
  assert.equal(chartOf(lineChart({ title: { text: { a: 1 } } })).title, null);
});

const deep = JSON.parse(`${'{"title":'.repeat(2000)}0${"}".repeat(2000)}`);
const broken = {
  "null": [null, "it is no object"],
  "a list": [[], "it is no object"],
  "a text": ["chart", "it is no object"],
  "no elements": [{}, '"elements" is no list'],
  "elements that are no list": [{ elements: { type: "line" } }, '"elements" is no list'],
  "only unknown elements": [{ elements: [{ type: "bar", values: [1] }] }, 'there is no element of type "line" or "pie"'],
  "thousands of objects in one another": [deep, '"elements" is no list'],
  "too many elements": [{ elements: Array(21).fill({ type: "line", values: [1] }) }, "there are more than 20 elements"],
  "a line and a pie": [{ elements: [{ type: "line", values: [1] }, { type: "pie", values: [1] }] }, "lines and a pie cannot share a chart"],
  "two pies": [{ elements: [{ type: "pie", values: [1] }, { type: "pie", values: [1] }] }, "there is more than one pie"],
  "values that are no list": [lineChart({}, { values: "1,2" }), '"values" of element 1 is no list'],
  "a value that is a text": [lineChart({}, { values: [1, "2"] }), "value 2 of element 1 is no number"],
  "a value that is a list": [lineChart({}, { values: [{ value: [1] }] }), "value 1 of element 1 is no number"],
  "a value that is too large a number": [lineChart({}, { values: [JSON.parse("1e999")] }), "value 1 of element 1 is no number"],
  "too many values": [lineChart({}, { values: Array(2001).fill(1) }), '"values" of element 1 has more than 2000 entries'],
  "too many labels": [x({ labels: { labels: Array(2001).fill("") } }), '"labels" has more than 2000 entries'],
  "labels that are no list": [x({ labels: { labels: "a" } }), '"labels" is no list'],
  "labels that are a list at once": [x({ labels: ["a"] }), '"labels" is no object'],
  "an axis that is a text": [lineChart({ y_axis: "left" }), '"y_axis" is no object'],
  "a title that is a text": [lineChart({ title: "Load" }), '"title" is no object'],
  "a negative slice": [pieChart({ values: [1, -1] }), "a slice of the pie is negative"],
  "colours that are no list": [pieChart({ colour: 5 }), '"colour" is no list'],
};
for (const [name, [description, message]] of Object.entries(broken)) {
  test(`A description that is ${name}`, () => {
    assert.throws(() => chartOf(description), (problem) => problem instanceof ChartProblem && problem.message === message && !problem.empty);
  });
}

for (const description of [lineChart({}, { values: [] }), lineChart({}, { values: undefined }), pieChart({ values: [] }), pieChart({ values: [0, null] })]) {
  test(`No figures: ${JSON.stringify(description)}`, () => assert.throws(() => chartOf(description), (problem) => problem.empty));
}
