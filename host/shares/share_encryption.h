// Encrypting a share's folder and making it clear again (docs/decisions/0099).
#ifndef KEST_HOST_SHARES_SHARE_ENCRYPTION_H_
#define KEST_HOST_SHARES_SHARE_ENCRYPTION_H_

#include "host/shares/folders_module.h"
#include "host/shares/share_database.h"

namespace kest {

constexpr int kLocked = 1, kEncrypted = 2, kAutomatic = 4;

struct EncryptionRequest {
  const char* share;
  int step;  // a KEST_SHARE_ENC_STEP
  const char* passphrase;
  const char* volume;  // mount path of the volume that holds the share's folder
};

// Results: 0, or the negative of an ErrorCode.
int EncryptionStep(ShareDatabase& shares, const KestFoldersModule& folders, const EncryptionRequest& request);

// Makes a share's folder clear. Its vault has to be open: there is no passphrase here. The caller holds the share's
// lock.
int Decrypt(ShareDatabase& shares, const KestFoldersModule& folders, const Share& share, const std::string& volume);

// Whether a share is encrypted and its vault is not open.
bool IsLocked(const KestFoldersModule& folders, const Share& share);

// Of a change that was cut short: the folder is what the database says.
int TakeBackEncryption(const KestFoldersModule& folders, const ShareMove& move);
int TakeBackDecryption(const KestFoldersModule& folders, const ShareMove& move);

}  // namespace kest

#endif  // KEST_HOST_SHARES_SHARE_ENCRYPTION_H_
