// The newest entries of the event log, as a table.
import { get } from './api.js';
import { make } from './elements.js';
import { showNotice } from './notice.js';
import { currentLanguage, translate } from './texts.js';

const kCount = 20;
const kNames = {
  '0x12300004': 'backups:event_format_failed',
  '0x12300005': 'backups:event_formatted',
  '0x12400010': 'backups:event_set',
  '0x12400011': 'backups:event_removed',
  '0x12400012': 'backups:event_started',
  '0x12900032': 'backups:event_set',
  '0x12900033': 'backups:event_removed',
  '0x12900034': 'backups:event_started',
};
// What an event is about, and what is to be known of it. Those of jobs name the task second; the first text is the summary of
// the schedule where one has been set. Those of external disks name the disk first, then the file system.
const kDisk = '0x1230';
const partsOf = (event, [first = '', second = '']) => {
  if (event.startsWith(kDisk)) return [first, second];
  return [second, kNames[event] === 'backups:event_set' ? first : ''];
};

const at = (id) => document.getElementById(id);
let shown = '';

function rowOf({ time, event, texts }) {
  const name = kNames[event];
  const words = name ? { 'data-text': name } : { 'data-text': 'backups:event_other', 'data-value': event };
  const moment = new Date(time).toLocaleString(currentLanguage(), { dateStyle: 'short', timeStyle: 'medium' });
  const [about, detail] = partsOf(event, texts);
  const cells = [make('td', {}, make('time', { datetime: time }, moment)), make('td', words), make('td', {}, about)];
  return make('tr', { 'data-event': event }, ...cells, make('td', { class: 'detail' }, detail));
}

export async function showEvents() {
  const reply = await get('event_log', { count: kCount });
  if (reply.errno) await showNotice('error', `${reply.errno.section}:${reply.errno.key}`);
  if (!reply.success) return;
  const { items } = reply.data;
  // The table is left alone as long as nothing has changed: somebody may be reading or copying from it.
  const now = JSON.stringify([currentLanguage(), items]);
  if (now === shown) return;
  shown = now;
  // With their words, and unless a later answer has come meanwhile.
  const rows = document.createDocumentFragment();
  rows.append(...items.map(rowOf));
  await translate(rows);
  if (now !== shown) return;
  at('events').replaceChildren(rows);
  at('events').closest('table').hidden = items.length === 0;
  at('no-events').hidden = items.length > 0;
}
