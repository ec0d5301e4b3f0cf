// The page of the backup tasks: their list, the form of one, and the newest entries of the event log.
import { get, post } from './api.js';
import { make } from './elements.js';
import { showEvents } from './events.js';
import { clearErrors, fillForm, prepareForm, readForm, showErrors, whenSent } from './form.js';
import { hideNotice, showNotice } from './notice.js';
import { enterPage } from './shell.js';
import { setText, setWords, translate, whenLanguageChanges } from './texts.js';

const kDays = ['sun', 'mon', 'tue', 'wed', 'thu', 'fri', 'sat'];
const kDayNames = {
  sun: 'schedule:schedule_sun',
  mon: 'schedule:schedule_mon',
  tue: 'schedule:schedule_tue',
  wed: 'schedule:schedule_wed',
  thu: 'schedule:schedule_thu',
  fri: 'schedule:schedule_fri',
  sat: 'schedule:schedule_sat',
};
const kDaily = 127;
const kIntervals = [2, 3, 4, 6, 8, 12];
const kKinds = { local: 'backups:kind_local', network: 'backups:kind_network', cloud: 'backups:kind_cloud' };
const kStates = {
  on: 'backups:state_on',
  off: 'backups:state_off',
  unknown: 'backups:state_unknown',
  damaged: 'backups:state_damaged',
};
const kPause_ms = 4000;

const at = (id) => document.getElementById(id);
const form = at('backup');
let edited = '';
let renamed = '';

function option(value, name, shown) {
  return make('option', { value, 'data-text': name, ...(shown !== undefined && { 'data-value': shown }) });
}

function makeChoices() {
  at('basic_weekday').append(option(kDaily, 'schedule:schedule_daily'), ...kDays.map((day, bit) => option(1 << bit, kDayNames[day])));
  at('frequency').append(
    option(0, 'backups:every_day'),
    option(1, 'backups:every_hour'),
    ...kIntervals.map((hours) => option(hours, 'backups:every_hours', hours)),
  );
  for (let hour = 0; hour < 24; ++hour) at('lasttime').append(new Option(String(hour).padStart(2, '0'), hour));
  for (const day of kDays) {
    const id = `schedule_${day}`;
    const box = make('input', { id, name: id, type: 'checkbox', 'data-on': 'on', 'data-off': 'off' });
    at('days').append(make('label', { for: id }, box, make('span', { 'data-text': kDayNames[day] })));
  }
}

// Only the fields of the chosen kind of schedule are there; the last hour belongs to a repetition.
function showMode() {
  for (const field of form.querySelectorAll('[data-mode]')) field.hidden = field.dataset.mode !== at('schedule').value;
  const once = at('frequency').value === '0';
  if (once) at('lasttime').closest('.field').hidden = true;
}

// Where a failed request is told: beside the fields, or in the page's notice.
async function showFailure(reply, where) {
  if (reply.errors) await showErrors(where, reply.errors);
  else if (reply.errinfo) await showNotice('error', `${reply.errinfo.sec}:${reply.errinfo.key}`);
  else if (reply.errno) await showNotice('error', `${reply.errno.section}:${reply.errno.key}`);
}

function closeForms() {
  at('editor').hidden = at('renaming').hidden = true;
  hideNotice();
}

async function openEditor(task) {
  // What is typed before the values are there would be lost.
  closeForms();
  const reply = await get('backup', { action: 'load', ...(task && { task }) });
  if (!reply.success) return showFailure(reply, form);
  clearErrors(form);
  edited = task;
  fillForm(form, reply.data);
  // An interval that somebody else has set is offered as well.
  if (at('frequency').value === '') {
    at('frequency').append(option(reply.data.frequency, 'backups:every_hours', reply.data.frequency));
    at('frequency').value = reply.data.frequency;
  }
  at('name-field').hidden = Boolean(task);
  at('kind').disabled = Boolean(task);
  showMode();
  await Promise.all([
    translate(form),
    setText(at('start-hint'), 'backups:start_hint', { value: reply.data.zone }),
    task ? setText(at('editor-title'), 'backups:task', { value: task }) : setText(at('editor-title'), 'backups:new'),
  ]);
  at('editor').hidden = false;
  (task ? at('enable') : at('name')).focus();
}

async function openRenaming(task) {
  closeForms();
  clearErrors(at('rename'));
  renamed = task;
  at('new_name').value = task;
  await setText(at('renaming-title'), 'backups:task', { value: task });
  at('renaming').hidden = false;
  at('new_name').select();
  at('new_name').focus();
}

const taskOf = (name) => [...at('tasks').children].find(({ dataset }) => dataset.name === name);

// After a change: the list anew, the words, and the focus where the task is now.
async function tell(words, name) {
  closeForms();
  await Promise.all([showList(), showEvents()]);
  await showNotice('success', words);
  (taskOf(name)?.querySelector('h2') ?? at('new')).focus();
}

async function change(action, name, more = {}) {
  hideNotice();
  const reply = await post('backup_change', { action, name, ...more });
  if (!reply.success) await showFailure(reply, at('rename'));
  return reply.success;
}

async function turn(name, action) {
  if (await change(action, name)) await tell(action === 'enable' ? 'backups:enabled' : 'backups:disabled', name);
}

async function askToRemove(name) {
  await setText(at('remove-question'), 'backups:remove_ask', { value: name });
  at('remove-confirm').onclick = async () => {
    at('remove-dialog').close();
    if (await change('remove', name)) await tell('backups:removed');
  };
  at('remove-dialog').showModal();
}

// Its name is the button's words and the task's.
function button(words, index, act, key) {
  const id = `${key}-${index}`;
  const made = make('button', { type: 'button', id, 'data-text': words, 'aria-labelledby': `${id} task-${index}` });
  made.addEventListener('click', act);
  return made;
}

function cardOf({ name, kind, state, summary }, index) {
  const shown = kind ? state : 'damaged';
  const head = make(
    'div',
    { class: 'task-head' },
    make('h2', { id: `task-${index}`, tabindex: -1 }, name),
    make('span', { class: `task-state ${shown}`, 'data-text': kStates[shown] }),
  );
  const actions = [button('backups:remove', index, () => askToRemove(name), 'remove')];
  if (kind) {
    const [words, action] = state === 'on' ? ['backups:disable', 'disable'] : ['backups:enable_task', 'enable'];
    actions.unshift(
      button('backups:edit', index, () => openEditor(name), 'edit'),
      button('backups:rename', index, () => openRenaming(name), 'rename'),
      button(words, index, () => turn(name, action), 'turn'),
    );
  }
  const what = make('p', {}, make('span', kind ? { 'data-text': kKinds[kind] } : {}), summary ? `. ${summary}` : '');
  return make('li', { class: 'card task', 'data-name': name }, head, what, make('div', { class: 'actions' }, ...actions));
}

async function showList() {
  const reply = await get('backups');
  if (!reply.success) {
    setWords(at('status'), '');
    return showFailure(reply, form);
  }
  const { items } = reply.data;
  const cards = document.createDocumentFragment();
  cards.append(...items.map(cardOf));
  await translate(cards);
  at('tasks').replaceChildren(cards);
  if (items.length === 0) await setText(at('status'), 'backups:none');
  else setWords(at('status'), '');
}

async function save() {
  clearErrors(form);
  const reply = await post('backup', { action: 'apply', task: edited, ...readForm(form) });
  if (reply.success) await tell('backups:saved', reply.data.name);
  else await showFailure(reply, form);
}

whenSent(form, save);
form.addEventListener('change', showMode);

at('rename').addEventListener('submit', async (event) => {
  event.preventDefault();
  clearErrors(at('rename'));
  const name = at('new_name').value;
  if (await change('rename', renamed, { new_name: name })) await tell('backups:renamed', name);
});

at('new').addEventListener('click', () => openEditor(''));
for (const [id, back] of [['close', () => edited], ['rename-close', () => renamed]]) {
  at(id).addEventListener('click', () => {
    closeForms();
    (taskOf(back())?.querySelector('h2') ?? at('new')).focus();
  });
}
at('remove-cancel').addEventListener('click', () => at('remove-dialog').close());

makeChoices();
prepareForm(form);
prepareForm(at('rename'));
await enterPage();
whenLanguageChanges(() => Promise.all([showList(), showEvents()]));
await Promise.all([showList(), showEvents()]);
// What cron starts meanwhile shows by itself; asking is no activity of the user.
setInterval(() => document.visibilityState === 'visible' && showEvents(), kPause_ms);
