#include "content_disposition.h"

#include <tarvel/webutils.h>

#include "name_text.h"

namespace site {

namespace {

template <typename Test>
std::string Underlined(std::string text, Test is_bad) {
  for (char& c : text) {
    if (is_bad(static_cast<unsigned char>(c))) c = '_';
  }
  return text;
}

bool IsControl(unsigned char c) { return c < ' ' || c == 0x7f; }

// Of what a quoted string allows, browsers also disagree about "%" and "\".
bool IsOddInQuotes(unsigned char c) { return IsControl(c) || c >= 0x80 || c == '"' || c == '\\' || c == '%'; }

}  // namespace

std::string ContentDisposition(const std::string& kind, const std::string& name) {
  const bool is_text = IsUtf8(name);
  const std::string whole =
      Underlined(name, [is_text](unsigned char c) { return IsControl(c) || (!is_text && c >= 0x80); });
  return kind + "; filename=\"" + Underlined(name, IsOddInQuotes) + "\"; filename*=UTF-8''" +
         WebUtils::EncodeURL(whole.c_str());
}

}  // namespace site
