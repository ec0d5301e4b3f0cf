#ifndef KEST_HOST_MODULE_CONTAINED_H_
#define KEST_HOST_MODULE_CONTAINED_H_

#include <new>

#include "host/klib/error_code.h"

namespace kest {

// Runs what a module's table offers: no exception leaves the module, and lack of memory is a failure like others.
template <typename Body>
int Contained(const Body& body) {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    return -kErrorNoMemory;
  }
}

}  // namespace kest

#endif  // KEST_HOST_MODULE_CONTAINED_H_
