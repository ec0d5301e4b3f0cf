// Identifiers, paths and spaces of volumes of any bytes, against rules written a second time.
#include <climits>

#include "fuzz_input.h"
#include "volume.h"

extern "C" void SilentSyslog(int, const char*, ...) __asm__("__wrap_syslog");
void SilentSyslog(int, const char*, ...) {}

namespace {

bool BeginsWith(const std::string& text, const std::string& prefix) {
  return text.compare(0, prefix.size(), prefix) == 0;
}
bool Holds(const std::string& text, const char* word) { return text.find(word) != std::string::npos; }

// The number at the beginning of a text, as near as an int comes to it.
int Number(const std::string& text) {
  size_t at = text.find_first_not_of(" \t\n\v\f\r");
  if (at == std::string::npos) return 0;
  const bool negative = text[at] == '-';
  if (text[at] == '-' || text[at] == '+') ++at;
  long long value = 0;
  for (; at < text.size() && text[at] >= '0' && text[at] <= '9' && value <= INT_MAX; ++at)
    value = value * 10 + (text[at] - '0');
  if (negative) value = -value;
  return value > INT_MAX ? INT_MAX : value < INT_MIN ? INT_MIN : static_cast<int>(value);
}

// "refused" stands for a refusal: no path and no identifier is that.
std::string PathOf(const std::string& id) {
  const std::string rest = id.empty() ? "" : id.substr(1);
  const bool native = Holds(id, "_native");
  if (id.empty() || id == "X" || id == "U") return "refused";
  if (id[0] == 'X') return "/volumeX" + std::to_string(Number(rest));
  if (id[0] == 'U') return "/volumeUSB" + std::to_string(Number(rest)) + (native ? "" : "/usbshare");
  if (id[0] == 'S') return native ? "/volumeSATA" : "/volumeSATA/satashare";
  return "/volume" + std::to_string(Number(id));
}

std::string IdOf(const std::string& path) {
  if (BeginsWith(path, "/volumeX")) return "X" + path.substr(8, 1);
  if (BeginsWith(path, "/volumeUSB")) return "U" + path.substr(10, 1) + (Holds(path, "usbshare") ? "" : "_native");
  if (BeginsWith(path, "/volumeSATA")) return Holds(path, "satashare") ? "S" : "S_native";
  return BeginsWith(path, "/volume") ? path.substr(7, 1) : "refused";
}

std::string SpaceOf(const std::string& whole) {
  const std::string id = whole.substr(0, 255);
  if (id.size() < 7) return "refused";
  if (BeginsWith(id, "volume_")) return "/volume" + std::to_string(Number(id.substr(7)));
  if (BeginsWith(id, "volumeX_")) return "/volumeX" + std::to_string(Number(id.substr(8)));
  return BeginsWith(id, "iscsi_") ? id.substr(6) : "refused";
}

// An identifier's path, and what comes back: of its number the first digit.
void CheckIdentifier(const std::string& id, std::string room) {
  _tag_vol_id_ parsed = {};
  const std::string path = PathOf(id);
  Require(Volume::CGIRenderVolPath(id, room.data(), static_cast<int>(room.size()), parsed) == (path != "refused"));
  if (path == "refused") return;
  Require(room.c_str() == path.substr(0, room.size() - 1));
  std::string back = "refused";
  const std::string first = parsed.number < 0 ? "-" : std::to_string(parsed.number).substr(0, 1);
  const std::string native = Holds(id, "_native") ? "_native" : "";
  Require(Volume::CGIRenderVolID(path, back));
  Require(back == (parsed.location == KEST_VOL_EXPANSION ? "X" + first
                   : parsed.location == KEST_VOL_USB     ? "U" + first + native
                   : parsed.location == KEST_VOL_SATA    ? "S" + native
                                                         : first));
}

void CheckPath(const std::string& path) {
  std::string id = "refused";
  Require(Volume::CGIRenderVolID(path, id) == (IdOf(path) != "refused"));
  Require(id == IdOf(path));
}

// The identifier of a space, as a member of a document.
void CheckSpace(const std::string& id, std::string room) {
  auto type = static_cast<_space_type_>(0);
  const std::string space = SpaceOf(id);
  Json::Value member = id;
  if (Volume::ToSpacePath(member, room.data(), static_cast<int>(room.size()), type)) {
    Require(room.c_str() == space.substr(0, room.size() - 1));
    Require(type == (BeginsWith(id, "iscsi_") ? KEST_SPACE_ISCSI : KEST_SPACE_VOLUME));
  } else {
    Require(space == "refused" && type == 0);
  }
}

// What the platform takes for the path of a volume inside has an identifier, which leads back to the volume.
void CheckVolumeThereAndBack(const std::string& path) {
  _tag_vol_id_ volume = {}, same = {};
  const bool inside = VolumePathParse(path.c_str(), &volume) > 0 &&
                      (volume.location == KEST_VOL_INTERNAL || volume.location == KEST_VOL_EXPANSION);
  const std::string id = Volume::ToUISpaceID(KEST_SPACE_VOLUME, path.c_str());
  Require(inside != id.empty());
  if (!inside) return;
  char back[64];
  auto type = static_cast<_space_type_>(0);
  Require(Volume::ToSpacePath(id.c_str(), back, sizeof back, type) && type == KEST_SPACE_VOLUME);
  Require(VolumePathParse(back, &same) > 0 && same.number == volume.number && same.location == volume.location);
}

// Any name but the empty one comes back, as long as the identifier has room for it.
void CheckLunThereAndBack(const std::string& name) {
  const std::string id = Volume::ToUISpaceID(KEST_SPACE_ISCSI, name.c_str());
  Require(id == ("iscsi_" + name).substr(0, 255));
  char back[256];
  auto type = static_cast<_space_type_>(0);
  Require(Volume::ToSpacePath(id.c_str(), back, sizeof back, type) == !name.empty());
  Require(name.empty() || (back == name.substr(0, 249) && type == KEST_SPACE_ISCSI));
}

// The folder of a file, which is not changed by the questions, and the folder's identifier.
void CheckFolder(const std::string& file, std::string room) {
  std::string asked = file;
  const size_t slash = file.rfind('/');
  const bool has_folder = slash != std::string::npos;
  const std::string folder = file.substr(0, has_folder ? slash : 0);
  Require(Volume::CGIRenderVolPath(asked.data(), room.data(), static_cast<int>(room.size())) == has_folder);
  if (has_folder) Require(room.c_str() == folder.substr(0, room.size() - 1));
  const std::string expected = has_folder ? IdOf(folder.substr(0, 63)) : "refused";
  std::string id = "refused";
  Require(Volume::CGIRenderVolPath(asked.data(), id) == (expected != "refused"));
  Require(id == expected && asked == file);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput input(data, size);
  const std::string room(1 + input.Choice(255), '#');
  const std::string text = input.TextRest();
  CheckIdentifier(text, room);
  CheckPath(text);
  CheckSpace(text, room);
  CheckVolumeThereAndBack(text);
  CheckLunThereAndBack(text);
  CheckFolder(text, room);
  return 0;
}
