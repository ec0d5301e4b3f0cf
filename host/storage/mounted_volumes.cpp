#include "host/storage/mounted_volumes.h"

#include <stdlib.h>
#include <string.h>
#include <sys/statvfs.h>

#include <tuple>

#include "host/klib/error_code.h"
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

void Visit(const KestMount* mount, void* data) {
  auto* const collection = static_cast<Collection*>(data);
  _tag_vol_id_ id;
  if (!ParseMountPath(mount->path, &id) || (id.location & collection->location_mask) == 0) return;
  KESTMOUNTVOL* const node = NodeOf(&collection->head, id);
  if (node == nullptr) {
    collection->out_of_memory = true;
    return;
  }
  node->mounted = 1;
  node->writable = mount->writable ? 1 : 0;
  memcpy(node->path, mount->path, strlen(mount->path) + 1);  // fits: ParseMountPath allows nine digits
  FillSpace(mount->path, node);
}

}  // namespace

bool VisitMounts(const char* mount_table, void (*visit)(const KestMount* mount, void* data), void* data) {
  const KestStorageModule* const storage = KEST_MODULE(KestStorageModule, "storage", KestStorageModuleTable);
  if (storage != nullptr && storage->visit_mounts(mount_table, visit, data) == 0) return true;
  FailWith(kErrorSystem);
  return false;
}

bool ListVolumes(const char* mount_table, int location_mask, Volumes* out) {
  Collection collection = {nullptr, location_mask, false};
  const bool visited = VisitMounts(mount_table, Visit, &collection);
  Volumes list(collection.head);
  if (collection.out_of_memory) FailWith(kErrorNoMemory);
  if (!visited || collection.out_of_memory) return false;
  *out = std::move(list);
  return true;
}

int FindVolume(const char* mount_table, const char* path, KESTMOUNTVOL* info) {
  _tag_vol_id_ id;
  if (!IsPlainPath(path) || !ParseVolumePath(path, &id)) return FailWith(kErrorBadParameter);
  Volumes list;
  if (!ListVolumes(mount_table, id.location, &list)) return -1;
  const KESTMOUNTVOL* volume = list.get();
  while (volume != nullptr && volume->number != id.number) volume = volume->next;
  if (volume == nullptr || !LiesIn(path, volume->path)) return FailWith(kErrorNoSuchObject);
  *info = *volume;
  info->next = nullptr;
  return 0;
}

}  // namespace kest

KESTMOUNTVOL* KESTMountVolAllEnum(int /*zero*/, int locationMask) {
  kest::Volumes list;
  return kest::ListVolumes(kest::kMountTable, locationMask, &list) ? list.release() : nullptr;
}

KESTMOUNTVOL* KESTMountVolInfoEnum(int zero) { return KESTMountVolAllEnum(zero, kest::kEveryLocation); }

void KESTMountVolInfoFree(KESTMOUNTVOL* list) {
  while (list != nullptr) {
    KESTMOUNTVOL* const next = list->next;
    free(list);
    list = next;
  }
}

int KESTMountVolInfoGet(const char* path, KESTMOUNTVOL* info) {
  if (path == nullptr || info == nullptr) return kest::FailWith(kest::kErrorBadParameter);
  return kest::FindVolume(kest::kMountTable, path, info);
}
