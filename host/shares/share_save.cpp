#include "host/shares/share_save.h"

#include <new>

#include "host/accounts/account_name.h"
#include "host/accounts/fold_name.h"
#include "host/database/database_error.h"
#include "host/klib/error_code.h"
#include "host/shares/share_acl.h"
#include "host/shares/share_encryption.h"
#include "host/shares/share_lock.h"
#include "host/shares/share_recovery.h"

namespace kest {
namespace {

int ToResult(Lookup found) {
  if (found == Lookup::kFailed) return DatabaseFailure();
  return found == Lookup::kFound ? 0 : -kErrorNoSuchObject;
}

// Lack of memory is a failure like any other: what was begun is taken back.
template <typename Body>
int Guarded(const Body& body) {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    return -kErrorNoMemory;
  }
}

std::string ParentOf(const std::string& path) { return path.substr(0, path.rfind('/')); }

bool LiesBelow(const std::string& path, const std::string& folder) {
  return path.compare(0, folder.size() + 1, folder + "/") == 0;
}

// One save, from the caller's record to the two that have to agree.
class ShareSave {
 public:
  ShareSave(ShareDatabase& shares, const KestFoldersModule& folders, const KestShareChange& change)
      : shares_(shares), folders_(folders), change_(change) {
    const KESTSHARE& record = *change.record;
    next_.name = record.name;
    next_.description = record.desc;
    next_.path = record.path;
    next_.attributes = record.attr;
    next_.browseable = record.browseable;
    next_.restrictions = record.ftp;
    next_.encryption = record.enc & (kEncrypted | kAutomatic);
    next_.lists[kNoAccess] = record.na;
    next_.lists[kReadWrite] = record.rw;
    next_.lists[kReadOnly] = record.ro;
  }

  int Create() {
    const ShareLock lock(shares_.locks(), 0);
    if (lock.result() != 0) return lock.result();
    // What is not encrypted yet begins to be by KESTShareEncryptionAction(), which has the passphrase.
    if (next_.encryption != 0) return -kErrorBadParameter;
    const int failure = StoreNew();
    return failure != 0 ? failure : Finish();
  }

  int Update(int64_t id) {
    const ShareLock lock(shares_.locks(), id);
    if (lock.result() != 0) return lock.result();
    if (int failure = RecoverShare(shares_, folders_, id)) return failure;
    if (int failure = ToResult(shares_.FindById(id, &old_))) return failure;
    // Somebody else was quicker and has renamed it.
    if (FoldName(old_.name) != FoldName(change_.existing)) return -kErrorNoSuchObject;
    next_.id = id;
    int failure = Guarded([&] { return MatchEncryption(); });
    if (failure != 0) return failure;
    failure = Guarded([&] { return Prepare(); });
    if (failure == 0) failure = StoreChange();
    if (failure == 0) return Finish();
    // As if nothing had been begun.
    RecoverShare(shares_, folders_, id);
    return failure;
  }

 private:
  // A save can end an encryption, but not begin one: it has no passphrase.
  int MatchEncryption() {
    const bool is_encrypted = (old_.encryption & kEncrypted) != 0;
    if (!is_encrypted) return next_.encryption == 0 ? 0 : -kErrorBadParameter;
    if ((next_.encryption & kEncrypted) != 0) return 0;
    // What is refused anyway is refused before anything is made clear.
    if (int failure = CheckWanted()) return failure;
    if (int failure = Decrypt(shares_, folders_, old_, change_.old_volume)) return failure;
    // What is left of it has a note that must not be written over.
    if (int failure = RecoverShare(shares_, folders_, next_.id)) return failure;
    return ToResult(shares_.FindById(next_.id, &old_));
  }

  int CheckWanted() {
    for (const std::string& list : next_.lists) {
      std::vector<AccessEntry> entries;
      if (int unknown = ToResult(shares_.Resolve(list, &entries))) return unknown;
    }
    return CheckFree();
  }

  // The folder of a vault has to stay where it is while that is open, and with it on its volume.
  int CheckCarrying() const {
    if ((old_.encryption & kEncrypted) == 0) return 0;
    if (!StaysOnVolume()) return -kErrorUnsupported;
    return IsLocked(folders_, old_) ? 0 : -kErrorBusy;
  }

  int StoreNew() {
    bool made = false;
    const int failure = InTransaction([&] {
      if (int taken = CheckFree()) return taken;
      if (!shares_.Insert(&next_)) return DatabaseFailure();
      move_ = {next_.id, "", next_.path, "", ShareMove::kStored};
      if (int unmade = folders_.make(next_.path.c_str(), &made)) return unmade;
      return StoreAccess();
    });
    if (failure != 0 && made) folders_.remove_empty(next_.path.c_str());
    return failure;
  }

  bool PathChanges() const { return next_.path != old_.path; }

  // Renaming a share renames its folder; to another place it goes when the caller says so.
  bool IsCarried() const {
    if (!PathChanges()) return false;
    return change_.move || (next_.name != old_.name && ParentOf(next_.path) == ParentOf(old_.path));
  }

  bool StaysOnVolume() const { return LiesBelow(old_.path, change_.volume); }

  // Notes what is to come, and does what takes long before the database is locked.
  int Prepare() {
    if (int taken = CheckFree()) return taken;
    if (int stays = PathChanges() ? CheckCarrying() : 0) return stays;
    move_ = {next_.id, "", next_.path, "", ShareMove::kBegun};
    if (IsCarried()) {
      // Whatever stands there is not ours: noted as our target it would be removed after a crash.
      if (folders_.exists(next_.path.c_str())) return -kErrorTaken;
      move_.source = old_.path;
      if (!StaysOnVolume()) move_.staging = std::string(change_.volume) + "/@move." + std::to_string(next_.id);
    }
    if (!shares_.Note(move_)) return DatabaseFailure();
    return move_.staging.empty() ? 0 : Stage();
  }

  int Stage() {
    int failure = folders_.copy(move_.source.c_str(), move_.staging.c_str());
    move_.state = ShareMove::kCopied;
    if (failure == 0 && !shares_.Note(move_)) failure = DatabaseFailure();
    return failure;
  }

  int StoreChange() {
    bool made = false;
    const int failure = InTransaction([&] {
      // Somebody may have taken it since.
      if (int taken = CheckFree()) return taken;
      if (!shares_.Update(next_)) return DatabaseFailure();
      if (int unmoved = PutInPlace(&made)) return unmoved;
      move_.state = ShareMove::kStored;
      return StoreAccess();
    });
    if (failure != 0 && made) folders_.remove_empty(next_.path.c_str());
    return failure;
  }

  int PutInPlace(bool* made) {
    if (!move_.source.empty()) {
      const std::string& from = move_.staging.empty() ? move_.source : move_.staging;
      return folders_.rename(from.c_str(), move_.target.c_str());
    }
    return PathChanges() ? folders_.make(next_.path.c_str(), made) : 0;
  }

  // The lists, and what the kernel is to make of them.
  int StoreAccess() {
    for (const ShareList list : {kNoAccess, kReadWrite, kReadOnly}) {
      std::vector<AccessEntry> entries;
      if (int unknown = ToResult(shares_.Resolve(next_.lists[list], &entries))) return unknown;
      if (!shares_.SetAccess(next_.id, list, entries)) return DatabaseFailure();
    }
    if (!acl_.Read(shares_, next_) || !shares_.Note(move_)) return DatabaseFailure();
    if (!FolderIsConcerned()) return 0;
    const KestAcl acl = acl_.Get();
    return folders_.render(next_.path.c_str(), &acl, &changed_);
  }

  // A description can be changed while the share's disk is away.
  bool FolderIsConcerned() const {
    if (IsLocked(folders_, next_)) return false;
    if (ShareAcl::HoldsHomes(old_) != ShareAcl::HoldsHomes(next_)) return true;
    for (const ShareList list : {kNoAccess, kReadWrite, kReadOnly}) {
      if (next_.lists[list] != old_.lists[list]) return true;
    }
    return PathChanges();
  }

  int CheckFree() {
    bool name_is_taken = false, path_is_taken = false;
    if (!shares_.IsNameTaken(next_.name, next_.id, &name_is_taken) ||
        !shares_.IsPathTaken(next_.path, next_.id, &path_is_taken)) {
      return DatabaseFailure();
    }
    return name_is_taken || path_is_taken ? -kErrorTaken : 0;
  }

  template <typename Body>
  int InTransaction(const Body& body) {
    return Guarded([&] {
      Transaction transaction(shares_.database());
      if (!transaction.open()) return DatabaseFailure();
      if (int failure = body()) return failure;
      return transaction.Commit() ? 0 : DatabaseFailure();
    });
  }

  // The share is saved; what is left to do does not change that. The note stays with what failed, for another try.
  int Finish() {
    Guarded([&] {
      const KestAcl acl = acl_.Get();
      if ((old_.encryption & ~next_.encryption & kAutomatic) != 0) folders_.remove_key({}, next_.id);
      if (changed_ && folders_.render_below(next_.path.c_str(), &acl) != 0) return 0;
      FinishMove(shares_, folders_, move_);
      return 0;
    });
    return 0;
  }

  ShareDatabase& shares_;
  const KestFoldersModule& folders_;
  const KestShareChange& change_;
  Share old_, next_;
  ShareMove move_;
  ShareAcl acl_;
  bool changed_ = false;
};

}  // namespace

int SaveShare(ShareDatabase& shares, const KestFoldersModule& folders, const KestShareChange& change) {
  // Pages show them in documents that hold UTF-8 only.
  if (!IsText(change.record->desc) || !IsText(change.record->path)) return -kErrorBadParameter;
  return Guarded([&] {
    ShareSave save(shares, folders, change);
    if (change.existing == nullptr) return save.Create();
    Share existing;
    const Lookup found = shares.Find(change.existing, &existing);
    if (found == Lookup::kAbsent && change.make_when_absent) return save.Create();
    const int failure = ToResult(found);
    return failure != 0 ? failure : save.Update(existing.id);
  });
}

}  // namespace kest
