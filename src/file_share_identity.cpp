// What the process may do and where it may go on the file system.
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "file_share.h"
#include "internal/buffer.h"
#include "internal/log.h"
#include "platform/kestcgi.h"
#include "platform/klib.h"

namespace {

constexpr char kLogSource[] = "file_share";
constexpr char kCheckPath[] = "WfmCheckPath";

constexpr size_t kPathBytes = 4095;

// Errors of the platform.
constexpr int kBadParameter = 0xD00;
constexpr int kMissing = 0x600;
constexpr int kDenied = 0x300;
constexpr int kFailed = 0x8100;

bool IsFileOrFolder(const char* path) {
  struct stat info = {};
  if (lstat(path, &info) != 0) {
    const int reason = errno;
    if (reason == ENOENT) {
      KLIBErrSet(kMissing);
    } else if (reason == EACCES) {
      KLIBErrSet(kDenied);
    } else {
      KLIBErrSet(kFailed);
      LogError("%s(%d):%s failed to lstat %s, reason=%s", kCheckPath, path, std::strerror(reason));
    }
    return false;
  }
  if (S_ISREG(info.st_mode) || S_ISDIR(info.st_mode)) return true;
  KLIBErrSet(kFailed);
  LogError("%s(%d):%s Path is not regular file and directory:%s", kCheckPath, path);
  return false;
}

// Takes the last component off a path, which begins with "/" and so has one.
bool CutPlainComponent(char* path) {
  char* const slash = std::strrchr(path, '/');
  *slash = '\0';
  const char* const component = slash + 1;
  if (std::strcmp(component, "..") != 0 && std::strcmp(component, ".") != 0) return true;
  KLIBErrSet(kFailed);
  LogError("%s(%d):%s Path contains '.' or '..', path = %s", kCheckPath, path);
  return false;
}

}  // namespace

int TarvelFileShare::WfmLibUGIDSet(const char* sid, const char* user) {
  if (sid == nullptr || user == nullptr) {
    LogError("%s(%d) bad parameter");
    WfmLibSetErr(WEBFMERR_BAD_PARAMETER);
    return -1;
  }
  const int gid = KestCgiGIDGet(sid, user);
  if (gid < 0) {
    LogError("%s(%d) failed to get GID for user=%s, sid=%s", user, sid);
    return -1;
  }
  // The order is a must: with the user id goes the right to change groups. Going on with the groups from
  // before is deliberate.
  if (initgroups(user, static_cast<gid_t>(gid)) != 0) {
    LogError("%s(%d) failed to initgroup for user=%s, sid=%s", user, sid);
  }
  if (KestCgiGidSet(sid, user) < 0) {
    LogError("%s(%d) failed to set GID for user=%s, sid=%s", user, sid);
    return -1;
  }
  if (KestCgiUidSet(sid, user) < 0) {
    LogError("%s(%d) failed to set UID for user=%s, sid=%s", user, sid);
    return -1;
  }
  return 0;
}

int TarvelFileShare::WfmCheckPath(const char* path) {
  if (path == nullptr || *path != '/') {
    KLIBErrSet(kBadParameter);
    return -1;
  }
  const tarvel_internal::Buffer copy(strdup(path));
  if (!copy) {
    const int reason = errno;
    KLIBErrSet(kFailed);
    LogError("%s(%d):%s strdup fail, error:%s", kCheckPath, std::strerror(reason));
    return -1;
  }
  while (*copy != '\0') {
    if (!IsFileOrFolder(copy.get()) || !CutPlainComponent(copy.get())) return -1;
  }
  return 0;
}

BOOL TarvelFileShare::WfmLibRealFullPathGet(const char* path, char* buffer, int size) {
  if (path == nullptr || buffer == nullptr || size <= 0) return FALSE;
  char before[kPathBytes];
  if (getcwd(before, sizeof before) == nullptr || chdir(path) != 0) return FALSE;
  const bool told = getcwd(buffer, static_cast<size_t>(size)) != nullptr;
  // Not being let back is no failure, on purpose: the answer is right.
  [[maybe_unused]] const int back = chdir(before);
  return told ? TRUE : FALSE;
}
