#ifndef KEST_HOST_STORAGE_SKIPPED_FILE_SYSTEM_H_
#define KEST_HOST_STORAGE_SKIPPED_FILE_SYSTEM_H_

#include <stdint.h>

namespace kest {

// File systems that a service leaves out: values of SERVICEINFO.skipFsType, or-ed.
constexpr int kSkipFat = 1;   // FAT and exFAT
constexpr int kSkipNtfs = 2;  // the kernel's two drivers, and disks mounted through FUSE (Debian's ntfs-3g)

// Whether a set has the file system with this magic number (statfs).
bool LeavesOut(uint32_t magic, int skip);

}  // namespace kest

#endif  // KEST_HOST_STORAGE_SKIPPED_FILE_SYSTEM_H_
