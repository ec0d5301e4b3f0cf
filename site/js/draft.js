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
  #keeping = Promise.resolve();

  constructor(form, status) {
    this.#form = form;
    this.#status = status;
    form.addEventListener('input', () => this.#later());
    addEventListener('pagehide', () => this.#timer && this.keep());
  }

  #send(action, more = {}) {
    return postJson('draft', { action, form: this.#form.id, ...more });
  }

  #wait(milliseconds) {
    clearTimeout(this.#timer);
    this.#timer = milliseconds && setTimeout(() => this.keep(), milliseconds);
  }

  // Typing goes on: the draft is kept when it pauses. An offered draft stays until the user has decided about it.
  #later() {
    setWords(this.#status, '');
    if (!this.#offered) this.#wait(kQuietMilliseconds);
  }

  // Also on the way out: the request outlives its page.
  async keep() {
    this.#wait(0);
    this.#keeping = this.#send('save', { values: readForm(this.#form) });
    const reply = await this.#keeping;
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

  // Nothing typed so far is kept any more, neither what waits for its pause nor what is on its way.
  async remove() {
    this.#wait(0);
    this.#offered = false;
    await this.#keeping;
    await this.#send('remove');
  }
}
