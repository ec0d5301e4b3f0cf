// The groups of one user: a check box for each, whichever page of the list it stands on.
import { get, post } from './api.js';
import { showRefusal } from './form.js';
import { Marks } from './marks.js';
import { hideNotice, showNotice } from './notice.js';
import { PagedList } from './paged_list.js';
import { setText } from './texts.js';
import { checkRow, showUnsaved, showView } from './views.js';

const kEverybody = 'users';
const at = (id) => document.getElementById(id);

export class UserGroups {
  #marks = new Marks();
  #user = '';

  // closed(name): back to the list, with words for what was done, if anything.
  constructor({ closed }) {
    this.closed = closed;
    this.list = new PagedList(at('joining'), {
      ask: (wanted) => get('groups', { ...wanted, user: this.#user }),
      row: (group, index) => this.#row(group, index),
      none: 'groups:none',
      failed: (reply) => showRefusal(undefined, reply),
    });
    at('join-close').addEventListener('click', () => closed(this.#user));
    at('join-save').addEventListener('click', () => this.#save());
  }

  async open(name) {
    this.#user = name;
    this.#marks.clear();
    hideNotice();
    await Promise.all([this.list.show({ offset: 0, prefix: '' }), setText(at('joining-title'), 'users:groups_of', { value: name })]);
    await this.#showCount();
    showView('joining');
    at('joining-title').focus();
  }

  #row({ name, descr, join }, index) {
    const checked = this.#marks.isMarked(name, join);
    return checkRow(`join-${index}`, { name, descr, checked, disabled: name === kEverybody }, (wanted) => {
      this.#marks.set(name, join, wanted);
      this.#showCount();
    });
  }

  #showCount() {
    return showUnsaved(this.#marks, at('join-save'), at('join-count'));
  }

  // Group by group; one that fails stays marked, and the others are done.
  async #save() {
    at('join-save').disabled = true;
    let failure;
    for (const [field, groups] of [['added', this.#marks.added], ['removed', this.#marks.removed]]) {
      for (const group of groups) {
        const reply = await post('members', { action: 'apply', group, [field]: this.#user });
        if (reply.success) this.#marks.set(group, field === 'added', field === 'added');
        else failure = reply;
      }
    }
    if (!failure) {
      await this.closed(this.#user);
      return showNotice('success', 'users:groups_saved', { value: this.#user });
    }
    await Promise.all([this.list.show(), this.#showCount()]);
    at('join-save').focus();
    return showRefusal(undefined, failure);
  }
}
