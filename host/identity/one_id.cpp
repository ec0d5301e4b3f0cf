#include "host/identity/one_id.h"

#include <string.h>

#include "host/cgi/settings.h"

namespace kest {

bool EverybodyHasOneId() {
  if (strcmp(ProcessSetting("account_ids", ""), "one") != 0) return false;
  return MapsOneId("/proc/self/uid_map") && MapsOneId("/proc/self/gid_map");
}

}  // namespace kest
