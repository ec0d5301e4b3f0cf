#include "host/accounts/hash_slot.h"

#include <errno.h>
#include <fcntl.h>
#include <syslog.h>
#include <time.h>

namespace kest {
namespace {

constexpr int kPoll_ms = 20;

void Pause() {
  const timespec poll = {0, kPoll_ms * 1000 * 1000};
  nanosleep(&poll, nullptr);
}

}  // namespace

// A slot is a lock on one byte of the file. False with errno, EAGAIN when all are taken.
bool HashSlot::Take() {
  for (int slot = 0; slot < kSlots; ++slot) {
    struct flock one = {};
    one.l_type = F_WRLCK;
    one.l_whence = SEEK_SET;
    one.l_start = slot;
    one.l_len = 1;
    if (fcntl(file_.Get(), F_OFD_SETLK, &one) == 0) return true;
    if (errno != EAGAIN && errno != EACCES) return false;
  }
  errno = EAGAIN;
  return false;
}

HashSlot::HashSlot(const char* path, int longest_wait_ms)
    : file_(open(path, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600)) {
  held_ = file_.IsOpen() && Take();
  for (int waited_ms = 0; !held_ && file_.IsOpen() && errno == EAGAIN && waited_ms < longest_wait_ms;
       waited_ms += kPoll_ms) {
    Pause();
    held_ = Take();
  }
  if (!held_) syslog(LOG_ERR, "no turn to check a password, %s: %m", path);
}

}  // namespace kest
