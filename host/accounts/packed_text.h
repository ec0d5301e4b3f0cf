#ifndef KEST_HOST_ACCOUNTS_PACKED_TEXT_H_
#define KEST_HOST_ACCOUNTS_PACKED_TEXT_H_

#include <string.h>

#include <string_view>

namespace kest {

// Writes a text with its NUL at `*at` in the block of a record, and moves on behind it. Gives where it stands.
inline char* AppendText(char** at, std::string_view text) {
  char* const start = *at;
  // An empty view may have no address.
  if (!text.empty()) memcpy(start, text.data(), text.size());
  start[text.size()] = '\0';
  *at += text.size() + 1;
  return start;
}

}  // namespace kest

#endif  // KEST_HOST_ACCOUNTS_PACKED_TEXT_H_
