// The one message line of a page. It is announced to screen readers when it changes.
import { setText } from './texts.js';

const line = () => document.getElementById('notice');

// kind: "error", "success" or "info"; name: "section:key". Seen once its words are there.
export async function showNotice(kind, name, values) {
  const element = line();
  element.hidden = true;
  await setText(element, name, values);
  element.className = kind;
  element.hidden = false;
  element.scrollIntoView({ block: 'nearest' });
}

export function hideNotice() {
  line().hidden = true;
}
