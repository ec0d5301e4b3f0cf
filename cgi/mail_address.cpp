#include "mail_address.h"

namespace site {

namespace {

bool IsDotAtom(const std::string& text) {
  static const char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789!#$%&'*+-/=?^_`{|}~.";
  return !text.empty() && text.find_first_not_of(kAlphabet) == std::string::npos && text.front() != '.' &&
         text.back() != '.' && text.find("..") == std::string::npos;
}

}  // namespace

bool IsMailAddress(const std::string& text) {
  const size_t at = text.find('@');
  return at != std::string::npos && IsDotAtom(text.substr(0, at)) && IsDotAtom(text.substr(at + 1));
}

}  // namespace site
