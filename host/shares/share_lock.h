#ifndef KEST_HOST_SHARES_SHARE_LOCK_H_
#define KEST_HOST_SHARES_SHARE_LOCK_H_

#include <stdint.h>

#include <string>

#include "host/klib/file_descriptor.h"

namespace kest {

// One process at a time changes a share and its folder: a lock on the byte with the share's number, in a file that
// stays empty. It ends with the process, however that ends. Number 0 is for those that are being made.
class ShareLock {
 public:
  // Waits as long as a change takes as a rule.
  static constexpr int kWaitSeconds = 10;

  ShareLock(const std::string& locks, int64_t share, int wait_s = kWaitSeconds);
  // 0, or the negative of an ErrorCode: kErrorBusy when somebody else still holds it.
  int result() const { return result_; }

 private:
  FileDescriptor file_;
  int result_ = 0;
};

}  // namespace kest

#endif  // KEST_HOST_SHARES_SHARE_LOCK_H_
