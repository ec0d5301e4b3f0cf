// Passphrases of folders that are opened without anybody typing them: each in a file of its own, encrypted under the
// machine's key (docs/decisions/0099).
#ifndef KEST_HOST_SHARES_KEY_STORE_H_
#define KEST_HOST_SHARES_KEY_STORE_H_

#include <stddef.h>
#include <stdint.h>

namespace kest {

constexpr size_t kPassphraseBytes = 64;  // with its NUL

struct KeyFiles {
  const char* machine_key = "/usr/kest/etc/machine.key";
  const char* folder = "/usr/kest/etc/share_keys";
};

// Results: 0, or the negative of an ErrorCode.
int StoreKey(const KeyFiles& files, int64_t share, const char* passphrase);
// kErrorNoSuchObject when there is none; kErrorWrongKey when it was not stored by this machine, or for another share.
int LoadKey(const KeyFiles& files, int64_t share, char (&passphrase)[kPassphraseBytes]);
// One that is not there is removed already.
int RemoveKey(const KeyFiles& files, int64_t share);

}  // namespace kest

#endif  // KEST_HOST_SHARES_KEY_STORE_H_
