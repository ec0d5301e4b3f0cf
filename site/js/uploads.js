// Uploads into folders: one after another, each with its progress, a way to cancel it, and what went wrong beside it.
import { judge } from './api.js';
import { make } from './elements.js';
import { inSight } from './in_sight.js';
import { sizeInWords } from './sizes.js';
import { setText, setWords, translate } from './texts.js';
import { whileWaiting } from './waiting.js';

const at = (id) => document.getElementById(id);

// The platform's own reasons of the header "x-request-refused" that tell more than the program's.
const kRefusals = { body_too_large: 'upload:error_too_large', upload_storage: 'files:error_no_room' };

const queue = [];
let running = null;
let whenDone = () => {};

const wordsOf = (reply) => kRefusals[reply.headers.get('x-request-refused')] ?? `${reply.errno.section}:${reply.errno.key}`;

function headersOf(request) {
  return new Headers(request.getAllResponseHeaders().trim().split(/[\r\n]+/).filter(Boolean).map((line) => line.split(/: ?(.*)/s, 2)));
}

// Only this kind of request tells how much has been sent.
function send({ link, file }, onProgress, onStart) {
  return new Promise((resolve) => {
    const request = new XMLHttpRequest();
    const body = new FormData();
    body.append('file', file);
    request.open('POST', `/cgi/upload.cgi?path=${link}&name=${encodeURIComponent(file.name)}`);
    request.upload.addEventListener('progress', ({ loaded, total }) => onProgress(loaded, total));
    request.addEventListener('abort', () => resolve({ cancelled: true }));
    request.addEventListener('error', () => resolve({}));
    request.addEventListener('load', () => {
      try {
        resolve({ headers: headersOf(request), ...JSON.parse(request.responseText) });
      } catch {
        resolve({});
      }
    });
    onStart(request);
    request.send(body);
  });
}

function rowFor(file) {
  const name = make('span', { class: 'upload-name' }, inSight(file.name));
  const bar = make('progress', { max: '1', value: '0', 'aria-label': inSight(file.name) });
  const state = make('span', { class: 'upload-state', 'data-text': 'files:upload_waiting' });
  const cancel = make('button', { type: 'button', class: 'quiet' }, make('span', { 'aria-hidden': 'true', 'data-text': 'files:cancel' }));
  cancel.append(make('span', { class: 'unseen', 'data-text': 'files:cancel_upload', 'data-value': file.name }));
  return { row: make('li', {}, name, bar, state, cancel), bar, state, cancel };
}

function finish(upload, kind, text, value = sizeInWords(upload.file.size)) {
  upload.over = true;
  upload.row.className = kind;
  upload.bar.hidden = true;
  upload.cancel.hidden = true;
  at('uploads-clear').hidden = false;
  return setText(upload.state, text, { value });
}

function cancel(upload) {
  // The button goes: the focus must not go with it.
  at('uploads-title').tabIndex = -1;
  at('uploads-title').focus();
  if (upload.request) return upload.request.abort();
  queue.splice(queue.indexOf(upload), 1);
  return finish(upload, 'cancelled', 'files:upload_cancelled');
}

async function tellResult(upload, reply) {
  if (reply.cancelled) return finish(upload, 'cancelled', 'files:upload_cancelled');
  if (!reply.headers) return finish(upload, 'failed', 'common:error_no_answer');
  const judged = await judge(reply);
  if (judged.success && judged.data.name !== upload.file.name) return finish(upload, 'done', 'files:upload_done_as', judged.data.name);
  if (judged.success) return finish(upload, 'done', 'files:upload_done');
  return finish(upload, 'failed', wordsOf(judged));
}

function showProgress(upload, loaded, total) {
  upload.bar.max = total;
  upload.bar.value = loaded;
  if (loaded < total) setWords(upload.state, `${sizeInWords(loaded)} / ${sizeInWords(total)}`);
  else setText(upload.state, 'files:upload_storing');
}

// Resolves to the folders that may have got files.
async function sendAll() {
  const folders = new Set();
  while (queue.length > 0) {
    running = queue.shift();
    const upload = running;
    const reply = await send(upload, (loaded, total) => showProgress(upload, loaded, total), (request) => (upload.request = request));
    await tellResult(upload, reply);
    // What was cancelled or got no answer may have arrived all the same.
    if (reply.success !== false) folders.add(upload.link);
  }
  running = null;
  return folders;
}

async function work() {
  const folders = await whileWaiting(sendAll);
  const rows = [...at('uploads-list').children];
  const done = rows.filter(({ className }) => className === 'done').length;
  await setText(at('uploads-status'), 'files:uploads_done', { value: `${done} / ${rows.length}` });
  whenDone(folders);
}

/// Puts files at the end of the queue.
export async function uploadFiles(link, files) {
  const uploads = [...files].map((file) => ({ link, file, ...rowFor(file) }));
  for (const upload of uploads) {
    upload.cancel.addEventListener('click', () => cancel(upload));
    at('uploads-list').append(upload.row);
  }
  at('uploads').hidden = uploads.length === 0 && at('uploads-list').childElementCount === 0;
  setWords(at('uploads-status'), '');
  await translate(at('uploads'));
  queue.push(...uploads);
  if (!running && queue.length > 0) await work();
}

/// Something that was dropped and is no file.
export async function refuseFolder(name) {
  const upload = { file: { name, size: 0 }, ...rowFor({ name }) };
  at('uploads-list').append(upload.row);
  at('uploads').hidden = false;
  await finish(upload, 'failed', 'files:error_drop_folder');
}

/// Calls `done` with the folders that have got files, when nothing is left to send.
export const whenUploaded = (done) => (whenDone = done);

at('uploads-clear').addEventListener('click', () => {
  for (const row of [...at('uploads-list').children]) if (row.className) row.remove();
  at('uploads-clear').hidden = true;
  setWords(at('uploads-status'), '');
  at('uploads').hidden = at('uploads-list').childElementCount === 0;
  at('choose').focus();
});

// What is still being sent would be lost with the page.
window.addEventListener('beforeunload', (event) => {
  if (running) event.preventDefault();
});
