// Percent-encoding of a text for URLs.
#include <limits.h>
#include <string.h>

#include "platform/kestcgi.h"

namespace {

// Unreserved characters of RFC 3986 section 2.3.
bool StaysAsItIs(unsigned char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_' ||
         c == '.' || c == '~';
}

size_t EncodedLength(const char* text) {
  size_t length = 0;
  for (; *text != '\0'; ++text) length += StaysAsItIs(static_cast<unsigned char>(*text)) ? 1 : 3;
  return length;
}

}  // namespace

int KestCgiURLEncode(const char* text, char* buf, int size) {
  if (text == nullptr || buf == nullptr || size < 0) return -1;
  const size_t length = EncodedLength(text);
  if (length > static_cast<size_t>(size)) return -1;
  constexpr char kHex[] = "0123456789ABCDEF";
  for (; *text != '\0'; ++text) {
    const auto byte = static_cast<unsigned char>(*text);
    if (StaysAsItIs(byte)) {
      *buf++ = *text;
    } else {
      *buf++ = '%';
      *buf++ = kHex[byte >> 4];
      *buf++ = kHex[byte & 15];
    }
  }
  return static_cast<int>(length);
}
