// The page of the files. The folder stands in the address behind "#", so that going back works: #LINK or #LINK&START.
import { get } from './api.js';
import { make } from './elements.js';
import { canPreview, closePreview, openPreview } from './file_preview.js';
import { hideNotice, showNotice } from './notice.js';
import { enterPage } from './shell.js';
import { sizeInWords } from './sizes.js';
import { currentLanguage, setText, setWords, translate, whenLanguageChanges } from './texts.js';

const kCount = 100;
const kKinds = {
  folder: 'files:kind_folder',
  video: 'files:kind_video',
  audio: 'files:kind_audio',
  image: 'files:kind_image',
  file: 'files:kind_file',
  other: 'files:kind_other',
};

const at = (id) => document.getElementById(id);
const table = document.querySelector('.files table');

// Links are percent-encoded paths; between folders stands "%2F".
const downloadOf = (link) => `/cgi/download.cgi?path=${link}`;
const archiveOf = (link) => `${downloadOf(link)}&archive=tar`;

const timeInWords = (seconds) =>
  new Date(seconds * 1000).toLocaleString(currentLanguage(), { dateStyle: 'medium', timeStyle: 'short' });

function nameOf({ kind, link, name }) {
  if (kind === 'folder') return make('a', { href: `#${link}` }, name);
  if (kind === 'other') return make('span', {}, name);
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

function rowOf(item) {
  const icon = make('span', { class: `icon ${item.kind}`, role: 'img', 'data-label': kKinds[item.kind] });
  const address = item.kind === 'folder' ? archiveOf(item.link) : downloadOf(item.link);
  const fetchIt = make('a', { class: 'fetch', href: address, download: '' }, make('span', { class: 'icon download' }));
  fetchIt.append(make('span', { class: 'unseen', 'data-text': 'files:download', 'data-value': item.name }));
  return make(
    'tr',
    { class: item.kind },
    make('th', { scope: 'row' }, make('div', { class: 'name' }, icon, nameOf(item))),
    make('td', { class: 'size' }, item.kind === 'folder' || item.kind === 'other' ? '' : sizeInWords(item.size)),
    make('td', { class: 'time' }, timeInWords(item.time)),
    make('td', {}, item.kind === 'other' ? '' : fetchIt),
  );
}

// The way to a folder begins where the account's own folders do: below /volume1, or below /volume1/homes.
function crumbsOf(link) {
  const pieces = link.split('%2F');
  const first = pieces[2] === 'homes' ? 3 : 2;
  const crumbs = [make('li', {}, make('a', { href: '#', 'data-text': 'files:home' }))];
  for (let i = first; i < pieces.length; ++i) {
    const words = inWords(pieces[i]);
    const last = i === pieces.length - 1;
    const content = last ? make('span', { 'aria-current': 'page' }, words) : make('a', { href: `#${pieces.slice(0, i + 1).join('%2F')}` }, words);
    crumbs.push(make('li', {}, content));
  }
  return crumbs;
}

// A name as people read it; bytes that are no text show as such.
function inWords(encoded) {
  const bytes = [...encoded.matchAll(/%([0-9A-Fa-f]{2})|([^%])/g)].map(([, hex, plain]) => (hex ? Number.parseInt(hex, 16) : plain.codePointAt(0)));
  return new TextDecoder().decode(new Uint8Array(bytes));
}

// What stands in the address may be anybody's: only a percent-encoded path counts.
function wanted() {
  const [, link = '', start = '0'] = /^#((?:[\w.~-]|%[0-9A-Fa-f]{2})*)(?:&(\d{1,9}))?$/.exec(location.hash) ?? [];
  return { link, start: Number(start) };
}

function showTurning(link, start, total) {
  at('turning').hidden = total <= kCount && start === 0;
  const turn = (button, to, possible) => {
    button.disabled = !possible;
    button.onclick = () => (location.hash = `#${link}&${to}`);
  };
  turn(at('previous'), Math.max(start - kCount, 0), start > 0);
  turn(at('next'), start + kCount, start + kCount < total);
  const number = (value) => value.toLocaleString(currentLanguage());
  setWords(at('position'), `${number(Math.min(start + 1, total))}\u2013${number(Math.min(start + kCount, total))} / ${number(total)}`);
}

function showItems(link, start, { items, total }) {
  at('crumbs').replaceChildren(...crumbsOf(link));
  setWords(at('folder'), link ? inWords(link.split('%2F').at(-1)) : '');
  if (!link) setText(at('folder'), 'files:home');
  at('items').replaceChildren(...items.map(rowOf));
  table.hidden = items.length === 0;
  at('archive').href = archiveOf(link);
  showTurning(link, start, total);
}

const nothing = { items: [], total: 0 };
let asked = 0;

async function showFolder() {
  const { link, start } = wanted();
  const question = ++asked;
  hideNotice();
  closePreview();
  const reply = await get('files', link ? `path=${link}&start=${start}&count=${kCount}` : '');
  // Somebody may have gone on to another folder meanwhile.
  if (question !== asked) return;
  showItems(link, start, reply.success ? reply.data : nothing);
  at('whole').hidden = !reply.success || !link;
  if (reply.errno) await showNotice('error', `${reply.errno.section}:${reply.errno.key}`);
  if (reply.success && reply.data.items.length === 0) await setText(at('status'), 'files:empty');
  else setWords(at('status'), '');
  await translate(document.querySelector('.files'));
}

await enterPage();
window.addEventListener('hashchange', async () => {
  await showFolder();
  at('folder').focus();
});
// Sizes and times are written as the language has them.
whenLanguageChanges(showFolder);
await showFolder();
