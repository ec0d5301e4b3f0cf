#include "host/cgi/script_text.h"

#include <stdio.h>

namespace kest {
namespace {

// The short escape of a character, or nullptr.
const char* ShortEscape(char c) {
  switch (c) {
    case '"':
      return "\\\"";
    case '\'':
      return "\\'";
    case '\\':
      return "\\\\";
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    case '\t':
      return "\\t";
    default:
      return nullptr;
  }
}

// "</script>", "<!--" and "&quot;" must not reach the HTML reader, so their characters go by number.
bool GoesByNumber(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < 0x20 || byte == 0x7f || c == '<' || c == '>' || c == '&';
}

void AppendByNumber(unsigned number, std::string* out) {
  char escape[8];
  snprintf(escape, sizeof(escape), "\\u%04x", number);
  *out += escape;
}

// U+2028 and U+2029 end a line in scripts; in UTF-8 they are E2 80 A8 and E2 80 A9.
bool IsLineSeparator(std::string_view text) {
  return text.substr(0, 2) == "\xE2\x80" && text.size() > 2 && (text[2] == '\xA8' || text[2] == '\xA9');
}

}  // namespace

std::string EncodeForScript(std::string_view text) {
  std::string out;
  out.reserve(text.size() + text.size() / 8);
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (const char* const escape = ShortEscape(c)) {
      out += escape;
    } else if (GoesByNumber(c)) {
      AppendByNumber(static_cast<unsigned char>(c), &out);
    } else if (IsLineSeparator(text.substr(i))) {
      AppendByNumber(text[i + 2] == '\xA8' ? 0x2028 : 0x2029, &out);
      i += 2;
    } else {
      out += c;
    }
  }
  return out;
}

}  // namespace kest
