// What surrounds every page: the way to the content, the name of the site, the pages, the languages and the way out.
import { get, post } from './api.js';
import { forgetSession } from './session.js';
import { currentLanguage, forgetTexts, translate } from './texts.js';

const languages = { en: 'English', de: 'Deutsch' };

function make(tag, attributes = {}, ...children) {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) element.setAttribute(name, value);
  element.append(...children);
  return element;
}

function pageLink(href, text) {
  const here = location.pathname === href || (href === '/' && location.pathname === '/index.html');
  return make('li', {}, make('a', { href, 'data-text': text, ...(here && { 'aria-current': 'page' }) }));
}

function pages(may) {
  const links = [pageLink('/', 'home:title')];
  if (may.settings) links.push(pageLink('/general.html', 'general:nav'));
  if (may.upload) links.push(pageLink('/upload.html', 'upload:nav'));
  return make('nav', { 'data-label': 'common:pages' }, make('ul', {}, ...links));
}

function markLanguage(group) {
  for (const button of group.children) button.setAttribute('aria-pressed', button.lang === currentLanguage());
}

function languageButtons() {
  const group = make('div', { class: 'languages', role: 'group', 'data-label': 'common:languages' });
  for (const [code, name] of Object.entries(languages)) {
    const button = make('button', { type: 'button', lang: code, 'aria-label': name, title: name }, code.toUpperCase());
    button.addEventListener('click', async () => {
      const reply = await post('language', { lang: code });
      if (!reply.success) return;
      forgetTexts();
      await translate();
      markLanguage(group);
    });
    group.append(button);
  }
  return group;
}

function logoutButton() {
  const button = make('button', { type: 'button', id: 'logout', class: 'quiet', 'data-text': 'common:logout' });
  button.addEventListener('click', async () => {
    forgetSession();
    const reply = await post('logout');
    if (reply.success) location.replace('/login.html');
  });
  return button;
}

// `me`: the reply of whoami.cgi, or null before a login.
async function surround(me) {
  const skip = make('a', { href: '#content', class: 'skip', 'data-text': 'common:skip' });
  const languageChoice = languageButtons();
  const header = make('header', {}, make('span', { class: 'brand', 'data-text': 'common:name' }));
  if (me) header.append(pages(me.may));
  header.append(languageChoice);
  if (me) header.append(make('div', { class: 'account' }, make('span', { id: 'me' }, me.user), logoutButton()));
  document.body.prepend(skip, header);
  await translate();
  markLanguage(languageChoice);
}

// A page for everybody.
export const openPage = () => surround(null);

// A page for somebody who is logged in; resolves to who that is.
export async function enterPage() {
  const reply = await get('whoami');
  await surround(reply.success ? reply.data : null);
  return reply.success ? reply.data : new Promise(() => {});
}
