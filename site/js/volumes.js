// The page of the volumes: one card for each, as a service of the appliance sees them.
import { getKept } from './api.js';
import { make } from './elements.js';
import { showMachineDisks } from './machine_disks.js';
import { hideNotice, showNotice } from './notice.js';
import { enterPage } from './shell.js';
import { binarySizeInWords } from './sizes.js';
import { setText, setWords, translate, whenLanguageChanges } from './texts.js';
import { offerVolumes, openBuilding, watchBuilding } from './volume_build.js';

const kStates = { normal: 'volumes:state_normal', crashed: 'volumes:state_crashed', read_only: 'volumes:state_read_only' };
const kNearlyFull = 0.9;

const at = (id) => document.getElementById(id);

function barOf(share, name) {
  const percent = Math.round(share * 100);
  const filled = make('div');
  filled.style.width = `${percent}%`;
  const attributes = { role: 'meter', 'aria-labelledby': name, 'aria-valuemin': 0, 'aria-valuemax': 100, 'aria-valuenow': percent };
  return make('div', { class: share > kNearlyFull ? 'bar full' : 'bar', 'aria-valuetext': `${percent} %`, ...attributes }, filled);
}

const fact = (name, words) => make('div', {}, make('dt', { 'data-text': name }), make('dd', {}, words));

function sizesOf({ size_free: free, size_total: total }, name) {
  const [left, all] = [Number(free), Number(total)];
  const used = Math.max(all - left, 0);
  const share = all > 0 ? used / all : 0;
  const facts = make(
    'dl',
    { class: 'facts' },
    fact('volumes:used', `${binarySizeInWords(used)} (${Math.round(share * 100)} %)`),
    fact('volumes:free', binarySizeInWords(left)),
    fact('volumes:size', binarySizeInWords(all)),
  );
  return [barOf(share, name), facts];
}

function cardOf(volume, index) {
  const name = `volume-${index}`;
  const head = make(
    'div',
    { class: 'volume-head' },
    make('h2', { id: name }, volume.display),
    make('span', { class: `state ${volume.state}`, 'data-text': kStates[volume.state] }),
  );
  return make('li', { class: 'card volume', 'data-volume': volume.value }, head, ...(volume.size_total ? sizesOf(volume, name) : []));
}

async function showService({ service_path: path, service_state: state }) {
  await (path ? setText(at('place'), 'volumes:service_path', { value: path }) : setText(at('place'), 'volumes:service_nowhere'));
  setWords(at('service-state'), state);
  at('service-state').className = 'state crashed';
  at('service-state').hidden = !state;
}

async function showList(data) {
  const list = data.volume_list;
  at('volumes').replaceChildren(...list.map(cardOf));
  at('system').hidden = !data.system_crashed;
  offerVolumes(list);
  await Promise.all([translate(at('volumes')), showService(data)]);
  const count = list.length;
  if (count === 0) await setText(at('status'), 'volume:volume_novolume');
  else await setText(at('status'), count === 1 ? 'volumes:one' : 'volumes:some', { value: count });
}

// The newest choice counts, however late the replies to earlier ones come.
let asked = 0;

async function look() {
  const mine = ++asked;
  hideNotice();
  await setText(at('status'), 'volumes:loading');
  const reply = await getKept('volumes', { service: at('service').value });
  if (mine !== asked) return;
  if (reply.success) return showList(reply.data);
  setWords(at('status'), '');
  if (reply.errno) await showNotice('error', `${reply.errno.section}:${reply.errno.key}`);
}

await enterPage();
at('service').addEventListener('change', look);
at('refresh').addEventListener('click', () => Promise.all([look(), showMachineDisks()]));
whenLanguageChanges(() => Promise.all([look(), showMachineDisks(), watchBuilding()]));
openBuilding(look);
await look();
await showMachineDisks();
await watchBuilding();
