// What surrounds every page: the way to the content, the name of the site, the pages, the languages and the way out.
// The frame program sends it with the page; here it is brought to life. The login, which has no frame, gets its own.
import { post } from './api.js';
import { make } from './elements.js';
import { bringNavigationToLife } from './navigation.js';
import { bringPowerToLife, dressTrigger } from './power.js';
import { forgetSession } from './session.js';
import { currentLanguage, forgetTexts, translate } from './texts.js';

const languages = { en: 'English', de: 'Deutsch' };

// What the library's fragments hold has no name in the string tables of the pages: a new language fetches them anew.
const kFragments = ['applications', 'appbanner'];

const kLayout = 'forceDesktop';

function markLanguage(group) {
  for (const button of group.children) button.setAttribute('aria-pressed', button.lang === currentLanguage());
}

async function renewFragments() {
  if (!document.getElementById(kFragments[0])) return;
  const reply = await fetch(location.pathname, { cache: 'no-store' });
  const fresh = new DOMParser().parseFromString(await reply.text(), 'text/html');
  for (const id of kFragments) document.getElementById(id).replaceChildren(...(fresh.getElementById(id)?.childNodes ?? []));
  dressTrigger();
}

// Among the tabs of a browser a page is known by the site's name, too.
const nameDocument = () => (document.title = `${document.title} - ${document.querySelector('.brand').textContent}`);

async function chooseLanguage(button) {
  const reply = await post('language', { lang: button.lang });
  if (!reply.success) return;
  forgetTexts();
  await renewFragments();
  await translate();
  nameDocument();
  markLanguage(button.parentElement);
}

function languageButtons() {
  const group = make('div', { class: 'languages', role: 'group', 'data-label': 'common:languages' });
  for (const [code, name] of Object.entries(languages)) {
    group.append(make('button', { type: 'button', lang: code, 'aria-label': name, title: name }, code.toUpperCase()));
  }
  return group;
}

// The link to the other layout names its choice alone: whatever else the address says goes along.
function keepAddress(link) {
  const address = new URL(location);
  address.searchParams.set(kLayout, new URL(link.href).searchParams.get(kLayout));
  link.href = address;
}

// Clicks are looked at where they arrive, because parts of the frame are replaced.
function listen(header) {
  header.addEventListener('click', ({ target }) => {
    const language = target.closest('.languages button');
    if (language) chooseLanguage(language);
    if (target.closest('a[href$="/logout.cgi"]')) forgetSession();
    if (target.closest('a.layout')) keepAddress(target.closest('a.layout'));
  });
}

// A page for everybody.
export async function openPage() {
  const skip = make('a', { href: '#content', class: 'skip', 'data-text': 'common:skip' });
  const choice = languageButtons();
  const header = make('header', {}, make('span', { class: 'brand', 'data-text': 'common:name' }), choice);
  document.body.prepend(skip, header);
  listen(header);
  await translate();
  nameDocument();
  markLanguage(choice);
}

// Who is logged in, as the frame says it.
function who() {
  const { user, may, secondsLeft } = document.body.dataset;
  const rights = may.split(' ');
  return { user, seconds_left: Number(secondsLeft), may: Object.fromEntries(['settings'].map((right) => [right, rights.includes(right)])) };
}

// A choice of the layout sticks by itself: were it to stay in the address, going back would make it again.
function forgetChoiceInAddress() {
  const address = new URL(location);
  if (!address.searchParams.has(kLayout)) return;
  address.searchParams.delete(kLayout);
  history.replaceState(null, '', address);
}

// A page for somebody who is logged in; resolves to who that is.
export async function enterPage() {
  const header = document.querySelector('header');
  listen(header);
  bringNavigationToLife(header.querySelector('nav'));
  bringPowerToLife(header);
  forgetChoiceInAddress();
  await translate();
  nameDocument();
  return who();
}
