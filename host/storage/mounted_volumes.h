#ifndef KEST_HOST_STORAGE_MOUNTED_VOLUMES_H_
#define KEST_HOST_STORAGE_MOUNTED_VOLUMES_H_

#include <memory>

#include "host/storage/storage_module.h"
#include "platform/keststorage.h"

namespace kest {

constexpr char kMountTable[] = "/proc/self/mountinfo";
constexpr int kEveryLocation = KEST_VOL_INTERNAL | KEST_VOL_EXPANSION | KEST_VOL_USB | KEST_VOL_SATA;

struct FreeVolumes {
  void operator()(KESTMOUNTVOL* list) const { KESTMountVolInfoFree(list); }
};
using Volumes = std::unique_ptr<KESTMOUNTVOL, FreeVolumes>;

// Visits the mounts of a table.
// @return false without the module, or when the table cannot be read (the reason is recorded)
bool VisitMounts(const char* mount_table, void (*visit)(const KestMount* mount, void* data), void* data);

// Lists the volumes of some locations that a table has: by location, internal ones first, then by number.
// @return true with the list, which may be empty; false on failure (the reason is recorded)
bool ListVolumes(const char* mount_table, int location_mask, Volumes* out);

// The volume that holds a path; `info->next` is NULL.
// @return 0, or negative: no plain absolute path, or no volume that holds it (the reason is recorded)
int FindVolume(const char* mount_table, const char* path, KESTMOUNTVOL* info);

}  // namespace kest

#endif  // KEST_HOST_STORAGE_MOUNTED_VOLUMES_H_
