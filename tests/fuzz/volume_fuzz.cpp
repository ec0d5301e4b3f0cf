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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput input(data, size);
  const size_t room = 1 + input.Choice(255);
  const std::string text = input.TextRest();
  std::string buffer(room, '#');
  const auto bytes = static_cast<int>(room);

  _tag_vol_id_ parsed = {};
  const std::string path = PathOf(text);
  Require(Volume::CGIRenderVolPath(text, buffer.data(), bytes, parsed) == (path != "refused"));
  if (path != "refused") Require(buffer.c_str() == path.substr(0, room - 1));

  std::string id = "refused";
  Require(Volume::CGIRenderVolID(text, id) == (IdOf(text) != "refused"));
  Require(id == IdOf(text));

  buffer.assign(room, '#');
  auto type = static_cast<_space_type_>(0);
  const std::string space = SpaceOf(text);
  Json::Value member = text;
  if (Volume::ToSpacePath(member, buffer.data(), bytes, type)) {
    Require(buffer.c_str() == space.substr(0, room - 1));
    Require(type == (BeginsWith(text, "iscsi_") ? KEST_SPACE_ISCSI : KEST_SPACE_VOLUME));
  } else {
    Require(space == "refused" && type == 0);
  }

  // The folder of a file, which is not changed by the question.
  std::string file = text;
  buffer.assign(room, '#');
  const size_t slash = text.rfind('/');
  Require(Volume::CGIRenderVolPath(file.data(), buffer.data(), bytes) == (slash != std::string::npos));
  if (slash != std::string::npos) Require(buffer.c_str() == text.substr(0, slash).substr(0, room - 1));
  Require(file == text);
  return 0;
}
