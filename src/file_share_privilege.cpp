// Which shares a user may see, and what he may do in one.
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "file_share.h"
#include "internal/buffer.h"
#include "internal/log.h"
#include "internal/platform_record.h"
#include "internal/text_of.h"
#include "platform/kestcgi.h"
#include "platform/kestdir.h"
#include "platform/klib.h"

namespace {

constexpr char kLogSource[] = "file_share";

constexpr int kSharesBytes = 1024;
constexpr int kDomainAccount = 2;
constexpr int kRefusedToTell = -2;
constexpr int kSecondState = 1;
constexpr int kSystemUid = 0;
constexpr int kFirstUserUid = 1024;
constexpr int kGuestUid = 1025;
constexpr mode_t kHomeMode = 0755;
constexpr int kSettingBytes = sizeof "yes";

using tarvel_internal::TextOf;
using ShareRecord = tarvel_internal::PlatformRecord<KESTSHARE, KESTShareFree>;

// A walk over the shares, from the first to the last.
class ShareWalk {
 public:
  ShareWalk() = default;
  ~ShareWalk() {
    if (database_ != nullptr) KESTShareDBClose(database_);
  }
  ShareWalk(const ShareWalk&) = delete;
  ShareWalk& operator=(const ShareWalk&) = delete;

  // False when the database cannot be opened.
  explicit operator bool() const { return database_ != nullptr; }
  // The next share becomes the current one; false at the end.
  bool Next() { return KESTShareDBCursorGet(database_, record_.Slot()) == 0; }
  const KESTSHARE& share() const { return *record_.get(); }

 private:
  // Released last: the database closes before.
  ShareRecord record_;
  KESTSHAREDB* database_ = KESTShareDBOpen();
};

bool IsIn(const char* user, const char* list) { return BlSDKUserIsInList(user, TextOf(list)) != 0; }

bool IsFolder(const char* path) {
  struct stat info = {};
  return stat(path, &info) == 0 && S_ISDIR(info.st_mode);
}

WEBFM_SHARE_PRIVILEGE PrivilegeByLists(const char* user, const KESTSHARE& share) {
  if (IsIn(user, share.na)) return WEBFM_SHARE_NO_ACCESS;
  if (IsIn(user, share.rw)) return WEBFM_SHARE_READ_WRITE;
  return IsIn(user, share.ro) ? WEBFM_SHARE_READ_ONLY : WEBFM_SHARE_NO_ACCESS;
}

WEBFM_SHARE_PRIVILEGE PrivilegeByDomain(int answer) {
  const bool known = answer == WEBFM_SHARE_READ_ONLY || answer == WEBFM_SHARE_READ_WRITE;
  return known ? static_cast<WEBFM_SHARE_PRIVILEGE>(answer) : WEBFM_SHARE_NO_ACCESS;
}

bool IsShown(const KESTSHARE& share, const char* user, BOOL read_only) {
  if ((share.enc & kSecondState) != 0 || IsIn(user, share.na)) return false;
  if (!IsIn(user, share.rw) && (read_only == FALSE || !IsIn(user, share.ro))) return false;
  if (!IsFolder(TextOf(share.path))) return false;
  // Upper-case spellings of either name are none of these, on purpose.
  return std::strcmp(TextOf(share.name), "homes") != 0 || std::strcmp(user, "admin") == 0;
}

bool MayHaveHome(int uid) { return uid != kGuestUid && (uid == kSystemUid || uid >= kFirstUserUid); }

// False when the folder is not there and cannot be made.
bool MakeHome(const KESTUSER& account) {
  const char* const home = TextOf(account.home);
  if (IsFolder(home)) return true;
  if (mkdir(home, kHomeMode) != 0 && errno != EEXIST) {
    LogError("%s:%d mkdir user home folder failed. errno:%d, message:%m", errno);
    return false;
  }
  if (chown(home, static_cast<uid_t>(account.uid), static_cast<gid_t>(account.gid)) != 0) {
    LogError("%s (%d) errno:%s", std::strerror(errno));
  }
  return true;
}

// Appends "home" where the account has one.
bool AppendHome(tarvel_internal::TextList& shares, const KESTUSER& account) {
  // A longer value that begins with "yes" is cut to it, on purpose.
  char enabled[kSettingBytes] = "";
  if (KLIBFileGetKeyValue("/etc/kestinfo.conf", "userHomeEnable", enabled, kSettingBytes, 0) == -1) {
    LogError("%s (%d) Failed to get EnableHome info.");
    return false;
  }
  if (strcasecmp(enabled, "yes") != 0 || !MayHaveHome(account.uid)) return true;
  if (!MakeHome(account)) return false;
  KLIBSzListPush(shares.Slot(), "home");
  return true;
}

// False when the shares cannot be told, which is logged.
bool AppendShares(tarvel_internal::TextList& shares, const char* user, BOOL sort, BOOL read_only,
                  const KESTUSER& account) {
  ShareWalk walk;
  if (!walk) {
    // The name of another call and the line end are deliberate.
    LogError("%s:%d KESTShareDBOpenFile Error[%X]\n", static_cast<unsigned>(KLIBErrGet()));
    return false;
  }
  while (walk.Next()) {
    if (IsShown(walk.share(), user, read_only)) KLIBSzListPush(shares.Slot(), TextOf(walk.share().name));
  }
  if (!AppendHome(shares, account)) return false;
  if (sort != FALSE) KLIBSzListSortItems(shares.get(), KLIB_SZLIST_SORT_NO_CASE);
  return true;
}

}  // namespace

int TarvelFileShare::WfmLibGetPrivilege(const char* path, const char* user, const char* domainArg,
                                        WEBFM_SHARE_PRIVILEGE* privilege, int* restrictions) {
  WfmLibSetErr(WEBFMERR_NONE);
  if (path == nullptr || user == nullptr || domainArg == nullptr || privilege == nullptr) {
    WfmLibSetErr(WEBFMERR_UNRESOLVED);
    LogError("%s(%d): bad parameter!");
    return -1;
  }
  const tarvel_internal::Buffer share(WfmLibGetTokOfPath(path, TRUE));
  if (!share) {
    WfmLibSetErr(WEBFMERR_UNRESOLVED);
    LogError("%s(%d): WfmLibGetTokOfPath %s fail", path);
    return -1;
  }
  ShareRecord record;
  if (KESTShareGet(share.get(), record.Slot()) != 0) {
    WfmLibSetErr(WEBFMERR_MISSING);
    LogError("%s(%d): KESTShareGet %s fail", share.get());
    return -1;
  }
  if (IsDomainUG(user) == kDomainAccount) {
    int answer = 0;
    const int result = KestCgiDomGetPrivilege(share.get(), user, domainArg, &answer);
    if (result < 0) {
      WfmLibSetErr(result == kRefusedToTell ? WEBFMERR_REFUSED : WEBFMERR_QUERY_FAILED);
      return -1;
    }
    *privilege = PrivilegeByDomain(answer);
  } else {
    *privilege = PrivilegeByLists(user, *record.get());
  }
  if (restrictions != nullptr) *restrictions = strcasecmp(user, "admin") == 0 ? 0 : record->ftp;
  return 0;
}

PSZLIST TarvelFileShare::WfmLibValidShareGen(char* user, BOOL sort, BOOL readOnly, KESTUSER* account) {
  if (user == nullptr || account == nullptr) {
    LogError("%s(%d) bad parameter");
    WfmLibSetErr(WEBFMERR_UNRESOLVED);
    return nullptr;
  }
  tarvel_internal::TextList shares(kSharesBytes);
  if (!shares) {
    LogError("%s(%d) malloc fail");
    WfmLibSetErr(WEBFMERR_UNRESOLVED);
    return nullptr;
  }
  if (!AppendShares(shares, user, sort, readOnly, *account)) {
    WfmLibSetErr(WEBFMERR_UNRESOLVED);
    return nullptr;
  }
  WfmLibSetErr(WEBFMERR_NONE);
  return shares.Release();
}
