import { post } from './api.js';
import { hideNotice, showNotice } from './notice.js';
import { pageAfterLogin, reasonText, rememberSession } from './session.js';
import { openPage } from './shell.js';

const form = document.getElementById('login');

form.addEventListener('submit', async (event) => {
  event.preventDefault();
  hideNotice();
  const reply = await post('login', { user: form.user.value, passwd: form.passwd.value });
  if (reply.success) {
    rememberSession();
    location.replace(pageAfterLogin());
    return;
  }
  if (reply.errno) {
    await showNotice('error', `${reply.errno.section}:${reply.errno.key}`, { value: reply.headers.get('retry-after') ?? '' });
  }
  form.passwd.value = '';
  form.passwd.focus();
});

const reason = reasonText();
await openPage();
form.user.focus();
if (await reason) showNotice('info', await reason);
