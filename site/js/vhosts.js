// The page of the virtual hosts: their list, and the form of one.
import { get, post } from './api.js';
import { make } from './elements.js';
import { clearErrors, fillForm, prepareForm, readForm, showErrors, whenSent } from './form.js';
import { hideNotice, showNotice } from './notice.js';
import { enterPage } from './shell.js';
import { setText, setWords, translate, whenLanguageChanges } from './texts.js';

const kProtocols = ['http', 'https'];
const kNewHost = { vhosttype: '0', host: '', folder: '' };

const at = (id) => document.getElementById(id);
const form = at('vhost');
let edited = '';
// What a new host of each protocol is offered; anything else has been typed by somebody and stays.
const offered = ['8080', '8443'];

const headingOf = (id) => [...at('hosts').children].find(({ dataset }) => dataset.id === id)?.querySelector('a');

const addressOf = ({ vhosttype, port, host }) => `${kProtocols[vhosttype]}://${host}:${port}/`;

// Beside the fields, or in the page's notice.
async function showFailure(reply) {
  if (reply.errors) await showErrors(form, reply.errors);
  else if (reply.errinfo) await showNotice('error', `${reply.errinfo.sec}:${reply.errinfo.key}`);
}

function closeEditor() {
  at('editor').hidden = true;
  hideNotice();
}

async function openEditor(host) {
  clearErrors(form);
  edited = host?.id ?? '';
  fillForm(form, host ?? { ...kNewHost, port: offered[0] });
  await (host ? setText(at('editor-title'), 'vhosts:change', { value: host.host }) : setText(at('editor-title'), 'vhosts:new'));
  at('editor').hidden = false;
  at('host').focus();
}

// Its name is the button's words and the host's.
function button(words, index, act, key) {
  const id = `${key}-${index}`;
  const made = make('button', { type: 'button', id, 'data-text': words, 'aria-labelledby': `${id} host-${index}` });
  made.addEventListener('click', act);
  return made;
}

const fact = (name, words) => make('div', {}, make('dt', { 'data-text': name }), make('dd', {}, words));

function cardOf(host, index) {
  const state = host.served ? 'served' : 'left';
  const head = make(
    'div',
    { class: 'host-head' },
    make('h2', {}, make('a', { id: `host-${index}`, href: addressOf(host), rel: 'noreferrer' }, host.host)),
    make('span', { class: `host-state ${state}`, 'data-text': host.served ? 'vhosts:state_served' : 'vhosts:state_left' }),
  );
  const facts = make(
    'dl',
    { class: 'facts' },
    fact('vhosts:protocol', kProtocols[host.vhosttype].toUpperCase()),
    fact('vhosts:port', String(host.port)),
    fact('vhosts:folder', host.folder),
  );
  const actions = [button('vhosts:edit', index, () => openEditor(host), 'edit'), button('vhosts:remove', index, () => askToRemove(host), 'remove')];
  return make('li', { class: 'card', 'data-id': host.id }, head, facts, make('div', { class: 'actions' }, ...actions));
}

async function showHosts({ hosts, https_port: httpsPort }) {
  if (httpsPort) offered[1] = String(httpsPort);
  at('hosts').replaceChildren(...hosts.map(cardOf));
  if (hosts.length === 0) await setText(at('status'), 'vhosts:none');
  else setWords(at('status'), '');
  await translate(at('hosts'));
}

// After a change: the list as it is now, the words, and the focus where the host is.
async function tell(data, words, id) {
  closeEditor();
  await showHosts(data);
  await (data.told ? showNotice('success', words) : showNotice('info', 'vhosts:not_told'));
  (headingOf(id) ?? at('new')).focus();
}

async function save() {
  clearErrors(form);
  const wanted = readForm(form);
  const reply = await post('vhosts', { action: 'apply', change: 'save', original: edited, ...wanted });
  if (reply.success) await tell(reply.data, 'vhosts:saved', `${wanted.vhosttype}:${Number(wanted.port)}:${wanted.host}`);
  else await showFailure(reply);
}

async function remove(id) {
  closeEditor();
  const reply = await post('vhosts', { action: 'apply', change: 'remove', original: id });
  if (reply.success) await tell(reply.data, 'vhosts:removed');
  else await showFailure(reply);
}

async function askToRemove({ id, host, port }) {
  await setText(at('remove-question'), 'vhosts:remove_ask', { value: `${host}:${port}` });
  at('remove-confirm').onclick = async () => {
    at('remove-dialog').close();
    await remove(id);
  };
  at('remove-dialog').showModal();
}

whenSent(form, save);
at('vhosttype').addEventListener('change', ({ target }) => {
  if (!edited && offered.includes(at('port').value)) at('port').value = offered[target.value];
});
at('new').addEventListener('click', () => openEditor());
at('close').addEventListener('click', () => {
  closeEditor();
  (headingOf(edited) ?? at('new')).focus();
});
at('remove-cancel').addEventListener('click', () => at('remove-dialog').close());

async function look() {
  const reply = await get('vhosts', { action: 'load' });
  if (reply.success) return showHosts(reply.data);
  setWords(at('status'), '');
  await showFailure(reply);
}

prepareForm(form);
await enterPage();
whenLanguageChanges(look);
await look();
