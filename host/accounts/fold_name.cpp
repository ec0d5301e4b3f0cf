#include "host/accounts/fold_name.h"

#include <stdlib.h>
#include <string.h>
#include <utf8proc.h>

namespace kest {
namespace {

bool IsCutFromNames(int32_t c) {
  return c < 0x20 || (c >= 0x7f && c <= 0x9f) || (c < 0x80 && strchr(",:@\\/\"", static_cast<char>(c)) != nullptr);
}

}  // namespace

std::string FoldName(const std::string& name) {
  utf8proc_uint8_t* folded = nullptr;
  const auto options = static_cast<utf8proc_option_t>(UTF8PROC_STABLE | UTF8PROC_COMPOSE | UTF8PROC_CASEFOLD);
  const auto length = utf8proc_map(reinterpret_cast<const utf8proc_uint8_t*>(name.data()),
                                   static_cast<utf8proc_ssize_t>(name.size()), &folded, options);
  if (length < 0) return name;
  std::string result(reinterpret_cast<const char*>(folded), static_cast<size_t>(length));
  free(folded);
  return result;
}

bool IsAccountName(const std::string& name) {
  if (name.empty() || name.size() > kMaxNameBytes || name.front() == ' ' || name.back() == ' ') return false;
  const auto* at = reinterpret_cast<const utf8proc_uint8_t*>(name.data());
  const auto* end = at + name.size();
  while (at < end) {
    utf8proc_int32_t c = 0;
    const auto step = utf8proc_iterate(at, end - at, &c);
    if (step <= 0 || IsCutFromNames(c)) return false;
    at += step;
  }
  return true;
}

}  // namespace kest
