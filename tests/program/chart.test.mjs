// chart.cgi: the mounted volumes as a pie, the requests of the last day as a line. /volume1 and /volume2 are memory disks
// here (CMakeLists.txt), so that their figures are known to the byte.
import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { chmodSync, linkSync, mkdirSync, rmSync, statfsSync, truncateSync, writeFileSync } from "node:fs";
import { before, beforeEach, test } from "node:test";
import { assertRefused, assertSessionRefused, keepSettings, login, makeAccounts, run, writeSetting } from "./program.mjs";

const kLog = "/var/log/httpd-access.log";
const kHours = 24;
const kMiB = 1024 * 1024;
const kMostRead = 16 * kMiB;
let cookie;

before(() => {
  makeAccounts();
  cookie = login();
});

beforeEach(() => {
  for (const file of [kLog, `${kLog}.1`]) rmSync(file, { recursive: true, force: true });
});

const ask = (chart, request = {}) => run("chart", { query: { chart }, cookie, ...request });
const hourNow = () => Math.floor(Date.now() / 3_600_000);

// A moment of the hour that lies `back` hours before `hour`, as the log writes it.
const timeOf = (hour, back, second = 0) => new Date((hour - back) * 3_600_000 + second * 1000).toISOString().replace(/\.000Z$/, "+0000");
const line = (time) => `127.0.0.1 ${time} "GET / HTTP/1.1" 200 1759 210us\n`;

// What `write(hour)` puts into the log, counted. An hour that ends meanwhile is tried again.
function count(write, request) {
  for (let attempt = 0; attempt < 3; ++attempt) {
    const hour = hourNow();
    write(hour);
    const reply = ask("requests", request);
    if (hour === hourNow()) return reply;
  }
  return assert.fail("three hours ended in a row");
}

// What a line in the hour that runs now may say without lying in the future.
const justNow = (hour) => timeOf(hour, 0);

function valuesOf(reply) {
  assert.ok(reply.json?.elements, reply.text);
  const { values } = reply.json.elements[0];
  assert.equal(values.length, kHours);
  return values;
}

// { hours back: requests }, all other hours zero.
function assertCounts(reply, expected) {
  const wanted = Array.from({ length: kHours }, (_, i) => expected[kHours - 1 - i] ?? 0);
  assert.deepEqual(valuesOf(reply), wanted);
}

test("The document of the requests is whole", () => {
  const reply = count((hour) => writeFileSync(kLog, line(justNow(hour)) + line(timeOf(hour, 3, 59)).repeat(12)));
  const { values } = reply.json.elements[0];
  const { labels } = reply.json.x_axis.labels;
  const labelOf = (back) => `${String((hourNow() - back) % 24).padStart(2, "0")}:00`;
  assert.deepEqual(labels, Array.from({ length: kHours }, (_, i) => labelOf(kHours - 1 - i)));
  assert.deepEqual(reply.json, {
    title: { text: "Requests of the last 24 hours", style: "{font-size: 18px; font-weight: bold; text-align: left;}" },
    x_legend: { text: "Hour (UTC); the last one is still running", style: "{font-size: 12px;}" },
    y_legend: { text: "Requests per hour", style: "{font-size: 12px;}" },
    x_axis: { labels: { labels, steps: 3 }, offset: false, size: 12, steps: 3, stroke: 1 },
    y_axis: { max: 15, offset: false, steps: 5, stroke: "1" },
    elements: [{ type: "line", colour: "#17678c", text: "Requests per hour", "font-size": 13, "dot-size": 3, width: 2, values }],
  });
  assertCounts(reply, { 0: 1, 3: 12 });
  assert.equal(reply.headers.get("content-type"), 'text/plain; charset="UTF-8"');
  assert.equal(reply.headers.get("cache-control"), "no-store");
});

test("The document of the volumes is whole", () => {
  writeFileSync("/volume2/half", Buffer.alloc(kMiB / 2, 1));
  const { blocks, bavail, bsize } = statfsSync("/volume1");
  const used = (blocks - bavail) * bsize;
  const free = bavail * bsize;
  const size = (bytes) => (bytes < kMiB ? `${(bytes / 1024).toFixed(1)} KiB` : `${(bytes / kMiB).toFixed(1)} MiB`);
  assert.deepEqual(ask("volumes").json, {
    title: { text: "Mounted volumes", style: "{font-size: 18px; font-weight: bold; text-align: left;}" },
    elements: [
      {
        type: "pie",
        animate: 1,
        alpha: Math.fround(0.9),
        colour: ["#17678c", "#a9cfe0", "#8c4a17", "#e6c3a4"],
        values: [
          { label: `/volume1: ${size(used)} used`, value: used },
          { label: `/volume1: ${size(free)} free`, value: free },
          { label: "/volume2: 512.0 KiB used", value: 524288 },
          { label: "/volume2: 1.5 MiB free", value: 1572864 },
        ],
      },
    ],
  });
  rmSync("/volume2/half");
});

test("Texts are in the language of the request", () => {
  const german = { cookie: `${cookie}; lang=de` };
  writeFileSync("/volume2/half", Buffer.alloc(kMiB, 1));
  const labels = ask("volumes", german).json.elements[0].values.map(({ label }) => label);
  assert.deepEqual(labels.slice(2), ["/volume2: 1,0 MiB belegt", "/volume2: 1,0 MiB frei"]);
  rmSync("/volume2/half");
  writeFileSync(kLog, "");
  assert.equal(ask("requests", german).json.x_legend.text, "Stunde (UTC); die letzte läuft noch");
});

test("Volumes are for every account, requests for administrators", () => {
  writeFileSync(kLog, "");
  const anna = { cookie: login("anna") };
  assert.equal(ask("volumes", anna).json.elements[0].type, "pie");
  assertSessionRefused(ask("requests", anna), "unauth", "login", "error_noprivilege");
  for (const chart of ["volumes", "requests", ""]) {
    assertSessionRefused(ask(chart, { cookie: "" }), "timeout", "login", "error_timeout");
  }
});

for (const chart of ["", "volume", "requests ", "Volumes", "../volumes"]) {
  test(`chart=${chart} is refused`, () => assertRefused(ask(chart), "error", "error_bad_request"));
}

test("No log is said to be missing", () => assertRefused(ask("requests"), "chart", "error_no_log"));

const unreadable = {
  "a folder": (file) => mkdirSync(file),
  "a file without rights": (file) => (writeFileSync(file, "x"), chmodSync(file, 0)),
  "a pipe that nobody writes to": (file) => assert.equal(spawnSync("mkfifo", [file]).status, 0),
};
for (const [name, make] of Object.entries(unreadable)) {
  test(`A log that cannot be read: ${name}`, () => {
    make(kLog);
    assertRefused(ask("requests"), "chart", "error_log_unreadable");
  });

  test(`Where the rotated log cannot be read, the hours before the log are gaps: ${name}`, () => {
    make(`${kLog}.1`);
    const values = valuesOf(count((hour) => writeFileSync(kLog, line(timeOf(hour, 5)) + line(timeOf(hour, 2)).repeat(3))));
    assert.deepEqual(values, [...Array(19).fill(null), 0, 0, 3, 0, 0]);
  });
}

// Each row: what the log holds, and what is counted.
const logs = {
  "nothing": [() => "", {}],
  "a last line that still lacks its end": [(now) => line(justNow(now)).trimEnd(), { 0: 1 }],
  "a last line that ends within its time": [(now) => line(justNow(now)) + `127.0.0.1 ${justNow(now)}`, { 0: 1 }],
  "the oldest hour and the one before it": [(now) => line(timeOf(now, 23)) + line(timeOf(now, 24, 3599)), { 23: 1 }],
  "lines of tomorrow": [(now) => line(timeOf(now, -24)) + line(timeOf(now, 1)) + line("9999-12-31T23:59:59+0000"), { 1: 1 }],
  "a clock that was set back": [(now) => [1, 5, 2, 5, 1].map((back) => line(timeOf(now, back))).join(""), { 1: 2, 2: 1, 5: 2 }],
  "the same moment in three zones": [
    (now) => ["+0000", "+0200", "-1130"].map((zone) => line(inZone(timeOf(now, 4, 1800), zone))).join(""),
    { 4: 3 },
  ],
  "a line of 3 MiB without a time": [(now) => `${"x".repeat(3 * kMiB)}\n${line(timeOf(now, 2))}`, { 2: 1 }],
  "a line of 3 MiB with one": [(now) => line(timeOf(now, 2)).replace("GET /", `GET /${"x".repeat(3 * kMiB)}`), { 2: 1 }],
  "a time behind the first 128 bytes": [(now) => `${"x".repeat(128)} ${line(timeOf(now, 2)).slice(10)}`, {}],
  "a second time in a line": [(now) => line(timeOf(now, 2)).replace("GET", timeOf(now, 3)), { 2: 1 }],
  "bytes of every value, NUL among them": [(now) => Buffer.concat([allBytes, Buffer.from("\n"), Buffer.from(line(timeOf(now, 2))), allBytes]), { 2: 1 }],
  "line ends only": [() => "\n".repeat(100_000), {}],
  "times that are none": [() => oddTimes.map(line).join(""), {}],
  "lines that begin with a blank": [(now) => ` ${justNow(now)} x\n  ${justNow(now)} x\n`, { 0: 1 }],
};
const allBytes = Buffer.from(Array.from({ length: 256 }, (_, i) => i));
const oddTimes = [
  "", "-", "now", "2026-11-20", "2026-11-20T10:00:00", "2026-11-20T10:00:00Z", "2026-13-20T10:00:00+0000", "2026-00-20T10:00:00+0000",
  "2026-11-32T10:00:00+0000", "2026-11-20T24:00:00+0000", "2026-11-20T10:60:00+0000", "2026-11-20T10:00:61+0000", "2026-11-20T10:00:00+1500",
  "2026-11-20T10:00:00+0060", "+026-11-20T10:00:00+0000", "2026-11-20 10:00:00+0000", "0000-11-20T10:00:00+0000", "2026-11-20T10:00:00+00000",
];

// "+0000" becomes the same moment in another zone.
function inZone(time, zone) {
  const [, sign, hours, minutes] = /([+-])(\d\d)(\d\d)/.exec(zone);
  const shift_ms = (sign === "+" ? 1 : -1) * (hours * 60 + Number(minutes)) * 60_000;
  return new Date(Date.parse(time) + shift_ms).toISOString().replace(/\.000Z$/, zone);
}

for (const [name, [write, expected]] of Object.entries(logs)) {
  test(`A log that holds ${name}`, () => assertCounts(count((hour) => writeFileSync(kLog, write(hour))), expected));
}

test("An odd time is not counted although it is of today", () => {
  const today = timeOf(hourNow(), 0).slice(0, 10);
  writeFileSync(kLog, oddTimes.map((time) => line(time.replace(/^2026-11-20/, today))).join(""));
  assertCounts(ask("requests"), {});
});

test("Lines of every length are counted across the pieces in which a log is read", () => {
  const expected = {};
  const write = (hour) => {
    let text = "";
    for (let i = 0; i < 20_000; ++i) {
      const back = (i * 7) % kHours;
      expected[back] = (expected[back] ?? 0) + 1;
      text += line(timeOf(hour, back)).replace("GET /", `GET /${"p".repeat(i % 293)}`);
    }
    writeFileSync(kLog, text);
  };
  const reply = count((hour) => (Object.keys(expected).forEach((key) => delete expected[key]), write(hour)));
  assertCounts(reply, expected);
});

test("Of a log longer than what is read, the hours wholly read are counted and the others are gaps", () => {
  const perHour = Math.ceil(kMostRead / line(timeOf(0, 0)).length / 10);  // ten hours fill what is read
  const reply = count((hour) => {
    const hours = Array.from({ length: 20 }, (_, i) => line(timeOf(hour, 19 - i)).repeat(perHour));
    writeFileSync(kLog, hours.join(""));
  });
  const values = valuesOf(reply);
  const known = values.findIndex((value) => value !== null);
  assert.ok(known >= 13 && known <= 15, `known from ${known} on`);
  assert.deepEqual(values.slice(0, known), Array(known).fill(null));
  assert.deepEqual(values.slice(known), Array(kHours - known).fill(perHour));
  assert.match(reply.json.x_legend.text, /the log is longer than what is read of it/);
});

test("A line that is cut where the reading begins is no line", () => {
  const reply = count((hour) => {
    const [head, last] = [`x ${timeOf(hour, 1)} `, line(timeOf(hour, 30))];
    const rest = "y".repeat(kMostRead - head.length - last.length - 1);
    writeFileSync(kLog, `127.0.0.1 - ${head}${rest}\n${last}`);
  });
  assertCounts(reply, {});
});

test("A log of a tebibyte is answered for by its end", () => {
  const reply = count((hour) => {
    writeFileSync(kLog, "");
    truncateSync(kLog, 1024 ** 4);
    writeFileSync(kLog, `\n${line(timeOf(hour, 30))}${line(timeOf(hour, 2))}${line(timeOf(hour, 2))}`, { flag: "a" });
  });
  assertCounts(reply, { 2: 2 });
});

test("A log of a tebibyte without a line leaves every hour unknown", () => {
  writeFileSync(kLog, "");
  truncateSync(kLog, 1024 ** 4);
  assert.deepEqual(valuesOf(ask("requests")), Array(kHours).fill(null));
  assert.equal(ask("requests").json.y_axis.max, 1);
});

test("What the last rotation put aside is counted, too", () => {
  const reply = count((hour) => {
    writeFileSync(`${kLog}.1`, line(timeOf(hour, 7)) + line(timeOf(hour, 1)));
    writeFileSync(kLog, line(timeOf(hour, 1)) + line(justNow(hour)));
  });
  assertCounts(reply, { 0: 1, 1: 2, 7: 1 });
  assert.equal(reply.json.x_legend.text, "Hour (UTC); the last one is still running");
});

test("A log that was just rotated is not counted twice", () => {
  const reply = count((hour) => {
    for (const file of [kLog, `${kLog}.1`]) rmSync(file, { force: true });
    writeFileSync(kLog, line(timeOf(hour, 1)));
    linkSync(kLog, `${kLog}.1`);
  });
  assertCounts(reply, { 1: 1 });
});

test("A rotated log is read as far as the log leaves room", () => {
  const lines = (hour, requests) => Object.entries(requests).map(([back, number]) => line(timeOf(hour, Number(back))).repeat(number));
  const reply = count((hour) => {
    // All but one KiB, which some fifteen lines fill.
    writeFileSync(kLog, `${"x".repeat(1023)}\n`.repeat(kMostRead / 1024 - 1) + line(timeOf(hour, 1)));
    writeFileSync(`${kLog}.1`, lines(hour, { 9: 50 }).concat(lines(hour, { 6: 3 }), lines(hour, { 4: 2 }), lines(hour, { 3: 1 })).join(""));
  });
  assert.deepEqual(valuesOf(reply), [...Array(15).fill(null), 0, 0, 3, 0, 2, 1, 0, 1, 0]);
  assert.equal(reply.json.y_axis.max, 3, "an hour that is not known makes the axis no longer");
});

test("Hours begin where those of the appliance's time zone begin", (t) => {
  keepSettings(t);
  writeSetting("timezone", "Asia/Kolkata");
  const reply = count((hour) => writeFileSync(kLog, line(timeOf(hour, 5, 29 * 60)) + line(timeOf(hour, 5, 31 * 60)).repeat(4)));
  const values = valuesOf(reply);
  const four = values.indexOf(4);
  assert.equal(values[four - 1], 1);
  assert.ok(reply.json.x_axis.labels.labels.every((label) => label.endsWith(":00")));
  assert.equal(reply.json.x_legend.text, "Hour (Asia/Kolkata); the last one is still running");
});

const scales = { 0: [1, 1], 1: [1, 1], 5: [5, 1], 6: [6, 2], 10: [10, 2], 11: [15, 5], 25: [25, 5], 26: [30, 10], 51: [60, 20], 4999: [5000, 1000] };
for (const [requests, scale] of Object.entries(scales)) {
  test(`The vertical axis for ${requests} requests`, () => {
    const { max, steps } = count((hour) => writeFileSync(kLog, line(timeOf(hour, 2)).repeat(requests))).json.y_axis;
    assert.deepEqual([max, steps], scale);
  });
}

for (const zone of ["", "Nowhere/Atall", "../../../etc/passwd", "x".repeat(5000)]) {
  test(`A time zone that is none counts as UTC: ${zone.slice(0, 30)}`, (t) => {
    keepSettings(t);
    writeSetting("timezone", zone);
    assertCounts(count((hour) => writeFileSync(kLog, line(timeOf(hour, 5)))), { 5: 1 });
  });
}
