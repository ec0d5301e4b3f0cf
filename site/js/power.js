// The power menu of the administrator's banner, and the question before anything happens. The banner's link is the library's
// and calls KEST.AppBanner.show(link).
import { post } from './api.js';
import { setText, translate } from './texts.js';

const kTrigger = 'appbanner-powermenu-trigger';
const kActions = ['restart', 'shutdown'];
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

function close() {
  menu()?.remove();
  trigger()?.setAttribute('aria-expanded', 'false');
}

function closeAndReturn() {
  close();
  trigger()?.focus();
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
  const [question, buttons] = dialog.querySelectorAll('p, .actions');
  const reply = await post('power', { action });
  if (!reply.success) {
    await setText(question, reply.errno ? `${reply.errno.section}:${reply.errno.key}` : 'error:error_power_failed');
    return;
  }
  buttons.remove();
  dialog.addEventListener('cancel', (event) => event.preventDefault());
  dialog.focus();
  await setText(question, `frame:${action}_done`);
  if (action === 'restart') await awaitReturn();
}

function ask(action) {
  close();
  const cancel = word('button', 'frame:cancel', { type: 'button', autofocus: true });
  const confirm = word('button', `frame:${action}`, { type: 'button', className: 'primary' });
  const dialog = make('dialog', { id: 'power', tabIndex: -1 }, word('h2', `frame:${action}`, { id: 'power-title' }),
    word('p', `frame:${action}_ask`, { id: 'power-question' }), make('div', { className: 'actions' }, cancel, confirm));
  dialog.setAttribute('aria-labelledby', 'power-title');
  dialog.setAttribute('aria-describedby', 'power-question');
  dialog.querySelector('p').setAttribute('role', 'status');
  cancel.addEventListener('click', () => dialog.close());
  confirm.addEventListener('click', () => {
    confirm.disabled = cancel.disabled = true;
    carryOut(action, dialog).finally(() => (confirm.disabled = cancel.disabled = false));
  });
  dialog.addEventListener('close', () => {
    dialog.remove();
    trigger()?.focus();
  });
  document.body.append(dialog);
  dialog.showModal();
  return translate(dialog);
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
  list.addEventListener('focusout', ({ relatedTarget }) => {
    if (relatedTarget && relatedTarget !== trigger() && !list.contains(relatedTarget)) close();
  });
}

function open(link) {
  const list = make('div', { id: 'powermenu' }, ...kActions.map((action) => {
    const item = word('button', `frame:${action}`, { type: 'button', tabIndex: -1 });
    item.setAttribute('role', 'menuitem');
    item.addEventListener('click', () => ask(action));
    return item;
  }));
  list.setAttribute('role', 'menu');
  list.dataset.label = 'frame:power_menu';
  listen(list);
  link.after(list);
  link.setAttribute('aria-expanded', 'true');
  translate(list);
  list.firstElementChild.focus();
}

function show(link) {
  if (menu()) closeAndReturn();
  else open(link);
}

// The link is a button in all but name; it is made one each time the banner arrives.
export function dressTrigger() {
  for (const [name, value] of Object.entries({ role: 'button', 'aria-haspopup': 'menu', 'aria-expanded': 'false' })) {
    trigger()?.setAttribute(name, value);
  }
}

export function bringPowerToLife(header) {
  window.KEST = { AppBanner: { show } };
  dressTrigger();
  header.addEventListener('click', (event) => {
    if (event.target.id === kTrigger) event.preventDefault();
  });
  header.addEventListener('keydown', (event) => {
    if (event.target.id !== kTrigger || ![' ', 'ArrowDown'].includes(event.key)) return;
    event.preventDefault();
    if (!menu()) open(event.target);
  });
  document.addEventListener('pointerdown', ({ target }) => {
    if (menu() && !menu().contains(target) && target.id !== kTrigger) close();
  });
}
