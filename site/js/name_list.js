// A field with a list of accounts and groups: the names that are in it, and an entry that offers names while one types
// (an editable combobox as the WAI-ARIA practices describe it). Groups begin with "@".
import { get } from './api.js';
import { make } from './elements.js';
import { Newest } from './newest.js';
import { setText, setWords, translate } from './texts.js';

const kPause_ms = 150;
// A list may be long; all of it is shown when somebody asks.
const kShownAtFirst = 60;

const isSame = (one, other) => one.toLowerCase() === other.toLowerCase();

export class NameList {
  #input;
  #chips = make('ul', { class: 'chips' });
  #all = make('button', { type: 'button', class: 'quiet', 'data-text': 'shares:names_all', hidden: '' });
  #choices;
  #found;
  #names = [];
  #active = -1;
  #newest = new Newest();
  #timer = 0;

  constructor(input) {
    this.#input = input;
    this.#choices = make('ul', { id: `${input.id}-choices`, class: 'choices', role: 'listbox', 'data-label': 'shares:names_offered', hidden: '' });
    this.#found = make('p', { class: 'hint', role: 'status' });
    this.#chips.setAttribute('aria-labelledby', `${input.id}-label`);
    Object.entries({ role: 'combobox', 'aria-expanded': 'false', 'aria-controls': this.#choices.id, 'aria-autocomplete': 'list', autocomplete: 'off', autocapitalize: 'none', spellcheck: 'false' })
      .forEach(([name, value]) => input.setAttribute(name, value));
    input.before(this.#chips, this.#all);
    input.after(this.#choices, this.#found);
    this.#listen();
  }

  // As the program takes it.
  get value() {
    return this.#names.join(',');
  }

  async fill(names) {
    this.#names = [...names];
    this.#input.value = '';
    this.#close();
    await this.#show(kShownAtFirst);
  }

  // What was typed and not yet taken is part of the list, too.
  async finish() {
    if (this.#input.value.trim() !== '') await this.#take();
  }

  async #show(most) {
    this.#chips.replaceChildren(...this.#names.slice(0, most).map((name) => this.#chip(name)));
    this.#all.hidden = this.#names.length <= most;
    this.#all.dataset.value = this.#names.length;
    await Promise.all([translate(this.#chips), translate(this.#all)]);
  }

  #chip(name) {
    const words = make('span', { class: 'unseen', 'data-text': 'shares:names_remove', 'data-value': name });
    const remove = make('button', { type: 'button' }, words, make('span', { 'aria-hidden': 'true' }, '\u00d7'));
    remove.addEventListener('click', async () => {
      this.#names = this.#names.filter((other) => other !== name);
      await this.#show(Math.max(kShownAtFirst, this.#chips.children.length));
      this.#input.focus();
    });
    return make('li', { class: name.startsWith('@') ? 'group' : 'account' }, make('span', {}, name), remove);
  }

  async #add(name) {
    this.#input.value = '';
    this.#close();
    setWords(this.#found, '');
    if (!this.#names.some((other) => isSame(other, name))) this.#names.push(name);
    await this.#show(Math.max(kShownAtFirst, this.#names.length > kShownAtFirst ? this.#names.length : 0));
  }

  // What was typed, as an account or group spells it; the program judges what is none. What only begins so is somebody else,
  // whom nobody has chosen.
  async #take() {
    await this.#ask();
    const typed = this.#input.value.trim();
    const same = [...this.#choices.children].find(({ dataset }) => isSame(dataset.name, typed));
    await this.#add(same?.dataset.name ?? typed);
  }

  // Asks once typing pauses.
  #askSoon() {
    clearTimeout(this.#timer);
    this.#timer = setTimeout(() => this.#ask(), kPause_ms);
  }

  async #ask() {
    clearTimeout(this.#timer);
    const typed = this.#input.value.trim();
    const reply = await this.#newest.of(() => get('name_search', { prefix: typed.replace(/^@/, '') }));
    if (reply?.success) await this.#offer(typed, reply.data);
  }

  async #offer(typed, { groups, accounts }) {
    const kinds = [['group', '@', groups], ...(typed.startsWith('@') ? [] : [['account', '', accounts]])];
    const options = kinds.flatMap(([kind, mark, { items }]) => items.map((item) => this.#option(kind, `${mark}${item.name}`, item.descr)));
    const total = kinds.reduce((sum, [, , kind]) => sum + kind.total, 0);
    options.forEach((option, index) => (option.id = `${this.#choices.id}-${index}`));
    this.#choices.replaceChildren(...options);
    this.#choices.hidden = options.length === 0;
    this.#input.setAttribute('aria-expanded', String(options.length > 0));
    const exact = options.findIndex(({ dataset }) => isSame(dataset.name, typed));
    this.#activate(typed === '' || options.length === 0 ? -1 : Math.max(exact, 0));
    const words = total === 0 ? 'shares:names_none' : total > options.length ? 'shares:names_more' : 'shares:names_found';
    const value = total > options.length ? total - options.length : total;
    await Promise.all([translate(this.#choices), typed === '' && total === 0 ? setWords(this.#found, '') : setText(this.#found, words, { value })]);
  }

  #option(kind, name, description) {
    const words = kind === 'group' ? 'shares:kind_group' : 'shares:kind_account';
    return make(
      'li',
      { role: 'option', class: kind, 'data-name': name, 'aria-selected': 'false' },
      make('span', { class: 'name' }, name),
      ' ',
      make('span', { class: 'kind', 'data-text': words }),
      ' ',
      make('span', { class: 'about' }, description),
    );
  }

  #activate(index) {
    this.#choices.children[this.#active]?.setAttribute('aria-selected', 'false');
    this.#active = index;
    const option = this.#choices.children[index];
    option?.setAttribute('aria-selected', 'true');
    option?.scrollIntoView({ block: 'nearest' });
    if (option) this.#input.setAttribute('aria-activedescendant', option.id);
    else this.#input.removeAttribute('aria-activedescendant');
  }

  #close() {
    clearTimeout(this.#timer);
    this.#newest.of(() => {});
    this.#choices.hidden = true;
    this.#choices.replaceChildren();
    this.#active = -1;
    this.#input.setAttribute('aria-expanded', 'false');
    this.#input.removeAttribute('aria-activedescendant');
  }

  #move(step) {
    const count = this.#choices.children.length;
    if (count === 0) this.#ask();
    else this.#activate((this.#active + step + count) % count);
  }

  #press(event) {
    const { key } = event;
    const acts = {
      ArrowDown: () => this.#move(1),
      ArrowUp: () => this.#move(this.#active < 0 ? 0 : -1),
      Escape: () => this.#close(),
    };
    const isTaken = (key === 'Enter' || key === ',') && (this.#input.value.trim() !== '' || this.#active >= 0);
    if (!isTaken && !(key in acts)) return;
    if (key === 'Escape' && this.#choices.hidden) return;
    event.preventDefault();
    if (isTaken) this.#active >= 0 ? this.#add(this.#choices.children[this.#active].dataset.name) : this.#take();
    else acts[key]();
  }

  #listen() {
    this.#input.addEventListener('input', () => {
      // What was offered belongs to what stood here before.
      this.#activate(-1);
      this.#askSoon();
    });
    this.#input.addEventListener('keydown', (event) => this.#press(event));
    this.#input.addEventListener('blur', () => this.#close());
    this.#all.addEventListener('click', () => this.#show(this.#names.length));
    // The focus stays in the entry.
    this.#choices.addEventListener('mousedown', (event) => event.preventDefault());
    this.#choices.addEventListener('click', ({ target }) => {
      const option = target.closest('[role="option"]');
      if (option) this.#add(option.dataset.name);
    });
  }
}
