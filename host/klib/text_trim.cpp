#include <cstring>

#include "host/klib/error_code.h"
#include "platform/klib.h"

int KLIBStrTrimSpace(char* in, char* out) {
  if (in == nullptr) return kest::FailWith(kest::kErrorBadParameter);
  constexpr char kSpace[] = " \t\r\n\v\f";
  const char* const first = in + strspn(in, kSpace);
  size_t length = strlen(first);
  while (length > 0 && strchr(kSpace, first[length - 1]) != nullptr) --length;
  char* const target = out == nullptr ? in : out;
  memmove(target, first, length);
  target[length] = '\0';
  return 0;
}
