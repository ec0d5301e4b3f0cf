#ifndef TESTS_CONTRACT_FULL_DISK_H_
#define TESTS_CONTRACT_FULL_DISK_H_

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

/// Leaves no room on the disk that holds `directory`, until it goes. The appliance tree keeps /usr/kest/var and
/// /usr/kest/etc on small memory disks for this.
class FullDisk {
 public:
  explicit FullDisk(const std::string& directory) : path_(directory + "/filler") {
    const int fd = open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600);
    const std::string block(4096, 'f');
    size_t written = 0;
    while (written < kMost && write(fd, block.data(), block.size()) > 0) written += block.size();
    close(fd);
    EXPECT_LT(written, kMost) << directory << " is not on a small disk";
  }
  ~FullDisk() { unlink(path_.c_str()); }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;

 private:
  static constexpr size_t kMost = 64 << 20;
  std::string path_;
};

#endif  // TESTS_CONTRACT_FULL_DISK_H_
