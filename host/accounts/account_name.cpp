#include "host/accounts/account_name.h"

#include <pwd.h>
#include <stdio.h>
#include <string.h>
#include <utf8proc.h>

#include <memory>

#include "host/accounts/fold_name.h"

namespace kest {
namespace {

constexpr uid_t kFirstPersonsUid = 1000;
constexpr uid_t kNobodysUid = 65534;

bool IsControl(int32_t c) { return c < 0x20 || (c >= 0x7f && c <= 0x9f); }

bool IsCutFromNames(int32_t c) {
  return IsControl(c) || (c < 0x80 && strchr(",:@\\/\"", static_cast<char>(c)) != nullptr);
}

// UTF-8 throughout, without one of the characters.
template <typename Unwanted>
bool IsUtf8Without(const std::string& text, Unwanted unwanted) {
  const auto* at = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
  const auto* end = at + text.size();
  while (at < end) {
    utf8proc_int32_t c = 0;
    const auto step = utf8proc_iterate(at, end - at, &c);
    if (step <= 0 || unwanted(c)) return false;
    at += step;
  }
  return true;
}

}  // namespace

bool IsDirectoryName(const std::string& name) {
  if (name.empty() || name.size() > kMaxNewNameBytes || name == "." || name == "..") return false;
  if (name.front() == '-' || name.front() == ' ' || name.back() == ' ') return false;
  return IsUtf8Without(name, IsCutFromNames);
}

bool IsSystemAccount(const std::string& name) {
  const std::unique_ptr<FILE, int (*)(FILE*)> file(fopen("/etc/passwd", "re"), fclose);
  if (file == nullptr) return false;
  const std::string folded = FoldName(name);
  while (const passwd* entry = fgetpwent(file.get())) {
    const bool of_system = entry->pw_uid < kFirstPersonsUid || entry->pw_uid == kNobodysUid;
    if (of_system && FoldName(entry->pw_name) == folded) return true;
  }
  return false;
}

std::string UsualHome(const std::string& name) { return "/var/services/homes/" + name; }

bool IsText(const std::string& text) {
  return text.size() <= kMaxTextBytes && IsUtf8Without(text, [](int32_t) { return false; });
}

bool IsLine(const std::string& text) { return text.size() <= kMaxTextBytes && IsUtf8Without(text, IsControl); }

bool IsPathField(const std::string& path) {
  return !path.empty() && path.front() == '/' && path.find(':') == std::string::npos && IsLine(path);
}

}  // namespace kest
