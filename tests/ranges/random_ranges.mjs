// Range headers from a seed: mostly good ones, some of every kind that is not.

// Mulberry32: 32 bits of state are enough to tell one run from another.
function generator(seed) {
  let state = seed >>> 0;
  return () => {
    state = (state + 0x6d2b79f5) >>> 0;
    let bits = Math.imul(state ^ (state >>> 15), state | 1);
    bits ^= bits + Math.imul(bits ^ (bits >>> 7), bits | 61);
    return ((bits ^ (bits >>> 14)) >>> 0) / 2 ** 32;
  };
}

/// Endless: the text behind "bytes=" for a file of `size` bytes. No range within the file is longer than `longest`, and those of several are short.
export function* randomRanges(seed, size, longest) {
  const random = generator(seed);
  const below = (limit) => Math.floor(random() * limit);
  const one = (of) => of[below(of.length)];
  const near = (offset) => Math.max(0, offset + below(5) - 2);
  const offset = () => one([() => below(size), () => near(one([0, 8192, size / 2, 2 ** 31, 2 ** 32, size].filter((at) => at <= size)))])();
  const range = (most) => {
    const start = Math.floor(offset());
    return `${start}-${start + below(most)}`;
  };
  const suffix = (most) => `-${1 + below(Math.min(most, size))}`;
  const odd = () =>
    one([
      () => `-${size + 1 + below(10)}`,
      () => `${size + below(10)}-`,
      () => `${9 + below(9)}-${below(9)}`,
      () => one(["", " ", "x", "5", "-", "-0", "1-2x", "0x1-2", "1.0-2", "0-9223372036854775808", "99999999999999999999999999999999-", "-18446744073709551616"]),
      () => one([" ", "\t", "+"]) + range(9),
    ])();
  for (;;) {
    const count = one([1, 1, 1, 2, 2, 3, 5, 25]);
    const most = count === 1 ? longest : 9;
    const piece = () => {
      const kind = random();
      if (kind < 0.2 / count) return odd();
      if (kind < 0.3) return suffix(most);
      if (kind < 0.4 && size <= longest) return `${Math.floor(offset())}-`;
      return range(most);
    };
    // No server hands on the white space at the end of a header.
    yield Array.from({ length: count }, piece).join(",").trimEnd();
  }
}
