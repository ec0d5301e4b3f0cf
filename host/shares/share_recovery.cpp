#include "host/shares/share_recovery.h"

#include <syslog.h>

#include "host/database/database_error.h"
#include "host/klib/error_code.h"
#include "host/shares/share_acl.h"
#include "host/shares/share_encryption.h"
#include "host/shares/share_lock.h"

namespace kest {
namespace {

// The folder goes back to where the database says that it is; of a copy nothing stays.
int TakeBack(const KestFoldersModule& folders, const ShareMove& move) {
  if (move.state == ShareMove::kEncrypting) return TakeBackEncryption(folders, move);
  if (move.state == ShareMove::kDecrypting) return TakeBackDecryption(folders, move);
  if (move.source.empty()) return 0;
  const bool is_in_place = folders.exists(move.target.c_str());
  if (move.staging.empty()) {
    const bool is_gone = is_in_place && !folders.exists(move.source.c_str());
    return is_gone ? folders.rename(move.target.c_str(), move.source.c_str()) : 0;
  }
  if (folders.exists(move.staging.c_str())) return folders.remove(move.staging.c_str());
  // Complete, and no longer where it was made: it is what stands at the target.
  return move.state == ShareMove::kCopied && is_in_place ? folders.remove(move.target.c_str()) : 0;
}

// A folder, and what its access list is to be.
struct Wanted {
  Share share;
  ShareAcl list;
  bool is_there = false;

  const char* path() const { return share.path.c_str(); }
};

int Read(ShareDatabase& shares, const KestFoldersModule& folders, int64_t id, Wanted* out) {
  const Lookup found = shares.FindById(id, &out->share);
  if (found == Lookup::kFailed) return DatabaseFailure();
  // Its disk may be away; whatever is done with the share when it is back renders it.
  if (found == Lookup::kAbsent || !folders.exists(out->path())) return 0;
  // Nobody is let into the folder of a closed vault; it is rendered when it is opened.
  out->is_there = !IsLocked(folders, out->share);
  return out->list.Read(shares, out->share) ? 0 : DatabaseFailure();
}

// One that has the list which it is to have is left alone, with all that is in it, unless somebody has set about it and
// may have got no further.
int BringUpToDate(ShareDatabase& shares, const KestFoldersModule& folders, const ShareRender& render) {
  Wanted wanted;
  if (int failure = Read(shares, folders, render.share, &wanted)) return failure;
  if (!wanted.is_there) return 0;
  const KestAcl acl = wanted.list.Get();
  if (!render.begun) {
    if (folders.is_rendered(wanted.path(), &acl)) return 0;
    if (!shares.BeginRender(render.share)) return DatabaseFailure();
  }
  bool changed = false;
  const int failure = folders.render(wanted.path(), &acl, &changed);
  return failure != 0 ? failure : folders.render_below(wanted.path(), &acl);
}

// What fails is tried once more, by whoever comes next, and what this process may not do until one comes that may.
int RenderOne(ShareDatabase& shares, const KestFoldersModule& folders, int64_t share) {
  ShareRender render;
  const Lookup found = shares.FindRender(share, &render);
  if (found == Lookup::kFailed) return DatabaseFailure();
  // Somebody was quicker.
  if (found == Lookup::kAbsent) return 0;
  const int failure = BringUpToDate(shares, folders, render);
  if (failure != 0 && (!render.begun || failure == -kErrorDenied)) return failure;
  if (!shares.EndRender(render)) return DatabaseFailure();
  return failure;
}

// A key that nobody asks for any more: the share is opened by hand, and the note is of the save which said so. One of a
// share that is not encrypted yet is about to be needed.
void RemoveUnusedKey(ShareDatabase& shares, const KestFoldersModule& folders, int64_t id) {
  Share share;
  if (shares.FindById(id, &share) != Lookup::kFound) return;
  if ((share.encryption & (kEncrypted | kAutomatic)) == kEncrypted) folders.remove_key({}, id);
}

}  // namespace

int RenderShare(ShareDatabase& shares, const KestFoldersModule& folders, int64_t id, bool below_anyway) {
  Wanted wanted;
  if (int failure = Read(shares, folders, id, &wanted)) return failure;
  if (!wanted.is_there) return 0;
  const KestAcl acl = wanted.list.Get();
  bool changed = false;
  if (int failure = folders.render(wanted.path(), &acl, &changed)) return failure;
  // Tried once more at most: it is in the log, and whoever reads the shares does not walk through folders for ever.
  if (changed || below_anyway) folders.render_below(wanted.path(), &acl);
  return 0;
}

int RenderChanged(ShareDatabase& shares, const KestFoldersModule& folders, int wait_s) {
  std::vector<int64_t> behind;
  if (!shares.Renders(&behind)) return DatabaseFailure();
  int result = 0;
  for (const int64_t share : behind) {
    const ShareLock lock(shares.locks(), share, wait_s);
    if (lock.result() == -kErrorBusy) continue;
    const int failure = lock.result() != 0 ? lock.result() : RenderOne(shares, folders, share);
    if (failure != 0) result = failure;
  }
  return result;
}

void FinishMove(ShareDatabase& shares, const KestFoldersModule& folders, const ShareMove& move) {
  if (!move.staging.empty() && folders.remove(move.source.c_str()) != 0) {
    syslog(LOG_ERR, "what was moved to %s is still at %s as well", move.target.c_str(), move.source.c_str());
  }
  shares.Forget(move.share);
}

int RecoverShare(ShareDatabase& shares, const KestFoldersModule& folders, int64_t share) {
  std::vector<ShareMove> moves;
  if (!shares.Moves(&moves)) return DatabaseFailure();
  for (const ShareMove& move : moves) {
    if (move.share != share) continue;
    if (move.state != ShareMove::kStored) {
      if (int failure = TakeBack(folders, move)) return failure;
    }
    if (int failure = RenderShare(shares, folders, share, move.state == ShareMove::kStored)) return failure;
    if (move.state == ShareMove::kStored) {
      RemoveUnusedKey(shares, folders, share);
      FinishMove(shares, folders, move);
    } else if (!shares.Forget(share)) {
      return DatabaseFailure();
    }
  }
  return 0;
}

int RecoverShares(ShareDatabase& shares, const KestFoldersModule& folders) {
  std::vector<ShareMove> moves;
  if (!shares.Moves(&moves)) return DatabaseFailure();
  int result = 0;
  for (const ShareMove& move : moves) {
    const ShareLock lock(shares.locks(), move.share, 0);
    if (lock.result() == -kErrorBusy) continue;
    const int failure = lock.result() != 0 ? lock.result() : RecoverShare(shares, folders, move.share);
    if (failure != 0) result = failure;
  }
  return result;
}

}  // namespace kest
