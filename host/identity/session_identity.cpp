// The identity of a session's account for the process that serves its request.
#include <string.h>
#include <syslog.h>

#include "host/accounts/accounts_module.h"
#include "host/cgi/context.h"
#include "host/identity/capabilities.h"
#include "host/identity/kernel_identity.h"
#include "host/identity/one_id.h"
#include "host/klib/error_code.h"
#include "host/session/judge_session.h"
#include "host/session/session_settings.h"
#include "platform/klib.h"

namespace kest {
namespace {

struct Identity {
  int uid = -1;
  int gid = -1;
};

// A process serves one request: what its account's group is needs to be asked once.
Identity asked;

bool AskGroup(int uid, Identity* out) {
  if (asked.uid != uid) {
    const KestAccountsModule* accounts = Accounts();
    KestAccountState account;
    if (accounts == nullptr || accounts->find_by_uid(uid, &account) != 1) return false;
    asked = {account.uid, account.gid};
  }
  *out = asked;
  return true;
}

// 0, or the -1 of a failure. The session is looked at each time: between two calls it may have ended.
int Find(const char* sid, const char* user, Identity* out) {
  if (user == nullptr || !IsSessionId(sid)) return FailWith(kErrorBadParameter);
  Session session;
  if (JudgeSession(sid, SessionTimeoutSeconds(), &session) != kSessionStands) return FailWith(kErrorNoSuchObject);
  // Names that differ only in case are one account's; the ids are the session's in any case.
  if (KLIBUnicodeUTF8StrCaseCmp(session.user, user) != 0) return FailWith(kErrorDenied);
  if (!AskGroup(session.uid, out)) return FailWith(kErrorNoSuchObject);
  // Root's rights are not an account's: nothing would be given up.
  if (out->uid > 0 && out->gid > 0) return 0;
  syslog(LOG_ERR, "identity: nobody is served as user %d, group %d", out->uid, out->gid);
  return FailWith(kErrorDenied);
}

bool SwitchGroup(const char* user, const Identity& identity) {
  const auto gid = static_cast<gid_t>(identity.gid);
  return EverybodyHasOneId() || (TakeGroup(gid) && KeepOnlyGroupsOf(user, gid));
}

bool SwitchUser(const Identity& identity) {
  if (EverybodyHasOneId()) {
    DropCapabilities();
    return true;
  }
  if (!HasGroup(static_cast<gid_t>(identity.gid))) {
    syslog(LOG_ERR, "identity: the group of user %d comes first", identity.uid);
    return false;
  }
  return TakeUser(static_cast<uid_t>(identity.uid));
}

}  // namespace
}  // namespace kest

int KestCgiGIDGet(const char* sid, const char* user) {
  return kest::Guarded(-1, [&] {
    kest::Identity identity;
    return kest::Find(sid, user, &identity) < 0 ? -1 : identity.gid;
  });
}

int KestCgiGidSet(const char* sid, const char* user) {
  return kest::Guarded(-1, [&] {
    kest::Identity identity;
    if (kest::Find(sid, user, &identity) < 0) return -1;
    return kest::SwitchGroup(user, identity) ? identity.gid : kest::FailWith(kest::kErrorDenied);
  });
}

int KestCgiUidSet(const char* sid, const char* user) {
  return kest::Guarded(-1, [&] {
    kest::Identity identity;
    if (kest::Find(sid, user, &identity) < 0) return -1;
    return kest::SwitchUser(identity) ? identity.gid : kest::FailWith(kest::kErrorDenied);
  });
}
