#ifndef TARVEL_INTERNAL_BUFFER_H
#define TARVEL_INTERNAL_BUFFER_H

#include <cstdlib>
#include <memory>

namespace tarvel_internal {

struct FreeBuffer {
  void operator()(char* buffer) const { std::free(buffer); }
};

/// Bytes from malloc: the platform hands such buffers out, and so does the library to its callers.
using Buffer = std::unique_ptr<char, FreeBuffer>;

}  // namespace tarvel_internal

#endif  // TARVEL_INTERNAL_BUFFER_H
