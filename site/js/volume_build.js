// The building of a volume: begun here, done by a worker of the appliance, watched until it ends.
import { get, post } from './api.js';
import { clearErrors, prepareForm, readForm, showErrors, whenSent } from './form.js';
import { showNotice } from './notice.js';
import { setText, setWords } from './texts.js';

const kPause_ms = 1000;
const kWords = {
  building: 'volumes:building',
  done: 'volumes:build_done',
  failed: 'volumes:build_failed',
  stopped: 'volumes:build_stopped',
  unreadable: 'volumes:build_unreadable',
};

const at = (id) => document.getElementById(id);

let whenBuilt = () => {};
let watching = null;
let wasBuilding = false;
let said = '';

// The volumes on which one can be built: the writable ones inside the appliance.
export function offerVolumes(list) {
  const inside = list.filter(({ state, value }) => state === 'normal' && /^X?\d$/.test(value));
  const chosen = at('volume').value;
  at('volume').replaceChildren(...inside.map(({ display, value }) => new Option(display, value)));
  if (inside.some(({ value }) => value === chosen)) at('volume').value = chosen;
}

async function showProgress({ state, volume, step, failure }) {
  const building = state === 'building';
  at('progress').hidden = state === 'none';
  at('progress-bar').hidden = !building;
  const takesFocus = building && at('build-form').contains(document.activeElement);
  at('build-form').hidden = building;
  if (takesFocus) at('build-title').focus();
  if (state === 'none') return;
  // A worker may write any number.
  const percent = Math.min(Math.max(step ?? 0, 0), 100);
  at('progress-bar').setAttribute('aria-valuenow', percent);
  at('progress-bar').firstElementChild.style.width = `${percent}%`;
  // What has been said already is not announced again with each look.
  const words = [state, volume, failure].join();
  if (words === said) return;
  said = words;
  await setText(at('progress-words'), kWords[state], { value: volume ?? '' });
  if (failure) setWords(at('progress-words'), `${at('progress-words').textContent} ${failure}`);
}

export async function watchBuilding(poll = false) {
  clearTimeout(watching);
  const reply = await get('volume_build', poll ? { poll: 1 } : {});
  if (!reply.success) return;
  await showProgress(reply.data);
  const building = reply.data.state === 'building';
  if (building) watching = setTimeout(() => watchBuilding(true), kPause_ms);
  else if (wasBuilding) whenBuilt();
  wasBuilding = building;
}

async function start() {
  const form = at('build-form');
  clearErrors(form);
  const reply = await post('volume_build', { action: 'start', ...readForm(form) });
  if (reply.errors) return showErrors(form, reply.errors);
  if (reply.errno) await showNotice('error', `${reply.errno.section}:${reply.errno.key}`);
  wasBuilding = reply.success;
  return watchBuilding();
}

// built: called when a building has ended.
export function openBuilding(built) {
  whenBuilt = built;
  prepareForm(at('build-form'));
  whenSent(at('build-form'), start);
}
