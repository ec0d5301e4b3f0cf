#include "disk.h"

#include "internal/bounded_text.h"
#include "internal/log.h"

namespace {

constexpr char kLogSource[] = "disk";

constexpr size_t kIdBytes = 8;
enum Container { kInternal = 1, kExpansion = 2 };

using tarvel_internal::BoundedText;

}  // namespace

bool SDK::Disk::ToUIDiskID(const _tag_disk_id_& id, std::string& out) {
  if (id.container != kInternal && id.container != kExpansion) {
    LogError("%s:%d unsupported disk container: %d", id.container);
    return false;
  }
  out = BoundedText<kIdBytes>(id.container == kExpansion ? "X%d" : "%d", id.number);
  return true;
}
