#include "host/storage/external_disk.h"

#include <cerrno>
#include <cstdio>

#include "host/klib/error_code.h"
#include "host/klib/key_value_file.h"
#include "host/storage/guarded_call.h"
#include "host/storage/volume_path.h"

namespace kest {
namespace {

std::string PathOf(const char* device) {
  const std::string text = device;
  return text.empty() || text.find('/') != std::string::npos ? text : "/dev/" + text;
}

// The volume that a line's key stands for, as its mount path begins; "" for any other key.
std::string VolumeOfKey(std::string_view key) {
  if (key == "sata") return "/volumeSATA";
  if (key.substr(0, 3) == "usb") return "/volumeUSB" + std::string(key.substr(3));
  return "";
}

bool IsSameDevice(const ExternalDisk& disk, const std::string& path) {
  return path == disk.path || (!disk.name.empty() && DeviceName(path.c_str()) == disk.name);
}

// Looks a disk up among the named ones.
// @return false when that file is there and cannot be read
bool FindNamed(const char* file, _tag_vol_location_ location, ExternalDisk* disk) {
  KeyValueFile named;
  if (!named.Load(file) && errno != ENOENT) return false;
  for (const KeyValueFile::Entry& entry : named.Entries()) {
    _tag_vol_id_ id;
    if (!ParseVolumePath(VolumeOfKey(entry.key), &id) || id.location != location) continue;
    if (entry.value[0] != '/' || !IsSameDevice(*disk, entry.value)) continue;
    disk->named = true;
    disk->number = id.number;
    break;
  }
  return true;
}

// A search through the mount table for the volume of a disk.
struct Search {
  const std::vector<BlockDevice>& stack;
  _tag_vol_location_ location;
  ExternalDisk* disk;
  bool out_of_memory;
};

// A named disk has its number, any other is told by what is mounted.
void Visit(const KestMount* mount, void* data) {
  auto* const search = static_cast<Search*>(data);
  _tag_vol_id_ id;
  if (!ParseMountPath(mount->path, &id) || id.location != search->location) return;
  try {
    if (search->disk->named ? id.number != search->disk->number : !Holds(search->stack, *mount)) return;
    search->disk->number = id.number;
    search->disk->mount_path = mount->path;
  } catch (const std::bad_alloc&) {
    search->out_of_memory = true;
  }
}

}  // namespace

int FindExternalDisk(const ExternalDiskFiles& files, const char* device, _tag_vol_location_ location,
                     ExternalDisk* disk) {
  ExternalDisk found = {PathOf(device), DeviceName(device), false, 0, ""};
  if (!IsPlainPath(found.path)) return FailWith(kErrorBadParameter);
  if (!FindNamed(files.named_disks, location, &found)) return FailWith(ErrorCodeOf(errno));
  std::vector<BlockDevice> stack;
  const bool known = StackOn(files.block_devices, found.name, &stack);
  if (!known) found.name.clear();
  if (!found.named) {
    if (!known) return FailWith(kErrorNoSuchObject);
    if (location != KEST_VOL_USB || !IsOnUsb(files.block_devices, found.name)) return FailWith(kErrorDenied);
  }
  Search search = {stack, location, &found, false};
  if (!VisitMounts(files.mounts, Visit, &search)) return -1;
  if (search.out_of_memory) return FailWith(kErrorNoMemory);
  *disk = found;
  return 0;
}

EXTVOLINFO DescribeVolume(const ExternalDisk& disk, _tag_vol_location_ location) {
  EXTVOLINFO info = {};
  const bool is_sata = location == KEST_VOL_SATA;
  const std::string number = disk.number == 0 ? "" : std::to_string(disk.number);
  snprintf(info.volumeName, sizeof(info.volumeName), "%s%s%s", is_sata ? "SATA Disk" : "USB Disk",
           number.empty() ? "" : " ", number.c_str());
  if (disk.mount_path.empty()) return info;
  snprintf(info.shareName, sizeof(info.shareName), "%s%s", is_sata ? "satashare" : "usbshare", number.c_str());
  snprintf(info.sharePath, sizeof(info.sharePath), "%s", disk.mount_path.c_str());
  return info;
}

namespace {

int VolumeInfo(const char* dev, _tag_vol_location_ location, EXTVOLINFO* info) {
  if (dev == nullptr || info == nullptr) return FailWith(kErrorBadParameter);
  return Guarded([&] {
    ExternalDisk disk;
    const int result = FindExternalDisk({}, dev, location, &disk);
    if (result == 0) *info = DescribeVolume(disk, location);
    return result;
  });
}

}  // namespace
}  // namespace kest

int KESTDiskUSBDevGetVolInfo(char* dev, EXTVOLINFO* info) { return kest::VolumeInfo(dev, KEST_VOL_USB, info); }

int KESTSATAGetVolInfo(char* dev, EXTVOLINFO* info) { return kest::VolumeInfo(dev, KEST_VOL_SATA, info); }
