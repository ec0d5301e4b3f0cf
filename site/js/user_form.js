// The form of one user, a new one or one that is there.
import { get, post } from './api.js';
import { clearErrors, fillForm, prepareForm, readForm, showRefusal, whenSent } from './form.js';
import { setText } from './texts.js';
import { showView } from './views.js';

const at = (id) => document.getElementById(id);

export class UserForm {
  #form = at('user');
  #user = '';
  #version = '';

  // saved(data): the user is stored so; closed(name): nothing was saved; own: name of who is logged in.
  constructor({ saved, closed, own }) {
    Object.assign(this, { saved, own });
    prepareForm(this.#form);
    at('state').addEventListener('change', () => this.#showDay());
    at('close').addEventListener('click', () => closed(this.#user));
    whenSent(this.#form, () => this.#save());
  }

  async open(name) {
    // What is typed before the values are there would be lost.
    const reply = await get('user', { action: 'load', ...(name && { user: name }) });
    if (!reply.success) return showRefusal(this.#form, reply);
    clearErrors(this.#form);
    this.#user = reply.data.user;
    this.#version = reply.data.version;
    fillForm(this.#form, { ...reply.data, until: reply.data.until.replaceAll('/', '-') });
    this.#showDay();
    await Promise.all([
      this.#user ? setText(at('editor-title'), 'users:user', { value: this.#user }) : setText(at('editor-title'), 'users:new'),
      setText(at('password-hint'), this.#hint()),
    ]);
    showView('editor');
    at('name').focus();
  }

  #hint() {
    if (this.#user === this.own) return 'users:password_own';
    return this.#user ? 'users:password_stays' : 'users:password_hint';
  }

  #showDay() {
    at('until-field').hidden = at('state').value !== 'until';
  }

  async #save() {
    clearErrors(this.#form);
    const { until, ...fields } = readForm(this.#form);
    const sent = { ...fields, until: until.replaceAll('-', '/'), user: this.#user, version: this.#version };
    const reply = await post('user', { action: 'apply', change: 'save', ...sent });
    if (!reply.success) return showRefusal(this.#form, reply);
    at('password').value = at('password_again').value = '';
    await this.saved(reply.data);
  }
}
