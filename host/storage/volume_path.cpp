#include "host/storage/volume_path.h"

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

}  // namespace

bool ParseVolumePath(std::string_view path, _tag_vol_id_* id) {
  if (path == "/volumeSATA") {
    *id = {0, KEST_VOL_SATA};
    return true;
  }
  for (const Prefix& prefix : kPrefixes) {
    if (path.substr(0, prefix.text.size()) != prefix.text) continue;
    const int number = VolumeNumber(path.substr(prefix.text.size()));
    if (number == 0) return false;
    *id = {number, prefix.location};
    return true;
  }
  return false;
}

}  // namespace kest
