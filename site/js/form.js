// A settings form: values in and out, and the messages beside its fields.
import { hideNotice, showNotice } from './notice.js';
import { setText, setWords } from './texts.js';

// The library's two fixed messages, in the user's language.
const fixedMessages = {
  'The field is not present.': 'error:error_field_missing',
  'The field is not valid.': 'error:error_field_invalid',
};

const fieldsOf = (form) => [...form.elements].filter((element) => element.name);

export function readForm(form) {
  const value = (field) => (field.type === 'checkbox' ? field.dataset[field.checked ? 'on' : 'off'] : field.value);
  return Object.fromEntries(fieldsOf(form).map((field) => [field.name, value(field)]));
}

export function fillForm(form, values) {
  for (const field of fieldsOf(form)) {
    if (!(field.name in values)) continue;
    if (field.type === 'checkbox') field.checked = values[field.name] === field.dataset.on;
    else field.value = values[field.name];
  }
}

// Each field gets a place for its message, and is described by its hint and that place.
export function prepareForm(form) {
  for (const field of fieldsOf(form)) {
    const message = Object.assign(document.createElement('p'), { id: `${field.id}-error`, className: 'error', hidden: true });
    field.closest('.field').append(message);
    const hint = document.getElementById(`${field.id}-hint`);
    field.setAttribute('aria-describedby', [message.id, hint?.id].filter(Boolean).join(' '));
  }
}

export function clearErrors(form) {
  hideNotice();
  for (const field of fieldsOf(form)) {
    field.removeAttribute('aria-invalid');
    placeOf(field).hidden = true;
  }
}

const placeOf = (field) => document.getElementById(`${field.id}-error`);

function markBad(field) {
  field.setAttribute('aria-invalid', 'true');
  placeOf(field).hidden = false;
}

async function showError(field, message) {
  if (message in fixedMessages) await setText(placeOf(field), fixedMessages[message]);
  else setWords(placeOf(field), message);
  markBad(field);
}

// A text of the tables, "section:key", beside one field, which gets the focus.
export async function showErrorBeside(field, name) {
  await setText(placeOf(field), name);
  markBad(field);
  field.focus();
}

const kNotSaved = ['error:one_field', 'error:some_fields'];

// errors: {field: message} as the program sent it. The first bad field of the page gets the focus. Of the two words the
// notice shows the first for one bad field.
export async function showErrors(form, errors, [one, some] = kNotSaved) {
  const bad = fieldsOf(form).filter((field) => field.name in errors);
  await Promise.all(bad.map((field) => showError(field, errors[field.name])));
  await showNotice('error', bad.length === 1 ? one : some, { value: bad.length });
  bad[0]?.focus();
}

// Calls act() when the form is sent; whoever presses twice has pressed once. The button stays what it is meanwhile, so that
// the focus stays on it.
export function whenSent(form, act) {
  form.addEventListener('submit', async (event) => {
    event.preventDefault();
    if (form.hasAttribute('aria-busy')) return;
    form.setAttribute('aria-busy', 'true');
    try {
      await act();
    } finally {
      form.removeAttribute('aria-busy');
    }
  });
}

// Where a program refuses: beside the fields, or in the page's notice.
export async function showRefusal(form, { errors, errinfo, errno }) {
  if (errors) await showErrors(form, errors);
  else if (errinfo) await showNotice('error', `${errinfo.sec}:${errinfo.key}`);
  else if (errno) await showNotice('error', `${errno.section}:${errno.key}`);
}
