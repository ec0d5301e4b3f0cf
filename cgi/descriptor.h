// A file descriptor with an owner.
#ifndef CGI_DESCRIPTOR_H
#define CGI_DESCRIPTOR_H

#include <unistd.h>

#include <utility>

namespace site {

/// A file descriptor that is closed with its owner.
class Descriptor {
 public:
  explicit Descriptor(int fd = -1) : fd_(fd) {}
  Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~Descriptor() {
    if (fd_ >= 0) close(fd_);
  }
  int get() const { return fd_; }
  bool IsOpen() const { return fd_ >= 0; }
  int Release() { return std::exchange(fd_, -1); }

 private:
  int fd_;
};

}  // namespace site

#endif  // CGI_DESCRIPTOR_H
