import { enterPage } from './shell.js';
import { setText, setWords } from './texts.js';

const me = await enterPage();
const at = (id) => document.getElementById(id);

setWords(at('account'), me.user);
setText(at('role'), me.may.settings ? 'home:role_administrator' : 'home:role_account');
setText(at('session'), 'home:session_left', { value: Math.round(me.seconds_left / 60) });

for (const tile of document.querySelectorAll('[data-right]')) {
  tile.hidden = !me.may[tile.dataset.right];
}
