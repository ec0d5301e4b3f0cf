// A client that understands multipart/byteranges (RFC 9110 section 14.6), strict about its framing.
import assert from "node:assert/strict";

/// Takes a body apart by the boundary of its type.
/// @return the parts in their order: { headers: { name: value }, start, end, size, bytes }
export function parseByteranges(contentType, body) {
  const [, boundary] = /^multipart\/byteranges; ?boundary=([0-9a-f]+)$/.exec(contentType) ?? assert.fail(`no multipart: ${contentType}`);
  const opening = Buffer.from(`\r\n--${boundary}\r\n`);
  const closing = Buffer.from(`\r\n--${boundary}--\r\n`);
  const parts = [];
  let at = 0;
  while (body.subarray(at, at + opening.length).equals(opening)) {
    const head = at + opening.length;
    const blank = body.indexOf("\r\n\r\n", head);
    assert.notEqual(blank, -1, "a part without an empty line");
    const headers = headersOf(body.toString("latin1", head, blank));
    const [, start, end, size] = (/^bytes (\d+)-(\d+)\/(\d+)$/.exec(headers["content-range"]) ?? assert.fail("no Content-Range")).map(Number);
    const from = blank + 4;
    at = from + end - start + 1;
    assert.ok(at <= body.length, "a part is cut off");
    parts.push({ headers, start, end, size, bytes: body.subarray(from, at) });
  }
  assert.deepEqual(body.subarray(at), closing, "behind the last part stands the closing boundary, and nothing else");
  return parts;
}

function headersOf(text) {
  const pairs = text.split("\r\n").map((line) => /^([^:\r\n]+): ([^\r\n]*)$/.exec(line) ?? assert.fail(`no header: ${JSON.stringify(line)}`));
  return Object.fromEntries(pairs.map(([, name, value]) => [name.toLowerCase(), value]));
}
