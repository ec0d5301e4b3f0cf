// Pages of a long list, by numbers alone.

// As many as the programs of the lists send.
export const kRows = 50;

const lastOf = (total) => Math.max(Math.ceil(total / kRows) - 1, 0) * kRows;

// What may be seen from the page that begins at `offset`: where the first, previous, next and last page begin, null for
// one that is no other, and the numbers of the rows, from 1.
export function pagesAround(offset, total) {
  const last = lastOf(total);
  const back = offset > 0;
  const on = offset < last;
  return {
    first: back ? 0 : null,
    previous: back ? Math.min(Math.max(offset - kRows, 0), last) : null,
    next: on ? offset + kRows : null,
    last: on ? last : null,
    from: Math.min(offset + 1, total),
    to: Math.min(offset + kRows, total),
  };
}

// Where the page begins that a list which has become shorter shows instead of an empty one; null when it shows the page.
export const shorterPage = (offset, total) => (offset > 0 && offset >= total ? lastOf(total) : null);
