// Where a page goes when its session does not allow it any more.
import { setText } from './texts.js';

// A page in the frame; which of them exist only the frame program knows.
const kPage = /^\/(?:(?!login\.)[a-z_]+\.html)?$/;
const kSignedIn = 'signed-in';

// Remembers in this browser that somebody has been in, so that a first visit is not greeted with "you were logged out".
export const rememberSession = () => localStorage.setItem(kSignedIn, 'yes');
export const forgetSession = () => localStorage.removeItem(kSignedIn);

export function leaveForLogin(reason) {
  const target = new URLSearchParams({ next: location.pathname });
  if (localStorage.getItem(kSignedIn) || reason !== 'timeout') target.set('reason', reason);
  location.replace(`/login.html?${target}`);
}

const wantedPage = () => new URLSearchParams(location.search).get('next') ?? '';

// The page to go to after a login: one of ours, never an address that somebody else has put into a link.
export const pageAfterLogin = () => (kPage.test(wantedPage()) ? wantedPage() : '/');

// Why the appliance refuses the session that this browser has, if any: a page in the frame leads here without a reason.
async function askReason() {
  const reply = await fetch('/cgi/whoami.cgi', { cache: 'no-store' });
  await reply.text();
  const reason = reply.headers.get('x-request-error');
  // Nothing is wrong: a link from elsewhere came without the session's cookie, which is for links of this site only.
  if (!reason && reply.ok) location.replace(pageAfterLogin());
  return reason === 'timeout' && !localStorage.getItem(kSignedIn) ? null : reason;
}

// The words for the reason with which a page sent the user to the login.
export async function reasonText() {
  const reasons = { timeout: 'login:error_timeout', relogin: 'login:error_interrupt', unauth: 'login:error_account_closed' };
  const given = new URLSearchParams(location.search).get('reason');
  return reasons[given ?? (kPage.test(wantedPage()) ? await askReason() : null)];
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
