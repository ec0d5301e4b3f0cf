#ifndef KEST_KLIB_KEY_VALUE_LINE_H_
#define KEST_KLIB_KEY_VALUE_LINE_H_

#include <string>
#include <string_view>

namespace kest {

/// One line key="value" taken apart; both texts point into the line.
struct KeyValueLine {
  bool says_something = false;
  std::string_view key;
  std::string_view value;
};

/// @param line  without its LF
KeyValueLine SplitKeyValueLine(std::string_view line);

/// The line that sets `key` to `value`, LF included; empty when the key or the format is not allowed or when the line
/// would not be read back as the same key and value.
std::string FormatKeyValueLine(std::string_view format, std::string_view key, std::string_view value);

/// Takes the next line off a text, without its LF.
std::string_view TakeLine(std::string_view* rest);

/// Leaves out a byte-order mark at the beginning of a file.
std::string_view WithoutByteOrderMark(std::string_view text);

}  // namespace kest

#endif  // KEST_KLIB_KEY_VALUE_LINE_H_
