#include "host/storage/volume_path.h"

#include "host/klib/error_code.h"

namespace kest {
namespace {

struct Prefix {
  std::string_view text;
  _tag_vol_location_ location;
};

// The shortest last: it begins all the others.
constexpr Prefix kPrefixes[] = {
    {"/volumeUSB", KEST_VOL_USB},
    {"/volumeX", KEST_VOL_EXPANSION},
    {"/volume", KEST_VOL_INTERNAL},
};

// A number of at most nine digits, from 1, without leading zero; 0 for anything else.
int VolumeNumber(std::string_view digits) {
  if (digits.empty() || digits.size() > 9 || digits[0] == '0') return 0;
  int number = 0;
  for (const char c : digits) {
    if (c < '0' || c > '9') return 0;
    number = number * 10 + (c - '0');
  }
  return number;
}

std::string_view FirstComponent(std::string_view path) { return path.substr(0, path.find('/', 1)); }

}  // namespace

bool ParseVolumePath(std::string_view path, _tag_vol_id_* id) {
  const std::string_view volume = FirstComponent(path);
  if (volume == "/volumeSATA") {
    *id = {0, KEST_VOL_SATA};
    return true;
  }
  for (const Prefix& prefix : kPrefixes) {
    if (volume.substr(0, prefix.text.size()) != prefix.text) continue;
    const int number = VolumeNumber(volume.substr(prefix.text.size()));
    if (number == 0) return false;
    *id = {number, prefix.location};
    return true;
  }
  return false;
}

bool ParseMountPath(std::string_view path, _tag_vol_id_* id) {
  _tag_vol_id_ parsed;
  if (!ParseVolumePath(path, &parsed)) return false;
  const std::string_view rest = path.substr(FirstComponent(path).size());
  const bool stands_for_disk = (parsed.location == KEST_VOL_USB && rest == "/usbshare") ||
                               (parsed.location == KEST_VOL_SATA && rest == "/satashare");
  if (!rest.empty() && !stands_for_disk) return false;
  *id = parsed;
  return true;
}

bool LiesIn(std::string_view path, std::string_view folder) {
  return path.substr(0, folder.size()) == folder && (path.size() == folder.size() || path[folder.size()] == '/');
}

bool IsPlainPath(std::string_view path) {
  if (path.empty() || path[0] != '/') return false;
  for (size_t at = path.find("/.."); at != std::string_view::npos; at = path.find("/..", at + 1)) {
    if (at + 3 == path.size() || path[at + 3] == '/') return false;
  }
  return true;
}

}  // namespace kest

int VolumePathParse(const char* path, _tag_vol_id_* id) {
  if (path == nullptr || id == nullptr) return kest::FailWith(kest::kErrorBadParameter);
  return kest::ParseVolumePath(path, id) ? 1 : kest::FailWith(kest::kErrorBadParameter);
}
