#include "host/shares/share_encryption.h"

#include <string.h>

#include "host/database/database_error.h"
#include "host/klib/error_code.h"
#include "host/shares/share_lock.h"
#include "host/shares/share_recovery.h"
#include "platform/kestdir.h"

namespace kest {
namespace {

// Where a share's vault lies, and what stands beside it for a while.
struct VaultPlace {
  VaultPlace(const std::string& volume, int64_t share) : vault(volume + "/@vaults/" + std::to_string(share)) {}

  std::string vault;
  std::string opened = vault + ".open";  // the vault while it is filled
  std::string clear = vault + ".clear";  // what is in clear, on its way in or out
};

int CloseAndRemove(const KestFoldersModule& folders, const std::string& folder) {
  if (folders.is_open_vault(folder.c_str())) {
    if (int failure = folders.close_vault(folder.c_str())) return failure;
  }
  return folders.exists(folder.c_str()) ? folders.remove_empty(folder.c_str()) : 0;
}

int MakeFolder(const KestFoldersModule& folders, const std::string& path) {
  bool made = false;
  return folders.make(path.c_str(), &made);
}

// Stores the new state together with the note of what is left to be removed.
int StoreState(ShareDatabase& shares, int64_t share, int encryption, const ShareMove& rest) {
  Transaction transaction(shares.database());
  const bool stored = transaction.open() && shares.SetEncryption(share, encryption) && shares.Note(rest);
  return stored && transaction.Commit() ? 0 : DatabaseFailure();
}

// Fills a new vault with what is in the folder.
int FillVault(const KestFoldersModule& folders, const VaultPlace& place, const std::string& folder,
              const char* passphrase) {
  if (int failure = folders.make_vault(place.vault.c_str(), passphrase)) return failure;
  if (int failure = MakeFolder(folders, place.opened)) return failure;
  if (int failure = folders.open_vault(place.vault.c_str(), place.opened.c_str(), passphrase)) return failure;
  if (int failure = folders.copy_into(folder.c_str(), place.opened.c_str())) return failure;
  return CloseAndRemove(folders, place.opened);
}

// Puts the vault in the place of the folder.
int Exchange(const KestFoldersModule& folders, const VaultPlace& place, const std::string& folder,
             const char* passphrase) {
  if (int failure = folders.rename(folder.c_str(), place.clear.c_str())) return failure;
  if (int failure = MakeFolder(folders, folder)) return failure;
  return folders.open_vault(place.vault.c_str(), folder.c_str(), passphrase);
}

// The end of a change: what was begun is taken back, or what is stored is finished, if not now then by the next who
// looks.
int End(ShareDatabase& shares, const KestFoldersModule& folders, int64_t share, int failure) {
  RecoverShare(shares, folders, share);
  return failure;
}

class Step {
 public:
  Step(ShareDatabase& shares, const KestFoldersModule& folders, const Share& share, const EncryptionRequest& request)
      : shares_(shares), folders_(folders), share_(share), request_(request), place_(request.volume, share.id) {}

  int Store() {
    if (*request_.passphrase == '\0') return -kErrorBadParameter;
    // What does not open the folder would be found out at the next start only.
    if (int failure = IsEncrypted() ? Verify() : 0) return failure;
    if (int failure = folders_.store_key({}, share_.id, request_.passphrase)) return failure;
    return IsEncrypted() ? SetState(share_.encryption | kAutomatic) : 0;
  }

  int Verify() {
    if (!IsEncrypted()) return -kErrorBadParameter;
    return folders_.check_vault_key(place_.vault.c_str(), request_.passphrase);
  }

  int Remove() {
    if (int failure = SetState(share_.encryption & ~kAutomatic)) return failure;
    return folders_.remove_key({}, share_.id);
  }

  int Start() {
    if (IsEncrypted()) return Open();
    if (*request_.passphrase == '\0') return -kErrorBadParameter;
    return End(shares_, folders_, share_.id, Encrypt());
  }

 private:
  bool IsEncrypted() const { return (share_.encryption & kEncrypted) != 0; }

  int SetState(int encryption) {
    if (encryption == share_.encryption) return 0;
    return shares_.SetEncryption(share_.id, encryption) ? 0 : DatabaseFailure();
  }

  // A passphrase that nobody has given is the stored one.
  int Open() {
    if (folders_.is_open_vault(share_.path.c_str())) return 0;
    char stored[kPassphraseBytes] = "";
    const bool is_given = *request_.passphrase != '\0';
    if (int failure = is_given ? 0 : folders_.load_key({}, share_.id, stored)) return failure;
    const int failure =
        folders_.open_vault(place_.vault.c_str(), share_.path.c_str(), is_given ? request_.passphrase : stored);
    explicit_bzero(stored, sizeof(stored));
    return failure != 0 ? failure : RenderShare(shares_, folders_, share_.id, false);
  }

  int Encrypt() {
    if (!shares_.Note({share_.id, share_.path, place_.clear, place_.vault, ShareMove::kEncrypting})) {
      return DatabaseFailure();
    }
    if (int failure = FillVault(folders_, place_, share_.path, request_.passphrase)) return failure;
    if (int failure = Exchange(folders_, place_, share_.path, request_.passphrase)) return failure;
    char stored[kPassphraseBytes] = "";
    const bool is_automatic = folders_.load_key({}, share_.id, stored) == 0;
    explicit_bzero(stored, sizeof(stored));
    return StoreState(shares_, share_.id, is_automatic ? kEncrypted | kAutomatic : kEncrypted,
                      {share_.id, place_.clear, share_.path, place_.vault, ShareMove::kStored});
  }

  ShareDatabase& shares_;
  const KestFoldersModule& folders_;
  const Share& share_;
  const EncryptionRequest& request_;
  const VaultPlace place_;
};

}  // namespace

bool IsLocked(const KestFoldersModule& folders, const Share& share) {
  return (share.encryption & kEncrypted) != 0 && !folders.is_open_vault(share.path.c_str());
}

int EncryptionStep(ShareDatabase& shares, const KestFoldersModule& folders, const EncryptionRequest& request) {
  Share share;
  Lookup found = shares.Find(request.share, &share);
  if (found != Lookup::kFound) return found == Lookup::kFailed ? DatabaseFailure() : -kErrorNoSuchObject;
  const ShareLock lock(shares.locks(), share.id);
  if (lock.result() != 0) return lock.result();
  if (int failure = RecoverShare(shares, folders, share.id)) return failure;
  found = shares.FindById(share.id, &share);
  if (found != Lookup::kFound) return found == Lookup::kFailed ? DatabaseFailure() : -kErrorNoSuchObject;
  Step step(shares, folders, share, request);
  switch (request.step) {
    case KEST_SHARE_ENC_STORE:
      return step.Store();
    case KEST_SHARE_ENC_VERIFY:
      return step.Verify();
    case KEST_SHARE_ENC_REMOVE:
      return step.Remove();
    case KEST_SHARE_ENC_START:
      return step.Start();
    default:
      return -kErrorBadParameter;
  }
}

int TakeBackEncryption(const KestFoldersModule& folders, const ShareMove& move) {
  if (int failure = CloseAndRemove(folders, move.staging + ".open")) return failure;
  if (folders.exists(move.target.c_str())) {
    if (int failure = CloseAndRemove(folders, move.source)) return failure;
    if (int failure = folders.rename(move.target.c_str(), move.source.c_str())) return failure;
  }
  return folders.remove(move.staging.c_str());
}

int Decrypt(ShareDatabase& shares, const KestFoldersModule& folders, const Share& share, const std::string& volume) {
  if (volume.empty()) return -kErrorNoSuchObject;
  if (IsLocked(folders, share)) return -kErrorBusy;
  const VaultPlace place(volume, share.id);
  const auto decrypt = [&]() -> int {
    if (!shares.Note({share.id, share.path, place.clear, place.vault, ShareMove::kDecrypting}))
      return DatabaseFailure();
    if (int failure = folders.copy(share.path.c_str(), place.clear.c_str())) return failure;
    if (int failure = CloseAndRemove(folders, share.path)) return failure;
    if (int failure = folders.rename(place.clear.c_str(), share.path.c_str())) return failure;
    return StoreState(shares, share.id, 0, {share.id, place.vault, share.path, place.clear, ShareMove::kStored});
  };
  const int result = End(shares, folders, share.id, decrypt());
  if (result == 0) folders.remove_key({}, share.id);
  return result;
}

// The vault has everything still: what is in clear can go. The share is left closed, as after a start of the machine.
int TakeBackDecryption(const KestFoldersModule& folders, const ShareMove& move) {
  if (folders.exists(move.target.c_str())) {
    if (int failure = folders.remove(move.target.c_str())) return failure;
  }
  if (folders.is_open_vault(move.source.c_str())) return 0;
  if (int failure = folders.remove(move.source.c_str())) return failure;
  return MakeFolder(folders, move.source);
}

}  // namespace kest
