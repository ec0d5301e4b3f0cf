#include "host/klib/file_read.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "host/klib/file_descriptor.h"

namespace kest {
namespace {

// Reads until the end of the file or until the buffer is full; a regular file that did not change takes one call.
ssize_t ReadUpTo(int fd, char* buffer, size_t size) {
  size_t done = 0;
  while (done < size) {
    const size_t wanted = size - done;
    const ssize_t got = read(fd, buffer + done, wanted);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return -1;
    done += static_cast<size_t>(got);
    if (static_cast<size_t>(got) < wanted) break;
  }
  return static_cast<ssize_t>(done);
}

bool Fail(int error) {
  errno = error;
  return false;
}

}  // namespace

bool ReadWholeFile(const char* path, size_t limit, std::string* text) {
  // Non-blocking, so that a pipe in the file's place cannot hold the request up.
  const FileDescriptor file(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  if (!file.IsOpen()) return false;
  struct stat status;
  if (fstat(file.Get(), &status) != 0) return false;
  if (S_ISDIR(status.st_mode)) return Fail(EISDIR);
  if (!S_ISREG(status.st_mode)) return Fail(EINVAL);
  if (static_cast<uintmax_t>(status.st_size) > limit) return Fail(EFBIG);

  // One byte more than the file has: a short read then proves the end without asking again.
  std::string bytes(static_cast<size_t>(status.st_size) + 1, '\0');
  const ssize_t got = ReadUpTo(file.Get(), &bytes[0], bytes.size());
  if (got < 0) return false;
  if (static_cast<size_t>(got) > limit) return Fail(EFBIG);
  bytes.resize(static_cast<size_t>(got));
  text->swap(bytes);
  return true;
}

}  // namespace kest
