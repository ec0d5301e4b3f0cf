// What a page asks the appliance for, and when it has come to rest. Whoever changes files or sessions under a page, or looks at
// something that the page does behind an answer, waits until then: a request under way would see half of it.
import assert from "node:assert/strict";

const kPatience_ms = 120_000;
// Nobody tells how a request ends that a page has left behind: one that is as old as this is no longer waited for.
const kLongest_ms = 30_000;
const kLooks = 3;
const underWay = new WeakMap();

/// Counts the page's requests from now on.
export function watchTraffic(page) {
  const traffic = { open: new Map(), begun: 0 };
  underWay.set(page, traffic);
  page.on("request", (request) => {
    ++traffic.begun;
    traffic.open.set(request, Date.now());
  });
  for (const event of ["requestfinished", "requestfailed"]) page.on(event, (request) => traffic.open.delete(request));
  page.on("framenavigated", (frame) => frame === page.mainFrame() && traffic.open.clear());
}

function waitsForNothing({ open }) {
  const oldest = Date.now() - kLongest_ms;
  for (const [request, begun] of open) if (begun < oldest) open.delete(request);
  return open.size === 0;
}

// The page has done all it can do without an answer. False while it makes way for another.
const idles = (page) =>
  page.evaluate(() => new Promise((resolve) => setTimeout(() => setTimeout(resolve)))).then(() => true, () => false);

/// Waits until the page has all its answers, has done with them what it does, and has asked for nothing else. What waits for
/// its time (a draft, the next look at something that goes on) is not waited for.
export async function quiet(page) {
  const traffic = underWay.get(page);
  const end = Date.now() + kPatience_ms;
  for (let looks = 0; looks < kLooks; ) {
    assert.ok(Date.now() < end, `the page still waits for ${[...traffic.open.keys()].map((request) => request.url())}`);
    const { begun } = traffic;
    const rests = waitsForNothing(traffic) && (await idles(page)) && waitsForNothing(traffic) && traffic.begun === begun;
    looks = rests ? looks + 1 : 0;
    if (!rests) await new Promise((resolve) => setTimeout(resolve, 10));
  }
}
