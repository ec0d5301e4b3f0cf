// Asked where the appliance cannot know whether the link "log out" was followed on one of its own pages.
import { post } from './api.js';
import { showNotice } from './notice.js';
import { forgetSession } from './session.js';
import { enterPage } from './shell.js';

document.getElementById('leave').addEventListener('submit', async (event) => {
  event.preventDefault();
  forgetSession();
  const reply = await post('logout');
  if (reply.success) location.replace('/login.html');
  else if (reply.errno) await showNotice('error', `${reply.errno.section}:${reply.errno.key}`);
});

await enterPage();
