#include "host/storage/block_device.h"

#include <dirent.h>
#include <limits.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <memory>

#include "host/storage/kernel_file.h"

namespace kest {
namespace {

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};

// What is in a folder without the hidden ones; a missing folder is empty.
std::vector<std::string> EntriesOf(const std::string& path) {
  std::vector<std::string> names;
  const std::unique_ptr<DIR, CloseFolder> folder(opendir(path.c_str()));
  if (folder == nullptr) return names;
  while (const dirent* const entry = readdir(folder.get())) {
    if (entry->d_name[0] != '.') names.emplace_back(entry->d_name);
  }
  return names;
}

bool ReadDevice(const std::string& block_devices, const std::string& name, BlockDevice* device) {
  std::string number;
  if (!ReadKernelFile((block_devices + "/" + name + "/dev").c_str(), &number)) return false;
  device->name = name;
  errno = EINVAL;
  return sscanf(number.c_str(), "%u:%u", &device->major, &device->minor) == 2;
}

bool Contains(const std::vector<BlockDevice>& devices, const std::string& name) {
  return std::any_of(devices.begin(), devices.end(),
                     [&name](const BlockDevice& device) { return device.name == name; });
}

// Names of the devices that stand right on one.
std::vector<std::string> StandingOn(const std::string& block_devices, const std::string& name) {
  const std::string folder = block_devices + "/" + name;
  std::vector<std::string> names = EntriesOf(folder + "/holders");
  for (const std::string& entry : EntriesOf(folder)) {
    if (access((folder + "/" + entry + "/partition").c_str(), F_OK) == 0) names.push_back(entry);
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace

std::string DeviceName(const char* device) {
  constexpr std::string_view kFolder = "/dev/";
  char resolved[PATH_MAX];
  std::string name = realpath(device, resolved) == nullptr ? device : resolved;
  // A name without folder is one of /dev, whatever lies in the current one.
  if (std::string_view(device).find('/') == std::string_view::npos) name = std::string(kFolder) + device;
  if (name.compare(0, kFolder.size(), kFolder) != 0) return "";
  name.erase(0, kFolder.size());
  std::replace(name.begin(), name.end(), '/', '!');  // as the kernel writes it
  return name.empty() || name[0] == '.' ? "" : name;
}

bool StackOn(const char* block_devices, const std::string& name, std::vector<BlockDevice>* out) {
  std::vector<BlockDevice> stack(1);
  if (name.empty() || !ReadDevice(block_devices, name, &stack[0])) return false;
  for (size_t next = 0; next < stack.size(); ++next) {
    for (const std::string& above : StandingOn(block_devices, stack[next].name)) {
      BlockDevice device;
      if (!Contains(stack, above) && ReadDevice(block_devices, above, &device)) stack.push_back(device);
    }
  }
  out->swap(stack);
  return true;
}

bool Holds(const std::vector<BlockDevice>& stack, const KestMount& mount) {
  if (mount.major == 0) return mount.source[0] == '/' && Contains(stack, DeviceName(mount.source));
  return std::any_of(stack.begin(), stack.end(), [&mount](const BlockDevice& device) {
    return device.major == mount.major && device.minor == mount.minor;
  });
}

bool IsOnUsb(const char* block_devices, const std::string& name) {
  char resolved[PATH_MAX];
  if (name.empty() || realpath((std::string(block_devices) + "/" + name).c_str(), resolved) == nullptr) return false;
  return std::string_view(resolved).find("/usb") != std::string_view::npos;
}

}  // namespace kest
