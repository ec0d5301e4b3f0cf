#ifndef KEST_HOST_STORAGE_GUARDED_CALL_H_
#define KEST_HOST_STORAGE_GUARDED_CALL_H_

#include <new>

#include "host/klib/error_code.h"

namespace kest {

// Lack of memory leaves a function of the platform as its failure, -1.
template <typename Body>
int Guarded(const Body& body) {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    return FailWith(kErrorNoMemory);
  }
}

}  // namespace kest

#endif  // KEST_HOST_STORAGE_GUARDED_CALL_H_
