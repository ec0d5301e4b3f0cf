#include "host/accounts/fold_name.h"

#include <stdlib.h>
#include <utf8proc.h>

#include <algorithm>

namespace kest {
namespace {

bool IsAscii(const std::string& text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

// What folding comes to for the names that nearly everybody has.
std::string FoldAscii(std::string name) {
  for (char& c : name) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
  return name;
}

}  // namespace

std::string FoldName(const std::string& name) {
  if (IsAscii(name)) return FoldAscii(name);
  utf8proc_uint8_t* folded = nullptr;
  const auto options = static_cast<utf8proc_option_t>(UTF8PROC_STABLE | UTF8PROC_COMPOSE | UTF8PROC_CASEFOLD);
  const auto length = utf8proc_map(reinterpret_cast<const utf8proc_uint8_t*>(name.data()),
                                   static_cast<utf8proc_ssize_t>(name.size()), &folded, options);
  if (length < 0) return name;
  std::string result(reinterpret_cast<const char*>(folded), static_cast<size_t>(length));
  free(folded);
  return result;
}

}  // namespace kest
