#include "directory.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <limits>

#include "failure_code.h"
#include "name_text.h"
// The library does not tell why an object could not be loaded or saved: the platform's error does.
#include "platform/klib.h"

namespace site {

namespace {

constexpr char kLock[] = "/tmp/tarvel/directory.lock";
constexpr char kBusyKey[] = "error_directory_busy";

// U+0080 to U+009F, the control characters beyond ASCII: "\xc2" and a byte up to "\x9f".
bool HoldsHighControl(const std::string& text) {
  for (size_t at = text.find('\xc2'); at != std::string::npos; at = text.find('\xc2', at + 1)) {
    if (at + 1 < text.size() && static_cast<unsigned char>(text[at + 1]) <= 0x9f) return true;
  }
  return false;
}

// U+202A to U+202E and U+2066 to U+2069.
bool HoldsTurningMark(const std::string& text) {
  for (size_t at = text.find("\xe2"); at != std::string::npos; at = text.find("\xe2", at + 1)) {
    const std::string mark = text.substr(at + 1, 2);
    if ((mark >= "\x80\xaa" && mark <= "\x80\xae") || (mark >= "\x81\xa6" && mark <= "\x81\xa9")) return true;
  }
  return false;
}

}  // namespace

int OffsetOf(Tarvel& request) {
  const char* const text = request.In("offset", "");
  char* end = nullptr;
  const long offset = strtol(text, &end, 10);
  if (end == text || *end != '\0' || offset < 0) return 0;
  constexpr long kMost = std::numeric_limits<int>::max() - kRows;
  return static_cast<int>(offset < kMost ? offset : kMost);
}

bool IsDirectoryName(const std::string& name) {
  return !name.empty() && name.size() <= kNameBytes && name.front() != ' ' && name.back() != ' ' &&
         name.front() != '-' && name != "." && name != ".." && name.find_first_of(",:@\\/\"") == std::string::npos &&
         IsPlainText(name) && !HoldsHighControl(name) && !HoldsTurningMark(name);
}

bool IsSameName(const std::string& a, const std::string& b) {
  return KLIBUnicodeUTF8StrCaseCmp(a.c_str(), b.c_str()) == 0;
}

std::string VersionOf(std::initializer_list<std::string> values) {
  std::string all;
  // No value holds a NUL byte.
  for (const std::string& value : values) all.append(value).append(1, '\0');
  char text[32];
  std::snprintf(text, sizeof text, "%zx", std::hash<std::string>()(all));
  return text;
}

const char* WhyNotSaved(const SaveFailures& failures) {
  switch (KLIBErrGet()) {
    case kTaken:
      return failures.taken;
    case kBadParameter:
      return failures.name;
    case kNoSuchObject:
      return failures.gone;
    case kDenied:
      return failures.denied;
    case kBusy:
      return kBusyKey;
    case kNoSpace:
      return "error_directory_no_room";
    default:
      return failures.failed;
  }
}

const char* WhyNotFound(const char* gone, const char* failed) {
  const int code = KLIBErrGet();
  if (code == kNoSuchObject) return gone;
  return code == kBusy ? kBusyKey : failed;
}

DirectoryTurn::DirectoryTurn() : lock_(open(kLock, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600)) {
  is_open_ = lock_.IsOpen() && flock(lock_.get(), LOCK_EX) == 0;
}

}  // namespace site
