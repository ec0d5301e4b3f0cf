// Makes small films without any tool but the browser: it draws and encodes the pictures, and here they become a WebM file
// in which one can seek (a subset of RFC 9559): Cues stand in front, and each second begins a cluster.
//
//   const pictures = await drawFilm(page, { seconds: 12 });
//   const film = webm(pictures);                                  // Buffer
//   const large = webm(pictures, { paddingBytes: 4_000_000 });    // as much air behind each cluster

const kWidth = 320;
const kHeight = 180;
const kRate = 10;

/// Draws a clock and encodes it (VP8). The page must be one of a site or of this machine.
/// @return pictures: [{ time_ms, isKey, bytes }]
export async function drawFilm(page, { seconds }) {
  const pictures = await page.evaluate(encodeInPage, { seconds, width: kWidth, height: kHeight, rate: kRate });
  return pictures.map(({ time_ms, isKey, base64 }) => ({ time_ms, isKey, bytes: Buffer.from(base64, "base64") }));
}

// Runs in the browser.
async function encodeInPage({ seconds, width, height, rate }) {
  const canvas = new OffscreenCanvas(width, height);
  const pen = canvas.getContext("2d");
  const draw = (now) => {
    pen.fillStyle = `hsl(${200 + (60 * now) / seconds} 45% 22%)`;
    pen.fillRect(0, 0, width, height);
    pen.strokeStyle = pen.fillStyle = "#f3f5f7";
    pen.lineWidth = 5;
    pen.lineCap = "round";
    const [x, y, radius] = [height / 2, height / 2, height / 2 - 16];
    pen.beginPath();
    pen.arc(x, y, radius, 0, 2 * Math.PI);
    pen.moveTo(x, y);
    const angle = 2 * Math.PI * (now / seconds) - Math.PI / 2;
    pen.lineTo(x + 0.85 * radius * Math.cos(angle), y + 0.85 * radius * Math.sin(angle));
    pen.stroke();
    pen.font = "600 48px sans-serif";
    pen.fillText(now.toFixed(1), height + 8, height / 2 + 17);
  };
  const base64 = (bytes) => btoa(String.fromCharCode(...bytes));
  const pictures = [];
  const encoder = new VideoEncoder({
    output: (chunk) => {
      const bytes = new Uint8Array(chunk.byteLength);
      chunk.copyTo(bytes);
      pictures.push({ time_ms: chunk.timestamp / 1000, isKey: chunk.type === "key", base64: base64(bytes) });
    },
    error: (failure) => {
      throw failure;
    },
  });
  encoder.configure({ codec: "vp8", width, height, bitrate: 60_000, framerate: rate });
  for (let i = 0; i < seconds * rate; ++i) {
    draw(i / rate);
    const frame = new VideoFrame(canvas, { timestamp: (i * 1_000_000) / rate });
    encoder.encode(frame, { keyFrame: i % rate === 0 });
    frame.close();
  }
  await encoder.flush();
  return pictures;
}

// An element: its id, the length of its content in eight bytes, the content.
function element(id, ...content) {
  const body = Buffer.concat(content);
  const length = Buffer.alloc(8);
  length.writeBigUInt64BE(BigInt(body.length));
  length[0] = 0x01;
  return Buffer.concat([Buffer.from(id.toString(16), "hex"), length, body]);
}

function number(id, value) {
  const bytes = Buffer.alloc(8);
  bytes.writeBigUInt64BE(BigInt(value));
  return element(id, bytes);
}

function float(id, value) {
  const bytes = Buffer.alloc(8);
  bytes.writeDoubleBE(value);
  return element(id, bytes);
}

const text = (id, value) => element(id, Buffer.from(value));

function simpleBlock({ time_ms, isKey, bytes }, clusterTime_ms) {
  const head = Buffer.from([0x81, 0, 0, isKey ? 0x80 : 0]);
  head.writeInt16BE(time_ms - clusterTime_ms, 1);
  return element(0xa3, head, bytes);
}

function clustersOf(pictures, paddingBytes) {
  const clusters = [];
  for (const picture of pictures) {
    if (picture.isKey) clusters.push({ time_ms: picture.time_ms, pictures: [] });
    clusters.at(-1).pictures.push(picture);
  }
  return clusters.map(({ time_ms, pictures: own }) => {
    const blocks = own.map((picture) => simpleBlock(picture, time_ms));
    const padding = paddingBytes > 0 ? [element(0xec, Buffer.alloc(paddingBytes))] : [];
    return { time_ms, bytes: Buffer.concat([element(0x1f43b675, number(0xe7, time_ms), ...blocks), ...padding]) };
  });
}

function cuesOf(clusters, firstAt) {
  let at = firstAt;
  const points = clusters.map(({ time_ms, bytes }) => {
    const point = element(0xbb, number(0xb3, time_ms), element(0xb7, number(0xf7, 1), number(0xf1, at)));
    at += bytes.length;
    return point;
  });
  return element(0x1c53bb6b, ...points);
}

/// The file. paddingBytes: so many empty bytes behind each cluster, so that what is far in time is far in the file.
export function webm(pictures, { paddingBytes = 0 } = {}) {
  const head = element(0x1a45dfa3, number(0x4286, 1), number(0x42f7, 1), number(0x42f2, 4), number(0x42f3, 8), text(0x4282, "webm"), number(0x4287, 4), number(0x4285, 2));
  const last = pictures.at(-1).time_ms + 1000 / kRate;
  const info = element(0x1549a966, number(0x2ad7b1, 1_000_000), float(0x4489, last), text(0x4d80, "film"), text(0x5741, "film"));
  const picture = element(0xe0, number(0xb0, kWidth), number(0xba, kHeight));
  const tracks = element(0x1654ae6b, element(0xae, number(0xd7, 1), number(0x73c5, 1), number(0x83, 1), text(0x86, "V_VP8"), picture));
  const clusters = clustersOf(pictures, paddingBytes);
  const cuesBytes = cuesOf(clusters, 0).length;
  const cues = cuesOf(clusters, info.length + tracks.length + cuesBytes);
  return Buffer.concat([head, element(0x18538067, info, tracks, cues, ...clusters.map(({ bytes }) => bytes))]);
}
