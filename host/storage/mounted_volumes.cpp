// The list of mounted volumes: by location, internal ones first, then by number.
#include <stdlib.h>
#include <string.h>
#include <sys/statvfs.h>

#include <tuple>

#include "host/storage/storage_module.h"
#include "host/storage/volume_path.h"

namespace kest {
namespace {

struct Collection {
  KESTMOUNTVOL* head;
  int location_mask;
  bool out_of_memory;
};

bool ComesBefore(const KESTMOUNTVOL& a, const _tag_vol_id_& b) {
  return std::tie(a.location, a.number) < std::tie(b.location, b.number);
}

// The node of a volume, a new one in its place in the list when there is none yet; nullptr without memory.
KESTMOUNTVOL* NodeOf(KESTMOUNTVOL** place, const _tag_vol_id_& id) {
  while (*place != nullptr && ComesBefore(**place, id)) place = &(*place)->next;
  if (*place != nullptr && (*place)->number == id.number && (*place)->location == id.location) return *place;
  auto* const node = static_cast<KESTMOUNTVOL*>(calloc(1, sizeof(KESTMOUNTVOL)));
  if (node == nullptr) return nullptr;
  node->number = id.number;
  node->location = id.location;
  node->next = *place;
  *place = node;
  return node;
}

void FillSpace(const char* path, KESTMOUNTVOL* node) {
  struct statvfs space;
  if (statvfs(path, &space) != 0) return;
  node->freeBytes = static_cast<uint64_t>(space.f_bavail) * space.f_frsize;
  node->totalBytes = static_cast<uint64_t>(space.f_blocks) * space.f_frsize;
}

void Visit(const char* path, bool writable, void* data) {
  auto* const collection = static_cast<Collection*>(data);
  _tag_vol_id_ id;
  if (!ParseVolumePath(path, &id) || (id.location & collection->location_mask) == 0) return;
  KESTMOUNTVOL* const node = NodeOf(&collection->head, id);
  if (node == nullptr) {
    collection->out_of_memory = true;
    return;
  }
  node->mounted = 1;
  node->writable = writable ? 1 : 0;
  memcpy(node->path, path, strlen(path) + 1);  // fits: ParseVolumePath allows nine digits
  FillSpace(path, node);
}

}  // namespace
}  // namespace kest

KESTMOUNTVOL* KESTMountVolAllEnum(int /*zero*/, int locationMask) {
  const KestStorageModule* const storage = KEST_MODULE(KestStorageModule, "storage", KestStorageModuleTable);
  if (storage == nullptr) return nullptr;
  kest::Collection collection = {nullptr, locationMask, false};
  if (storage->visit_mounts(kest::Visit, &collection) == 0 && !collection.out_of_memory) return collection.head;
  KESTMountVolInfoFree(collection.head);
  return nullptr;
}

KESTMOUNTVOL* KESTMountVolInfoEnum(int zero) {
  constexpr int kEveryLocation = KEST_VOL_INTERNAL | KEST_VOL_EXPANSION | KEST_VOL_USB | KEST_VOL_SATA;
  return KESTMountVolAllEnum(zero, kEveryLocation);
}

void KESTMountVolInfoFree(KESTMOUNTVOL* list) {
  while (list != nullptr) {
    KESTMOUNTVOL* const next = list->next;
    free(list);
    list = next;
  }
}
