#ifndef KEST_HOST_MAIL_EVENT_MAIL_H_
#define KEST_HOST_MAIL_EVENT_MAIL_H_

#include <map>
#include <string>

namespace kest {

struct MailSystem {
  // LANG/EVENT.txt below it: what the mail of an event says (mail_template.h), in UTF-8.
  const char* templates = "/usr/kest/etc.defaults/mail";
  // Takes a message on its standard input and the recipients out of its headers.
  const char* sendmail = "/usr/sbin/sendmail";
  // Of whom the mail is; "" leaves that to the mail system.
  std::string sender;
};

// The message that is handed to the mail system, with LF line ends.
std::string EventMessage(const std::string& sender, const std::string& recipient, const std::string& subject,
                         const std::string& body);

// Sends the mail of an event, in English where there is no template in the language.
// @param language  code of a language
// @param values    for the placeholders; %HOST_NAME% is there by itself
// @return 0 when the mail system has taken it; negative on failure: a bad parameter for an event or a recipient that is
//         none, no such object without a template or a mail system, else a system failure (logged, but for bad
//         parameters)
int SendEventMail(const MailSystem& system, const std::string& language, const std::string& event,
                  const std::map<std::string, std::string>& values, const std::string& recipient);

}  // namespace kest

#endif  // KEST_HOST_MAIL_EVENT_MAIL_H_
