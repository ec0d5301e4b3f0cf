#include "host/session/session_sweep.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <syslog.h>
#include <time.h>
#include <unistd.h>

#include <memory>

#include "host/session/session_file.h"

namespace kest {
namespace {

struct DirectoryCloser {
  void operator()(DIR* directory) const { closedir(directory); }
};

// Entries to pass over, so that the ones looked at are others than last time.
unsigned RandomSkip(unsigned entries) {
  unsigned number = 0;
  if (entries <= kSweptPerLogin || getrandom(&number, sizeof(number), 0) != sizeof(number)) return 0;
  return number % (entries - kSweptPerLogin + 1);
}

// A last activity far ahead is from before the clock was set back; such a session has ended, too.
void RemoveIfOld(int directory, const char* name, int64_t older_than_s) {
  struct stat file;
  if (fstatat(directory, name, &file, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(file.st_mode)) return;
  const int64_t idle_s = time(nullptr) - file.st_mtim.tv_sec;
  if (idle_s > older_than_s || idle_s < -older_than_s) unlinkat(directory, name, 0);
}

}  // namespace

bool PrepareSessionDirectory() {
  struct stat directory;
  if (mkdir(kSessionDirectory, 0700) != 0 && errno != EEXIST) {
    syslog(LOG_ERR, "session: making %s failed: %m", kSessionDirectory);
    return false;
  }
  if (lstat(kSessionDirectory, &directory) == 0 && S_ISDIR(directory.st_mode) && directory.st_uid == geteuid() &&
      (directory.st_mode & 077) == 0) {
    return true;
  }
  syslog(LOG_ERR, "session: %s must be a directory of this id with mode 0700", kSessionDirectory);
  return false;
}

void SweepSessions(int older_than_s) {
  const std::unique_ptr<DIR, DirectoryCloser> directory(opendir(kSessionDirectory));
  if (directory == nullptr) return;
  unsigned entries = 0;
  while (readdir(directory.get()) != nullptr) ++entries;
  rewinddir(directory.get());
  for (unsigned skip = RandomSkip(entries); skip > 0; --skip) readdir(directory.get());

  for (int looked_at = 0; looked_at < kSweptPerLogin; ++looked_at) {
    const dirent* entry = readdir(directory.get());
    if (entry == nullptr) break;
    RemoveIfOld(dirfd(directory.get()), entry->d_name, older_than_s);
  }
}

}  // namespace kest
