// The groups of the navigation: an open one hangs over the page, so it closes as a menu does. On a phone it covers
// nothing and stays as it was put.

const groupsOf = (navigation) => [...navigation.querySelectorAll('details[open]')];

export function bringNavigationToLife(navigation) {
  if (document.body.classList.contains('mobile')) return;
  document.addEventListener('pointerdown', ({ target }) => {
    for (const group of groupsOf(navigation)) if (!group.contains(target)) group.open = false;
  });
  navigation.addEventListener('focusout', ({ target, relatedTarget }) => {
    const group = target.closest('details');
    if (group && relatedTarget && !group.contains(relatedTarget)) group.open = false;
  });
  navigation.addEventListener('keydown', ({ key, target }) => {
    const group = target.closest('details[open]');
    if (key !== 'Escape' || !group) return;
    group.open = false;
    group.querySelector('summary').focus();
  });
}
