// The page of the ports: one form for each service, saved by itself.
import { get, post } from './api.js';
import { clearErrors, fillForm, prepareForm, readForm, showErrors, whenSent } from './form.js';
import { showNotice } from './notice.js';
import { enterPage } from './shell.js';

const forms = [...document.querySelectorAll('form[data-service]')];

async function showFailure(form, reply) {
  if (reply.errors) await showErrors(form, reply.errors);
  else if (reply.errinfo) await showNotice('error', `${reply.errinfo.sec}:${reply.errinfo.key}`);
}

async function save(form) {
  for (const each of forms) clearErrors(each);
  const reply = await post('ports', { action: 'apply', service: form.dataset.service, ...readForm(form) });
  if (!reply.success) return showFailure(form, reply);
  fillForm(form, reply.data);
  await showNotice('success', 'ports:saved');
}

for (const form of forms) {
  prepareForm(form);
  whenSent(form, () => save(form));
}
await enterPage();
const reply = await get('ports', { action: 'load' });
if (reply.success) forms.forEach((form) => fillForm(form, reply.data));
else await showFailure(forms[0], reply);
