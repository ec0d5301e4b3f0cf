// Replies to requests for ranges, as a client gets them, and in one line: what was sent of which file.
import assert from "node:assert/strict";
import { spawn } from "node:child_process";
import http from "node:http";
import { parseByteranges } from "../program/byteranges.mjs";

const kTimeout_ms = 120_000;

/// A reply is { status, headers, body, cut }: the headers that matter for ranges, each at most once; `cut` when the body ended before its announced length.
/// No more than `limit` bytes of the body are read.
export function get(port, agent, path, { headers, limit }) {
  return new Promise((resolve, reject) => {
    const request = http.get({ port, host: "127.0.0.1", agent, path, headers, timeout: kTimeout_ms }, (incoming) => {
      const reply = { status: incoming.statusCode, headers: oncePerName(pairs(incoming.rawHeaders)) };
      const body = collect(incoming, limit);
      incoming.on("close", () => resolve({ ...reply, ...body.result(), cut: !incoming.complete && !body.full() }));
      incoming.on("error", () => {});
    });
    request.on("timeout", () => request.destroy(new Error(`${path}: no reply`)));
    // The web server may close a connection that has been idle just when it is used again.
    const isStale = ({ code }) => request.reusedSocket && code === "ECONNRESET";
    request.on("error", (error) => (isStale(error) ? resolve(get(port, agent, path, { headers, limit })) : reject(error)));
  });
}

/// The same from a program as a process, with the environment of a web server but without one.
export function run(command, { env, limit }) {
  return new Promise((resolve, reject) => {
    const program = spawn(command[0], command.slice(1), { env, stdio: ["ignore", "pipe", "inherit"], timeout: kTimeout_ms });
    const output = collect(program.stdout, limit + 4096);
    program.on("error", reject);
    program.stdout.on("close", () => resolve(parse(output.result().body, output.full(), limit)));
  });
}

function parse(output, stopped, limit) {
  const end = output.indexOf("\r\n\r\n");
  assert.notEqual(end, -1, `no header block: ${JSON.stringify(output.toString("latin1", 0, 200))}`);
  const lines = output.toString("latin1", 0, end).split("\r\n");
  const all = lines.flatMap((line) => /^([^:]+): (.*)$/.exec(line)?.slice(1) ?? assert.fail(`no header: ${line}`));
  const status = Number.parseInt(all[all.indexOf("Status") + 1] ?? "", 10) || 200;
  const headers = oncePerName(pairs(all));
  const body = output.subarray(end + 4, end + 4 + limit);
  return { status, headers, body, cut: !stopped && body.length < Math.min(limit, Number(headers["content-length"])) };
}

function collect(stream, limit) {
  const pieces = [];
  let bytes = 0;
  stream.on("data", (piece) => {
    pieces.push(piece);
    bytes += piece.length;
    if (bytes >= limit) stream.destroy();
  });
  return { result: () => ({ body: Buffer.concat(pieces).subarray(0, limit) }), full: () => bytes >= limit };
}

const pairs = (list) => list.flatMap((_, i) => (i % 2 === 0 ? [[list[i].toLowerCase(), list[i + 1]]] : []));

function oncePerName(all) {
  const wanted = all.filter(([name]) => ["content-type", "content-length", "content-range"].includes(name));
  const headers = Object.fromEntries(wanted);
  assert.equal(Object.keys(headers).length, wanted.length, `a header twice: ${JSON.stringify(wanted)}`);
  return headers;
}

/// What does not depend on who sent it: a multipart boundary is anybody's choice, and with it the body's length; names of headers have no case.
export function comparable(reply) {
  const { "content-type": type, "content-length": length } = reply.headers;
  if (!type.startsWith("multipart/") || reply.cut) return reply;
  if (length !== undefined) assert.equal(Number(length), reply.body.length, "the length of the multipart body");
  return { status: reply.status, range: reply.headers["content-range"], parts: parseByteranges(type, reply.body) };
}

/// One line: status, ranges, whether all of the file was sent: "206 0-4/10 6-9/10", "416 0-9/10 whole", "206 -5-9/10 cut at 0 of 15". The bytes are compared with
/// those of the file: `bytesAt(first, count)`.
export function outcome(reply, size, bytesAt) {
  const { parts } = comparable(reply);
  if (parts) {
    for (const part of parts) assert.ok(part.bytes.equals(bytesAt(part.start, part.bytes.length)), `not the bytes from ${part.start}`);
    return `${reply.status} ${parts.map((part) => `${part.start}-${part.end}/${part.size}`).join(" ")}`;
  }
  if (reply.headers["content-type"].startsWith("text/html")) return `${reply.status} page`;
  const range = reply.headers["content-range"]?.replace(/^bytes /, "");
  const first = /^\d+/.exec(range ?? "0")?.[0];
  if (first !== undefined) assert.ok(reply.body.equals(bytesAt(Number(first), reply.body.length)), `not the bytes from ${first}`);
  const length = Number(reply.headers["content-length"]);
  const words = [reply.status, range, first === "0" && length === size && "whole", reply.cut && `cut at ${reply.body.length} of ${length}`];
  return words.filter(Boolean).join(" ");
}
