// From a chart's description, the JSON that programs make with OFCChart, to what is drawn with Chart.js and said in words.
//
//   adapt(description, theme) returns
//     kind            "line" or "pie"
//     title, xLegend, yLegend   { text, style: { size, family, weight, slant, align, colour } } or null
//     key             [{ text, colour, size, family, share }]: the lines, or the slices, by name
//     table           { names, rows: [{ label, values, share }] }: the same figures as numbers
//     config          for Chart.js
//
// No element of a page is read or made here. What a description has beyond the keys known here is passed over; one that
// is broken throws a ChartProblem.
import { horizontalLabels, isVertical, labelSize, lineEvery, shownEvery, strokeOf, verticalTicks } from './chart_axis.js';
import { fontFamily, onGround, parseColour, parseStyle, sizeInPixels, toCss } from './chart_style.js';

const kMostElements = 20;
const kMostValues = 2000;
const kMostText = 500;
// Contrasts that WCAG 2 asks of words and of graphics.
const kWordContrast = 4.5;
const kShapeContrast = 3;
const kPalette = ['#17678c', '#8c4a17', '#2f7d4f', '#6b3f8c', '#8c172f', '#5f6b17'];
const kDots = 3;
const kWidth = 2;
const kMostPixels = 30;

// What is wrong with a description, in words for its author. `empty`: nothing is wrong, there are no figures.
export class ChartProblem extends Error {
  constructor(message, empty = false) {
    super(message);
    this.empty = empty;
  }
}

const fail = (message) => {
  throw new ChartProblem(message);
};

function objectAt(holder, key) {
  const value = holder[key] ?? {};
  return typeof value === 'object' && !Array.isArray(value) ? value : fail(`"${key}" is no object`);
}

function textOf(value) {
  if (typeof value === 'number' || typeof value === 'boolean') return String(value);
  return typeof value === 'string' ? value.slice(0, kMostText) : undefined;
}

function listOfTexts(holder, key) {
  const list = holder[key];
  if (list === undefined || list === null) return undefined;
  if (!Array.isArray(list)) fail(`"${key}" is no list`);
  if (list.length > kMostValues) fail(`"${key}" has more than ${kMostValues} entries`);
  return list.map((entry) => textOf(entry?.text ?? entry) ?? '');
}

const positive = (value, most) => (typeof value === 'number' && value > 0 ? Math.min(value, most) : undefined);

function wordsAt(description, key, theme) {
  const words = objectAt(description, key);
  const text = textOf(words.text);
  if (!text) return null;
  const style = parseStyle(words.style);
  return { text, style: { ...style, colour: style.colour && toCss(onGround(style.colour, theme.ground, kWordContrast)) } };
}

function shapeColour(text, i, theme) {
  return onGround(parseColour(text) ?? parseColour(kPalette[i % kPalette.length]), theme.ground, kShapeContrast);
}

// A number, null where there is none, or an object with a "value".
function figureOf(entry, where) {
  const value = entry !== null && typeof entry === 'object' ? entry.value ?? null : entry;
  if (value !== null && !(typeof value === 'number' && Number.isFinite(value))) fail(`${where} is no number`);
  return value;
}

function figuresOf(element, where) {
  const values = element.values ?? [];
  if (!Array.isArray(values)) fail(`"values" of ${where} is no list`);
  if (values.length > kMostValues) fail(`"values" of ${where} has more than ${kMostValues} entries`);
  return values.map((entry, i) => figureOf(entry, `value ${i + 1} of ${where}`));
}

// The elements that can be drawn, all of one kind.
function elementsOf(description) {
  const { elements } = description;
  if (!Array.isArray(elements)) fail('"elements" is no list');
  if (elements.length > kMostElements) fail(`there are more than ${kMostElements} elements`);
  const drawn = elements.filter((element) => ['line', 'pie'].includes(element?.type));
  if (drawn.length === 0) fail('there is no element of type "line" or "pie"');
  if (drawn.some(({ type }) => type !== drawn[0].type)) fail('lines and a pie cannot share a chart');
  if (drawn[0].type === 'pie' && drawn.length > 1) fail('there is more than one pie');
  return drawn;
}

function axisOf(description, key) {
  const axis = objectAt(description, key);
  const labels = objectAt(axis, 'labels');
  return { ...axis, labels: { ...labels, labels: listOfTexts(labels, 'labels') } };
}

function axisLook(axis, theme, usualOffset) {
  const colour = parseColour(axis.colour);
  const line = colour ? toCss(onGround(colour, theme.ground, kShapeContrast)) : theme.soft;
  const width = strokeOf(axis) ?? 1;
  const grid = parseColour(axis['grid-colour']);
  return {
    offset: typeof axis.offset === 'boolean' ? axis.offset : usualOffset,
    border: { color: line, width },
    grid: { color: grid ? toCss(onGround(grid, theme.ground, 1)) : theme.line, tickColor: line, tickWidth: width, tickLength: 6 },
    turn: { minRotation: isVertical(axis) ? 90 : 0, maxRotation: isVertical(axis) ? 90 : 0 },
  };
}

function horizontalScale(axis, labels, theme) {
  const { offset, border, grid, turn } = axisLook(axis, theme, true);
  const every = lineEvery(axis);
  const shown = (chart) => shownEvery(axis, labels, chart.width);
  return {
    type: 'category',
    offset,
    border,
    grid: {
      ...grid,
      color: ({ tick }) => (tick && tick.value % every === 0 ? grid.color : 'transparent'),
      tickColor: ({ tick, chart }) => (tick && tick.value % shown(chart) === 0 ? grid.tickColor : 'transparent'),
    },
    ticks: {
      ...turn,
      autoSkip: false,
      color: theme.soft,
      font: { size: labelSize(axis) ?? 12 },
      callback(value) {
        return value % shown(this.chart) === 0 ? labels[value] : '';
      },
    },
  };
}

// The library lets a turned label of the vertical axis end at its tick; its middle belongs there.
const kCentreTurned = {
  id: 'centreTurned',
  beforeDraw({ scales: { y } }) {
    for (const item of y.getLabelItems()) {
      if (item.centred) continue;
      item.centred = true;
      item.options.textAlign = 'center';
      item.options.translation[0] -= item.font.size / 2;
    }
  },
};

// Room above the axis for half of the longest label.
function roomForTurned(axis) {
  const longest = Math.max(0, ...(axis.labels.labels ?? []).map((label) => label.length));
  return { padding: { top: isVertical(axis) ? Math.min(longest * 4, 60) : 0 } };
}

function verticalScale(axis, values, theme) {
  const { offset, border, grid, turn } = axisLook(axis, theme, false);
  const { min, max, ticks } = verticalTicks(axis, values, theme.format);
  const at = new Map(ticks.map((tick) => [tick.value, tick]));
  return {
    type: 'linear',
    min,
    max,
    offset,
    border,
    grid: {
      ...grid,
      color: ({ tick }) => (at.get(tick?.value)?.grid ? grid.color : 'transparent'),
      tickColor: ({ tick }) => (at.get(tick?.value)?.label ? grid.tickColor : 'transparent'),
    },
    afterBuildTicks(scale) {
      scale.ticks = ticks.map(({ value }) => ({ value }));
    },
    ticks: { ...turn, autoSkip: false, color: theme.soft, font: { size: 12 }, callback: (value) => at.get(value)?.label ?? '' },
  };
}

function lineOf(element, i, theme) {
  const colour = toCss(shapeColour(element.colour, i, theme));
  const dots = positive(element['dot-size'], kMostPixels) ?? kDots;
  return {
    label: textOf(element.text) ?? '',
    data: figuresOf(element, `element ${i + 1}`),
    borderColor: colour,
    backgroundColor: colour,
    borderWidth: positive(element.width, kMostPixels) ?? kWidth,
    pointRadius: dots,
    pointHoverRadius: dots + 2,
    spanGaps: false,
  };
}

const sizeOf = (element) => positive(element['font-size'], Infinity) && sizeInPixels(element['font-size']);

function adaptLines(description, elements, theme) {
  const xAxis = axisOf(description, 'x_axis');
  const yAxis = axisOf(description, 'y_axis');
  const datasets = elements.map((element, i) => lineOf(element, i, theme));
  const count = Math.max(...datasets.map(({ data }) => data.length), xAxis.labels.labels?.length ?? 0);
  const values = datasets.flatMap(({ data }) => data.filter((value) => value !== null));
  if (datasets.every(({ data }) => data.length === 0)) throw new ChartProblem('no element has values', true);
  const labels = horizontalLabels(xAxis, count);
  const scales = { x: horizontalScale(xAxis, labels, theme), y: verticalScale(yAxis, values, theme) };
  const key = elements.map((element, i) => ({
    text: datasets[i].label,
    colour: datasets[i].borderColor,
    size: sizeOf(element),
    family: fontFamily(element['font-family']),
  }));
  return {
    key: key.filter(({ text }) => text),
    table: {
      names: datasets.map(({ label }) => label),
      rows: labels.map((label, i) => ({ label: label || String(i + 1), values: datasets.map(({ data }) => data[i] ?? null) })),
    },
    config: { type: 'line', data: { labels, datasets }, options: { animation: false, scales, layout: roomForTurned(yAxis) }, plugins: isVertical(yAxis) ? [kCentreTurned] : [] },
  };
}

// One colour after the other, and again from the first.
function sliceColours(element, count, theme) {
  const given = typeof element.colour === 'string' ? [element.colour] : listOfTexts(element, 'colour') ?? kPalette;
  const alpha = positive(element.alpha, 1) ?? 1;
  return Array.from({ length: count }, (_, i) => toCss(onGround(parseColour(given[i % given.length]) ?? parseColour(kPalette[i % kPalette.length]), theme.ground, 1), alpha));
}

function adaptPie(element, theme) {
  const values = figuresOf(element, 'the pie');
  if (values.some((value) => value < 0)) fail('a slice of the pie is negative');
  const total = values.reduce((sum, value) => sum + value, 0);
  if (total <= 0) throw new ChartProblem('no slice has a size', true);
  const labels = values.map((_, i) => textOf(element.values[i]?.label) || String(i + 1));
  const colours = sliceColours(element, values.length, theme);
  const moves = element.animate === true || positive(element.animate, 1) !== undefined;
  const rows = values.map((value, i) => ({ label: labels[i], values: [value], share: (value ?? 0) / total }));
  const dataset = {
    data: values,
    backgroundColor: colours,
    borderColor: theme.surface,
    borderWidth: 2,
    rotation: (positive(element['start-angle'], Infinity) ?? 0) % 360,
  };
  return {
    key: rows.map(({ label, share }, i) => ({ text: label, colour: colours[i], share })),
    table: { names: [], rows },
    config: { type: 'pie', data: { labels, datasets: [dataset] }, options: { animation: moves && theme.moves ? { duration: 700 } : false } },
  };
}

// theme: { ground: [r, g, b] behind the chart, surface, soft, line: colours as CSS has them, family: of the page's fonts,
//          moves: whether things may move, format: numbers to words }
export function adapt(description, theme) {
  if (description === null || typeof description !== 'object' || Array.isArray(description)) fail('it is no object');
  const elements = elementsOf(description);
  const kind = elements[0].type;
  const drawn = kind === 'pie' ? adaptPie(elements[0], theme) : adaptLines(description, elements, theme);
  const { options } = drawn.config;
  Object.assign(options, { responsive: true, maintainAspectRatio: false, font: { family: theme.family } });
  options.plugins = {
    legend: { display: false },
    tooltip: { callbacks: { label: ({ dataset, parsed }) => ` ${[dataset.label, theme.format(parsed.y ?? parsed)].filter(Boolean).join(': ')}` } },
  };
  return { kind, title: wordsAt(description, 'title', theme), xLegend: wordsAt(description, 'x_legend', theme), yLegend: wordsAt(description, 'y_legend', theme), ...drawn };
}
