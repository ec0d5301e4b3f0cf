// The page of the groups: their list, the form of one, and the members of one.
import { get, post } from './api.js';
import { make } from './elements.js';
import { clearErrors, fillForm, prepareForm, readForm, showRefusal, whenSent } from './form.js';
import { GroupMembers } from './group_members.js';
import { hideNotice, showNotice } from './notice.js';
import { PagedList } from './paged_list.js';
import { enterPage } from './shell.js';
import { setText, whenLanguageChanges } from './texts.js';
import { focusRow, nameButton, rowButton, showView } from './views.js';

const kEverybody = 'users';

const at = (id) => document.getElementById(id);
const form = at('group');
let edited = { group: '', version: '' };

// The group of everybody shows who is in it, and has nothing to change.
function rowOf({ name, descr }, index) {
  const id = `group-${index}`;
  const everybody = name === kEverybody;
  const actions = [rowButton(`members-${index}`, 'groups:members', id, () => members.open(name))];
  if (!everybody) actions.push(rowButton(`edit-${index}`, 'groups:edit', id, () => open(name)));
  return make(
    'tr',
    { 'data-name': name },
    make('th', { scope: 'row' }, nameButton(id, name, () => members.open(name))),
    make('td', { class: 'wide-only' }, ...(everybody && !descr ? [make('span', { 'data-text': 'groups:everybody_descr' })] : [descr])),
    make('td', { class: 'row-actions' }, make('div', {}, ...actions)),
  );
}

const list = new PagedList(at('list'), {
  ask: (wanted) => get('groups', wanted),
  row: rowOf,
  none: 'groups:none',
  failed: (reply) => showRefusal(undefined, reply),
});

const focusOn = (name) => focusRow(list, name, at('new'));

function backTo(name) {
  hideNotice();
  showView('list');
  focusOn(name);
}

const members = new GroupMembers({ closed: backTo });

async function open(name) {
  hideNotice();
  const reply = await get('group', { action: 'load', ...(name && { group: name }) });
  if (!reply.success) return showRefusal(undefined, reply);
  clearErrors(form);
  edited = reply.data;
  fillForm(form, edited);
  await (name ? setText(at('editor-title'), 'groups:group', { value: edited.name }) : setText(at('editor-title'), 'groups:new'));
  showView('editor');
  at('name').focus();
}

async function save() {
  clearErrors(form);
  const { group, version } = edited;
  const reply = await post('group', { action: 'apply', group, version, ...readForm(form) });
  if (!reply.success) return showRefusal(form, reply);
  const { name } = reply.data;
  showView('list');
  await list.show({ prefix: '', offset: 0 }, { at: name });
  focusOn(name);
  return showNotice('success', 'groups:saved', { value: name });
}

whenSent(form, save);
at('new').addEventListener('click', () => open(''));
at('close').addEventListener('click', () => backTo(edited.group));

prepareForm(form);
await enterPage();
whenLanguageChanges(() => Promise.all([list.show(), at('members').hidden || members.list.show()]));
await list.show();
