#ifndef KEST_HOST_STORAGE_DISK_USE_H_
#define KEST_HOST_STORAGE_DISK_USE_H_

#include "host/storage/block_device.h"
#include "host/storage/mdstat.h"
#include "host/storage/mounted_volumes.h"
#include "platform/keststorage.h"

namespace kest {

// What the kernel tells about disks, each a path.
struct KernelFiles {
  const char* block_devices = kBlockDevices;
  const char* mdstat = kMdstat;
  const char* mounts = kMountTable;
};

// Reads what a disk is used for.
//
// It belongs to the space whose volume is mounted from it, through however many layers; of several to the one that the
// question names, else to the first of the mount table. That space is crashed when it is mounted read-only or stands on
// an array that does not work. An array of the disk that does not work and from which nothing is mounted counts as the
// space that the question names, with the name "" when it names none. The system's partitions are the arrays md0 and
// md1 and the root file system.
//
// @return 0 when filled; negative for no such disk, or when the kernel's files cannot be read (the reason is recorded)
int ReadDiskUse(const KernelFiles& files, const SPACEDISKREQ& request, SPACEDISKREPLY* reply);

}  // namespace kest

#endif  // KEST_HOST_STORAGE_DISK_USE_H_
