// Where our replies to ranges are not Apache's, on purpose: our own answer is one that has stood for long, and clients rely on it.
const kGreatest = 2n ** 63n - 1n;
const kGreatestSuffix = 2n ** 64n - 1n;
const kApacheRanges = 200;

/// The pieces of a header behind "bytes=": { text, malformed, empty, suffix, first, last }, numbers as BigInt, those that are not written undefined.
export function piecesOf(ranges) {
  return ranges.split(",").map((text) => {
    const [, first, last] = /^[+]?(\d*)-[+]?(\d*)$/.exec(text.trim()) ?? [];
    const piece = { text, empty: text === "", malformed: first === undefined && text !== "" };
    if (first === "") piece.suffix = BigInt(last);
    else if (first) Object.assign(piece, { first: BigInt(first), ...(last !== "" && { last: BigInt(last) }) });
    return piece;
  });
}

/// The ranges as written: { start, end }, the end cut to the file's.
export function rangesOf(pieces, size) {
  const bytes = BigInt(size);
  return pieces
    .filter(({ empty, malformed }) => !empty && !malformed)
    .map(({ suffix, first, last }) => {
      const start = suffix === undefined ? first : BigInt.asIntN(64, bytes - (suffix > kGreatestSuffix ? kGreatestSuffix : suffix));
      const end = last === undefined || last >= bytes ? bytes - 1n : last;
      return { start, end };
    });
}

const some = (predicate) => (pieces, size) => pieces.some((piece) => predicate(piece, BigInt(size)));
const rangeBehindAnother = (predicate) => (pieces, size) => {
  const ranges = rangesOf(pieces, size);
  return ranges.some((range, i) => i > 0 && predicate(ranges[i - 1], range));
};
const total = (ranges) => ranges.reduce((sum, { start, end }) => sum + end - start + 1n, 0n);
const touches = (before, { start, end }) => start <= before.end + 1n && end >= before.start - 1n;
const isBackward = ({ first, last }) => last !== undefined && first > last;
const isBeyond = ({ first }, size) => first >= size;
const list = (count, range) => Array.from({ length: count }, (_, i) => range(i)).join(",");
const spread = (count) => list(count, (i) => `${i * 4}-${i * 4}`);
const sent = (ranges, size) => `206 ${ranges.replaceAll(",", `/${size} `)}/${size}`;

/// Each row: what is asked (`is`, and an example), both answers to the example, and why ours stays.
export const differences = [
  {
    name: "a malformed range",
    why: "what cannot be served is always 416 with the whole file",
    is: some(({ malformed }) => malformed),
    size: 1000,
    range: "0-4,x",
    ours: "416 0-999/1000 whole",
    apache: "200 whole",
  },
  {
    name: "the end before the beginning",
    why: "as a malformed range",
    is: some(isBackward),
    size: 1000,
    range: "500-400",
    ours: "416 0-999/1000 whole",
    apache: "200 whole",
  },
  {
    name: "a number beyond 64 bits",
    why: "as a malformed range",
    is: some(({ first = 0n, last = 0n, suffix = 0n }) => first > kGreatest || last > kGreatest || suffix > kGreatest),
    size: 1000,
    range: "0-99999999999999999999999999999999",
    ours: "416 0-999/1000 whole",
    apache: "200 whole",
  },
  {
    name: "a suffix of no bytes",
    why: "the start lies behind the end then",
    is: some(({ suffix }) => suffix === 0n),
    size: 1000,
    range: "-0",
    ours: "416 0-999/1000 whole",
    apache: "200 whole",
  },
  {
    name: "a range behind the end of the file",
    why: "the body of a 416 is the whole file, which a confused client can use, and no page",
    is: some(isBeyond),
    size: 1000,
    range: "1000-",
    ours: "416 0-999/1000 whole",
    apache: "416 page",
  },
  {
    name: "a range behind the end of the file among others",
    why: "one range that cannot be served is as if none could",
    is: some(isBeyond),
    size: 1000,
    range: "0-4,1000-1004",
    ours: "416 0-999/1000 whole",
    apache: "206 0-4/1000",
  },
  {
    name: "a suffix longer than the file",
    why: "its start is negative, and the reply breaks off where the file cannot be sought there; Apache may see that before it sends the length",
    is: some(({ suffix }, size) => suffix > size),
    size: 1000,
    range: "-2000",
    ours: ["206 -1000-999/1000 cut at 0 of 2000", "206 -1000-999/1000"],
    apache: "206 0-999/1000 whole",
  },
  {
    name: "a range of an empty file",
    why: "an empty file has no byte that could be served",
    is: (pieces, size) => size === 0 && pieces.some(({ empty }) => !empty),
    size: 0,
    range: "0-",
    ours: "416 0--1/0 whole",
    apache: "200 whole",
  },
  {
    name: "a comma in front",
    why: "empty pieces do not count, wherever they are",
    is: (pieces) => pieces[0].empty && pieces.some(({ empty }) => !empty),
    size: 1000,
    range: ",0-4",
    ours: "206 0-4/1000",
    apache: "200 whole",
  },
  {
    name: "white space around a range",
    why: "lists in headers may have it around their commas (RFC 9110 section 5.6.1)",
    is: some(({ text }) => /^\s|\s$/.test(text)),
    size: 1000,
    range: "0-4\t, 6-9",
    ours: "206 0-4/1000 6-9/1000",
    apache: "200 whole",
  },
  {
    name: "a number with a sign",
    why: "numbers are read as the C library reads them",
    is: some(({ text }) => /[+]/.test(text)),
    size: 1000,
    range: "+0-+4",
    ours: "206 0-4/1000",
    apache: "200 whole",
  },
  {
    name: "ranges that overlap or touch",
    why: "ranges are sent as they were asked for, never merged",
    is: rangeBehindAnother(touches),
    size: 1000,
    range: "0-4,3-7,8-9",
    ours: "206 0-4/1000 3-7/1000 8-9/1000",
    apache: "206 0-9/1000",
  },
  {
    name: "more bytes than the file has",
    why: "ranges are sent as they were asked for, repeated ones too",
    is: (pieces, size) => total(rangesOf(pieces, size)) > BigInt(size),
    size: 1000,
    range: "0-499,600-999,0-499",
    ours: "206 0-499/1000 600-999/1000 0-499/1000",
    apache: "200 whole",
  },
  {
    name: `more than ${kApacheRanges} ranges`,
    why: "their number has no limit but that of the header, and memory does not grow with the bytes sent",
    is: (pieces) => pieces.length > kApacheRanges,
    size: 1000,
    range: spread(kApacheRanges + 1),
    ours: sent(spread(kApacheRanges + 1), 1000),
    apache: "200 whole",
  },
];

/// What we answer to any ranges, worked out from the text alone; "cut" where a suffix is too long.
export function ourAnswer(ranges, size) {
  const pieces = piecesOf(ranges).filter(({ empty }) => !empty);
  if (pieces.length === 0) return "200 whole";
  const found = rangesOf(pieces, size);
  const isMalformed = ({ malformed, first = 0n, last = 0n }) => malformed || first > kGreatest || last > kGreatest;
  const unserved = pieces.some(isMalformed) || found.some(({ start, end }) => start > end);
  if (unserved) return `416 0-${size - 1}/${size} whole`;
  if (found.some(({ start }) => start < 0n)) return "cut";
  const all = found.length === 1 && found[0].start === 0n && found[0].end === BigInt(size) - 1n;
  return `206 ${found.map(({ start, end }) => `${start}-${end}/${size}`).join(" ")}${all ? " whole" : ""}`;
}
