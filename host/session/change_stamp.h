#ifndef KEST_HOST_SESSION_CHANGE_STAMP_H_
#define KEST_HOST_SESSION_CHANGE_STAMP_H_

#include <stdint.h>

namespace kest {

// State of the accounts' files, as cheap to ask for as two stat() calls. As long as it is equal no account has changed,
// and a session that was checked under it needs no database.
struct ChangeStamp {
  int64_t inode = 0;
  int64_t changed_ns = 0;
  int64_t size_bytes = 0;
  int64_t log_changed_ns = 0;
  int64_t log_size_bytes = 0;

  bool operator==(const ChangeStamp& other) const {
    return inode == other.inode && changed_ns == other.changed_ns && size_bytes == other.size_bytes &&
           log_changed_ns == other.log_changed_ns && log_size_bytes == other.log_size_bytes;
  }
};

// A stamp that no state of the files is equal to.
constexpr ChangeStamp kNoStamp{};

// The present stamp; kNoStamp when the file cannot be seen. To be taken before an account is looked up: what changes in
// between then shows as a difference.
ChangeStamp ReadChangeStamp();

// Whether a stamp may be remembered. A file changed within the clock's last tick may change again without a trace, so a
// stamp has to be two seconds old first.
bool IsSettled(const ChangeStamp& stamp);

}  // namespace kest

#endif  // KEST_HOST_SESSION_CHANGE_STAMP_H_
