#include "host/storage/kernel_file.h"

#include <fcntl.h>

#include "host/klib/file_descriptor.h"

namespace kest {

bool ReadKernelFile(const char* path, std::string* text) {
  const FileDescriptor file(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  if (!file.IsOpen()) return false;
  std::string bytes;
  char block[4096];
  for (;;) {
    const ssize_t got = read(file.Get(), block, sizeof(block));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return false;
    if (got == 0) break;
    bytes.append(block, static_cast<size_t>(got));
    if (bytes.size() > kKernelFileMax) {
      errno = EFBIG;
      return false;
    }
  }
  text->swap(bytes);
  return true;
}

}  // namespace kest
