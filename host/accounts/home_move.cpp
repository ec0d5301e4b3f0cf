#include "host/accounts/home_move.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <syslog.h>

#include "host/klib/error_code.h"

namespace kest {
namespace {

bool Rename(const std::string& from, const std::string& to) {
  return renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0;
}

}  // namespace

HomeMove::~HomeMove() {
  if (moved_ && !Rename(to_, from_)) syslog(LOG_ERR, "%s stays where it should not be: %m", to_.c_str());
}

int HomeMove::Move(const std::string& from, const std::string& to) {
  if (Rename(from, to)) {
    from_ = from;
    to_ = to;
    moved_ = true;
    return 0;
  }
  if (errno == ENOENT || errno == ENOTDIR) return 0;
  syslog(LOG_ERR, "%s cannot be moved to %s: %m", from.c_str(), to.c_str());
  return errno == EEXIST ? -kErrorTaken : -ErrorCodeOf(errno);
}

}  // namespace kest
