// State and list of volumes, state of disks.
#include <strings.h>

#include <cinttypes>
#include <cstddef>
#include <cstring>
#include <utility>

#include "internal/bounded_text.h"
#include "internal/log.h"
#include "platform/klib.h"
#include "string_bundle.h"
#include "volume.h"

namespace {

constexpr char kLogSource[] = "volume";

constexpr size_t kPathBytes = 64;
constexpr size_t kComparedPathBytes = 52;
constexpr size_t kLabelBytes = 512;
constexpr size_t kSettingBytes = 8;
constexpr uint32_t kEveryExternal = KEST_VOL_USB | KEST_VOL_SATA;
constexpr double kKibi = 1024.0;
constexpr char kFactorySettings[] = "/etc.defaults/kestinfo.conf";

using tarvel_internal::BoundedText;

enum DisplayType { kNoVolume = 0, kOneVolume = 1, kSeveralVolumes = 2, kCrashed = 3, kExpanding = 4 };
enum DiskFlag { kInSpace = 1, kSpaceCrashed = 2, kSystemPartition = 4, kSystemCrashed = 8 };

struct DisplayWord {
  int type;
  const char* word;
  const char* key;
};

constexpr DisplayWord kDisplayWords[] = {
    {kCrashed, "crashed", "volume_status_crashed"},
    {kExpanding, "expanding", "volume_expand_progress"},
    {kNoVolume, "no_volume", "volume_novolume"},
};

StringBundle OpenTexts(const char* first, const char* second) {
  return StringBundle(const_cast<char*>(first), const_cast<char*>(second), nullptr, nullptr, nullptr, nullptr);
}

// The words of a list's labels; they belong to the bundle.
struct ListWords {
  explicit ListWords(StringBundle& texts)
      : volume(texts.Text("volume", "")),
        expansion(texts.Text("volume_disk_source_ebox", "")),
        free_size(texts.Text("volume_freesize", "")),
        colon(texts.Text("colon", "")),
        unit(texts.Text("volume_size", "")) {}

  const char* volume;
  const char* expansion;
  const char* free_size;
  const char* colon;
  const char* unit;
};

// The blank before each closing parenthesis is deliberate: pages show it.
std::string ListLabel(const KESTMOUNTVOL& volume, const ListWords& words) {
  const double free_gib = static_cast<double>(volume.freeBytes) / kKibi / kKibi / kKibi;
  if (volume.location == KEST_VOL_USB) {
    return BoundedText<kLabelBytes>("%s%d (%s%s %4.2f %s )", "usbshare", volume.number, words.free_size, words.colon,
                                    free_gib, words.unit);
  }
  if (volume.location == KEST_VOL_SATA) {
    return BoundedText<kLabelBytes>("%s (%s%s %4.2f %s )", "satashare", words.free_size, words.colon, free_gib,
                                    words.unit);
  }
  const bool expansion = volume.location == KEST_VOL_EXPANSION;
  return BoundedText<kLabelBytes>("%s %d (%s%s%s%s %4.2f %s )", words.volume, volume.number,
                                  expansion ? words.expansion : "", expansion ? ", " : "", words.free_size, words.colon,
                                  free_gib, words.unit);
}

// The record of the system's RAIDs, given back whatever the platform answered.
class SystemRaids {
 public:
  SystemRaids() = default;
  ~SystemRaids() { RAIDSystemFree(raids_); }
  SystemRaids(const SystemRaids&) = delete;
  SystemRaids& operator=(const SystemRaids&) = delete;

  _tag_raid_for_system_** Slot() { return &raids_; }
  bool IsCrashed(int entry) const { return raids_->entry[entry].state == KEST_RAID_CRASHED; }

 private:
  _tag_raid_for_system_* raids_ = nullptr;
};

const char* DiskStatus(int flags) {
  if ((flags & kSpaceCrashed) != 0) return "crashed";
  if ((flags & kSystemCrashed) != 0) return "system_crashed";
  if ((flags & kInSpace) != 0) return "normal";
  if ((flags & kSystemPartition) != 0) return "sys_partition_normal";
  return "not_use";
}

}  // namespace

bool Volume::IsExternalVolumeLost() const {
  return !ext_volume_usable_ || (service_.hasVolume != 0 && service_.decided == 0);
}

bool Volume::IsShown(const KESTMOUNTVOL& volume, bool withExpansion) const {
  if (volume.location == KEST_VOL_EXPANSION && !withExpansion) return false;
  return FSIsMatchSkipFS(volume.path, skip_fs_type_) == 0;
}

bool Volume::VolumeDisplayTypeGet(const char* path, int* type, bool withExpansion) {
  if (type == nullptr) return false;
  if ((service_.locationMask & kEveryExternal) != kEveryExternal && KESTSupportRAID() == 0 && SupportEBox() == 0) {
    *type = kOneVolume;
    return true;
  }
  int count = 0;
  bool crashed = false;
  for (const KESTMOUNTVOL* volume = mount_list_; volume != nullptr; volume = volume->next) {
    if (!IsShown(*volume, withExpansion)) continue;
    if (volume->writable != 0) {
      ++count;
    } else if (path != nullptr && std::strcmp(path, volume->path) == 0) {
      crashed = true;
    }
  }
  if (check_ext_volume_ && IsExternalVolumeLost()) crashed = true;

  const bool external = service_.externalAllowed != 0;
  if (crashed && (!external || count < 1)) {
    *type = kCrashed;
  } else if (count == 0) {
    *type = kNoVolume;
  } else {
    // The one healthy volume and the broken external one are two.
    const bool several = count > 1 || (check_ext_volume_ && crashed && external);
    *type = several ? kSeveralVolumes : kOneVolume;
  }
  return true;
}

int Volume::VolumeStatusGet(bool decide) {
  char path[kPathBytes] = "";
  const bool known = VolumeCurrentPathGet(decide, path, sizeof path);
  int type = kCrashed;
  VolumeDisplayTypeGet(known ? path : nullptr, &type, false);
  return type;
}

void Volume::VolumeDisplayStatusToString(Json::Value& out, bool localized) {
  const int status = VolumeStatusGet(true);
  out = "";
  for (const DisplayWord& row : kDisplayWords) {
    if (row.type != status) continue;
    if (localized) {
      out = OpenTexts("volume", nullptr).Text(row.key, "");
    } else {
      out = row.word;
    }
  }
}

bool Volume::VolumeListGet(Json::Value& result, bool withExpansion) {
  StringBundle texts = OpenTexts("common", "volume");
  const ListWords words(texts);
  Json::Value list(Json::arrayValue);
  // One item for all nodes on purpose: each overwrites the same keys.
  Json::Value item(Json::objectValue);
  if (check_ext_volume_ && service_.externalAllowed != 0 && IsExternalVolumeLost() &&
      AddCrashedExternalVolToList(result, item)) {
    result["external_volume_crashed"] = 1;
    list.append(item);
  }
  int count = 0;
  for (const KESTMOUNTVOL* volume = mount_list_; volume != nullptr; volume = volume->next) {
    if (volume->writable == 0 || !IsShown(*volume, withExpansion)) continue;
    std::string id;
    CGIRenderVolID(volume->path, id);
    item["value"] = id;
    item["display"] = ListLabel(*volume, words);
    item["size_free"] = std::to_string(volume->freeBytes);
    item["size_total"] = std::to_string(volume->totalBytes);
    list.append(item);
    ++count;
  }
  result["volume_list"] = std::move(list);
  result["volume_count"] = count;
  return true;
}

bool Volume::AddCrashedExternalVolToList(Json::Value& /*result*/, Json::Value& item) {
  StringBundle texts = OpenTexts("volume", nullptr);
  _tag_vol_id_ volume = {};
  if (VolumePathParse(service_.path, &volume) < 1) {
    LogError("%s:%d Failed to parse volume path: %s", service_.path);
    return false;
  }
  if (volume.location != KEST_VOL_USB && volume.location != KEST_VOL_SATA) return false;
  const char* const crashed = texts.Text("volume_status_crashed", "");
  std::string id;
  CGIRenderVolID(service_.path, id);
  item["value"] = id + "_bad";
  item["display"] = volume.location == KEST_VOL_USB
                        ? BoundedText<kLabelBytes>("%s%d (%s)", "usbshare", volume.number, crashed)
                        : BoundedText<kLabelBytes>("%s (%s)", "satashare", crashed);
  return true;
}

bool Volume::IsSystemVolCrashed() {
  char supported[kSettingBytes] = "";
  if (KLIBFileGetKeyValue(kFactorySettings, "supportraid", supported, sizeof supported, 0) < 1) return false;
  if (strcasecmp(supported, "yes") != 0) return false;
  SystemRaids raids;
  if (RAIDSystemGet(raids.Slot()) < 0) {
    LogError("%s:%d Failed to get status of /dev/md0, errno=[%X]", static_cast<unsigned>(KLIBErrGet()));
    return false;
  }
  return raids.IsCrashed(0) || raids.IsCrashed(1);
}

bool Volume::GetDiskStatus(const char* disk, const _space_info_* space, const _tag_raid_for_system_* raid,
                           std::string& spaceId, std::string& status) {
  if (disk == nullptr) {
    status = "not_install";
    spaceId = "";
    return true;
  }
  const SPACEDISKREQ request = {disk, KESTSupportRAID() != 0 ? raid : nullptr, space};
  SPACEDISKREPLY reply = {};
  if (KESTSpaceDiskStatusGet(&request, &reply) < 0) {
    LogError("%s:%d Failed to get disk status: [%s]", disk);
    return false;
  }
  const bool in_space = (reply.flags & (kInSpace | kSpaceCrashed)) != 0;
  spaceId = in_space ? ToUISpaceID(reply.spaceType, reply.spaceName) : "";
  status = DiskStatus(reply.flags);
  return true;
}

bool Volume::IsVolumeChanged(std::string oldPath) {
  if (oldPath.empty()) return false;
  char current[kComparedPathBytes] = "";
  VolumeCurrentPathGet(false, current, sizeof current);
  return (service_.decided != 0 || current[0] != '\0') && oldPath != current;
}
