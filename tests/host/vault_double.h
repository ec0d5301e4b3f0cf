// What stands in for gocryptfs and FUSE where nothing can be mounted and calls are made to fail: a vault is a folder,
// and opening it exchanges what it holds with the folder at which it is shown. The passphrase "right" fits.
#ifndef TESTS_HOST_VAULT_DOUBLE_H_
#define TESTS_HOST_VAULT_DOUBLE_H_

#include "host/shares/folders_module.h"

/// The real folders with such vaults, and stored keys in memory.
const KestFoldersModule* FoldersWithVaults();

/// How often a stored key has been removed.
int KeysRemoved();

#endif  // TESTS_HOST_VAULT_DOUBLE_H_
