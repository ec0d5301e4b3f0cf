#include "host/shares/share_lock.h"

#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <syslog.h>
#include <time.h>
#include <unistd.h>

#include "host/accounts/account_paths.h"
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

// Root makes the file for the appliance, whose programs have to lock as well.
void GiveToAppliance(int file) {
  struct stat accounts, locks;
  if (geteuid() != 0 || stat(kAccountsPath, &accounts) != 0 || fstat(file, &locks) != 0) return;
  if (locks.st_uid == accounts.st_uid) return;
  if (fchown(file, accounts.st_uid, accounts.st_gid) != 0) syslog(LOG_ERR, "locks of shares: %m");
}

bool IsHeldByAnother() { return errno == EAGAIN || errno == EACCES || errno == EINTR; }

}  // namespace

ShareLock::ShareLock(const std::string& locks, int64_t share, int wait_s)
    : file_(open(locks.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
  if (file_.IsOpen()) GiveToAppliance(file_.Get());
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
