// Paths of the file manager as they stand in addresses: percent-encoded, between folders "%2F".
import { inSight } from './in_sight.js';

// A name as people read it; bytes that are no text show as such.
export function inWords(encoded) {
  const bytes = [...encoded.matchAll(/%([0-9A-Fa-f]{2})|([^%])/g)].map(([, hex, plain]) => (hex ? Number.parseInt(hex, 16) : plain.codePointAt(0)));
  return inSight(new TextDecoder().decode(new Uint8Array(bytes)));
}

// From the share down to the folder itself: { link, name } of each.
export function wayTo(link) {
  const pieces = link.split('%2F').slice(1);
  return pieces.map((encoded, i) => ({ link: `%2F${pieces.slice(0, i + 1).join('%2F')}`, name: inWords(encoded) }));
}

// "home" is a name for programs; people read it in their own language.
export const isHome = (link) => link === '%2Fhome';
