// What is left of a change that was cut short, and its end.
#ifndef KEST_HOST_SHARES_SHARE_RECOVERY_H_
#define KEST_HOST_SHARES_SHARE_RECOVERY_H_

#include "host/shares/folders_module.h"
#include "host/shares/share_database.h"

namespace kest {

// Takes back or finishes what the note of a share says; nothing without a note. The caller holds the share's lock.
// @return 0, or the negative of an ErrorCode
int RecoverShare(ShareDatabase& shares, const KestFoldersModule& folders, int64_t share);

// The same for every share that nobody is changing now.
int RecoverShares(ShareDatabase& shares, const KestFoldersModule& folders);

// Ends a change that is stored: what it leaves behind is removed, and the note with it.
void FinishMove(ShareDatabase& shares, const KestFoldersModule& folders, const ShareMove& move);

// Renders a share's folder and, where that changes anything or anyway, all below it.
int RenderShare(ShareDatabase& shares, const KestFoldersModule& folders, int64_t share, bool below_anyway);

// Renders the folders that are behind the members of a group. One that somebody is changing is waited for so long, and
// then left to whoever comes next.
int RenderChanged(ShareDatabase& shares, const KestFoldersModule& folders, int wait_s);

}  // namespace kest

#endif  // KEST_HOST_SHARES_SHARE_RECOVERY_H_
