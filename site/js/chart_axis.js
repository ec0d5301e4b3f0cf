// Where the axes of a chart have lines and words.
import { sizeInPixels } from './chart_style.js';

const kMostLines = 50;
const kMostLabels = 25;
const kUsualLines = 6;

const positive = (value) => (typeof value === 'number' && Number.isFinite(value) && value > 0 ? value : undefined);
const number = (value) => (typeof value === 'number' && Number.isFinite(value) ? value : undefined);

// 1, 2 or 5 and noughts, so that about `lines` of them fill the range.
export function niceStep(range, lines = kUsualLines) {
  if (!(range > 0)) return 1;
  const rough = range / lines;
  const power = 10 ** Math.floor(Math.log10(rough));
  return [1, 2, 5, 10].map((factor) => factor * power).find((step) => step >= rough * 0.999999);
}

// A multiple of the wanted step that needs no more than `most` positions.
function boundedStep(step, range, most) {
  return step * Math.max(1, Math.ceil(range / step / most - 1e-9));
}

function positions(min, max, step) {
  const count = Math.floor((max - min) / step + 1e-9);
  return Array.from({ length: count + 1 }, (_, i) => Number((min + i * step).toPrecision(12)));
}

// Width of an axis, which one axis has as a number and the other as a text.
export function strokeOf(axis) {
  const width = typeof axis.stroke === 'string' ? Number.parseFloat(axis.stroke) : axis.stroke;
  return positive(width) && Math.min(width, 20);
}

function rangeOf(axis, values) {
  const lowest = Math.min(0, ...values);
  const highest = Math.max(...values, 0);
  const min = number(axis.min) ?? (lowest < 0 ? -niceCeil(-lowest) : 0);
  const wanted = number(axis.max) ?? niceCeil(Math.max(highest, min));
  return { min, max: wanted > min ? wanted : min + niceCeil(Math.max(highest - min, 1)) };
}

function niceCeil(value) {
  const step = niceStep(value);
  return Math.max(Math.ceil(value / step - 1e-9) * step, step);
}

// The vertical axis: { min, max, ticks }, each tick { value, label, grid }. Grid lines stand at every "steps", words at every
// "labels"/"steps", both from the least value on; a list of words takes the places of the numbers.
export function verticalTicks(axis, values, format) {
  const { min, max } = rangeOf(axis, values);
  const labels = axis.labels ?? {};
  const lineStep = boundedStep(positive(axis.steps) ?? niceStep(max - min), max - min, kMostLines);
  const labelStep = boundedStep(positive(labels.steps) ?? lineStep, max - min, kMostLabels);
  const ticks = new Map(positions(min, max, lineStep).map((value) => [value, { value, label: '', grid: true }]));
  positions(min, max, labelStep).forEach((value, i) => {
    const tick = ticks.get(value) ?? { value, grid: false };
    const label = Array.isArray(labels.labels) ? labels.labels[i] ?? '' : format(value);
    ticks.set(value, { ...tick, label });
  });
  return { min, max, ticks: [...ticks.values()].sort((a, b) => a.value - b.value) };
}

// The words below `count` positions: the description's, or their numbers from 1 on.
export function horizontalLabels(axis, count) {
  const given = axis.labels?.labels;
  return Array.from({ length: count }, (_, i) => (given ? given[i] ?? '' : String(i + 1)));
}

// Every how many-th word is shown: what the description says, or a multiple of it where they would run into each other.
export function shownEvery(axis, labels, width_px) {
  const wanted = Math.max(1, Math.round(positive(axis.labels?.steps) ?? 1));
  const size = labelSize(axis) ?? 12;
  const longest = Math.max(...labels.map((label) => label.length), 1);
  const room = isVertical(axis) ? size * 1.25 : longest * size * 0.6 + 8;
  const needed = Math.ceil((labels.length * room) / Math.max(width_px, 1));
  return wanted * Math.max(1, Math.ceil(needed / wanted));
}

export const lineEvery = (axis) => Math.max(1, Math.round(positive(axis.steps) ?? 1));
export const isVertical = (axis) => axis.labels?.rotate === 'vertical';
export const labelSize = (axis) => positive(axis.size) && sizeInPixels(axis.size);
