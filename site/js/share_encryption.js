// The form that changes the encryption of a shared folder.
import { get, post } from './api.js';
import { clearErrors, fillForm, prepareForm, readForm, showRefusal, whenSent } from './form.js';
import { hideNotice, showNotice } from './notice.js';
import { forgetSecrets, showSecrets } from './share_secret.js';
import { setText, setWords, translate } from './texts.js';
import { whileWaiting } from './waiting.js';

const kHints = {
  none: { manual: 'shares:hint_encrypt', auto: 'shares:hint_encrypt' },
  manual: { none: 'shares:hint_decrypt', auto: 'shares:hint_auto' },
  auto: { none: 'shares:hint_decrypt', manual: 'shares:hint_manual' },
};

const at = (id) => document.getElementById(id);
const form = at('encrypt');
let share = '';
let before = 'none';

async function showChange() {
  const after = at('encryption').value;
  showSecrets(form, before, after);
  at('encrypt-save').disabled = after === before;
  const hint = kHints[before]?.[after];
  if (hint) await setText(at('encryption-hint'), hint);
  else setWords(at('encryption-hint'), '');
}

export async function openEncryption(name) {
  const reply = await get('share', { action: 'load', share: name });
  if (!reply.success) return showRefusal(form, reply);
  clearErrors(form);
  forgetSecrets(form);
  share = name;
  before = reply.data.encryption;
  const isFixed = before === 'fixed';
  form.hidden = isFixed;
  at('encryption-fixed').hidden = !isFixed;
  fillForm(form, { encryption: before });
  await Promise.all([translate(at('encrypting')), setText(at('encrypting-title'), 'shares:encryption_of', { value: name }), showChange()]);
  at('encrypting').hidden = false;
  (isFixed ? at('encrypting-title') : at('encryption')).focus();
  return at('encrypting').scrollIntoView({ block: 'nearest' });
}

export function closeEncryption() {
  forgetSecrets(form);
  at('encrypting').hidden = true;
}

export const encryptedShare = () => share;

async function change(changed) {
  clearErrors(form);
  const fields = readForm(form);
  await showNotice('info', 'shares:encrypting');
  const reply = await whileWaiting(() => post('share', { action: 'apply', change: 'encrypt', share, ...fields }));
  hideNotice();
  forgetSecrets(form);
  if (!reply.success) return showRefusal(form, reply);
  closeEncryption();
  return changed(share);
}

export function prepareEncryption(changed) {
  prepareForm(form);
  at('encryption').addEventListener('change', showChange);
  whenSent(form, () => change(changed));
}
