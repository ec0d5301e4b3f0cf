#ifndef KEST_HOST_MAIL_MAIL_TEMPLATE_H_
#define KEST_HOST_MAIL_MAIL_TEMPLATE_H_

#include <map>
#include <string>
#include <string_view>

namespace kest {

// What a mail says.
struct MailText {
  std::string subject;
  std::string body;
};

// Takes a template apart: a first line "Subject: TEXT", an empty line, and the body. False for anything else, with
// `out` untouched.
bool ParseMailTemplate(std::string_view text, MailText* out);

// The text with each "%NAME%" that the map knows replaced by its value. Values are not looked through again, and what
// the map does not know stands as it is.
std::string WithValues(std::string_view text, const std::map<std::string, std::string>& values);

}  // namespace kest

#endif  // KEST_HOST_MAIL_MAIL_TEMPLATE_H_
