// How much of a field's room is taken, counted in characters as people count them: an accented letter is one.
import { setWords } from './texts.js';

export function countCharacters(field, place, most) {
  const show = () => {
    const count = [...field.value].length;
    setWords(place, `${count} / ${most}`);
    place.classList.toggle('over', count > most);
  };
  field.addEventListener('input', show);
  return show;
}
