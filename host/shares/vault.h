// Encrypted folders: gocryptfs keeps what is in them, file by file, below VOLUME/@vaults, and shows it where the
// share's folder is. Passphrases go to it through its standard input.
#ifndef KEST_HOST_SHARES_VAULT_H_
#define KEST_HOST_SHARES_VAULT_H_

namespace kest {

// Results: 0, or the negative of an ErrorCode: kErrorWrongKey for a passphrase that does not fit, kErrorUnsupported
// where gocryptfs or FUSE cannot be had.

// Makes an empty vault. On failure nothing is left of it.
int MakeVault(const char* vault, const char* passphrase);
int CheckVaultKey(const char* vault, const char* passphrase);
// Shows the vault at a folder, which is empty.
int OpenVault(const char* vault, const char* folder, const char* passphrase);
// kErrorBusy while somebody uses it.
int CloseVault(const char* folder);
bool IsOpenVault(const char* folder);

}  // namespace kest

#endif  // KEST_HOST_SHARES_VAULT_H_
