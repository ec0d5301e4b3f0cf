// Of several questions under way only the answer to the newest counts: an answer that comes late would show what nobody
// wants any more.
export class Newest {
  #asked = 0;

  // ask: starts the question. Resolves to its answer; to undefined when another has been asked meanwhile.
  async of(ask) {
    const mine = ++this.#asked;
    const answer = await ask();
    return mine === this.#asked ? answer : undefined;
  }
}
