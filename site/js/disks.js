// The page of the external disks: what there is, and their formatting, which goes on while the page only watches.
import { get, post } from './api.js';
import { make } from './elements.js';
import { hideNotice, showNotice } from './notice.js';
import { enterPage } from './shell.js';
import { binarySizeInWords } from './sizes.js';
import { setText, setWords, translate, whenLanguageChanges } from './texts.js';

const kFileSystems = ['EXT4', 'EXT3', 'FAT'];
const kStates = {
  formatting: 'disks:state_formatting',
  success: 'disks:state_success',
  fail: 'disks:state_fail',
  interrupted: 'disks:state_interrupted',
};
const kPause_ms = 1000;

const at = (id) => document.getElementById(id);
const cardOf = (id) => at('disks').querySelector(`[data-disk="${CSS.escape(id)}"]`);
const titleOf = ({ name, device }) => name || device;

let disks = [];

const fact = (name, words) => make('div', {}, make('dt', { 'data-text': name }), make('dd', {}, words));

function formatChoice({ id }) {
  const choice = make('select', { id: `system-${id}` }, ...kFileSystems.map((name) => make('option', { value: name }, name)));
  const field = make('div', { class: 'field' }, make('label', { for: choice.id, 'data-text': 'disks:file_system' }), choice);
  const button = make('button', { type: 'button', id: `format-${id}`, 'aria-describedby': `name-${id}`, 'data-text': 'disks:format_ask' });
  button.addEventListener('click', () => ask(id, choice.value));
  return make('div', { class: 'actions choice' }, field, button);
}

// A formatting says nothing of how far it is, so the bar has no value.
function progressBar({ id }) {
  return make('div', { class: 'bar going', role: 'progressbar', 'aria-labelledby': `name-${id}` }, make('div'));
}

function makeCard(disk) {
  const head = make('div', { class: 'volume-head' }, make('h2', { id: `name-${disk.id}`, tabindex: -1 }, titleOf(disk)), make('span', { class: 'state' }));
  const facts = make(
    'dl',
    { class: 'facts' },
    fact('disks:device', disk.device),
    fact('volumes:size', disk.size === '0' ? '-' : binarySizeInWords(Number(disk.size))),
    fact('disks:share', disk.share || '-'),
  );
  return make('li', { class: 'card volume', 'data-disk': disk.id }, head, facts, progressBar(disk), formatChoice(disk));
}

// What changes while the page is open; the card itself stays, and with it the focus.
function showState(card, { state }) {
  const badge = card.querySelector('.state');
  badge.className = `state ${{ fail: 'crashed', interrupted: 'crashed', formatting: 'read_only' }[state] ?? ''}`;
  badge.hidden = !state;
  if (state) badge.dataset.text = kStates[state];
  card.querySelector('.bar').hidden = state !== 'formatting';
  const choice = card.querySelector('.choice');
  const takesFocus = state === 'formatting' && choice.contains(document.activeElement);
  choice.hidden = state === 'formatting';
  if (takesFocus) card.querySelector('h2').focus();
}

const isSame = (a, b) => a.length === b.length && a.every(({ id, device, size, share }, i) => id === b[i].id && device === b[i].device && size === b[i].size && share === b[i].share);

async function show(list, anew) {
  if (anew || !isSame(list, disks)) at('disks').replaceChildren(...list.map(makeCard));
  disks = list;
  for (const disk of list) showState(cardOf(disk.id), disk);
  await translate(at('disks'));
}

// What has become of the disks that were being formatted a moment ago.
async function announce(before) {
  for (const { id, state } of before.filter((disk) => disk.state === 'formatting')) {
    const now = disks.find((disk) => disk.id === id);
    if (!now || now.state === state) continue;
    const done = now.state === 'success';
    await showNotice(done ? 'success' : 'error', done ? 'disks:done' : 'disks:failed', { value: titleOf(now) });
  }
}

let watching = null;

async function look({ poll = false, anew = false } = {}) {
  clearTimeout(watching);
  const reply = await get('disks', poll ? { poll: 1 } : {});
  if (!reply.success) {
    setWords(at('status'), '');
    return;
  }
  const before = disks;
  await show(reply.data.disks, anew);
  await setText(at('status'), disks.length === 0 ? 'disks:none' : disks.length === 1 ? 'disks:one' : 'disks:some', { value: disks.length });
  await announce(before);
  if (disks.some(({ state }) => state === 'formatting')) watching = setTimeout(() => look({ poll: true }), kPause_ms);
}

let question = null;

async function ask(id, fileSystem) {
  const disk = disks.find((one) => one.id === id);
  question = { disk, fileSystem };
  await setText(at('question-disk'), 'disks:ask_disk', { value: `${titleOf(disk)} (${disk.device})` });
  await setText(at('question-system'), 'disks:ask_system', { value: fileSystem });
  at('question').showModal();
}

async function format() {
  const { disk, fileSystem } = question;
  at('question').close();
  hideNotice();
  const reply = await post('disks', { action: 'format', disk: disk.id, device: disk.device, file_system: fileSystem });
  if (reply.errno) await showNotice('error', `${reply.errno.section}:${reply.errno.key}`);
  if (reply.success) disk.state = 'formatting';
  await look();
}

at('cancel').addEventListener('click', () => at('question').close());
at('confirm').addEventListener('click', format);
at('question').addEventListener('close', () => cardOf(question.disk.id)?.querySelector('button').focus());

await enterPage();
whenLanguageChanges(() => look({ anew: true }));
await look();
