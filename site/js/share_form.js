// The form of a shared folder: one that is there, or a new one.
import { get, post } from './api.js';
import { countCharacters } from './character_count.js';
import { make } from './elements.js';
import { clearErrors, fillForm, prepareForm, readForm, showRefusal, whenSent } from './form.js';
import { NameList } from './name_list.js';
import { forgetSecrets, showSecrets } from './share_secret.js';
import { setText, setWords, translate } from './texts.js';
import { whileWaiting } from './waiting.js';

const kMostCharacters = 64;
const kLists = ['rw', 'ro', 'na'];
const kNewShare = {
  share: '', version: '', name: '', desc: '', path: '', hidden: 'off', disable_list: 'off', disable_modify: 'off', disable_download: 'off',
  rw: [], ro: [], na: [], encryption: 'none', has_lists: true,
};

const at = (id) => document.getElementById(id);
const form = at('share');
let lists = {};
let showCount;
let edited = '';
let version = '';
let hasLists = true;

async function fill(data) {
  edited = data.share;
  version = data.version;
  hasLists = data.has_lists;
  const { rw, ro, na, ...values } = data;
  fillForm(form, values);
  showCount();
  for (const part of form.querySelectorAll('[data-new]')) part.hidden = edited !== '';
  showSecrets(form, 'none', 'none');
  at('lists').hidden = !hasLists;
  at('no-lists').hidden = hasLists;
  at('place').hidden = edited === '';
  setWords(at('place'), data.path);
  await Promise.all([rw, ro, na].map((names, index) => lists[kLists[index]].fill(names)));
}

function offerVolumes(volumes) {
  at('volume').replaceChildren(...volumes.map(({ value, display }) => make('option', { value }, display)));
}

// The form of the share of that name, or of a new one; false when it could not be opened, which is told.
export async function openShareForm(name) {
  const reply = await get('share', { action: 'load', ...(name && { share: name }) });
  if (!reply.success) {
    await showRefusal(form, reply);
    return false;
  }
  clearErrors(form);
  if (!name) offerVolumes(reply.data.volumes);
  await fill(name ? reply.data : kNewShare);
  await Promise.all([translate(form), name ? setText(at('editor-title'), 'shares:change', { value: name }) : setText(at('editor-title'), 'shares:new')]);
  at('editor').hidden = false;
  (name ? at('editor-title') : at('name')).focus();
  at('editor-title').scrollIntoView({ block: 'nearest' });
  return true;
}

export function closeShareForm() {
  forgetSecrets(form);
  at('editor').hidden = true;
}

export const editedShare = () => edited;

async function save(saved) {
  clearErrors(form);
  await Promise.all(kLists.map((id) => lists[id].finish()));
  const fields = { ...readForm(form), ...Object.fromEntries(kLists.map((id) => [id, lists[id].value])) };
  const reply = await whileWaiting(() => post('share', { action: 'apply', change: edited ? 'save' : 'create', share: edited, version, ...fields }));
  if (!reply.success) return showRefusal(form, reply);
  const isNew = edited === '';
  closeShareForm();
  return saved(reply.data, isNew);
}

// saved(data, isNew): called with what the program answered.
export function prepareShareForm(saved) {
  showCount = countCharacters(at('desc'), at('desc-count'), kMostCharacters);
  prepareForm(form);
  lists = Object.fromEntries(kLists.map((id) => [id, new NameList(at(id))]));
  at('new_encryption').addEventListener('change', ({ target }) => showSecrets(form, 'none', target.value));
  whenSent(form, () => save(saved));
}
