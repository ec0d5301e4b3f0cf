#include "host/klib/key_value_line.h"

namespace kest {
namespace {

std::string_view TrimBlanks(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\v\f";
  const size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool IsSettableKey(std::string_view key) {
  for (const char c : key) {
    const bool control_or_blank = static_cast<unsigned char>(c) <= ' ' || c == '\x7f';
    if (control_or_blank || c == '=' || c == '#' || c == '"' || c == '\'') return false;
  }
  // In the first line it would be taken for the file's own.
  return !key.empty() && WithoutByteOrderMark(key) == key;
}

// Puts the two texts into the places of the two %s; false for any other conversion.
bool Substitute(std::string_view format, std::string_view key, std::string_view value, std::string* out) {
  int texts = 0;
  for (size_t i = 0; i < format.size(); ++i) {
    if (format[i] != '%') {
      *out += format[i];
      continue;
    }
    const char conversion = ++i < format.size() ? format[i] : '\0';
    if (conversion == '%') {
      *out += '%';
    } else if (conversion == 's' && texts < 2) {
      out->append(texts++ == 0 ? key : value);
    } else {
      return false;
    }
  }
  return texts == 2;
}

}  // namespace

KeyValueLine SplitKeyValueLine(std::string_view line) {
  KeyValueLine out;
  line = TrimBlanks(line);
  const size_t equals = line.find('=');
  if (line.empty() || line[0] == '#' || equals == std::string_view::npos) return out;
  if (line.find('\0') != std::string_view::npos) return out;
  out.key = TrimBlanks(line.substr(0, equals));
  out.value = TrimBlanks(line.substr(equals + 1));
  if (!out.value.empty() && out.value[0] == '"') {
    const size_t closing = out.value.rfind('"');
    if (closing == 0) return out;
    out.value = out.value.substr(1, closing - 1);
  }
  out.says_something = !out.key.empty();
  return out;
}

std::string FormatKeyValueLine(std::string_view format, std::string_view key, std::string_view value) {
  std::string line;
  if (!IsSettableKey(key) || !Substitute(format, key, value, &line)) return {};
  if (line.find('\n') != line.size() - 1 || line.find('\r') != std::string::npos) return {};
  const KeyValueLine parsed = SplitKeyValueLine(std::string_view(line).substr(0, line.size() - 1));
  const bool reads_back = parsed.says_something && parsed.key == key && parsed.value == value;
  return reads_back ? line : std::string();
}

std::string_view TakeLine(std::string_view* rest) {
  const size_t end = rest->find('\n');
  const std::string_view line = rest->substr(0, end);
  rest->remove_prefix(end == std::string_view::npos ? rest->size() : end + 1);
  return line;
}

std::string_view WithoutByteOrderMark(std::string_view text) {
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  return text.substr(text.substr(0, kMark.size()) == kMark ? kMark.size() : 0);
}

}  // namespace kest
