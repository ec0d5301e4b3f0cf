// The file manager. The folder stands in the address behind "#", so that going back works: #LINK or #LINK&START.
import { get, post } from './api.js';
import { make } from './elements.js';
import { canPreview, closePreview, openPreview } from './file_preview.js';
import { dressName, growTree, markInTree, renewTree } from './folder_tree.js';
import { clearErrors, prepareForm, showErrorBeside, whenSent } from './form.js';
import { inSight } from './in_sight.js';
import { inWords, isHome, wayTo } from './links.js';
import { hideNotice, showNotice } from './notice.js';
import { enterPage } from './shell.js';
import { sizeInWords } from './sizes.js';
import { currentLanguage, setText, setWords, translate, whenLanguageChanges } from './texts.js';
import { refuseFolder, uploadFiles, whenUploaded } from './uploads.js';

const kCount = 100;
const kKinds = {
  share: 'files:kind_share',
  folder: 'files:kind_folder',
  video: 'files:kind_video',
  audio: 'files:kind_audio',
  image: 'files:kind_image',
  file: 'files:kind_file',
  other: 'files:kind_other',
};

const at = (id) => document.getElementById(id);
const table = document.querySelector('.files table');

const downloadOf = (link) => `/cgi/download.cgi?path=${link}`;
const archiveOf = (link) => `${downloadOf(link)}&archive=tar`;
const isFolder = ({ kind }) => kind === 'folder' || kind === 'share';

const timeInWords = (seconds) =>
  new Date(seconds * 1000).toLocaleString(currentLanguage(), { dateStyle: 'medium', timeStyle: 'short' });

function nameOf({ kind, link, name: whole }, fetch) {
  const name = inSight(whole);
  if (isFolder({ kind })) return dressName(make('a', { href: `#${link}` }, name), link);
  if (kind === 'other' || !fetch) return make('span', {}, name);
  const address = downloadOf(link);
  const anchor = make('a', canPreview(kind) ? { href: address } : { href: address, download: '' }, name);
  if (canPreview(kind)) {
    anchor.addEventListener('click', (event) => {
      if (event.ctrlKey || event.metaKey || event.shiftKey) return;
      event.preventDefault();
      openPreview({ kind, name }, address, anchor);
    });
  }
  return anchor;
}

function fetcherOf(item) {
  const address = isFolder(item) ? archiveOf(item.link) : downloadOf(item.link);
  const fetcher = make('a', { class: 'fetch', href: address, download: '' }, make('span', { class: 'icon download' }));
  fetcher.append(make('span', { class: 'unseen', 'data-text': 'files:download', 'data-value': item.name }));
  return fetcher;
}

function rowOf(item, fetch) {
  const icon = make('span', { class: `icon ${item.kind}`, role: 'img', 'data-label': kKinds[item.kind] });
  const name = make('div', { class: 'name' }, icon, nameOf(item, fetch));
  if (item.kind === 'share' && !item.change) name.append(make('span', { class: 'badge', 'data-text': 'files:only_reading_share' }));
  return make(
    'tr',
    { class: item.kind },
    make('th', { scope: 'row' }, name),
    make('td', { class: 'size' }, isFolder(item) || item.kind === 'other' ? '' : sizeInWords(item.size)),
    make('td', { class: 'time' }, item.time === undefined ? '' : timeInWords(item.time)),
    make('td', {}, item.kind === 'other' || item.kind === 'share' || !fetch ? '' : fetcherOf(item)),
  );
}

function crumbsOf(link) {
  const way = link ? wayTo(link) : [];
  const crumbs = [make('li', {}, make(link ? 'a' : 'span', link ? { href: '#', 'data-text': 'files:home' } : { 'aria-current': 'page', 'data-text': 'files:home' }))];
  for (const step of way) {
    const here = step.link === link;
    const crumb = here ? make('span', { 'aria-current': 'page' }, step.name) : make('a', { href: `#${step.link}` }, step.name);
    crumbs.push(make('li', {}, dressName(crumb, step.link)));
  }
  return crumbs;
}

// What stands in the address may be anybody's: only a percent-encoded path counts.
function wanted() {
  const [, link = '', start = '0'] = /^#((?:[\w.~-]|%[0-9A-Fa-f]{2})*)(?:&(\d{1,9}))?$/.exec(location.hash) ?? [];
  return { link, start: Number(start) };
}

function showTurning(link, start, total) {
  at('turning').hidden = !link || (total <= kCount && start === 0);
  const turn = (button, to, possible) => {
    button.disabled = !possible;
    button.onclick = () => (location.hash = `#${link}&${to}`);
  };
  turn(at('previous'), Math.max(start - kCount, 0), start > 0);
  turn(at('next'), start + kCount, start + kCount < total);
  const number = (value) => value.toLocaleString(currentLanguage());
  setWords(at('position'), `${number(Math.min(start + 1, total))}\u2013${number(Math.min(start + kCount, total))} / ${number(total)}`);
}

async function nameFolder(link) {
  if (!link) return setText(at('folder'), 'files:home');
  if (isHome(link)) return setText(at('folder'), 'files:own');
  return setWords(at('folder'), inWords(link.split('%2F').at(-1)));
}

// What may be done here: by the rules of the share, which the program asks once more with each request.
function showTools(link, { change, fetch, guarded }, listed) {
  at('tools').hidden = !change;
  at('only-reading').hidden = !(listed && link && !change);
  at('no-fetching').hidden = !(listed && link && !fetch);
  at('not-guarded').hidden = guarded !== false;
  at('whole').hidden = !(listed && link && fetch);
  at('archive').href = archiveOf(link);
  if (!change) closeForm();
}

// Elements that are seen once their words are there.
async function inTheirWords(elements) {
  const fragment = new DocumentFragment();
  fragment.append(...elements);
  await translate(fragment);
  return fragment;
}

const drawn = (link, { items, fetch }) =>
  Promise.all([inTheirWords(crumbsOf(link)), inTheirWords(items.map((item) => rowOf(item, fetch)))]);

function showItems(link, start, data, [crumbs, rows]) {
  const focused = document.activeElement.closest('#items a')?.href;
  at('crumbs').replaceChildren(crumbs);
  table.classList.toggle('shares', !link);
  at('items').replaceChildren(rows);
  [...at('items').querySelectorAll('a')].find(({ href }) => href === focused)?.focus();
  table.hidden = data.items.length === 0;
  showTurning(link, start, data.total);
}

const nothing = { items: [], total: 0, change: false, fetch: false };
let asked = 0;

async function showFolder() {
  const { link, start } = wanted();
  const question = ++asked;
  const reply = await get('files', link ? `path=${link}&start=${start}&count=${kCount}` : '');
  const data = reply.success ? reply.data : nothing;
  const elements = await drawn(link, data);
  // Somebody may have gone on to another folder meanwhile.
  if (question !== asked) return undefined;
  if (start > 0 && start >= data.total && reply.success) return showLastPage(link, data.total);
  showItems(link, start, data, elements);
  showTools(link, data, reply.success);
  await nameFolder(link);
  if (reply.errno) await showNotice('error', `${reply.errno.section}:${reply.errno.key}`);
  if (reply.success && reply.data.items.length === 0) return setText(at('status'), link ? 'files:empty' : 'files:no_shares');
  return setWords(at('status'), '');
}

// The page that was wanted is gone with the files that were on it.
function showLastPage(link, total) {
  const start = Math.floor(Math.max(total - 1, 0) / kCount) * kCount;
  history.replaceState(null, '', `#${link}&${start}`);
  return showFolder();
}

async function showTree() {
  const reply = await get('files');
  if (reply.success) await growTree(reply.data.items);
  await markInTree(wanted().link);
}

function closeForm() {
  at('make-form').hidden = true;
}

function prepareMaking() {
  const form = at('make-form');
  prepareForm(form);
  at('make').addEventListener('click', () => {
    clearErrors(form);
    form.hidden = false;
    at('name').value = '';
    at('name').focus();
  });
  at('make-cancel').addEventListener('click', () => {
    closeForm();
    at('make').focus();
  });
  whenSent(form, async () => {
    clearErrors(form);
    const { link } = wanted();
    const reply = await post('new_folder', `path=${link}&name=${encodeURIComponent(at('name').value)}`);
    if (reply.errno) return showErrorBeside(at('name'), `${reply.errno.section}:${reply.errno.key}`);
    if (!reply.success) return;
    closeForm();
    at('make').focus();
    await Promise.all([showFolder(), renewTree(link)]);
    await showNotice('success', 'files:made', { value: inWords(reply.data.link.split('%2F').at(-1)) });
  });
}

// What is dropped on a folder that may be changed is sent; on any other place of the page nothing happens.
function prepareDropping() {
  const place = at('drop');
  const takes = (event) => !at('tools').hidden && event.dataTransfer.types.includes('Files');
  const mark = (on) => place.classList.toggle('dropping', on);
  place.addEventListener('dragover', (event) => {
    if (!takes(event)) return;
    event.preventDefault();
    event.dataTransfer.dropEffect = 'copy';
    mark(true);
  });
  place.addEventListener('dragleave', (event) => {
    if (!place.contains(event.relatedTarget)) mark(false);
  });
  place.addEventListener('drop', (event) => {
    mark(false);
    if (!takes(event)) return;
    event.preventDefault();
    const entries = [...event.dataTransfer.items].map((item) => ({ file: item.getAsFile(), folder: item.webkitGetAsEntry?.()?.isDirectory }));
    for (const { file } of entries.filter(({ folder }) => folder)) refuseFolder(file.name);
    uploadFiles(wanted().link, entries.filter(({ folder, file }) => file && !folder).map(({ file }) => file));
  });
  // A file that misses the place would replace the page.
  for (const kind of ['dragover', 'drop']) window.addEventListener(kind, (event) => event.preventDefault());
}

function prepareUploads() {
  at('choose').addEventListener('click', () => at('chosen').click());
  at('chosen').addEventListener('change', () => {
    hideNotice();
    uploadFiles(wanted().link, at('chosen').files);
    // The same file may be chosen once more.
    at('chosen').value = '';
  });
  whenUploaded((folders) => {
    if (folders.has(wanted().link)) showFolder();
  });
}

await enterPage();
prepareMaking();
prepareUploads();
prepareDropping();
at('tree-fold').open = matchMedia('(min-width: 60rem)').matches;
window.addEventListener('hashchange', async () => {
  hideNotice();
  closeForm();
  closePreview();
  await showFolder();
  at('folder').focus();
  await markInTree(wanted().link);
});
// Sizes and times are written as the language has them.
whenLanguageChanges(showFolder);
await Promise.all([showFolder(), showTree()]);
