// Where the focus stops on a page that somebody walks through with the Tab key, and what can be pressed there.
import assert from "node:assert/strict";

const kMostTabs = 400;

// Runs in the page. `window.walk` names the elements that the keyboard is to reach, and notes each that has got the focus.
function prepare() {
  const kControls = "a[href], button, input, select, textarea, summary, [tabindex]";
  const nameOf = (element) =>
    `${element.localName}${element.id ? `#${element.id}` : ""} "${(element.ariaLabel ?? element.textContent).trim().replace(/\s+/g, " ").slice(0, 30)}"`;
  const isSeen = (element) => element.checkVisibility({ visibilityProperty: true, contentVisibilityAuto: true });
  const controls = () => [...document.querySelectorAll(kControls)].filter((one) => one.tabIndex >= 0 && !one.disabled && isSeen(one));
  // A link that stands for a whole tile is outlined with it, and pressed anywhere on it; so is a box with its label.
  const bodyOf = (element) => element.closest(".tile") ?? element;
  const outlineOf = (element) => {
    const { outlineStyle, outlineWidth } = getComputedStyle(bodyOf(element));
    return outlineStyle === "none" ? 0 : Number.parseFloat(outlineWidth);
  };
  const sizeOf = (element) => {
    const boxes = [bodyOf(element), ...(["checkbox", "radio"].includes(element.type) ? element.labels : [])].map((one) => one.getBoundingClientRect());
    return ["width", "height"].map((side) => Math.round(Math.max(...boxes.map((box) => box[side]))));
  };
  const stops = [];
  document.addEventListener("focusin", ({ target }) => stops.push({ element: target, outline: outlineOf(target) }));
  window.walk = {
    wanted: () => controls().map(nameOf),
    sizes: () => controls().map((one) => ({ name: nameOf(one), size: sizeOf(one) })),
    reached: () => {
      const seen = new Set(stops.map(({ element }) => element));
      return controls().filter((one) => seen.has(one)).map(nameOf);
    },
    unseen: () => stops.filter(({ element, outline }) => element.isConnected && outline < 2).map(({ element }) => nameOf(element)),
  };
}

/// Presses Tab from the beginning of a page that has just been opened until each control has had the focus, in their order,
/// and seen. What the page still adds meanwhile is walked, too.
export async function walkByTab(page, what) {
  await page.evaluate(prepare);
  let wanted = [];
  let reached = [];
  for (let pressed = 0; pressed < kMostTabs; ) {
    wanted = await page.evaluate(() => window.walk.wanted());
    reached = await page.evaluate(() => window.walk.reached());
    if (wanted.length > 0 && reached.length === wanted.length) break;
    // A field for a date takes several presses.
    for (let count = Math.max(wanted.length - reached.length, 1); count > 0; --count, ++pressed) await page.keyboard.press("Tab");
  }
  assert.deepEqual(reached, wanted, `${what}: reached by keyboard`);
  assert.deepEqual(await page.evaluate(() => window.walk.unseen()), [], `${what}: the focus is not seen`);
  return wanted;
}

/// On a page that has been walked through, each control that is seen is large enough for a finger.
export async function assertFingersFit(page, what, least) {
  const small = (await page.evaluate(() => window.walk.sizes())).filter(({ size }) => Math.min(...size) < least);
  assert.deepEqual(small, [], `${what}: too small for a finger`);
}
