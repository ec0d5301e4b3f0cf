// Where a page goes when its session does not allow it any more.
import { setText } from './texts.js';

const kPages = ['/', '/index.html', '/general.html', '/upload.html'];
const kSignedIn = 'signed-in';

// Remembers in this browser that somebody has been in, so that a first visit is not greeted with "you were logged out".
export const rememberSession = () => localStorage.setItem(kSignedIn, 'yes');
export const forgetSession = () => localStorage.removeItem(kSignedIn);

export function leaveForLogin(reason) {
  const target = new URLSearchParams({ next: location.pathname });
  if (localStorage.getItem(kSignedIn) || reason !== 'timeout') target.set('reason', reason);
  location.replace(`/login.html?${target}`);
}

// The page to go to after a login: one of ours, never an address that somebody else has put into a link.
export function pageAfterLogin() {
  const next = new URLSearchParams(location.search).get('next');
  return kPages.includes(next) ? next : '/';
}

// The words for the reason with which a page sent the user to the login.
export function reasonText() {
  const reasons = { timeout: 'login:error_timeout', relogin: 'login:error_interrupt' };
  return reasons[new URLSearchParams(location.search).get('reason')];
}

// The session stands, but this page is not for its account: say so and offer the way back.
export function stayWithoutRight({ section, key }) {
  const content = document.getElementById('content');
  const message = Object.assign(document.createElement('p'), { id: 'notice', className: 'error' });
  message.setAttribute('role', 'alert');
  const back = Object.assign(document.createElement('a'), { href: '/', className: 'button' });
  content.replaceChildren(content.querySelector('h1'), message, back);
  setText(message, `${section}:${key}`);
  setText(back, 'common:back');
}
