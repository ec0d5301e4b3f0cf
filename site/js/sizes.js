// Amounts of bytes as people read them.
import { currentLanguage } from './texts.js';

const kDecimal = { base: 1000, units: ['B', 'kB', 'MB', 'GB', 'TB', 'PB'] };
const kBinary = { base: 1024, units: ['B', 'KiB', 'MiB', 'GiB', 'TiB', 'PiB'] };

function inWords(bytes, { base, units }) {
  let step = 0;
  let amount = bytes;
  for (; amount >= base && step < units.length - 1; ++step) amount /= base;
  return `${amount.toLocaleString(currentLanguage(), { maximumFractionDigits: step === 0 ? 0 : 1 })} ${units[step]}`;
}

export const sizeInWords = (bytes) => inWords(bytes, kDecimal);

// In the units of the library's labels.
export const binarySizeInWords = (bytes) => inWords(bytes, kBinary);
