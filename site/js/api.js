// Requests to the programs, and what a page does when the library refuses one.
import { showNotice } from './notice.js';
import { leaveForLogin, stayWithoutRight } from './session.js';

const never = new Promise(() => {});

// The reasons of the header "x-request-error". A page that is being left, or has been replaced by a message, gets no
// reply any more.
const refusals = {
  timeout: () => (leaveForLogin('timeout'), never),
  relogin: () => (leaveForLogin('relogin'), never),
  unauth: (reply) => (stayWithoutRight(reply.errno), never),
  system: (reply) => (showNotice('error', `${reply.errno.section}:${reply.errno.key}`), reply),
};

async function send(target, options) {
  const response = await fetch(`/cgi/${target}`, { cache: 'no-store', ...options });
  return { headers: response.headers, ...JSON.parse(await response.text()) };
}

// One request; resolves to the reply document and its headers. A reply that never came counts as a failure.
async function call(target, options = {}) {
  let reply;
  try {
    reply = await send(target, options);
  } catch {
    await showNotice('error', 'common:error_no_answer');
    return { success: false, headers: new Headers() };
  }
  return judge(reply);
}

// A reply to go on with, unless the library has refused the session.
export function judge(reply) {
  const refusal = refusals[reply.headers.get('x-request-error')];
  return refusal ? refusal(reply) : reply;
}

const body = (fields) => ({ method: 'POST', body: fields });

// fields: an object, or a query string that is encoded already: names of files may be no text.
export const get = (program, fields = {}, options = {}) =>
  call(`${program}.cgi?${typeof fields === 'string' ? fields : new URLSearchParams(fields)}`, options);

// What the browser has already is not sent once more: the program is asked whether it still holds.
export const getKept = (program, fields) => get(program, fields, { cache: 'no-cache' });

const kForm = { 'content-type': 'application/x-www-form-urlencoded' };

// fields: as above.
export const post = (program, fields = {}) =>
  call(`${program}.cgi`, typeof fields === 'string' ? { ...body(fields), headers: kForm } : body(new URLSearchParams(fields)));

// A request may outlive its page only with a small body; browsers refuse to send a larger one (64 KiB of all together).
const kOutlivingBytes = 60_000;

export const postJson = (program, value) => {
  const bytes = new TextEncoder().encode(JSON.stringify(value));
  return call(`${program}.cgi`, {
    ...body(bytes),
    headers: { 'content-type': 'application/json' },
    keepalive: bytes.length <= kOutlivingBytes,
  });
};
