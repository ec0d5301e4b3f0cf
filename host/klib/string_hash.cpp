#include "host/klib/string_hash.h"

#include <new>

#include "host/klib/error_code.h"

PSZHASH PshKLIBSzHashAlloc(int size) {
  static_cast<void>(size);  // a hint that a tree has no use for
  auto* const hash = new (std::nothrow) KLIBSZHASH;
  if (hash == nullptr) kest::FailWith(kest::kErrorNoMemory);
  return hash;
}

int KLIBSzHashSetValue(PSZHASH hash, const char* key, const char* value) {
  if (hash == nullptr || key == nullptr || value == nullptr) return kest::FailWith(kest::kErrorBadParameter);
  try {
    hash->values.insert_or_assign(key, value);
  } catch (const std::bad_alloc&) {
    return kest::FailWith(kest::kErrorNoMemory);
  }
  return 0;
}

void KLIBSzHashFree(PSZHASH hash) { delete hash; }
