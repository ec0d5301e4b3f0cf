// The disks inside the appliance, below its volumes.
import { get } from './api.js';
import { make } from './elements.js';
import { binarySizeInWords } from './sizes.js';
import { setText, setWords, translate } from './texts.js';

const kStates = {
  normal: 'volumes:disk_normal',
  crashed: 'volumes:disk_crashed',
  system_crashed: 'volumes:disk_system_crashed',
  sys_partition_normal: 'volumes:disk_sys_partition_normal',
  not_use: 'volumes:disk_not_use',
};
const kUnhealthy = ['crashed', 'system_crashed'];

const at = (id) => document.getElementById(id);

async function lineOf({ id, device, size, state }) {
  const name = make('span', { class: 'disk-name' });
  await setText(name, 'volumes:disk', { value: id });
  const words = make('span', {}, [device, size === '0' ? '' : binarySizeInWords(Number(size))].filter(Boolean).join(', '));
  const badge = make('span', { class: kUnhealthy.includes(state) ? 'state crashed' : 'state', 'data-text': kStates[state] ?? 'volumes:disk_unknown' });
  return make('li', { 'data-machine-disk': id }, name, words, badge);
}

export async function showMachineDisks() {
  const reply = await get('machine_disks');
  const disks = reply.success ? reply.data.disks : [];
  at('machine-disks').replaceChildren(...(await Promise.all(disks.map(lineOf))));
  await translate(at('machine-disks'));
  if (!reply.success) await setText(at('inside-status'), 'volumes:disks_unread');
  else if (disks.length === 0) await setText(at('inside-status'), 'volumes:disks_none');
  else setWords(at('inside-status'), '');
}
