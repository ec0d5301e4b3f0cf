// The encryption of a shared folder, as forms name its states, and its changes.
#ifndef CGI_SHARE_ENCRYPTION_H
#define CGI_SHARE_ENCRYPTION_H

#include <tarvel/share.h>

#include <string>
#include <vector>

namespace site {

/// The words that a form may ask for: "none", "manual", "auto".
std::vector<std::string> EncryptionWords();

/// The state of a word that is one of those.
int EncryptionOf(const std::string& word);

/// The word of a state; "fixed" for one that cannot be changed.
const char* EncryptionWord(int status);

/// @return null when it may become the passphrase of a share; otherwise the key of why not, section "error"
const char* RefusalOfPassphrase(const std::string& text);

/// What a change of the encryption came to.
struct EncryptionOutcome {
  const char* failure;          ///< null when done; otherwise the key of why not, section "error"
  bool is_passphrase_to_blame;  ///< the failure belongs beside the passphrase
};

/// Changes the encryption of a stored share, and stores that.
EncryptionOutcome ChangeEncryption(SDK::Share& share, int wanted, const std::string& passphrase);

}  // namespace site

#endif  // CGI_SHARE_ENCRYPTION_H
