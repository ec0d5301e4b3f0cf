#include "host/session/change_stamp.h"

#include <stdlib.h>
#include <sys/stat.h>
#include <time.h>

#include "host/accounts/account_paths.h"

namespace kest {
namespace {

constexpr int64_t kNsPerSecond = 1000000000;

// The change time, not the modification time: nobody can set it, and a file put back from a backup has a new one.
int64_t ChangedNs(const struct stat& file) { return file.st_ctim.tv_sec * kNsPerSecond + file.st_ctim.tv_nsec; }

bool LiesTwoSecondsBack(int64_t changed_ns) {
  const int64_t distance_s = time(nullptr) - changed_ns / kNsPerSecond;
  // A time far ahead is as good: a change made now would carry another one.
  return distance_s >= 2 || distance_s <= -2;
}

}  // namespace

ChangeStamp ReadChangeStamp() {
  struct stat file;
  if (stat(kAccountsPath, &file) != 0) return kNoStamp;
  ChangeStamp stamp;
  stamp.inode = static_cast<int64_t>(file.st_ino);
  stamp.changed_ns = ChangedNs(file);
  stamp.size_bytes = file.st_size;
  // Readers make and remove an empty log: that is no change.
  if (stat(kAccountsLogPath, &file) == 0 && file.st_size > 0) {
    stamp.log_changed_ns = ChangedNs(file);
    stamp.log_size_bytes = file.st_size;
  }
  return stamp;
}

bool IsSettled(const ChangeStamp& stamp) {
  return LiesTwoSecondsBack(stamp.changed_ns) && LiesTwoSecondsBack(stamp.log_changed_ns);
}

}  // namespace kest
