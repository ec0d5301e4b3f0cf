#ifndef KEST_HOST_STORAGE_FORMAT_DISK_H_
#define KEST_HOST_STORAGE_FORMAT_DISK_H_

#include "host/storage/external_disk.h"

namespace kest {

// Makes a file system on the whole of an external disk, with the machine's own programs.
//
// What is mounted from it as a volume of its location is unmounted before and mounted again afterwards: with the new
// file system, or with the old one when the program failed. Anything else mounted from it, or holding it, forbids the
// formatting, and so does another formatting that is under way.
//
// @param fs  1 FAT, 2 EXT3, 3 EXT4
// @return 0 when formatted; negative otherwise (the reason is recorded)
int FormatExternalDisk(const ExternalDiskFiles& files, const char* device, _tag_vol_location_ location, int fs);

}  // namespace kest

#endif  // KEST_HOST_STORAGE_FORMAT_DISK_H_
