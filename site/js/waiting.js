// Work of the appliance that takes long: whoever waits for it is not away, so the session is kept until it is done.
import { get } from './api.js';

const kBetweenSigns_ms = 60_000;

// work() starts it and resolves to what comes of it.
export async function whileWaiting(work) {
  const signs = setInterval(() => get('whoami', { active: 1 }), kBetweenSigns_ms);
  try {
    return await work();
  } finally {
    clearInterval(signs);
  }
}
