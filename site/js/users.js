// The page of the users: their list, the form of one, and the groups of one. A name in the address behind "#" shows where
// that user stands among all.
import { get, post } from './api.js';
import { make } from './elements.js';
import { showRefusal } from './form.js';
import { hideNotice, showNotice } from './notice.js';
import { PagedList } from './paged_list.js';
import { enterPage } from './shell.js';
import { currentLanguage, whenLanguageChanges } from './texts.js';
import { UserForm } from './user_form.js';
import { UserGroups } from './user_groups.js';
import { focusRow, nameButton, rowButton, showView } from './views.js';

// What the library tells of a state; anything else is the day of the expiry.
const kStates = {
  Normal: ['good', 'users:state_normal'],
  Disable: ['', 'users:state_disabled'],
  Expired: ['bad', 'users:state_expired'],
  'Unknow Status': ['bad', 'users:state_unknown'],
};
const kClosed = ['Disable', 'Expired'];

const at = (id) => document.getElementById(id);

function dayInWords(day) {
  const [year, month, date] = day.split('/').map(Number);
  return new Date(Date.UTC(year, month - 1, date)).toLocaleDateString(currentLanguage(), { dateStyle: 'medium', timeZone: 'UTC' });
}

function badgeOf(state) {
  const [look, words] = kStates[state] ?? ['good', 'users:state_until'];
  const value = state in kStates ? {} : { 'data-value': dayInWords(state) };
  return make('span', { class: `badge-state ${look}`, 'data-text': words, ...value });
}

function rowOf({ name, descr, email, disabled: state }, index) {
  const id = `user-${index}`;
  const [words, change] = kClosed.includes(state) ? ['users:enable', 'enable'] : ['users:disable', 'disable'];
  const actions = make('div', {}, rowButton(`groups-${index}`, 'users:groups', id, () => groups.open(name)),
    rowButton(`turn-${index}`, words, id, () => turn(name, change)));
  return make(
    'tr',
    { 'data-name': name },
    make('th', { scope: 'row' }, nameButton(id, name, () => open(name))),
    make('td', { class: 'wide-only' }, descr),
    make('td', { class: 'wide-only' }, email),
    make('td', { class: 'state' }, badgeOf(state)),
    make('td', { class: 'row-actions' }, actions),
  );
}

const list = new PagedList(at('list'), {
  ask: (wanted) => get('users', wanted),
  row: rowOf,
  none: 'users:none',
  failed: (reply) => showRefusal(undefined, reply),
});

// The page of all users that shows this one, and the focus on it.
async function showAmongAll(name) {
  await list.show({ prefix: '', offset: 0 }, { at: name });
  focusOn(name);
}

const focusOn = (name) => focusRow(list, name, at('new'));

function backTo(name) {
  hideNotice();
  showView('list');
  focusOn(name);
}

async function saved({ name, mailed }) {
  showView('list');
  await showAmongAll(name);
  if (mailed === 'no') await showNotice('error', 'users:saved_not_mailed');
  else await showNotice('success', mailed === 'yes' ? 'users:saved_mailed' : 'users:saved', { value: name });
}

async function turn(name, change) {
  hideNotice();
  const reply = await post('user', { action: 'apply', change, user: name });
  if (!reply.success) return showRefusal(undefined, reply);
  await list.show();
  await showNotice('success', change === 'disable' ? 'users:disabled' : 'users:enabled', { value: name });
  focusOn(name);
}

const groups = new UserGroups({ closed: backTo });

async function open(name) {
  hideNotice();
  await form.open(name);
}

// The one that is spelt so, or the first that begins so.
async function jump() {
  const wanted = at('search').value;
  if (wanted === '') return;
  await list.show({ prefix: wanted, offset: 0 });
  const same = list.items?.find(({ name }) => name.toLowerCase() === wanted.toLowerCase());
  const found = same ?? list.items?.[0];
  if (found) await showAmongAll(found.name);
}

function nameInAddress() {
  try {
    return decodeURIComponent(location.hash.slice(1));
  } catch {
    return '';
  }
}

at('find').addEventListener('submit', (event) => {
  event.preventDefault();
  jump();
});
at('new').addEventListener('click', () => open(''));

const { user: own } = await enterPage();
const form = new UserForm({ saved, closed: backTo, own });
whenLanguageChanges(() => Promise.all([list.show(), at('joining').hidden || groups.list.show()]));
if (nameInAddress()) await showAmongAll(nameInAddress());
// Nobody of that name: that has been said, and here is everybody.
if (!list.items) await list.show();
