#include "host/network/time_zones.h"

#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <string_view>

#include "host/klib/error_code.h"
#include "host/klib/file_read.h"
#include "host/klib/key_value_line.h"
#include "host/storage/guarded_call.h"
#include "platform/kestnet.h"

namespace kest {
namespace {

constexpr char kDatabase[] = "/usr/share/zoneinfo";
constexpr char kUniversal[] = "UTC";
constexpr std::string_view kRegions[] = {"Africa/",   "America/",   "Antarctica/", "Arctic/", "Asia/",
                                         "Atlantic/", "Australia/", "Europe/",     "Indian/", "Pacific/"};

bool IsPlace(std::string_view name) {
  return std::any_of(std::begin(kRegions), std::end(kRegions),
                     [name](std::string_view region) { return name.substr(0, region.size()) == region; });
}

std::string_view TakeWord(std::string_view* line) {
  const size_t end = line->find(' ');
  const std::string_view word = line->substr(0, end);
  line->remove_prefix(end == std::string_view::npos ? line->size() : end + 1);
  return word;
}

// The name that a line of the index gives to a zone: "Z NAME ..." makes one, "L NAME OTHER" gives it another name.
std::string_view NameIn(std::string_view line) {
  const std::string_view what = TakeWord(&line);
  if (what != "Z" && what != "L") return {};
  const std::string_view first = TakeWord(&line);
  return what == "Z" ? first : TakeWord(&line);
}

bool IsInstalled(const std::string& folder, const std::string& name) {
  return access((folder + "/" + name).c_str(), F_OK) == 0;
}

int Enumerate(char* buf, int size, int* needed) {
  std::vector<std::string> names;
  if (!ReadTimeZones(kDatabase, &names)) return FailWith(ErrorCodeOf(errno));
  size_t bytes = names.size() * sizeof(char*);
  for (const std::string& name : names) bytes += name.size() + 1;
  if (bytes > INT_MAX) return FailWith(kErrorSystem);
  *needed = static_cast<int>(bytes);
  if (buf == nullptr || size < *needed) return 0;
  char* text = buf + names.size() * sizeof(char*);
  for (size_t i = 0; i < names.size(); ++i) {
    memcpy(buf + i * sizeof(char*), &text, sizeof(char*));
    memcpy(text, names[i].c_str(), names[i].size() + 1);
    text += names[i].size() + 1;
  }
  return static_cast<int>(names.size());
}

}  // namespace

bool ReadTimeZones(const char* folder, std::vector<std::string>* out) {
  std::string index;
  if (!ReadWholeFile((std::string(folder) + "/tzdata.zi").c_str(), kTextFileMax, &index)) return false;
  std::vector<std::string> names;
  for (std::string_view rest = index; !rest.empty();) {
    const std::string_view name = NameIn(TakeLine(&rest));
    if (IsPlace(name)) names.emplace_back(name);
  }
  std::sort(names.begin(), names.end());
  names.erase(std::unique(names.begin(), names.end()), names.end());
  names.insert(names.begin(), kUniversal);
  names.erase(std::remove_if(names.begin(), names.end(),
                             [folder](const std::string& name) { return !IsInstalled(folder, name); }),
              names.end());
  out->swap(names);
  return true;
}

}  // namespace kest

int KESTZoneEnum(char* buf, int size, int* needed) {
  if (needed == nullptr) return kest::FailWith(kest::kErrorBadParameter);
  return kest::Guarded([=] { return kest::Enumerate(buf, size, needed); });
}
