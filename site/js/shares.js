// The page of the shared folders: their list, and the forms that make, change, rename and encrypt one.
import { get, post } from './api.js';
import { make } from './elements.js';
import { clearErrors, prepareForm, showRefusal, whenSent } from './form.js';
import { hideNotice, showNotice } from './notice.js';
import { PagedList } from './paged_list.js';
import { closeEncryption, encryptedShare, openEncryption, prepareEncryption } from './share_encryption.js';
import { closeShareForm, editedShare, openShareForm, prepareShareForm } from './share_form.js';
import { enterPage } from './shell.js';
import { setText, whenLanguageChanges } from './texts.js';
import { rowButton } from './views.js';

// What the list tells of a share, and the words for it. Of "encryption" 1 is closed and 2 open.
const kMarks = [
  [({ hidden }) => hidden, 'shares:mark_hidden'],
  [({ encryption }) => encryption === 1, 'shares:mark_closed'],
  [({ encryption, enc_auto_mount: auto }) => encryption === 2 && !auto, 'shares:mark_encrypted'],
  [({ encryption, enc_auto_mount: auto }) => encryption === 2 && auto, 'shares:mark_auto'],
  [({ disable_list: off }) => off, 'shares:mark_no_list'],
  [({ disable_modify: off }) => off, 'shares:mark_no_modify'],
  [({ disable_download: off }) => off, 'shares:mark_no_download'],
];

const at = (id) => document.getElementById(id);
let renamed = '';

function closeForms() {
  closeShareForm();
  closeEncryption();
  at('renaming').hidden = true;
  hideNotice();
}

async function openRenaming(name) {
  closeForms();
  clearErrors(at('rename'));
  renamed = name;
  at('new_name').value = name;
  await setText(at('renaming-title'), 'shares:rename_of', { value: name });
  at('renaming').hidden = false;
  at('new_name').focus();
  at('new_name').select();
}

function rowOf(share, index) {
  const { name, descr, volume } = share;
  const id = `share-${index}`;
  const marks = kMarks.filter(([holds]) => holds(share)).map(([, words]) => make('li', { class: 'badge-state', 'data-text': words }));
  return make(
    'tr',
    { 'data-name': name },
    make('th', { scope: 'row' }, make('span', { id, tabindex: -1 }, name), descr ? make('p', { class: 'about' }, descr) : ''),
    make('td', { class: 'wide-only' }, volume),
    make('td', {}, marks.length > 0 ? make('ul', { class: 'marks' }, ...marks) : ''),
    make(
      'td',
      { class: 'row-actions' },
      rowButton(`edit-${index}`, 'shares:edit', id, () => open(openShareForm, name)),
      rowButton(`rename-${index}`, 'shares:rename', id, () => openRenaming(name)),
      rowButton(`encryption-${index}`, 'shares:encryption', id, () => open(openEncryption, name)),
    ),
  );
}

function open(form, name) {
  closeForms();
  return form(name);
}

async function ask({ offset, prefix }) {
  const reply = await get('shares', { offset, prefix });
  at('full').hidden = !reply.data?.full;
  return reply;
}

const list = new PagedList(at('shares'), {
  ask,
  row: rowOf,
  none: 'shares:none',
  failed: (reply) => showRefusal(at('share'), reply),
});

const rowNamed = (name) => [...at('shares').querySelectorAll('tbody tr')].find(({ dataset }) => dataset.name === name);
const focusOn = (name) => (rowNamed(name)?.querySelector('th span') ?? at('new')).focus();

// After a change: the list as it is now, the words, and the focus where the share is.
async function tell(kind, words, name) {
  closeForms();
  await list.show();
  if (!rowNamed(name)) await list.show({ prefix: name, offset: 0 });
  await showNotice(kind, words);
  focusOn(name);
}

function saved({ share, failure }, isNew) {
  if (failure) return tell('error', `error:${failure}`, share);
  return tell('success', isNew ? 'shares:made' : 'shares:saved', share);
}

async function rename() {
  clearErrors(at('rename'));
  const name = at('new_name').value;
  const reply = await post('share', { action: 'apply', change: 'rename', share: renamed, new_name: name });
  if (reply.success) await tell('success', 'shares:renamed', name);
  else await showRefusal(at('rename'), reply);
}

at('new').addEventListener('click', () => open(openShareForm, ''));
for (const [id, back] of [['close', editedShare], ['rename-close', () => renamed], ['encrypt-close', encryptedShare]]) {
  at(id).addEventListener('click', () => {
    const name = back();
    closeForms();
    focusOn(name);
  });
}

prepareShareForm(saved);
prepareEncryption((name) => tell('success', 'shares:encryption_changed', name));
prepareForm(at('rename'));
whenSent(at('rename'), rename);
await enterPage();
whenLanguageChanges(() => list.show());
await list.show();
