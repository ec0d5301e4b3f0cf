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

}  // namespace

int RenderShare(ShareDatabase& shares, const KestFoldersModule& folders, int64_t id, bool below_anyway) {
  Share share;
  const Lookup found = shares.FindById(id, &share);
  if (found == Lookup::kFailed) return DatabaseFailure();
  // Its disk may be away; whatever is done with the share when it is back renders it.
  if (found == Lookup::kAbsent || !folders.exists(share.path.c_str())) return 0;
  // Nobody is let into the folder of a closed vault; it is rendered when it is opened.
  if (IsLocked(folders, share)) return 0;
  ShareAcl rendered;
  if (!rendered.Read(shares, share)) return DatabaseFailure();
  const KestAcl acl = rendered.Get();
  bool changed = false;
  if (int failure = folders.render(share.path.c_str(), &acl, &changed)) return failure;
  // Tried once more at most: it is in the log, and whoever reads the shares does not walk through folders for ever.
  if (changed || below_anyway) folders.render_below(share.path.c_str(), &acl);
  return 0;
}

int RenderSharesOfGroup(ShareDatabase& shares, const KestFoldersModule& folders, int64_t gid) {
  std::vector<int64_t> concerned;
  if (!shares.SharesOfGroup(gid, &concerned)) return DatabaseFailure();
  int result = 0;
  for (const int64_t id : concerned) {
    if (int failure = RenderShare(shares, folders, id, false)) result = failure;
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
