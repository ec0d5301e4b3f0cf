#include "host/mail/mail_template.h"

#include "host/klib/key_value_line.h"

namespace kest {
namespace {

constexpr std::string_view kSubject = "Subject:";
constexpr std::string_view kBlanks = " \t\r\n";

std::string_view Trimmed(std::string_view text) {
  const size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

}  // namespace

bool ParseMailTemplate(std::string_view text, MailText* out) {
  text = WithoutByteOrderMark(text);
  const std::string_view head = TakeLine(&text);
  if (head.substr(0, kSubject.size()) != kSubject || !Trimmed(TakeLine(&text)).empty()) return false;
  const std::string_view subject = Trimmed(head.substr(kSubject.size()));
  if (subject.empty() || Trimmed(text).empty()) return false;
  out->subject.assign(subject);
  out->body.assign(text);
  return true;
}

std::string WithValues(std::string_view text, const std::map<std::string, std::string>& values) {
  std::string out;
  while (!text.empty()) {
    const size_t begin = text.find('%');
    const size_t end = begin == std::string_view::npos ? begin : text.find('%', begin + 1);
    if (end == std::string_view::npos) break;
    out.append(text.substr(0, begin));
    const auto value = values.find(std::string(text.substr(begin, end + 1 - begin)));
    // A "%" that begins no placeholder may still be followed by one.
    out.append(value == values.end() ? text.substr(begin, end - begin) : std::string_view(value->second));
    text.remove_prefix(value == values.end() ? end : end + 1);
  }
  return out.append(text);
}

}  // namespace kest
