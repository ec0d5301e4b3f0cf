// Films, music and pictures in the page itself. The browser fetches of a film what it needs, by ranges.
const kElements = { video: 'video', audio: 'audio', image: 'img' };

const at = (id) => document.getElementById(id);
let opener = null;

export const canPreview = (kind) => kind in kElements;

export function closePreview() {
  const [shown] = at('preview-stage').children;
  if (!shown) return;
  // Without an address the browser stops fetching.
  shown.removeAttribute('src');
  shown.load?.();
  at('preview-stage').replaceChildren();
  at('preview').hidden = true;
}

// item: as files.cgi describes it; address: where its bytes are; link: gets the focus back.
export function openPreview({ kind, name }, address, link) {
  closePreview();
  opener = link;
  const element = document.createElement(kElements[kind]);
  if (kind === 'image') element.alt = name;
  else Object.assign(element, { controls: true, preload: 'metadata' });
  element.setAttribute('aria-label', name);
  at('preview-failed').hidden = true;
  element.addEventListener('error', () => {
    if (element.isConnected) at('preview-failed').hidden = false;
  });
  element.src = address;
  at('preview-name').textContent = name;
  at('preview-stage').replaceChildren(element);
  at('preview').hidden = false;
  at('preview-name').focus();
  at('preview').scrollIntoView({ block: 'nearest' });
}

at('preview-close').addEventListener('click', () => {
  closePreview();
  opener?.focus();
});
