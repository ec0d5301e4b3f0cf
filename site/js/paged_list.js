// A long list of which one page is in the document: it is searched while somebody types, and turned page by page.
//
//   const list = new PagedList(document.getElementById('accounts'), { ask, row, none: 'users:none', failed });
//   await list.show();                 // the page where it stands
//   await list.show({ prefix: 'an' }); // what begins with it, from its first page
//
// The element holds an <input type="search">, a <table> with a <tbody>, and a place with the class "position"; the
// buttons that turn the pages are made here. ask({offset, prefix}) resolves to a reply whose data has items, total and
// offset; row(item, index) makes a <tr>; `none` are the words for a list without any entry; failed(reply) tells a
// failure.
import { make } from './elements.js';
import { Newest } from './newest.js';
import { pagesAround, shorterPage } from './paging.js';
import { currentLanguage, setText, setWords, translate } from './texts.js';

// Between two letters that somebody types without thinking.
const kPause_ms = 150;
const kTurns = ['first', 'previous', 'next', 'last'];
const kOpposite = { first: 'next', previous: 'next', next: 'previous', last: 'previous' };
const kNames = { first: 'list:first', previous: 'list:previous', next: 'list:next', last: 'list:last' };
const kSigns = { first: '\u00ab', previous: '\u2039', next: '\u203a', last: '\u00bb' };

const number = (value) => value.toLocaleString(currentLanguage());

export class PagedList {
  #newest = new Newest();
  #offset = 0;
  #prefix = '';
  #typing;
  #turns;

  constructor(element, { ask, row, none, failed }) {
    Object.assign(this, { element, ask, row, none, failed });
    this.search = element.querySelector('input[type="search"]');
    this.table = element.querySelector('table');
    this.rows = element.querySelector('tbody');
    this.position = element.querySelector('.position');
    this.#makeTurns();
    this.search.addEventListener('input', () => {
      clearTimeout(this.#typing);
      this.#typing = setTimeout(() => this.show({ prefix: this.search.value, offset: 0 }), kPause_ms);
    });
  }

  // Resolves once the page is seen, or another has been asked for. `more` goes along with this one question.
  async show({ offset = this.#offset, prefix } = {}, more = {}) {
    clearTimeout(this.#typing);
    if (prefix !== undefined && this.search.value !== prefix) this.search.value = prefix;
    this.#prefix = prefix ?? this.#prefix;
    const page = await this.#newest.of(() => this.#ask({ offset, prefix: this.#prefix, ...more }));
    if (page === undefined) return;
    if (!page.data) return this.failed(page.reply);
    const shorter = shorterPage(page.data.offset, page.data.total);
    if (shorter !== null) return this.show({ offset: shorter });
    await this.#put(page);
  }

  // The words of the rows are there before the rows are seen.
  async #ask(wanted) {
    const reply = await this.ask(wanted);
    if (!reply.success) return { reply };
    const rows = document.createDocumentFragment();
    rows.append(...reply.data.items.map(this.row));
    await translate(rows);
    return { data: reply.data, rows };
  }

  async #put({ data: { items, total, offset }, rows }) {
    this.#offset = offset;
    this.items = items;
    this.rows.replaceChildren(rows);
    this.table.hidden = total === 0;
    const pages = pagesAround(offset, total);
    this.#showTurns(pages, total);
    if (total > 0) setWords(this.position, `${number(pages.from)}\u2013${number(pages.to)} / ${number(total)}`);
    else await (this.#prefix ? setText(this.position, 'list:no_match', { value: this.#prefix }) : setText(this.position, this.none));
  }

  #makeTurns() {
    const buttonOf = (turn) => make('button', { type: 'button', class: `turn ${turn}`, 'data-label': kNames[turn] }, kSigns[turn]);
    this.#turns = Object.fromEntries(kTurns.map((turn) => [turn, buttonOf(turn)]));
    const [first, previous, next, last] = Object.values(this.#turns);
    const bar = make('div', { class: 'turns' }, first, previous);
    this.position.replaceWith(bar);
    bar.append(this.position, next, last);
  }

  // A button that leads nowhere any more hands the focus to one that does.
  #showTurns(pages, total) {
    const focused = kTurns.find((turn) => this.#turns[turn] === document.activeElement);
    for (const turn of kTurns) {
      const button = this.#turns[turn];
      button.hidden = total === 0 || (pages.first === null && pages.last === null);
      button.disabled = pages[turn] === null;
      button.onclick = () => this.show({ offset: pages[turn] });
    }
    if (focused && pages[focused] === null) this.#turns[kOpposite[focused]].focus();
  }
}
