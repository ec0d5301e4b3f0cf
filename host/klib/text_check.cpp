// Truth about texts: netmasks and names of shared folders.
#include <utf8proc.h>

#include <cstdint>
#include <cstring>

#include "platform/klib.h"

namespace {

constexpr int kShareNameMax = 32;
constexpr char kForbiddenInShareName[] = "\"/\\[]:;|<>+=,*?@%";

// One field of an address: one to three digits up to 255; -1 when there is none.
int TakeField(const char** text) {
  int value = 0;
  int digits = 0;
  for (; **text >= '0' && **text <= '9' && digits < 3; ++*text, ++digits) value = 10 * value + (**text - '0');
  return digits == 0 || value > 255 ? -1 : value;
}

bool MayStandInShareName(utf8proc_int32_t character) {
  if (character < 0x80 && strchr(kForbiddenInShareName, character) != nullptr) return false;
  return utf8proc_category(character) != UTF8PROC_CATEGORY_CC;
}

}  // namespace

int BlKLIBIsIpMask(const char* text) {
  if (text == nullptr) return 0;
  uint32_t mask = 0;
  for (int field = 0; field < 4; ++field) {
    if (field > 0 && *text++ != '.') return 0;
    const int value = TakeField(&text);
    if (value < 0) return 0;
    mask = mask << 8 | static_cast<uint32_t>(value);
  }
  const uint32_t zeros = ~mask;
  return *text == '\0' && mask != 0 && (zeros & (zeros + 1)) == 0;
}

int BlKLIBIsShareName(const char* name) {
  if (name == nullptr || *name == '.' || *name == '-' || *name == ' ') return 0;
  const size_t size = strlen(name);
  const auto* next = reinterpret_cast<const unsigned char*>(name);
  const unsigned char* const end = next + size;
  int count = 0;
  while (next < end) {
    utf8proc_int32_t character = 0;
    const utf8proc_ssize_t bytes = utf8proc_iterate(next, end - next, &character);
    if (bytes <= 0 || ++count > kShareNameMax || !MayStandInShareName(character)) return 0;
    next += bytes;
  }
  return count > 0 && name[size - 1] != ' ';
}
