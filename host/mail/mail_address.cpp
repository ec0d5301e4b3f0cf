#include "host/mail/mail_address.h"

namespace kest {
namespace {

constexpr size_t kAddressMax = 254;
constexpr size_t kNameMax = 64;

bool IsLetterOrDigit(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'); }

// Words of letters, digits and `others`, with single dots between them.
bool IsDotted(std::string_view text, std::string_view others) {
  bool word = false;
  for (const char c : text) {
    if (c == '.' ? !word : !IsLetterOrDigit(c) && others.find(c) == std::string_view::npos) return false;
    word = c != '.';
  }
  return word;
}

}  // namespace

bool IsMailAddress(std::string_view text) {
  const size_t at = text.find('@');
  if (text.size() > kAddressMax || at == std::string_view::npos || at > kNameMax) return false;
  return IsDotted(text.substr(0, at), "!#$%&'*+-/=?^_`{|}~") && IsDotted(text.substr(at + 1), "-");
}

}  // namespace kest
