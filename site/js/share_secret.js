// The fields of a passphrase: which of them a change of the encryption needs. A passphrase never outlives its form.

const kNeeds = {
  none: { manual: ['once', 'again'], auto: ['once', 'again'] },
  manual: { auto: ['once'] },
};

// before, after: "none", "manual" or "auto".
export function showSecrets(form, before, after) {
  const needed = kNeeds[before]?.[after] ?? [];
  for (const field of form.querySelectorAll('[data-secret]')) {
    field.hidden = !needed.includes(field.dataset.secret);
    if (field.hidden) field.querySelector('input').value = '';
  }
}

export function forgetSecrets(form) {
  for (const input of form.querySelectorAll('[data-secret] input')) input.value = '';
}
