// The power menu of the administrator's banner, and the question before anything happens. The banner's link is the library's
// and calls KEST.AppBanner.show(link).
import { post } from './api.js';
import { setText } from './texts.js';

const kTrigger = 'appbanner-powermenu-trigger';
const kActions = {
  restart: { name: 'frame:restart', question: 'frame:restart_ask', done: 'frame:restart_done' },
  shutdown: { name: 'frame:shutdown', question: 'frame:shutdown_ask', done: 'frame:shutdown_done' },
};
const kPause_ms = 2000;
const kTries = 60;

const trigger = () => document.getElementById(kTrigger);
const menu = () => document.getElementById('powermenu');
const pause = () => new Promise((resolve) => setTimeout(resolve, kPause_ms));

function make(tag, properties, ...children) {
  const element = Object.assign(document.createElement(tag), properties);
  element.append(...children);
  return element;
}

function word(tag, text, properties = {}) {
  const element = make(tag, properties);
  element.dataset.text = text;
  return element;
}

function open() {
  menu().hidden = false;
  trigger().setAttribute('aria-expanded', 'true');
  menu().firstElementChild.focus();
}

function close() {
  menu().hidden = true;
  trigger().setAttribute('aria-expanded', 'false');
}

function closeAndReturn() {
  close();
  trigger().focus();
}

function show() {
  if (menu().hidden) open();
  else closeAndReturn();
}

// Once it answers again, the page is loaded anew.
async function awaitReturn() {
  for (let tries = 0; tries < kTries; ++tries) {
    await pause();
    const answers = await fetch('/login.html', { method: 'HEAD', cache: 'no-store' }).then(({ ok }) => ok, () => false);
    if (answers) return location.reload();
  }
}

async function carryOut(action, dialog) {
  const [question, done, buttons] = dialog.querySelectorAll('p, .actions');
  buttons.hidden = true;
  const reply = await post('power', { action });
  if (!reply.success) {
    buttons.hidden = false;
    await setText(question, reply.errno ? `${reply.errno.section}:${reply.errno.key}` : 'error:error_power_failed');
    return;
  }
  dialog.addEventListener('cancel', (event) => event.preventDefault());
  dialog.focus();
  question.hidden = true;
  done.hidden = false;
  if (action === 'restart') await awaitReturn();
}

function ask(action) {
  close();
  setText(document.getElementById(`${action}-question`), kActions[action].question);
  document.getElementById(`${action}-dialog`).showModal();
}

// Waits in the page, so that its words are there when it opens, and when nobody is left to ask for them.
function makeDialog(action) {
  const cancel = word('button', 'frame:cancel', { type: 'button', autofocus: true });
  const confirm = word('button', kActions[action].name, { type: 'button', className: 'primary' });
  const question = word('p', kActions[action].question, { id: `${action}-question` });
  const words = make('div', { role: 'status' }, question, word('p', kActions[action].done, { hidden: true }));
  const dialog = make('dialog', { id: `${action}-dialog`, tabIndex: -1 }, word('h2', kActions[action].name, { id: `${action}-title` }),
    words, make('div', { className: 'actions' }, cancel, confirm));
  dialog.setAttribute('aria-labelledby', `${action}-title`);
  dialog.setAttribute('aria-describedby', question.id);
  cancel.addEventListener('click', () => dialog.close());
  confirm.addEventListener('click', () => carryOut(action, dialog));
  dialog.addEventListener('close', () => trigger().focus());
  return dialog;
}

// The keys of a menu: arrows go round, Escape and Tab leave.
function listen(list) {
  const items = [...list.children];
  list.addEventListener('keydown', (event) => {
    const at = items.indexOf(document.activeElement);
    const target = { ArrowDown: at + 1, ArrowUp: at - 1 + items.length, Home: 0, End: items.length - 1 }[event.key];
    if (target !== undefined) items[target % items.length].focus();
    else if (event.key === 'Escape') closeAndReturn();
    else if (event.key === 'Tab') close();
    if (target !== undefined || event.key === 'Escape') event.preventDefault();
  });
}

function makeMenu() {
  const items = Object.keys(kActions).map((action) => {
    const item = word('button', kActions[action].name, { type: 'button', tabIndex: -1, role: 'menuitem' });
    item.addEventListener('click', () => ask(action));
    return item;
  });
  const list = make('div', { id: 'powermenu', role: 'menu', hidden: true }, ...items);
  list.dataset.label = 'frame:power_menu';
  listen(list);
  return list;
}

// The link is a button in all but name; it is made one each time the banner arrives.
export function dressTrigger() {
  if (!trigger()) return;
  for (const [name, value] of Object.entries({ role: 'button', 'aria-haspopup': 'menu', 'aria-expanded': 'false' })) {
    trigger().setAttribute(name, value);
  }
  trigger().after(makeMenu());
}

export function bringPowerToLife(header) {
  if (!trigger()) return;
  window.KEST = { AppBanner: { show } };
  dressTrigger();
  document.body.append(...Object.keys(kActions).map(makeDialog));
  header.addEventListener('click', (event) => {
    if (event.target.id === kTrigger) event.preventDefault();
  });
  header.addEventListener('keydown', (event) => {
    if (event.target.id !== kTrigger || ![' ', 'ArrowDown'].includes(event.key)) return;
    event.preventDefault();
    open();
  });
  document.addEventListener('pointerdown', ({ target }) => {
    if (!menu().hidden && !menu().contains(target) && target.id !== kTrigger) close();
  });
}
