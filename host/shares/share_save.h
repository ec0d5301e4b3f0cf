// Saving a share: the database and the folder change together.
#ifndef KEST_HOST_SHARES_SHARE_SAVE_H_
#define KEST_HOST_SHARES_SHARE_SAVE_H_

#include "host/shares/share_database.h"
#include "host/shares/shares_module.h"

namespace kest {

// As KestSharesModule has it.
int SaveShare(ShareDatabase& shares, const KestFoldersModule& folders, const KestShareChange& change);

}  // namespace kest

#endif  // KEST_HOST_SHARES_SHARE_SAVE_H_
