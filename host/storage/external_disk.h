#ifndef KEST_HOST_STORAGE_EXTERNAL_DISK_H_
#define KEST_HOST_STORAGE_EXTERNAL_DISK_H_

#include <string>

#include "host/storage/block_device.h"
#include "host/storage/mounted_volumes.h"
#include "platform/keststorage.h"

namespace kest {

// External disks that the administrator has named, lines usbN="DEVICE" and sata="DEVICE". DEVICE is the path of a disk
// or partition, or of a regular file that is used as one. A disk on a USB port needs no line; the SATA port that leads
// outside looks to the kernel like any other, so its disk does.
constexpr char kExternalDisksFile[] = "/usr/kest/etc/external_disks.conf";

struct ExternalDiskFiles {
  const char* named_disks = kExternalDisksFile;
  const char* block_devices = kBlockDevices;
  const char* mounts = kMountTable;
};

struct ExternalDisk {
  std::string path;        // of the device
  std::string name;        // the kernel's for it; "" for a regular file
  bool named;              // by the administrator
  int number;              // of its volume, 0 for the SATA disk and for one of which nobody knows
  std::string mount_path;  // of its volume; "" when it is not mounted
};

// Finds an external disk of a location, USB or SATA.
// @return 0; negative for no device, or one that is not known to be external (the reason is recorded)
int FindExternalDisk(const ExternalDiskFiles& files, const char* device, _tag_vol_location_ location,
                     ExternalDisk* disk);

// What is told of its volume: its mount path as the folder of the share "usbshareN" or "satashare", while it is
// mounted.
EXTVOLINFO DescribeVolume(const ExternalDisk& disk, _tag_vol_location_ location);

}  // namespace kest

#endif  // KEST_HOST_STORAGE_EXTERNAL_DISK_H_
