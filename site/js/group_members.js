// The members of one group: a check box for each user, whichever page of the list he stands on.
import { get, post } from './api.js';
import { showRefusal } from './form.js';
import { Marks } from './marks.js';
import { hideNotice, showNotice } from './notice.js';
import { PagedList } from './paged_list.js';
import { setText } from './texts.js';
import { checkRow, showUnsaved, showView } from './views.js';

const at = (id) => document.getElementById(id);

export class GroupMembers {
  #marks = new Marks();
  #group = '';
  #everybody = false;

  // closed(name): back to the list.
  constructor({ closed }) {
    this.list = new PagedList(at('members'), {
      ask: (wanted) => this.#ask(wanted),
      row: (user, index) => this.#row(user, index),
      none: 'groups:no_members',
      failed: (reply) => showRefusal(undefined, reply),
    });
    at('only').addEventListener('change', () => this.list.show({ offset: 0 }));
    at('members-close').addEventListener('click', () => closed(this.#group));
    at('members-save').addEventListener('click', () => this.#save());
  }

  async open(name) {
    this.#group = name;
    this.#marks.clear();
    hideNotice();
    at('only').value = 'all';
    await Promise.all([this.list.show({ offset: 0, prefix: '' }), setText(at('members-title'), 'groups:members_of', { value: name })]);
    await this.#showCount();
    showView('members');
    at('members-title').focus();
  }

  async #ask(wanted) {
    const reply = await get('members', { action: 'load', group: this.#group, only: at('only').value, ...wanted });
    if (!reply.success) return reply;
    const { everybody, members } = reply.data;
    this.#everybody = everybody;
    at('only-field').hidden = at('members-save').hidden = everybody;
    await setText(at('members-lead'), everybody ? 'groups:everybody' : 'groups:count', { value: members });
    return reply;
  }

  #row({ name, descr, member }, index) {
    const checked = this.#marks.isMarked(name, member);
    return checkRow(`member-${index}`, { name, descr, checked, disabled: this.#everybody }, (wanted) => {
      this.#marks.set(name, member, wanted);
      this.#showCount();
    });
  }

  #showCount() {
    return showUnsaved(this.#marks, at('members-save'), at('members-count'));
  }

  // All of them or none.
  async #save() {
    at('members-save').disabled = true;
    const { added, removed } = this.#marks;
    const reply = await post('members', { action: 'apply', group: this.#group, added: added.join('\n'), removed: removed.join('\n') });
    if (reply.success) this.#marks.clear();
    await Promise.all([this.list.show(), this.#showCount()]);
    at(reply.success ? 'members-title' : 'members-save').focus();
    if (!reply.success) return showRefusal(undefined, reply);
    return showNotice('success', 'groups:members_saved', { value: this.#group });
  }
}
