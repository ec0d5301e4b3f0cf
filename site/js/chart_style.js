// Colours and styles in chart descriptions. Nothing of a description reaches the page as it is: a style is taken apart into
// the few properties known here, a colour into its three numbers.

const kNamed = {
  aqua: '00ffff', black: '000000', blue: '0000ff', fuchsia: 'ff00ff', gray: '808080', green: '008000', grey: '808080',
  lime: '00ff00', maroon: '800000', navy: '000080', olive: '808000', orange: 'ffa500', purple: '800080', red: 'ff0000',
  silver: 'c0c0c0', teal: '008080', white: 'ffffff', yellow: 'ffff00',
};
const kWhite = [255, 255, 255];
const kLeastSize_px = 6;
const kMostSize_px = 72;

// "#09f", "#0099ff", "0x0099ff", "0099ff" or a name as [red, green, blue]; null for anything else.
export function parseColour(text) {
  if (typeof text !== 'string') return null;
  const word = text.trim().toLowerCase();
  const digits = Object.hasOwn(kNamed, word) ? kNamed[word] : /^(?:#|0x)?([0-9a-f]{6}|[0-9a-f]{3})$/.exec(word)?.[1];
  if (!digits) return null;
  const pairs = digits.length === 3 ? [...digits].map((digit) => digit + digit) : digits.match(/../g);
  return pairs.map((pair) => Number.parseInt(pair, 16));
}

export const sizeInPixels = (number) => Math.min(Math.max(number, kLeastSize_px), kMostSize_px);

// Names of fonts, without anything that could be more than that.
export function fontFamily(text) {
  const names = typeof text === 'string' ? text.trim() : '';
  return /^[\p{L}\p{N} ,'"-]{1,100}$/u.test(names) ? names : undefined;
}

// What each property may say, as { property: value } of a description's style.
const kReaders = {
  'font-size': (value) => {
    const number = /^(\d{1,4}(?:\.\d+)?)(?:px)?$/.exec(value);
    return number && { size: sizeInPixels(Number(number[1])) };
  },
  'font-family': (value) => fontFamily(value) && { family: fontFamily(value) },
  'font-weight': (value) => /^(normal|bold|bolder|lighter|[1-9]00)$/.test(value) && { weight: value },
  'font-style': (value) => /^(normal|italic|oblique)$/.test(value) && { slant: value },
  'text-align': (value) => /^(left|center|right)$/.test(value) && { align: value },
  color: (value) => parseColour(value) && { colour: parseColour(value) },
};

// "{font-size: 18px; color: #17678c; text-align: center;}", with the braces or without. What is unknown or no such value is
// passed over.
export function parseStyle(text) {
  if (typeof text !== 'string') return {};
  const style = {};
  for (const declaration of text.slice(0, 1000).replace(/[{}]/g, ' ').split(';')) {
    const colon = declaration.indexOf(':');
    const name = declaration.slice(0, Math.max(colon, 0)).trim().toLowerCase();
    if (!Object.hasOwn(kReaders, name)) continue;
    const value = declaration.slice(colon + 1).trim();
    Object.assign(style, kReaders[name](name === 'font-family' ? value : value.toLowerCase()) || {});
  }
  return style;
}

const linear = (channel) => (channel <= 0.04045 ? channel / 12.92 : ((channel + 0.055) / 1.055) ** 2.4);
const luminance = (rgb) => {
  const [red, green, blue] = rgb.map((channel) => linear(channel / 255));
  return 0.2126 * red + 0.7152 * green + 0.0722 * blue;
};

// Contrast of two colours as WCAG 2 has it, 1 to 21.
export function contrast(one, other) {
  const [low, high] = [luminance(one), luminance(other)].sort((a, b) => a - b);
  return (high + 0.05) / (low + 0.05);
}

// Hue (0 to 6) and how far the channels are apart (0 to 1).
function hueAndSpan(rgb) {
  const [red, green, blue] = rgb.map((channel) => channel / 255);
  const high = Math.max(red, green, blue);
  const low = Math.min(red, green, blue);
  if (high === low) return [0, 0];
  const span = high - low;
  const hue = high === red ? (green - blue) / span : high === green ? 2 + (blue - red) / span : 4 + (red - green) / span;
  return [(hue + 6) % 6, span];
}

// As HSL has it, but with the channels as far apart as they were where there is room: a pale colour stays pale.
function withLightness([hue, span], lightness) {
  const reach = Math.min(span / 2, lightness, 1 - lightness);
  return [0, 8, 4].map((shift) => {
    const at = (shift + 2 * hue) % 12;
    return Math.round((lightness - reach * Math.max(-1, Math.min(at - 3, 9 - at, 1))) * 255);
  });
}

// The colour of the same hue that is so bright.
function withLuminance(rgb, wanted) {
  const kind = hueAndSpan(rgb);
  let [low, high] = [0, 1];
  for (let i = 0; i < 12; ++i) {
    const middle = (low + high) / 2;
    if (luminance(withLightness(kind, middle)) < wanted) low = middle;
    else high = middle;
  }
  return withLightness(kind, (low + high) / 2);
}

// Descriptions choose their colours for white paper. On another ground a colour keeps the contrast that it has on white,
// and never has less than `least`.
export function onGround(rgb, ground, least) {
  const wanted = Math.max(contrast(rgb, kWhite), least);
  const base = luminance(ground) + 0.05;
  const isDark = luminance(ground) < 0.2;
  if (!isDark && contrast(rgb, ground) >= least) return rgb;
  return withLuminance(rgb, isDark ? Math.min(wanted * base - 0.05, 1) : Math.max(base / least - 0.05, 0));
}

export const toCss = ([red, green, blue], alpha = 1) => `rgba(${red}, ${green}, ${blue}, ${alpha})`;
