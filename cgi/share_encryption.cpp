#include "share_encryption.h"

#include "failure_code.h"
#include "name_text.h"
#include "platform/klib.h"
#include "share_refusal.h"

namespace site {

namespace {

struct State {
  const char* word;
  int status;
};

constexpr int kClear = 0;
constexpr int kManual = 2;
constexpr int kAutomatic = 6;
constexpr State kStates[] = {{"none", kClear}, {"manual", kManual}, {"auto", kAutomatic}};

// Longer ones are cut off by the library.
constexpr size_t kPassphraseBytes = 63;
constexpr size_t kShortestPassphrase = 8;

// A key that was stored can be removed again. An encrypted folder, and a key that was removed, stay so.
bool IsUndone(SDK::Share& share, int before) {
  if (share.GetStatus() == kClear) return true;
  return before == kManual && share.SetEncryption(before, "", "") == 1;
}

}  // namespace

std::vector<std::string> EncryptionWords() {
  std::vector<std::string> words;
  for (const State& state : kStates) words.emplace_back(state.word);
  return words;
}

int EncryptionOf(const std::string& word) {
  for (const State& state : kStates) {
    if (word == state.word) return state.status;
  }
  return kClear;
}

const char* EncryptionWord(int status) {
  for (const State& state : kStates) {
    if (status == state.status) return state.word;
  }
  return "fixed";
}

const char* RefusalOfPassphrase(const std::string& text) {
  if (!IsPlainText(text)) return "error_field_characters";
  const bool fits = text.size() >= kShortestPassphrase && text.size() <= kPassphraseBytes;
  return fits ? nullptr : "error_passphrase_length";
}

EncryptionOutcome ChangeEncryption(SDK::Share& share, int wanted, const std::string& passphrase) {
  const int before = share.GetStatus();
  KLIBErrSet(0);
  if (share.SetEncryption(wanted, passphrase, passphrase) != 1) {
    return {WhyNotSaved(), KLIBErrGet() == kWrongPassphrase};
  }
  KLIBErrSet(0);
  if (share.Save()) return {nullptr, false};
  const char* const failure = WhyNotSaved();
  return {IsUndone(share, before) ? failure : "error_share_encryption_partly", false};
}

}  // namespace site
