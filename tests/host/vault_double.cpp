#include "vault_double.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "folder.h"
#include "host/klib/error_code.h"
#include "system_faults.h"

namespace fs = std::filesystem;

namespace {

// Beside the vault: where it is open. Beside the folder: which vault is open there.
std::string OpenAt(const std::string& vault) { return vault + "/open"; }

// The vault that is open at a folder; "" for none. Vaults lie below the second folder of a volume's own.
std::string VaultAt(const std::string& folder) {
  std::error_code none;
  for (fs::path volume = fs::path(folder).parent_path(); volume != volume.root_path(); volume = volume.parent_path()) {
    for (const auto& entry : fs::directory_iterator(volume / "@vaults", none)) {
      if (Content(OpenAt(entry.path())) == folder) return entry.path();
    }
  }
  return "";
}

bool IsOpen(const char* folder) { return !VaultAt(folder).empty(); }

int MakeVault(const char* vault, const char*) {
  if (FaultStrikes("make_vault")) return -kest::kErrorUnsupported;
  fs::create_directories(std::string(vault) + "/data");
  return 0;
}

int CheckKey(const char*, const char* passphrase) {
  return strcmp(passphrase, "right") == 0 ? 0 : -kest::kErrorWrongKey;
}

int OpenVault(const char* vault, const char* folder, const char* passphrase) {
  if (FaultStrikes("open_vault")) return -kest::kErrorUnsupported;
  if (int failure = CheckKey(vault, passphrase)) return failure;
  if (!fs::is_empty(folder)) return -kest::kErrorBusy;
  const std::string place = vault;
  fs::rename(folder, place + "/covered");
  fs::rename(place + "/data", folder);
  std::ofstream(OpenAt(place)) << folder;
  return 0;
}

int CloseVault(const char* folder) {
  if (FaultStrikes("close_vault")) return -kest::kErrorBusy;
  const std::string place = VaultAt(folder);
  fs::rename(folder, place + "/data");
  fs::rename(place + "/covered", folder);
  fs::remove(OpenAt(place));
  return 0;
}

// Memory that forgets is no part of what is tested.
int StoreKey(const kest::KeyFiles&, int64_t, const char*) { return 0; }
int LoadKey(const kest::KeyFiles&, int64_t, char (&)[kest::kPassphraseBytes]) { return -kest::kErrorNoSuchObject; }
int keys_removed = 0;
int RemoveKey(const kest::KeyFiles&, int64_t) {
  ++keys_removed;
  return 0;
}

}  // namespace

int KeysRemoved() { return keys_removed; }

const KestFoldersModule* FoldersWithVaults() {
  static const KestFoldersModule folders = [] {
    KestFoldersModule all = *KestFoldersModuleTable();
    all.make_vault = MakeVault;
    all.check_vault_key = CheckKey;
    all.open_vault = OpenVault;
    all.close_vault = CloseVault;
    all.is_open_vault = IsOpen;
    all.store_key = StoreKey;
    all.load_key = LoadKey;
    all.remove_key = RemoveKey;
    return all;
  }();
  return &folders;
}
