#ifndef KEST_HOST_STORAGE_BLOCK_DEVICE_H_
#define KEST_HOST_STORAGE_BLOCK_DEVICE_H_

#include <string>
#include <string_view>
#include <vector>

#include "host/storage/storage_module.h"

namespace kest {

// A folder per block device of the machine, partitions included.
constexpr char kBlockDevices[] = "/sys/class/block";

// A disk, a partition, an array, a mapped volume.
struct BlockDevice {
  std::string name;  // "sda1"
  unsigned major;
  unsigned minor;
};

// The kernel's name of a device: "sda" for "/dev/sda", for a symbolic link to it, and for "sda". "" for no such text.
std::string DeviceName(const char* device);

// A device and everything that stands on it: its partitions, and the arrays and mapped volumes that hold it or one of
// those, however far up.
// @return false with errno when there is no such device; `out` is untouched then
bool StackOn(const char* block_devices, const std::string& name, std::vector<BlockDevice>* out);

// Whether one of these is what a mount shows. A file system of several devices has no number of its own; there the
// name of what was mounted decides.
bool Holds(const std::vector<BlockDevice>& stack, const KestMount& mount);

// Whether a device hangs on a USB port.
bool IsOnUsb(const char* block_devices, const std::string& name);

}  // namespace kest

#endif  // KEST_HOST_STORAGE_BLOCK_DEVICE_H_
