// What was typed into a form and not saved: kept by the appliance, offered again when the form is opened.
import { postJson } from './api.js';
import { readForm } from './form.js';
import { setText, setWords } from './texts.js';

const kQuietMilliseconds = 800;

export class Draft {
  #form;
  #status;
  #timer = 0;
  #offered = false;

  constructor(form, status) {
    this.#form = form;
    this.#status = status;
    form.addEventListener('input', () => this.#later());
  }

  #send(action, more = {}) {
    return postJson('draft', { action, form: this.#form.id, ...more });
  }

  // Typing goes on: the draft is kept when it pauses. An offered draft stays until the user has decided about it.
  #later() {
    clearTimeout(this.#timer);
    setWords(this.#status, '');
    if (!this.#offered) this.#timer = setTimeout(() => this.keep(), kQuietMilliseconds);
  }

  async keep() {
    const reply = await this.#send('save', { values: readForm(this.#form) });
    if (reply.success) await setText(this.#status, 'general:draft_kept');
  }

  // The draft that differs from `stored`, or null.
  async find(stored) {
    const { data } = await this.#send('load');
    const differs = data && Object.keys(stored).some((field) => field in data.values && data.values[field] !== stored[field]);
    this.#offered = Boolean(differs);
    return differs ? data : null;
  }

  decided() {
    this.#offered = false;
  }

  // Nothing typed so far is kept any more, not even what waits for its pause.
  async remove() {
    clearTimeout(this.#timer);
    this.#offered = false;
    await this.#send('remove');
  }
}
