// Check boxes of a list of which one page is seen: what has been changed on any page, until it is saved.
export class Marks {
  #changed = new Map();

  // name: of the entry; was: whether it is marked so far; wanted: whether it is to be.
  set(name, was, wanted) {
    if (was === wanted) this.#changed.delete(name);
    else this.#changed.set(name, wanted);
  }

  isMarked(name, was) {
    return this.#changed.get(name) ?? was;
  }

  get added() {
    return [...this.#changed].filter(([, wanted]) => wanted).map(([name]) => name);
  }

  get removed() {
    return [...this.#changed].filter(([, wanted]) => !wanted).map(([name]) => name);
  }

  get count() {
    return this.#changed.size;
  }

  clear() {
    this.#changed.clear();
  }
}
