#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

#include "host/klib/error_code.h"
#include "host/klib/key_value_file.h"
#include "platform/klib.h"

namespace {

bool IsGiven(const char* text) { return text != nullptr && *text != '\0'; }

int Get(const char* file, const char* key, char* buf, size_t size) {
  kest::KeyValueFile values;
  if (!values.Load(file)) return kest::FailWith(kest::ErrorCodeOf(errno));
  const char* const value = values.Find(key);
  if (value == nullptr) return 0;
  const size_t length = std::min(strlen(value), size - 1);
  memcpy(buf, value, length);
  buf[length] = '\0';
  return static_cast<int>(length);
}

}  // namespace

int KLIBFileGetKeyValue(const char* file, const char* key, char* buf, int size, int zero) {
  static_cast<void>(zero);
  if (buf == nullptr || size < 1) return kest::FailWith(kest::kErrorBadParameter);
  *buf = '\0';
  if (!IsGiven(file) || !IsGiven(key)) return kest::FailWith(kest::kErrorBadParameter);
  try {
    return Get(file, key, buf, static_cast<size_t>(size));
  } catch (const std::bad_alloc&) {
    return kest::FailWith(kest::kErrorNoMemory);
  }
}

int KLIBFileSetKeyValue(const char* file, const char* key, const char* value, const char* format) {
  if (!IsGiven(file) || key == nullptr || value == nullptr || format == nullptr) {
    return kest::FailWith(kest::kErrorBadParameter);
  }
  try {
    return kest::SetKeyValue(file, key, value, format) ? 0 : kest::FailWith(kest::ErrorCodeOf(errno));
  } catch (const std::bad_alloc&) {
    return kest::FailWith(kest::kErrorNoMemory);
  }
}
