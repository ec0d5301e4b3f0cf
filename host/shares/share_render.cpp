#include "host/shares/share_render.h"

#include <syslog.h>

#include "host/shares/shares_module.h"
#include "host/storage/guarded_call.h"

namespace kest {

void GroupMembersChanged() {
  const KestSharesModule* const shares = Shares();
  const KestFoldersModule* const folders = Folders();
  const bool usable = shares != nullptr && folders != nullptr;
  const int result = usable ? Guarded([&] { return shares->members_changed(folders); }) : -1;
  if (result < 0) syslog(LOG_ERR, "folders whose access lists name a changed group are not up to date");
}

}  // namespace kest
