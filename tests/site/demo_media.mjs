// Makes the film, the sound and the picture that the demonstration's volume starts with:
//   node tests/site/demo_media.mjs appliance/volume1/public
import { writeFileSync } from "node:fs";
import path from "node:path";
import { chromium } from "playwright-core";
import { drawFilm, webm } from "./film.mjs";

const kRate = 8000;

// Three notes that fade, one byte for each of 8,000 moments a second.
function chime() {
  const moments = Buffer.alloc(2 * kRate, 128);
  [523.25, 659.25, 783.99].forEach((pitch, i) => {
    for (let at = (i * kRate) / 3; at < moments.length; ++at) {
      const age = at / kRate - i / 3;
      moments[Math.floor(at)] += Math.round(36 * Math.exp(-4 * age) * Math.sin(2 * Math.PI * pitch * age));
    }
  });
  const head = Buffer.alloc(44);
  head.write("RIFF", 0);
  head.writeUInt32LE(36 + moments.length, 4);
  head.write("WAVEfmt ", 8);
  [16, 0x00010001, kRate, kRate, 0x00080001].forEach((value, i) => head.writeUInt32LE(value, 16 + 4 * i));
  head.write("data", 36);
  head.writeUInt32LE(moments.length, 40);
  return Buffer.concat([head, moments]);
}

// Runs in the browser: hills before an evening sky.
async function drawPicture() {
  const canvas = new OffscreenCanvas(960, 600);
  const pen = canvas.getContext("2d");
  const sky = pen.createLinearGradient(0, 0, 0, 600);
  for (const [at, colour] of [[0, "#28406b"], [0.55, "#d98a6a"], [1, "#f4d7a8"]]) sky.addColorStop(at, colour);
  pen.fillStyle = sky;
  pen.fillRect(0, 0, 960, 600);
  pen.fillStyle = "#fff3d6";
  pen.beginPath();
  pen.arc(690, 300, 46, 0, 2 * Math.PI);
  pen.fill();
  ["#7a5a6d", "#4d4a63", "#2a3348"].forEach((colour, i) => {
    pen.fillStyle = colour;
    pen.beginPath();
    pen.moveTo(0, 600);
    for (let x = 0; x <= 960; x += 4) pen.lineTo(x, 360 + 70 * i + 42 * Math.sin(x / (150 - 30 * i) + 2 * i) + 14 * Math.sin(x / 47 + i));
    pen.lineTo(960, 600);
    pen.fill();
  });
  const blob = await canvas.convertToBlob({ type: "image/jpeg", quality: 0.8 });
  return Array.from(new Uint8Array(await blob.arrayBuffer()));
}

const folder = process.argv[2];
const browser = await chromium.launch({ executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium", args: ["--no-sandbox"] });
try {
  const page = await browser.newPage();
  await page.goto("file:///");
  writeFileSync(path.join(folder, "clock.webm"), webm(await drawFilm(page, { seconds: 12 })));
  writeFileSync(path.join(folder, "hills.jpg"), Buffer.from(await page.evaluate(drawPicture)));
  writeFileSync(path.join(folder, "chime.wav"), chime());
} finally {
  await browser.close();
}
