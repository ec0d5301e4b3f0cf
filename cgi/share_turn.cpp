#include "share_turn.h"

#include <fcntl.h>
#include <sys/file.h>

#include "directory.h"

namespace site {

namespace {

// A name may be no name of a file; two shares with one lock only wait for each other.
std::string LockOf(const std::string& name) { return "/tmp/tarvel/share-" + VersionOf({name}) + ".lock"; }

}  // namespace

ShareTurn::ShareTurn(const std::string& name)
    : lock_(open(LockOf(name).c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600)) {
  is_open_ = lock_.IsOpen() && flock(lock_.get(), LOCK_EX | LOCK_NB) == 0;
}

}  // namespace site
