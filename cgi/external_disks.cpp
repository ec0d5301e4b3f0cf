#include "external_disks.h"

#include <algorithm>

#include "block_devices.h"
// The platform has no list of external disks; their names are in a file of its format.
#include "platform/klib.h"

namespace site {

namespace {

constexpr char kNamedDisks[] = "/usr/kest/etc/external_disks.conf";
constexpr int kMostUsbDisks = 9;
constexpr int kDeviceBytes = 512;

void AddNamed(const std::string& id, Bus bus, std::vector<ExternalDisk>& disks) {
  char device[kDeviceBytes];
  const int length = KLIBFileGetKeyValue(kNamedDisks, id.c_str(), device, sizeof(device), 0);
  // One that may have been cut would be another device.
  if (length > 0 && length < kDeviceBytes - 1) disks.push_back({id, device, bus});
}

void AddOnUsb(std::vector<ExternalDisk>& disks) {
  for (const BlockDevice& found : FindBlockDevices()) {
    const std::string device = found.Path();
    const bool named = std::any_of(disks.begin(), disks.end(), [&](const auto& disk) { return disk.device == device; });
    if (!named && found.IsOnUsb()) disks.push_back({found.name, device, kUsb});
  }
}

}  // namespace

std::vector<ExternalDisk> FindExternalDisks() {
  std::vector<ExternalDisk> disks;
  for (int number = 1; number <= kMostUsbDisks; ++number) AddNamed("usb" + std::to_string(number), kUsb, disks);
  AddNamed("sata", kSata, disks);
  AddOnUsb(disks);
  return disks;
}

}  // namespace site
