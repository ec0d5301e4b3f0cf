#include "volume.h"

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <stdexcept>

#include "internal/bounded_text.h"
#include "internal/log.h"
#include "internal/saturated_int.h"
#include "string_bundle.h"

namespace {

constexpr char kLogSource[] = "volume";

constexpr size_t kPathBytes = 64;
constexpr size_t kUIVolumeBytes = 128;
constexpr size_t kSpaceBytes = 256;
constexpr size_t kShortestSpaceId = 7;
constexpr int kDefaultLocations = KEST_VOL_INTERNAL | KEST_VOL_EXPANSION;

constexpr char kExpansion[] = "/volumeX";
constexpr char kUsb[] = "/volumeUSB";
constexpr char kSata[] = "/volumeSATA";
constexpr char kInternal[] = "/volume";
constexpr char kUsbShare[] = "usbshare";
constexpr char kSataShare[] = "satashare";
constexpr char kNative[] = "_native";

using tarvel_internal::BoundedText;
using tarvel_internal::SaturatedInt;

bool HasRoom(const char* buf, int size) { return buf != nullptr && size > 0; }

// A text into a caller's buffer, cut to its size; nothing without a buffer.
void Write(const std::string& text, char* buf, int size) {
  if (HasRoom(buf, size)) std::snprintf(buf, static_cast<size_t>(size), "%s", text.c_str());
}

// The rest of a text behind its prefix; null when it begins otherwise.
const char* Behind(const char* prefix, const char* text) {
  const size_t bytes = std::strlen(prefix);
  return std::strncmp(text, prefix, bytes) == 0 ? text + bytes : nullptr;
}

bool Contains(const std::string& text, const char* word) { return text.find(word) != std::string::npos; }

// How a space is spelt: as an identifier and, for a volume, as the path before its number.
struct SpaceForm {
  const char* prefix;
  const char* path;
  _space_type_ type;
};

constexpr SpaceForm kSpaceForms[] = {
    {"volume_", kInternal, KEST_SPACE_VOLUME},
    {"volumeX_", kExpansion, KEST_SPACE_VOLUME},
    {"iscsi_", nullptr, KEST_SPACE_ISCSI},
};

// Null for an unknown identifier and for a short one, which "iscsi_" alone deliberately is.
const SpaceForm* SpaceFormOf(const char* id) {
  if (std::strlen(id) < kShortestSpaceId) return nullptr;
  for (const SpaceForm& form : kSpaceForms) {
    if (Behind(form.prefix, id) != nullptr) return &form;
  }
  return nullptr;
}

// One character on purpose: identifiers have one digit, and volume 12 is 1.
std::string OneCharacter(const char* rest) { return std::string(rest, *rest != '\0' ? 1 : 0); }

}  // namespace

Volume::Volume() : service_(), mount_list_(KESTMountVolAllEnum(0, kDefaultLocations)) {}

Volume::Volume(_tag_SERVICE_ID_ id) : service_() {
  if (KESTServiceInfoGet(id, &service_) < 0) {
    LogError("%s %d Failed to get service info");
    service_ = {};
  }
  skip_fs_type_ = service_.skipFsType;
  const auto locations = static_cast<int>(service_.locationMask);
  mount_list_ = KESTMountVolAllEnum(0, locations != 0 ? locations : static_cast<int>(KEST_VOL_INTERNAL));
  CheckExtVolumeStatus();
}

Volume::~Volume() {
  if (mount_list_ != nullptr) KESTMountVolInfoFree(mount_list_);
}

void Volume::CheckExtVolumeStatus() {
  if (service_.externalAllowed == 0 || service_.path[0] == '\0') return;
  const KESTMOUNTVOL* volume = mount_list_;
  while (volume != nullptr &&
         (std::strcmp(volume->path, service_.path) != 0 || FSIsMatchSkipFS(volume->path, skip_fs_type_) != 0)) {
    volume = volume->next;
  }
  if (volume == nullptr || volume->writable == 0) ext_volume_usable_ = false;
}

bool Volume::VolumeCurrentPathGet(bool decide, char* buf, int size) {
  if (service_.decided != 0 || !decide) {
    Write(service_.path, buf, size);
    return true;
  }
  char chosen[kPathBytes] = "";
  if (KESTServiceNewVolumeDecide(&service_, chosen, sizeof chosen) < 1) return false;
  Write(chosen, buf, size);
  return true;
}

bool Volume::IsVolumeWritable(const char* path) {
  KESTMOUNTVOL volume = {};
  if (KESTMountVolInfoGet(path, &volume) < 0) {
    LogError("%s:%d Failed to get volume info %s", path);
    return false;
  }
  return volume.writable != 0;
}

int Volume::ToUIVolumeStr(int number, _tag_vol_location_ loc, char* buf, int size) {
  if (!HasRoom(buf, size)) {
    LogError("%s:%d Bad parameter");
    return 0;
  }
  // Other locations leave the buffer as it was on purpose: callers fill it before.
  if (loc != KEST_VOL_INTERNAL && loc != KEST_VOL_EXPANSION) return 1;
  StringBundle texts(const_cast<char*>("volume"), nullptr, nullptr, nullptr, nullptr, nullptr);
  std::string label = texts.Text("volume", "") + std::to_string(number);
  if (loc == KEST_VOL_EXPANSION) label += std::string("(") + texts.Text("volume_disk_source_ebox", "") + ")";
  Write(label, buf, size);
  return 1;
}

std::string Volume::ToUIVolumeStr(int number, _tag_vol_location_ loc) {
  char label[kUIVolumeBytes] = "";
  ToUIVolumeStr(number, loc, label, sizeof label);
  return label;
}

std::string Volume::ToUIVolumeStr(const char* path) {
  if (path == nullptr) {
    LogError("%s:%d Bad parameter");
    throw std::logic_error("Volume::ToUIVolumeStr: null path");
  }
  _tag_vol_id_ id = {};
  // The result is ignored on purpose: a path that is none has the empty label.
  VolumePathParse(path, &id);
  return ToUIVolumeStr(id.number, id.location);
}

std::string Volume::ToUISpaceID(_space_type_ type, const char* name) {
  if (name == nullptr) name = "";
  if (type == KEST_SPACE_ISCSI) return BoundedText<kSpaceBytes>("iscsi_%s", name);
  if (type != KEST_SPACE_VOLUME) {
    LogError("%s:%d unsupported space type: '%d'", static_cast<int>(type));
    return "";
  }
  _tag_vol_id_ volume = {};
  if (VolumePathParse(name, &volume) <= 0) return "";
  if (volume.location == KEST_VOL_INTERNAL) return "volume_" + std::to_string(volume.number);
  if (volume.location == KEST_VOL_EXPANSION) return "volumeX_" + std::to_string(volume.number);
  LogError("%s:%d unsupported volume location: '%d'", static_cast<int>(volume.location));
  return "";
}

bool Volume::ToSpacePath(const char* spaceId, char* buf, int size, _space_type_& type) {
  if (spaceId == nullptr || !HasRoom(buf, size)) {
    LogError("%s:%d bad parameters type: space id: %s, szSpaceID: %s, size: %d", spaceId != nullptr ? spaceId : "NULL",
             buf != nullptr ? buf : "NULL", size);
    return false;
  }
  char id[kSpaceBytes];
  std::snprintf(id, sizeof id, "%s", spaceId);
  const SpaceForm* const form = SpaceFormOf(id);
  if (form == nullptr) {
    LogError("%s:%d bad parameters type: space: %s", spaceId);
    return false;
  }
  const char* const rest = Behind(form->prefix, id);
  Write(form->path != nullptr ? form->path + std::to_string(SaturatedInt(rest)) : rest, buf, size);
  type = form->type;
  return true;
}

bool Volume::ToSpacePath(Json::Value& spaceId, char* buf, int size, _space_type_& type) {
  if (!spaceId.isString()) {
    LogError("%s:%d bad parameters type: space type");
    return false;
  }
  return ToSpacePath(spaceId.asString().c_str(), buf, size, type);
}

bool Volume::CGIRenderVolID(std::string path, std::string& id) {
  const char* const text = path.c_str();
  // Text prefixes, not components, and the plain one last: it begins the others.
  if (const char* rest = Behind(kExpansion, text)) {
    id = "X" + OneCharacter(rest);
  } else if ((rest = Behind(kUsb, text)) != nullptr) {
    id = "U" + OneCharacter(rest) + (Contains(path, kUsbShare) ? "" : kNative);
  } else if (Behind(kSata, text) != nullptr) {
    id = std::string("S") + (Contains(path, kSataShare) ? "" : kNative);
  } else if ((rest = Behind(kInternal, text)) != nullptr) {
    id = OneCharacter(rest);
  } else {
    return false;
  }
  return true;
}

bool Volume::CGIRenderVolPath(std::string id, char* buf, int size, _tag_vol_id_& out) {
  if (id.empty()) return false;
  const bool native = Contains(id, kNative);
  if ((id[0] == 'X' || id[0] == 'U') && id.size() < 2) {
    LogError("%s:%d Bad parameters: %s", id.c_str());
    return false;
  }
  std::string path;
  switch (id[0]) {
    case 'X':
      out = {SaturatedInt(id.c_str() + 1), KEST_VOL_EXPANSION};
      path = kExpansion + std::to_string(out.number);
      break;
    case 'U':
      out = {SaturatedInt(id.c_str() + 1), KEST_VOL_USB};
      path = kUsb + std::to_string(out.number);
      if (!native) path += std::string("/") + kUsbShare;
      break;
    case 'S':
      out = {0, KEST_VOL_SATA};
      path = kSata;
      if (!native) path += std::string("/") + kSataShare;
      break;
    default:
      out = {SaturatedInt(id.c_str()), KEST_VOL_INTERNAL};
      path = kInternal + std::to_string(out.number);
  }
  Write(path, buf, size);
  return true;
}

bool Volume::CGIRenderVolPath(std::string id, char* buf, int size) {
  _tag_vol_id_ ignored = {};
  return CGIRenderVolPath(id, buf, size, ignored);
}

bool Volume::CGIRenderVolPath(char* path, std::string& id) {
  char directory[kPathBytes] = "";
  return CGIRenderVolPath(path, directory, sizeof directory) && CGIRenderVolID(directory, id);
}

bool Volume::CGIRenderVolPath(char* path, char* buf, int size) {
  if (path == nullptr || !HasRoom(buf, size)) return false;
  const char* const slash = std::strrchr(path, '/');
  if (slash == nullptr) return false;
  // A copy: path and buffer may be the same memory, and path may be constant.
  Write(std::string(path, static_cast<size_t>(slash - path)), buf, size);
  return true;
}
