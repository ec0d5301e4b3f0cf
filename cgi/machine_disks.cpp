// machine_disks.cgi: the disks inside the appliance.
//
//   GET   {"data": {"disks": [{"id": "1", "device": "/dev/sda", "size": "...", "space": "volume_1", "state":
//   "normal"}]},
//         "success": true}
//
// `space` is the space that the disk belongs to, else "". `state` is the library's (see Volume::GetDiskStatus), ""
// where the platform cannot tell. What hangs on a USB port, or is said to be external, is another program's
// (disks.cgi).
#include <tarvel/disk.h>
#include <tarvel/tarvel.h>
#include <tarvel/volume.h>

#include <algorithm>
#include <memory>
#include <string>

#include "block_devices.h"
#include "external_disks.h"
// The library asks for the state of a disk with the state of the arrays, which it does not read itself.
#include "platform/keststorage.h"
#include "reply.h"
#include "who.h"

namespace {

constexpr int kInternal = 1;

struct FreeArrays {
  void operator()(_tag_raid_for_system_* arrays) const { RAIDSystemFree(arrays); }
};
using Arrays = std::unique_ptr<_tag_raid_for_system_, FreeArrays>;

// Null on a machine without any.
Arrays ReadArrays() {
  _tag_raid_for_system_* arrays = nullptr;
  if (KESTSupportRAID() != 0) RAIDSystemGet(&arrays);
  return Arrays(arrays);
}

Json::Value Describe(const site::BlockDevice& disk, int number, const _tag_raid_for_system_* arrays) {
  std::string id;
  std::string space;
  std::string state;
  SDK::Disk::ToUIDiskID({number, kInternal}, id);
  Volume::GetDiskStatus(disk.Path().c_str(), nullptr, arrays, space, state);
  Json::Value item;
  item["id"] = id;
  item["device"] = disk.Path();
  item["size"] = std::to_string(disk.SizeInBytes());
  item["space"] = space;
  item["state"] = state;
  return item;
}

bool IsExternal(const site::BlockDevice& device, const std::vector<site::ExternalDisk>& external) {
  return device.IsOnUsb() ||
         std::any_of(external.begin(), external.end(), [&](const auto& one) { return one.device == device.Path(); });
}

}  // namespace

int main() {
  Tarvel request(true);
  if (!request.IsAuthorized(nullptr, site::kActivity, KEST_CGI_POSITION_ADMINISTRATION)) return 0;
  const auto external = site::FindExternalDisks();
  const Arrays arrays = ReadArrays();
  Json::Value data;
  data["disks"] = Json::Value(Json::arrayValue);
  int number = 0;
  for (const site::BlockDevice& device : site::FindBlockDevices()) {
    if (!device.IsDisk() || IsExternal(device, external)) continue;
    data["disks"].append(Describe(device, ++number, arrays.get()));
  }
  return site::Succeed(request, data);
}
