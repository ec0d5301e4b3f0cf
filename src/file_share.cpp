#include "file_share.h"

#include <strings.h>

#include <cstdio>
#include <cstring>

#include "internal/buffer.h"
#include "internal/log.h"
#include "internal/platform_record.h"
#include "internal/text_of.h"
#include "platform/kestdir.h"
#include "platform/klib.h"

namespace {

constexpr char kLogSource[] = "file_share";

constexpr int kComponentsBytes = 1024;
constexpr size_t kPathBytes = 4095;
constexpr char kHomes[] = "/homes";
constexpr char kInHome[] = "/home/";
constexpr size_t kHomeLength = sizeof kInHome - 1;
static_assert(sizeof kHomes == sizeof kInHome);

using ShareRecord = tarvel_internal::PlatformRecord<KESTSHARE, KESTShareFree>;
using UserRecord = tarvel_internal::PlatformRecord<KESTUSER, KESTUserFree>;

WEBFMERR last_error = WEBFMERR_NONE;

// What stands behind the first component, which may have several slashes in front.
std::string Behind(const std::string& path, const char* component) {
  const size_t begin = path.find_first_not_of('/');
  return path.substr(begin + std::strlen(component));
}

std::string VolumeOf(const std::string& folder) {
  const size_t first = folder.find('/');
  return first == std::string::npos ? folder : folder.substr(0, folder.find('/', first + 1));
}

// Three permissions of a mode, from `shift` on, as the digit that octal numbers have for them.
unsigned Digit(unsigned mode, unsigned shift) { return (mode >> shift) & 7U; }

}  // namespace

TarvelFileShare::TarvelFileShare() = default;
TarvelFileShare::~TarvelFileShare() = default;

void TarvelFileShare::WfmLibSetErr(WEBFMERR error) { last_error = error; }

WEBFMERR TarvelFileShare::WfmLibGetErr() { return last_error; }

char* TarvelFileShare::WfmLibGetTokOfPath(const char* path, BOOL first) {
  if (path == nullptr) {
    LogError("%s(%d): bad parameter!");
    return nullptr;
  }
  tarvel_internal::TextList components(kComponentsBytes);
  if (!components) {
    LogError("%s(%d): PslKLIBSzListAlloc() failed!");
    return nullptr;
  }
  if (std::strchr(path, '/') == nullptr) {
    LogError("%s(%d): bad path name=%s", path);
    return nullptr;
  }
  // Longer paths are cut on purpose, in the middle of a component, too.
  char copy[kPathBytes];
  std::snprintf(copy, sizeof copy, "%s", path);
  const int count = KLIBStrTok(copy, "/", components.Slot());
  if (count < 1) {
    LogError("%s(%d) error path");
    return nullptr;
  }
  return strdup(components.At(first != FALSE ? 0 : count - 1));
}

bool TarvelFileShare::IsDirUserHome(const std::string& dir, const char* user) {
  if (dir == "home" || dir == "/home") return true;
  if (user != nullptr && dir.compare(0, kHomeLength, kHomes) == 0) {
    // The name need not end there, on purpose: a longer one that begins with it counts as well.
    const std::string home = std::string(kHomes) + "/" + user;
    return strncasecmp(dir.c_str(), home.c_str(), home.size()) == 0;
  }
  return dir.size() > kHomeLength && dir.compare(0, kHomeLength, kInHome) == 0;
}

int TarvelFileShare::WfmUserHomeFullPathGet(std::string& realPath, std::string user) {
  UserRecord account;
  if (KESTUserGet(user.c_str(), account.Slot()) < 0) {
    LogError("%s:%d Failed to get user (%s)", user.c_str());
    return 0;
  }
  const char* const home = tarvel_internal::TextOf(account->home);
  char real[kPathBytes] = "";
  if (!WfmLibRealFullPathGet(home, real, sizeof real)) {
    LogError("%s:%d Failed to get real path (%s)", home);
    return 0;
  }
  realPath = real;
  return 1;
}

int TarvelFileShare::WfmFullPathGet(const char* path, std::string& fullPath, std::string& shareName,
                                    std::string& volumePath, std::string& sharePath, std::string user) {
  WfmLibSetErr(WEBFMERR_NONE);
  if (path == nullptr || *path == '\0' || user.empty()) {
    WfmLibSetErr(WEBFMERR_BAD_PARAMETER);
    return 0;
  }
  const tarvel_internal::Buffer share(WfmLibGetTokOfPath(path, TRUE));
  if (!share) {
    LogError("%s:%d WfmLibGetTokOfPath fail");
    WfmLibSetErr(WEBFMERR_UNRESOLVED);
    return 0;
  }
  // Before the first output changes: the path may be one of them.
  const std::string inside = Behind(path, share.get());
  shareName = share.get();
  if (IsDirUserHome(share.get(), nullptr)) {
    if (WfmUserHomeFullPathGet(sharePath, user) == 0) {
      WfmLibSetErr(WEBFMERR_UNRESOLVED);
      LogError("%s:%d WfmUserHomeFullPathGet fail");
      return 0;
    }
  } else {
    ShareRecord record;
    if (KESTShareGet(share.get(), record.Slot()) != 0) {
      LogError("%s:%d KESTShareGet fail");
      WfmLibSetErr(WEBFMERR_MISSING);
      return 0;
    }
    sharePath = tarvel_internal::TextOf(record->path);
  }
  fullPath = sharePath + inside;
  volumePath = VolumeOf(sharePath);
  return 1;
}

unsigned TarvelFileShare::GetPrivilege(unsigned mode) {
  // A decimal number that reads like an octal one, on purpose.
  return Digit(mode, 6) * 100 + Digit(mode, 3) * 10 + Digit(mode, 0);
}
