#include "disk.h"

#include <cstdio>

#include "internal/log.h"

namespace {

constexpr char kLogSource[] = "disk";

constexpr int kIdBytes = 8;
enum Container { kInternal = 1, kExpansion = 2 };

}  // namespace

bool SDK::Disk::ToUIDiskID(const _tag_disk_id_& id, std::string& out) {
  if (id.container != kInternal && id.container != kExpansion) {
    LogError("%s:%d unsupported disk container: %d", id.container);
    return false;
  }
  char text[kIdBytes];
  std::snprintf(text, sizeof text, "%s%d", id.container == kExpansion ? "X" : "", id.number);
  out = text;
  return true;
}
