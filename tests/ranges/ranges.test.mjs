// The same file, the same "Range", two answers: our program's and that of Apache's own file handler. They are equal to the byte, but for the rows of
// differences.mjs. Runs inside the appliance tree:
//
//   ranges.test.mjs                                         download.cgi as the site serves it
//   SEND_FILE="emulator send_file.cgi" ranges.test.mjs      a program of another processor, as a process
//   RANGES_SEED=2 ranges.test.mjs                           other random ranges
import assert from "node:assert/strict";
import { randomBytes } from "node:crypto";
import { closeSync, mkdirSync, openSync, readSync, rmSync, truncateSync, writeFileSync, writeSync } from "node:fs";
import http from "node:http";
import { after, before, test } from "node:test";
import { makeAccounts, makeShare, passwords } from "../program/program.mjs";
import { differences, ourAnswer, piecesOf } from "./differences.mjs";
import { randomRanges } from "./random_ranges.mjs";
import { comparable, get, outcome, run } from "./reply.mjs";
import { startWebServer } from "./web_server.mjs";

const kShared = "/public/ranges";
const kFolder = `/volume1${kShared}`;
const kSizes = [0, 1, 7, 1000, 1_000_000];
const kLargeSize = 2 ** 32 + 5000;
const kReadOfLarge = 65_536;
const kAtOnce = 4;
const emulated = process.env.SEND_FILE?.split(" ");
const kRandom = emulated ? 15 : 150;
const seed = Number(process.env.RANGES_SEED ?? 1);

let server, cookie;
const agent = new http.Agent({ keepAlive: true, maxSockets: 2 * kAtOnce });
const files = new Map();

before(async () => {
  console.log(`RANGES_SEED=${seed}`);
  mkdirSync(kFolder);
  for (const size of kSizes) writeFileSync(`${kFolder}/${size}`, randomBytes(size));
  writeLargeFile(`${kFolder}/${kLargeSize}`);
  for (const size of [...kSizes, kLargeSize]) files.set(size, openSync(`${kFolder}/${size}`, "r"));
  server = await startWebServer(kFolder);
  if (emulated) return;
  makeAccounts();
  makeShare("public");
  const body = new URLSearchParams({ user: "anna", passwd: passwords.anna });
  const reply = await fetch(`http://127.0.0.1:${server.port}/cgi/login.cgi`, { method: "POST", body });
  cookie = /id=\w+/.exec(reply.headers.get("set-cookie"))?.[0] ?? assert.fail("could not log in");
});

after(async () => {
  await server?.stop();
  for (const file of files.values()) closeSync(file);
  rmSync(kFolder, { recursive: true, force: true });
});

// Above 4 GiB and almost all of it a hole, with bytes of its own where offsets need another bit.
function writeLargeFile(path) {
  const file = openSync(path, "w");
  for (const middle of [0, 2 ** 31, 2 ** 32, kLargeSize - 2048]) {
    writeSync(file, randomBytes(4096), 0, 4096, Math.max(0, middle - 2048));
  }
  closeSync(file);
  truncateSync(path, kLargeSize);
}

function bytesOf(size) {
  return (first, count) => {
    const bytes = Buffer.alloc(count);
    const got = count === 0 ? 0 : readSync(files.get(size), bytes, 0, count, first);
    return bytes.subarray(0, got);
  };
}

const limitFor = (size) => (size === kLargeSize ? kReadOfLarge : Infinity);

function request(path, size, range, headers = {}) {
  if (range !== undefined) headers.Range = range;
  return get(server.port, agent, path, { headers, limit: limitFor(size) });
}

const apache = (size, range) => request(`/files/${size}`, size, range);

async function ours(size, range) {
  const env = { PATH_TRANSLATED: `${kFolder}/${size}`, ...(range !== undefined && { HTTP_RANGE: range }) };
  const path = `/cgi/download.cgi?path=${kShared}/${size}`;
  const reply = await (emulated ? run(emulated, { env, limit: limitFor(size) }) : request(path, size, range, { Cookie: cookie }));
  assert.ok("content-length" in reply.headers, `no Content-Length: Range: ${range} of ${size} bytes`);
  return reply;
}

async function bothAnswers(size, range) {
  const [our, other] = await Promise.all([ours(size, range), apache(size, range)]);
  const tell = (reply) => outcome(reply, size, bytesOf(size));
  try {
    return { our, other, ourOutcome: tell(our), otherOutcome: tell(other) };
  } catch (error) {
    error.message += `\n  Range: ${range} of ${size} bytes`;
    throw error;
  }
}

async function assertEqual(size, range) {
  const { our, other, ourOutcome, otherOutcome } = await bothAnswers(size, range);
  assert.equal(ourOutcome, otherOutcome, `Range: ${range} of ${size} bytes`);
  assert.deepEqual(comparable(our), comparable(other), `Range: ${range} of ${size} bytes`);
}

// Runs `job` for each of `items`, a few at a time.
async function forAll(items, job) {
  const rest = [...items];
  const worker = async () => {
    while (rest.length > 0) await job(rest.shift());
  };
  await Promise.all(Array.from({ length: kAtOnce }, worker));
}

const differs = (size, ranges) => differences.filter(({ is }) => is(piecesOf(ranges), size));

// Beginnings, ends and suffixes where something could be off by one, alone and in pairs.
function systematic(size) {
  const edges = [0, 1, 2, 8191, 8192, Math.floor(size / 2), size - 2, size - 1].filter((at) => at >= 0 && at < size);
  const all = edges.flatMap((first) => [`${first}-`, `-${first + 1}`, `${first}-${size}`, `${first}-9223372036854775807`, ...edges.map((last) => `${first}-${last}`)]);
  const downwards = (count) => Array.from({ length: count }, (_, i) => `${900 - i * 4}-${900 - i * 4}`).join(",");
  const several = ["0-0,2-2", "-1,0-0", "2-3,0-0", "0-0,-1", " 0-0,\t2-3", "0-0,2-2,4-4,6-6", "5-6,2-3,0-0", "0-6,2-3", "00-01,0003-4", "0-0,,2-2,", downwards(60)];
  return [...new Set([...all, ...several])].filter((ranges) => differs(size, ranges).length === 0);
}

for (const size of kSizes) {
  test(`A file of ${size} bytes: every range that Apache serves too is served alike`, async () => {
    const ranges = systematic(size);
    if (size > 0) assert.ok(ranges.length >= 5, `only ${ranges.length} ranges`);
    // An emulated program takes its time to start; its small numbers are those of any other.
    const share = emulated ? ranges.filter((_, i) => i % 8 === 0) : ranges;
    await forAll([undefined, "items=0-1", "bytes=", "bytes=,,", ...share.map((text) => `bytes=${text}`)], (range) => assertEqual(size, range));
  });
}

test("The unit may be written in any case", () => forAll(["Bytes=1-2", "BYTES=-3"], (range) => assertEqual(7, range)));

test("Ranges across 2^31 and 2^32 of a file above 4 GiB are served alike", async () => {
  const across = [2 ** 31, 2 ** 32].flatMap((at) => [`${at - 1}-${at}`, `${at}-${at}`, `${at - 1}-${at - 1}`, `${at - 1000}-${at + 1000}`, `${at}-${at + 1}`, `${at + 1}-${at + 9000}`]);
  const several = [`${2 ** 31 - 1}-${2 ** 31},${2 ** 32 - 1}-${2 ** 32}`, `${2 ** 32}-${2 ** 32 + 9},0-0,${2 ** 31}-${2 ** 31 + 9},-1`, "4294967295-4294967296,-5"];
  const last = ["-1", "-5000", "-5001", `${kLargeSize - 1}-`, `${kLargeSize - 9}-${kLargeSize + 9}`, `${2 ** 32}-`, `${2 ** 32 - 1}-99999999999`];
  // Too long to be read to their end: their lengths and beginnings.
  const long = ["0-", "1-", `0-${2 ** 31}`, `5-${2 ** 32}`, `-${2 ** 31}`, `-${2 ** 32}`, `-${2 ** 32 + 1}`, `${2 ** 31 - 1}-`];
  await forAll([...across, ...several, ...last, ...long].map((text) => `bytes=${text}`).concat([undefined]), (range) => assertEqual(kLargeSize, range));
});

for (const { name, why, size, range, ours: our, apache: other } of differences) {
  test(`Different on purpose: ${name} (${why})`, async () => {
    assert.ok(differs(size, range).some((row) => row.name === name), "the row does not know its own example");
    const answers = await bothAnswers(size, `bytes=${range}`);
    assert.ok([our].flat().includes(answers.ourOutcome), answers.ourOutcome);
    assert.equal(answers.otherOutcome, other);
  });
}

const isIncomplete = ({ cut, body }) => cut || body.length === 0 || !/\r\n--\w+--\r\n$/.test(body.toString("latin1", body.length - 99));

test(`Random ranges are served alike, or differ as they should (RANGES_SEED=${seed})`, async () => {
  const counts = { equal: 0, different: 0 };
  for (const size of [7, 1000, 1_000_000, kLargeSize]) {
    const source = randomRanges(seed + size, size, 20_000);
    const ranges = Array.from({ length: kRandom }, () => source.next().value);
    await forAll(ranges, async (text) => {
      if (differs(size, text).length === 0) {
        ++counts.equal;
        return assertEqual(size, `bytes=${text}`);
      }
      ++counts.different;
      const reply = await ours(size, `bytes=${text}`);
      const expected = ourAnswer(text, size);
      if (expected === "cut") return assert.ok(reply.status === 206 && isIncomplete(reply), `Range: ${text} of ${size} bytes`);
      if (size === kLargeSize && /whole/.test(expected)) return assert.equal(reply.status, 416, `Range: ${text}`);
      assert.equal(outcome(reply, size, bytesOf(size)), expected, `Range: ${text} of ${size} bytes`);
    });
  }
  console.log(`random ranges: ${counts.equal} alike, ${counts.different} different on purpose`);
  assert.ok(counts.equal >= kRandom && counts.different >= kRandom / 5, JSON.stringify(counts));
});
