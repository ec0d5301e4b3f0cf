// The page that mails account data to a user.
import { get, post } from './api.js';
import { clearErrors, prepareForm, readForm, showErrors, whenSent } from './form.js';
import { showNotice } from './notice.js';
import { enterPage } from './shell.js';
import { setText, setWords } from './texts.js';

const at = (id) => document.getElementById(id);
const form = at('mail');
const kNotSent = ['mail:one_field', 'mail:some_fields'];

async function send() {
  clearErrors(form);
  await setText(at('status'), 'mail:sending');
  const reply = await post('account_mail', { action: 'apply', ...readForm(form) });
  setWords(at('status'), '');
  if (reply.success) {
    at('password').value = '';
    await showNotice('success', 'mail:sent', { value: reply.data.recipient });
  } else if (reply.errors) {
    await showErrors(form, reply.errors, kNotSent);
  } else if (reply.errinfo) {
    await showNotice('error', `${reply.errinfo.sec}:${reply.errinfo.key}`);
  }
}

// The address that the account has, unless one was typed already.
async function offerAddress() {
  if (at('user').value === '' || at('recipient').value !== '') return;
  const reply = await get('account_mail', { action: 'load', user: at('user').value });
  if (reply.success && at('recipient').value === '') at('recipient').value = reply.data.recipient;
}

whenSent(form, send);
at('user').addEventListener('change', offerAddress);

prepareForm(form);
const me = await enterPage();
// Whoever may not send mails is told so by the program, as on every page.
if (!me.may.settings) await get('account_mail', { action: 'load' });
