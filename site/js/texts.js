// The words of the pages. An element names its text, "section:key", in data-text; the text comes from the appliance in
// the user's language. What the element holds before that is the English text.
import { inSight } from './in_sight.js';

// Fetched with the first texts: when it is needed, nothing can be fetched any more.
const kAtHand = ['common:error_no_answer'];

const known = new Map();
let language = 'en';

export const currentLanguage = () => language;

// Names of all texts that the elements below `root` show.
function namesBelow(root) {
  const elements = [root, ...root.querySelectorAll('[data-text], [data-label]')];
  return elements.flatMap((element) => [element.dataset?.text, element.dataset?.label]).filter(Boolean);
}

async function fetchTexts(names) {
  const missing = [...new Set([...names, ...kAtHand])].filter((name) => !known.has(name));
  if (missing.length === 0) return;
  const response = await fetch(`/cgi/texts.cgi?keys=${missing.join(',')}`);
  const { data } = await response.json();
  language = data.language;
  for (const name of missing) {
    const [section, key] = name.split(':');
    known.set(name, data.texts[section]?.[key]);
  }
}

// "{value}" in a text stands for data-value, or for the moment data-time (seconds) as people write it.
function compose(element, name) {
  const text = known.get(name);
  if (text === undefined) return element.textContent || name;
  const { value = '', time } = element.dataset;
  const shown = time ? new Date(time * 1000).toLocaleString(language, { dateStyle: 'medium', timeStyle: 'short' }) : value;
  return text.replaceAll('{value}', () => inSight(shown));
}

function show(element) {
  if (element.dataset?.text) element.textContent = compose(element, element.dataset.text);
  if (element.dataset?.label) element.setAttribute('aria-label', known.get(element.dataset.label) ?? element.dataset.label);
}

// Shows every text below `root`. Without an answer those are shown that have come before, and the others stay.
export async function translate(root = document.documentElement) {
  try {
    await fetchTexts(namesBelow(root));
    document.documentElement.lang = language;
  } catch (failure) {
    console.warn('texts', failure);
  }
  for (const element of [root, ...root.querySelectorAll('[data-text], [data-label]')]) show(element);
  document.documentElement.classList.remove('waiting');
}

// Makes `element` show one text from now on, in whatever language.
export function setText(element, name, values = {}) {
  delete element.dataset.value;
  delete element.dataset.time;
  Object.assign(element.dataset, { text: name }, values);
  return translate(element);
}

// Makes `element` show words that are not in the string table.
export function setWords(element, words) {
  delete element.dataset.text;
  element.textContent = words;
}

export function forgetTexts() {
  known.clear();
}

// Calls `renew` whenever another language has been chosen: words that came with a reply are in the language of its request.
export function whenLanguageChanges(renew) {
  // The attribute is set by every translation, changed or not.
  let shown = language;
  new MutationObserver(() => {
    if (shown === language) return;
    shown = language;
    renew();
  }).observe(document.documentElement, { attributeFilter: ['lang'] });
}
