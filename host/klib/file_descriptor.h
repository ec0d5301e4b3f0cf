#ifndef KEST_KLIB_FILE_DESCRIPTOR_H_
#define KEST_KLIB_FILE_DESCRIPTOR_H_

#include <unistd.h>

#include <cerrno>

namespace kest {

/// Owns an open file; closing never changes errno, so that the failure that led to it can still be told.
class FileDescriptor {
 public:
  explicit FileDescriptor(int fd = -1) : fd_(fd) {}
  ~FileDescriptor() { Reset(); }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;

  int Get() const { return fd_; }
  bool IsOpen() const { return fd_ >= 0; }

  void Reset(int fd = -1) {
    const int error = errno;
    if (fd_ >= 0) close(fd_);
    fd_ = fd;
    errno = error;
  }

 private:
  int fd_;
};

}  // namespace kest

#endif  // KEST_KLIB_FILE_DESCRIPTOR_H_
