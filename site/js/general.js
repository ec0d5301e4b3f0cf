import { get, post } from './api.js';
import { Draft } from './draft.js';
import { clearErrors, fillForm, prepareForm, readForm, showErrors, whenSent } from './form.js';
import { showNotice } from './notice.js';
import { enterPage } from './shell.js';
import { setText, setWords } from './texts.js';

const kMemberships = { none: 'general:domain_none', joined: 'general:domain_joined', not_joined: 'general:domain_not_joined' };

const at = (id) => document.getElementById(id);
const form = at('general');
const draft = new Draft(form, at('status'));

async function save() {
  clearErrors(form);
  const reply = await post('general', { action: 'apply', ...readForm(form) });
  if (reply.success) {
    await draft.remove();
    fillForm(form, reply.data);
    at('draft').hidden = true;
    setWords(at('status'), '');
    await showNotice('success', 'general:saved');
  } else if (reply.errors) {
    await showErrors(form, reply.errors);
  } else if (reply.errinfo) {
    await showNotice('error', `${reply.errinfo.sec}:${reply.errinfo.key}`);
  }
}

async function offer({ saved, values }) {
  const decide = (answer) => async () => {
    at('draft').hidden = true;
    draft.decided();
    await answer();
    form.querySelector('input').focus();
  };
  at('draft-restore').onclick = decide(() => fillForm(form, values));
  at('draft-discard').onclick = decide(() => draft.remove());
  await setText(at('draft-words'), 'general:draft_found', { time: saved });
  at('draft').hidden = false;
}

// The form can be filled in before they are there.
async function offerTimeZones() {
  const reply = await get('time_zones');
  if (reply.success) at('timezones').append(...reply.data.time_zones.map((zone) => new Option(zone)));
}

// A domain may take its time to confirm the membership.
async function showServer() {
  const reply = await get('server');
  if (!reply.success) return;
  const { name, domain, membership } = reply.data;
  setWords(at('server-name'), name || '-');
  await setText(at('server-domain'), kMemberships[membership], { value: domain });
}

whenSent(form, save);

prepareForm(form);
await enterPage();
const reply = await get('general', { action: 'load' });
if (reply.success) {
  fillForm(form, reply.data);
  offerTimeZones();
  showServer();
  const found = await draft.find(reply.data);
  if (found) await offer(found);
}
