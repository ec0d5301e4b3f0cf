#include "block_devices.h"

#include <dirent.h>
#include <unistd.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace site {

namespace {

constexpr char kBlockDevices[] = "/sys/class/block";
// The kernel counts in these whatever the disk's own sectors are.
constexpr uint64_t kSectorBytes = 512;

std::string PlaceOf(const std::string& name) {
  const std::unique_ptr<char, decltype(&free)> place(
      realpath((std::string(kBlockDevices) + "/" + name).c_str(), nullptr), &free);
  return place == nullptr ? "" : place.get();
}

}  // namespace

bool BlockDevice::IsDisk() const {
  const bool is_made_of_others = place.empty() || place.find("/virtual/") != std::string::npos;
  return !is_made_of_others && access((place + "/partition").c_str(), F_OK) != 0;
}

uint64_t BlockDevice::SizeInBytes() const {
  const std::unique_ptr<FILE, int (*)(FILE*)> file(fopen((place + "/size").c_str(), "re"), &fclose);
  uint64_t sectors = 0;
  if (file == nullptr || fscanf(file.get(), "%" SCNu64, &sectors) != 1) return 0;
  return sectors * kSectorBytes;
}

std::vector<BlockDevice> FindBlockDevices() {
  std::vector<BlockDevice> devices;
  const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir(kBlockDevices), &closedir);
  if (folder == nullptr) return devices;
  while (const dirent* entry = readdir(folder.get())) {
    if (entry->d_name[0] != '.') devices.push_back({entry->d_name, PlaceOf(entry->d_name)});
  }
  std::sort(devices.begin(), devices.end(), [](const auto& a, const auto& b) { return a.name < b.name; });
  return devices;
}

}  // namespace site
