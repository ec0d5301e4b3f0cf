#include "external_disks.h"

#include <dirent.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

// The platform has no list of external disks; their names are in a file of its format.
#include "platform/klib.h"

namespace site {

namespace {

constexpr char kNamedDisks[] = "/usr/kest/etc/external_disks.conf";
constexpr char kBlockDevices[] = "/sys/class/block";
constexpr int kMostUsbDisks = 9;
constexpr int kDeviceBytes = 512;

void AddNamed(const std::string& id, Bus bus, std::vector<ExternalDisk>& disks) {
  char device[kDeviceBytes];
  const int length = KLIBFileGetKeyValue(kNamedDisks, id.c_str(), device, sizeof(device), 0);
  // One that may have been cut would be another device.
  if (length > 0 && length < kDeviceBytes - 1) disks.push_back({id, device, bus});
}

// Where the kernel has a device, its way through the ports of the machine included.
std::string PlaceOf(const std::string& name) {
  const std::unique_ptr<char, decltype(&free)> place(
      realpath((std::string(kBlockDevices) + "/" + name).c_str(), nullptr), &free);
  return place == nullptr ? "" : place.get();
}

void AddOnUsb(std::vector<ExternalDisk>& disks) {
  const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir(kBlockDevices), &closedir);
  if (folder == nullptr) return;
  std::vector<std::string> names;
  while (const dirent* entry = readdir(folder.get())) names.emplace_back(entry->d_name);
  std::sort(names.begin(), names.end());
  for (const std::string& name : names) {
    const std::string device = "/dev/" + name;
    const bool named = std::any_of(disks.begin(), disks.end(), [&](const auto& disk) { return disk.device == device; });
    if (!named && PlaceOf(name).find("/usb") != std::string::npos) disks.push_back({name, device, kUsb});
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
