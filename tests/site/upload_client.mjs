// Sends uploads of any size without holding them, and breaks off where a test wants it.
import http from "node:http";

const kBoundary = "----upload-boundary-4fd1c2";
const kChunk = Buffer.alloc(256 * 1024, "0123456789abcdef");

/// Posts one file of `size` bytes to upload.cgi, into a folder of a share.
///   cookie      Cookie header of a session
///   stopAfter   the connection is cut once so many bytes of the file are sent; the result is then null
///   pause_ms    waited after each chunk
///   beforeEnd   called and waited for when the whole file is sent, but not the end of the body
///   chunkBytes  how much is sent at once
/// @return { status, headers, text }
export function upload(url, { cookie, size, name = "file.bin", folder = "/public", stopAfter = Infinity, pause_ms = 0, beforeEnd, chunkBytes = kChunk.length }) {
  const head = Buffer.from(
    `--${kBoundary}\r\nContent-Disposition: form-data; name="file"; filename="${name}"\r\n` +
      "Content-Type: application/octet-stream\r\n\r\n",
  );
  const tail = Buffer.from(`\r\n--${kBoundary}--\r\n`);
  return new Promise((resolve, reject) => {
    const request = http.request(`${url}/cgi/upload.cgi?path=${encodeURIComponent(folder)}`, {
      method: "POST",
      headers: {
        Cookie: cookie,
        "Content-Type": `multipart/form-data; boundary=${kBoundary}`,
        "Content-Length": head.length + size + tail.length,
      },
    });
    let cut = false;
    let answered = false;
    request.on("response", (reply) => {
      answered = true;
      let text = "";
      reply.setEncoding("utf8").on("data", (part) => (text += part));
      reply.on("error", reject);
      reply.on("end", () => resolve({ status: reply.statusCode, headers: reply.headers, text }));
    });
    // A server that has answered early stops reading: its reply counts, not the broken pipe.
    request.on("error", (error) => (cut ? resolve(null) : answered || reject(error)));
    sendBody(request, { head, tail, size, stopAfter, pause_ms, beforeEnd, chunkBytes, finished: () => answered }).then((complete) => {
      if (complete) return;
      cut = true;
      request.destroy();
      resolve(null);
    }, reject);
  });
}

async function sendBody(request, { head, tail, size, stopAfter, pause_ms, beforeEnd, chunkBytes, finished }) {
  request.write(head);
  for (let sent = 0; sent < size && !finished(); ) {
    if (sent >= stopAfter) return false;
    const part = kChunk.subarray(0, Math.min(chunkBytes, kChunk.length, size - sent));
    if (!request.write(part)) await drained(request);
    sent += part.length;
    if (pause_ms > 0) await new Promise((resolve) => setTimeout(resolve, pause_ms));
  }
  await beforeEnd?.();
  request.end(tail);
  return true;
}

function drained(request) {
  return new Promise((resolve) => {
    const done = () => {
      for (const event of ["drain", "response", "error", "close"]) request.off(event, done);
      resolve();
    };
    for (const event of ["drain", "response", "error", "close"]) request.on(event, done);
  });
}
