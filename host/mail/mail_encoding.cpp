#include "host/mail/mail_encoding.h"

#include <utf8proc.h>

#include <algorithm>

namespace kest {
namespace {

constexpr size_t kPlainMax = 60;
// With its frame and the header's name 76 characters at most.
constexpr size_t kWordBytes = 33;
constexpr size_t kLineBytes = 57;

bool IsControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }

bool IsPlain(std::string_view text) {
  const auto is_ascii = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
  return text.size() <= kPlainMax && std::all_of(text.begin(), text.end(), is_ascii) &&
         text.find("=?") == std::string_view::npos;
}

// As many whole characters as fit.
size_t WordLength(std::string_view text) {
  if (text.size() <= kWordBytes) return text.size();
  size_t end = kWordBytes;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80) --end;
  return end;
}

}  // namespace

std::string AsUtf8(std::string_view text) {
  std::string out;
  const auto* next = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
  const auto* const end = next + text.size();
  while (next < end) {
    utf8proc_int32_t character = 0;
    const utf8proc_ssize_t bytes = utf8proc_iterate(next, end - next, &character);
    if (bytes > 0) out.append(reinterpret_cast<const char*>(next), static_cast<size_t>(bytes));
    if (bytes <= 0) out.append("\xEF\xBF\xBD");
    next += bytes > 0 ? bytes : 1;
  }
  return out;
}

std::string Base64(std::string_view bytes) {
  constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  for (size_t i = 0; i < bytes.size(); i += 3) {
    const std::string_view group = bytes.substr(i, 3);
    unsigned bits = 0;
    for (size_t k = 0; k < 3; ++k) bits = bits << 8U | (k < group.size() ? static_cast<unsigned char>(group[k]) : 0U);
    for (size_t k = 0; k < 4; ++k) out += k <= group.size() ? kDigits[bits >> (18 - 6 * k) & 63U] : '=';
  }
  return out;
}

std::string HeaderLine(std::string_view name, std::string_view text) {
  std::string value(text);
  std::replace_if(value.begin(), value.end(), IsControl, ' ');
  std::string line = std::string(name) + ": ";
  if (IsPlain(value)) return line + value + "\n";
  std::string_view rest = value;
  for (const char* gap = ""; !rest.empty(); gap = "\n ") {
    const size_t length = WordLength(rest);
    line.append(gap).append("=?UTF-8?B?").append(Base64(rest.substr(0, length))).append("?=");
    rest.remove_prefix(length);
  }
  return line + "\n";
}

std::string EncodedBody(std::string_view text) {
  std::string canonical;
  for (const char c : text) {
    if (c == '\r') continue;
    if (c == '\n') canonical += '\r';
    canonical += c;
  }
  std::string out;
  for (size_t i = 0; i < canonical.size(); i += kLineBytes) out += Base64(canonical.substr(i, kLineBytes)) + "\n";
  return out;
}

}  // namespace kest
