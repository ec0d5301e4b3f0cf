#include "name_text.h"

#include <clocale>
#include <cstdlib>
#include <cwchar>

namespace site {

bool IsUtf8(const std::string& text) {
  setlocale(LC_CTYPE, "C.UTF-8");
  return mbstowcs(nullptr, text.c_str(), 0) != static_cast<size_t>(-1);
}

bool IsPlainText(const std::string& text) {
  for (const char c : text) {
    if (static_cast<unsigned char>(c) < ' ' || c == '\x7f') return false;
  }
  return IsUtf8(text);
}

std::string AsUtf8(const std::string& text) {
  if (IsUtf8(text)) return text;
  std::string whole;
  for (size_t at = 0; at < text.size();) {
    std::mbstate_t state = {};
    const size_t bytes = std::mbrlen(text.data() + at, text.size() - at, &state);
    const bool is_character = bytes > 0 && bytes <= text.size() - at;
    whole += is_character ? text.substr(at, bytes) : "\xef\xbf\xbd";
    at += is_character ? bytes : 1;
  }
  return whole;
}

}  // namespace site
