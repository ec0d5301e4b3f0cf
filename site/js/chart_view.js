// Puts a chart on the page: its title, legends and key as text, the drawing, and the figures as a table for everybody who
// cannot see the drawing or wants to know more exactly.
import { adapt, ChartProblem } from './chart_adapter.js';
import { parseColour } from './chart_style.js';
import { currentLanguage, translate } from './texts.js';

const kLibrary = '/lib/chart.js';
const kKinds = { line: 'chart:kind_line', pie: 'chart:kind_pie' };

function make(tag, properties = {}, ...children) {
  const { data = {}, attributes = {}, ...others } = properties;
  const element = Object.assign(document.createElement(tag), others);
  Object.assign(element.dataset, data);
  for (const [name, value] of Object.entries(attributes)) element.setAttribute(name, value);
  element.append(...children);
  return element;
}

function themeOf(root) {
  const style = getComputedStyle(root);
  const colour = (name) => style.getPropertyValue(name).trim();
  return {
    ground: parseColour(colour('--surface')),
    surface: colour('--surface'),
    soft: colour('--ink-soft'),
    line: colour('--line'),
    family: style.fontFamily,
    moves: !matchMedia('(prefers-reduced-motion: reduce)').matches,
    format: (number) => number.toLocaleString(currentLanguage(), { maximumFractionDigits: 6 }),
  };
}

// Property by property: the content security policy lets no style attribute through, and nothing else can slip in here.
function dress(element, { size, family, weight, slant, align, colour } = {}) {
  if (size) element.style.fontSize = `${size}px`;
  if (family) element.style.fontFamily = family;
  if (weight) element.style.fontWeight = weight;
  if (slant) element.style.fontStyle = slant;
  if (align) element.style.textAlign = align;
  if (colour) element.style.color = colour;
  return element;
}

const inPercent = (share) => share.toLocaleString(currentLanguage(), { style: 'percent', maximumFractionDigits: 1 });

function legend(words, className) {
  return words ? [dress(make('p', { className, textContent: words.text }), words.style)] : [];
}

function keyItem({ text, colour, size, family, share }) {
  const swatch = make('span', { className: 'swatch' });
  swatch.style.backgroundColor = colour;
  const item = make('li', {}, swatch, dress(make('span', { textContent: text }), { size, family }));
  if (share !== undefined) item.append(make('span', { className: 'share', textContent: inPercent(share) }));
  return item;
}

function heading(text, name) {
  const cell = make('th', { scope: 'col' });
  if (text) cell.textContent = text;
  else cell.dataset.text = name;
  return cell;
}

function row({ label, values, share }, format) {
  const figures = values.map((value) => (value === null ? make('td', { data: { text: 'chart:gap' } }) : make('td', { textContent: format(value) })));
  if (share !== undefined) figures.push(make('td', { textContent: inPercent(share) }));
  return make('tr', {}, make('th', { scope: 'row', textContent: label }), ...figures);
}

function figures({ kind, table, title }, format, open) {
  const isPie = kind === 'pie';
  const names = isPie ? [''] : table.names;
  const head = [heading('', isPie ? 'chart:label' : 'chart:position'), ...names.map((name) => heading(name, 'chart:value'))];
  if (isPie) head.push(heading('', 'chart:share'));
  return make(
    'details',
    { open },
    make('summary', { data: { text: 'chart:data' } }),
    make(
      'table',
      {},
      make('caption', { textContent: title?.text ?? '' }),
      make('thead', {}, make('tr', {}, ...head)),
      make('tbody', {}, ...table.rows.map((entry) => row(entry, format))),
    ),
  );
}

// The title of the description, or the one that the page gave the place.
function titleOf(root, title) {
  const given = root.querySelector('h2');
  if (!title) return given ?? make('h2');
  return dress(make('h2', { textContent: title.text }), title.style);
}

function draw(canvas, config) {
  try {
    return new globalThis.Chart(canvas, config);
  } catch (failure) {
    console.warn('chart', failure);
    return null;
  }
}

async function loadLibrary() {
  try {
    await import(kLibrary);
    return true;
  } catch (failure) {
    console.warn('chart', failure);
    return false;
  }
}

function message(name, values = {}) {
  return make('p', { className: 'chart-message', data: { text: name, ...values }, attributes: { role: 'status' } });
}

async function showMessage(root, name, values) {
  root.replaceChildren(titleOf(root), message(name, values));
  await translate(root);
}

// One place for charts: the element `root`, whose h2 stays where a chart has no title.
export class ChartView {
  #root;
  #drawing = null;
  #description;

  constructor(root) {
    this.#root = root;
    matchMedia('(prefers-color-scheme: dark)').addEventListener('change', () => this.#description && this.show(this.#description));
  }

  // Says something in place of a chart; name: "section:key".
  say(name, values) {
    this.#clear();
    return showMessage(this.#root, name, values);
  }

  // Draws a description. One that is broken, and a missing library, are said in words.
  async show(description) {
    const hasLibrary = await loadLibrary();
    const theme = themeOf(this.#root);
    let chart;
    try {
      chart = adapt(description, theme);
    } catch (problem) {
      if (!(problem instanceof ChartProblem)) throw problem;
      return problem.empty ? this.say('chart:error_empty') : this.say('chart:error_malformed', { value: problem.message });
    }
    const wasOpen = this.#root.querySelector('details')?.open ?? false;
    this.#clear();
    this.#description = description;
    await this.#fill(chart, theme, hasLibrary, wasOpen);
  }

  async #fill(chart, theme, hasLibrary, wasOpen) {
    const title = titleOf(this.#root, chart.title);
    const label = make('span', { className: 'unseen', id: `${this.#root.id}-kind`, data: { text: kKinds[chart.kind] } });
    title.id = `${this.#root.id}-title`;
    const canvas = make('canvas', { attributes: { role: 'img', 'aria-labelledby': `${title.id} ${label.id}` } });
    const plot = make('div', { className: `plot ${chart.kind}` }, ...legend(chart.yLegend, 'y-legend'), make('div', { className: 'canvas' }, canvas), ...legend(chart.xLegend, 'x-legend'));
    const key = chart.key.length > 0 ? [make('ul', { className: 'key' }, ...chart.key.map(keyItem))] : [];
    const drawing = hasLibrary ? [plot] : [message('chart:error_library')];
    this.#root.replaceChildren(title, label, ...key, ...drawing, figures(chart, theme.format, wasOpen || !hasLibrary));
    this.#drawing = hasLibrary ? draw(canvas, chart.config) : null;
    await translate(this.#root);
  }

  #clear() {
    this.#drawing?.destroy();
    this.#drawing = null;
    this.#description = undefined;
  }
}
