#include "host/mail/event_mail.h"

#include <string.h>
#include <sys/mman.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>

#include "host/cgi/language.h"
#include "host/cgi/settings.h"
#include "host/klib/error_code.h"
#include "host/klib/file_descriptor.h"
#include "host/klib/file_read.h"
#include "host/klib/run_program.h"
#include "host/klib/string_hash.h"
#include "host/mail/mail_address.h"
#include "host/mail/mail_encoding.h"
#include "host/mail/mail_template.h"
#include "host/storage/guarded_call.h"
#include "platform/kestnet.h"

namespace kest {
namespace {

constexpr size_t kEventMax = 64;
constexpr int kSendmailSeconds = 60;
constexpr char kFallback[] = "en";

// Part of a file's name.
bool IsEvent(const std::string& event) {
  constexpr char kLetters[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-";
  return !event.empty() && event.size() <= kEventMax && event.find_first_not_of(kLetters) == std::string::npos;
}

int Fail(const char* path, int error) {
  syslog(LOG_ERR, "mail: %s: %s", path, strerror(error));
  return FailWith(ErrorCodeOf(error));
}

int ReadTemplate(const MailSystem& system, const std::string& language, const std::string& event, MailText* out) {
  const std::string name = "/" + event + ".txt";
  std::string path = std::string(system.templates) + "/" + language + name, text;
  bool read = ReadWholeFile(path.c_str(), kTextFileMax, &text);
  if (!read && errno == ENOENT) {
    path = std::string(system.templates) + "/" + kFallback + name;
    read = ReadWholeFile(path.c_str(), kTextFileMax, &text);
  }
  if (!read) return Fail(path.c_str(), errno);
  if (ParseMailTemplate(text, out)) return 0;
  syslog(LOG_ERR, "mail: %s: no template: a line \"Subject: ...\", an empty line and a text", path.c_str());
  return FailWith(kErrorSystem);
}

std::string HostName() {
  char name[256] = "";
  return gethostname(name, sizeof(name) - 1) == 0 ? name : "";
}

// In memory and not through a pipe: a mail system that stops reading cannot stop the program.
bool FillInput(int fd, const std::string& message) {
  size_t written = 0;
  while (written < message.size()) {
    const ssize_t count = write(fd, message.data() + written, message.size() - written);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return false;
    written += static_cast<size_t>(count);
  }
  return lseek(fd, 0, SEEK_SET) == 0;
}

int HandOver(const char* sendmail, const std::string& message) {
  const FileDescriptor input(memfd_create("mail", MFD_CLOEXEC));
  if (!input.IsOpen() || !FillInput(input.Get(), message)) return Fail("message", errno);
  const char* const arguments[] = {sendmail, "-t", "-oi", nullptr};
  const int status = RunProgram(arguments, kSendmailSeconds, input.Get());
  if (status < 0) return Fail(sendmail, errno);
  if (status == 0) return 0;
  syslog(LOG_ERR, "mail: %s ended with %d", sendmail, status);
  return FailWith(kErrorSystem);
}

// The sender in the settings; one that is no address counts as none.
std::string Sender() {
  const std::string sender = ProcessSetting("mail_sender", "");
  if (sender.empty() || IsMailAddress(sender)) return sender;
  syslog(LOG_WARNING, "mail: the setting mail_sender is no address");
  return "";
}

}  // namespace

std::string EventMessage(const std::string& sender, const std::string& recipient, const std::string& subject,
                         const std::string& body) {
  std::string message;
  if (!sender.empty()) message += "From: " + sender + "\n";
  message += "To: " + recipient + "\n" + HeaderLine("Subject", AsUtf8(subject));
  message +=
      "Auto-Submitted: auto-generated\n"
      "MIME-Version: 1.0\n"
      "Content-Type: text/plain; charset=UTF-8\n"
      "Content-Transfer-Encoding: base64\n"
      "\n";
  return message + EncodedBody(AsUtf8(body));
}

int SendEventMail(const MailSystem& system, const std::string& language, const std::string& event,
                  const std::map<std::string, std::string>& values, const std::string& recipient) {
  if (!IsEvent(event) || !IsMailAddress(recipient)) return FailWith(kErrorBadParameter);
  MailText text;
  if (ReadTemplate(system, language, event, &text) != 0) return -1;
  auto all = values;
  all.emplace("%HOST_NAME%", HostName());
  const std::string message =
      EventMessage(system.sender, recipient, WithValues(text.subject, all), WithValues(text.body, all));
  return HandOver(system.sendmail, message);
}

}  // namespace kest

int KESTMailSendEventToUser(const char* event, PSZHASH values, const char* recipient) {
  if (event == nullptr || recipient == nullptr) return kest::FailWith(kest::kErrorBadParameter);
  return kest::Guarded([=] {
    kest::MailSystem system;
    system.sender = kest::Sender();
    return kest::SendEventMail(system, kest::RequestLanguage(), event,
                               values == nullptr ? std::map<std::string, std::string>() : values->values, recipient);
  });
}
