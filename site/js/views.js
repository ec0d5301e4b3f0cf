// The parts of a page of which one is seen at a time, and the rows of its lists.
import { make } from './elements.js';
import { inSight } from './in_sight.js';
import { setText, setWords } from './texts.js';

// Shows the section of that id and hides the others.
export function showView(id) {
  for (const section of document.querySelectorAll('main > section')) section.hidden = section.id !== id;
}

// A row's button. It is called by its own words and what the row is about, `named`. The second click of a double one would
// meet the button that has taken its place, and undo what the first has done.
export function rowButton(id, words, named, act) {
  const button = make('button', { type: 'button', class: 'quiet', id, 'data-text': words, 'aria-labelledby': `${id} ${named}` });
  button.addEventListener('click', ({ detail: count }) => count < 2 && act());
  return button;
}

// The row of that name has the focus, or, when the page of the list does not show it, another element.
export function focusRow(list, name, otherwise) {
  const row = [...list.rows.children].find(({ dataset }) => dataset.name === name);
  row?.classList.add('found');
  (row?.querySelector('button') ?? otherwise).focus();
}

// How many marks are not saved yet, beside the button that saves them.
export async function showUnsaved(marks, button, place) {
  button.disabled = marks.count === 0;
  if (marks.count === 0) setWords(place, '');
  else await setText(place, 'groups:unsaved', { value: marks.count });
}

// The name of a row, which opens what it stands for.
export function nameButton(id, name, act) {
  const button = make('button', { type: 'button', class: 'name', id }, inSight(name));
  button.addEventListener('click', act);
  return button;
}

// A row that is a check box with a name; act(checked) is called when it changes.
export function checkRow(id, { name, descr, checked, disabled }, act) {
  const box = make('input', { type: 'checkbox', id, ...(disabled && { disabled: '' }) });
  box.checked = checked;
  box.addEventListener('change', () => act(box.checked));
  return make(
    'tr',
    {},
    make('th', { scope: 'row' }, make('label', { for: id }, box, make('span', {}, inSight(name)))),
    make('td', { class: 'wide-only' }, descr),
  );
}
