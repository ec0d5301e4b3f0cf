#include "host/shares/share_lock.h"

#include <fcntl.h>
#include <string.h>
#include <syslog.h>
#include <time.h>

#include "host/klib/error_code.h"

namespace kest {
namespace {

constexpr int kPollMs = 20;

bool TryLock(int file, int64_t share) {
  struct flock range = {};
  range.l_type = F_WRLCK;
  range.l_whence = SEEK_SET;
  range.l_start = static_cast<off_t>(share);
  range.l_len = 1;
  return fcntl(file, F_OFD_SETLK, &range) == 0;
}

bool IsHeldByAnother() { return errno == EAGAIN || errno == EACCES || errno == EINTR; }

}  // namespace

ShareLock::ShareLock(const std::string& locks, int64_t share, int wait_s)
    : file_(open(locks.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
  const timespec poll = {0, kPollMs * 1000 * 1000};
  for (int waited_ms = 0; file_.IsOpen(); waited_ms += kPollMs) {
    if (TryLock(file_.Get(), share)) return;
    if (!IsHeldByAnother() || waited_ms >= wait_s * 1000) break;
    nanosleep(&poll, nullptr);
  }
  result_ = file_.IsOpen() && IsHeldByAnother() ? -kErrorBusy : -ErrorCodeOf(errno);
  if (result_ != -kErrorBusy) syslog(LOG_ERR, "%s: %s", locks.c_str(), strerror(errno));
}

}  // namespace kest
