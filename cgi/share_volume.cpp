#include "share_volume.h"

#include <tarvel/volume.h>

// The library lists the volumes that can be written only; all that are mounted are listed by the platform.
#include "platform/keststorage.h"

namespace site {

namespace {

constexpr int kPathBytes = 64;

bool IsReadOnly(const std::string& path) {
  KESTMOUNTVOL* const volumes = KESTMountVolInfoEnum(0);
  const KESTMOUNTVOL* volume = volumes;
  while (volume != nullptr && path != volume->path) volume = volume->next;
  const bool is_read_only = volume != nullptr && volume->writable == 0;
  KESTMountVolInfoFree(volumes);
  return is_read_only;
}

}  // namespace

Json::Value VolumesForShares() {
  Json::Value found(Json::objectValue);
  Volume().VolumeListGet(found, true);
  Json::Value volumes(Json::arrayValue);
  for (const Json::Value& volume : found["volume_list"]) {
    Json::Value choice;
    choice["value"] = volume["value"];
    choice["display"] = volume["display"];
    volumes.append(choice);
  }
  return volumes;
}

const char* FindVolumeForShare(const std::string& id, std::string& path) {
  char wanted[kPathBytes] = "";
  if (!Volume::CGIRenderVolPath(id, wanted, kPathBytes)) return "error_share_volume_missing";
  for (const Json::Value& volume : VolumesForShares()) {
    if (volume["value"].asString() != id) continue;
    path = wanted;
    return nullptr;
  }
  return IsReadOnly(wanted) ? "error_share_volume_read_only" : "error_share_volume_missing";
}

std::string LabelOfVolume(const std::string& path) {
  const std::string label = Volume::ToUIVolumeStr(path.c_str());
  return label.empty() ? path : label;
}

}  // namespace site
