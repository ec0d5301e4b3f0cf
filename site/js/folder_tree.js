// The tree of the folders, read level by level: a folder's own folders are asked for when it is opened.
import { get } from './api.js';
import { make } from './elements.js';
import { inSight } from './in_sight.js';
import { isHome, wayTo } from './links.js';
import { translate } from './texts.js';

const kAtOnce = 200;

const tree = document.getElementById('tree');
const itemOf = (link) => [...tree.querySelectorAll('li')].find(({ dataset }) => dataset.link === link);

export const dressName = (element, link) => {
  if (isHome(link)) element.dataset.text = 'files:own';
  return element;
};

function itemFor({ link, name }) {
  const opener = make('button', { type: 'button', class: 'unfold', 'aria-expanded': 'false' }, make('span', { class: 'unseen', 'data-text': 'files:open', 'data-value': name }));
  const item = make('li', { 'data-link': link }, make('div', {}, opener, dressName(make('a', { href: `#${link}` }, inSight(name)), link)));
  opener.addEventListener('click', () => (opener.getAttribute('aria-expanded') === 'true' ? close(item) : open(item)));
  return item;
}

const openerOf = (item) => item.querySelector(':scope > div > .unfold');

function close(item) {
  openerOf(item).setAttribute('aria-expanded', 'false');
  item.querySelector(':scope > ul').hidden = true;
}

async function append(list, link, start) {
  const reply = await get('folders', `path=${link}&start=${start}&count=${kAtOnce}`);
  if (!reply.success) return false;
  const { items, total } = reply.data;
  list.append(...items.map(itemFor));
  if (start + items.length < total) {
    const more = make('button', { type: 'button', class: 'quiet', 'data-text': 'files:more' });
    more.addEventListener('click', () => {
      more.parentElement.remove();
      append(list, link, start + items.length);
    });
    list.append(make('li', {}, more));
  }
  await translate(list);
  return true;
}

// Without folders of its own a folder cannot be opened; one that may not be listed neither.
async function open(item) {
  const opener = openerOf(item);
  let list = item.querySelector(':scope > ul');
  if (!list) {
    list = make('ul');
    item.append(list);
    const listed = await append(list, item.dataset.link, 0);
    if (!listed || list.childElementCount === 0) {
      opener.hidden = true;
      list.remove();
      // The opener had the focus.
      if (document.activeElement === document.body) item.querySelector('a').focus();
      return;
    }
  }
  list.hidden = false;
  opener.setAttribute('aria-expanded', 'true');
}

// The first level: the shares.
export async function growTree(shares) {
  tree.replaceChildren(...shares.map(itemFor));
  await translate(tree);
}

// A folder has changed: what the tree knows of it is read anew.
export async function renewTree(link) {
  const item = itemOf(link);
  if (!item) return;
  item.querySelector(':scope > ul')?.remove();
  openerOf(item).hidden = false;
  openerOf(item).setAttribute('aria-expanded', 'false');
  await open(item);
}

// Marks the folder that is shown, and opens the way to it.
export async function markInTree(link) {
  for (const marked of tree.querySelectorAll('[aria-current]')) marked.removeAttribute('aria-current');
  if (!link) return;
  for (const step of wayTo(link)) {
    const item = itemOf(step.link);
    if (!item) return;
    if (step.link === link) item.querySelector('a').setAttribute('aria-current', 'page');
    else if (openerOf(item).getAttribute('aria-expanded') !== 'true' && !openerOf(item).hidden) await open(item);
  }
}
