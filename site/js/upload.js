import { postUpload } from './api.js';
import { hideNotice, showNotice } from './notice.js';
import { enterPage } from './shell.js';
import { currentLanguage, setText, setWords } from './texts.js';

const form = document.getElementById('upload');
const status = document.getElementById('status');
const received = document.getElementById('received');

// The platform's own reasons of the header "x-request-refused" that tell more than the program's.
const refusals = { body_too_large: 'upload:error_too_large', upload_storage: 'upload:error_no_room' };

function showReceived({ name, size }) {
  setWords(document.getElementById('received-name'), name);
  setWords(document.getElementById('received-size'), size.toLocaleString(currentLanguage()));
  received.hidden = false;
}

form.addEventListener('submit', async (event) => {
  event.preventDefault();
  hideNotice();
  received.hidden = true;
  await setText(status, 'upload:sending');
  const reply = await postUpload('upload', new FormData(form));
  setWords(status, '');
  if (reply.success) {
    showReceived(reply.data);
    await showNotice('success', 'upload:done');
  } else if (reply.errno) {
    const refusal = refusals[reply.headers.get('x-request-refused')];
    await showNotice('error', refusal ?? `${reply.errno.section}:${reply.errno.key}`);
  }
});

await enterPage();
