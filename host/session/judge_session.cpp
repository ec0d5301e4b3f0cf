#include "host/session/judge_session.h"

#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "host/accounts/accounts_module.h"
#include "host/accounts/expiry.h"
#include "host/session/session_settings.h"

namespace kest {
namespace {

int Read(const char* id, Session* session) {
  switch (ReadSession(id, session)) {
    case SessionRead::kOk:
      return kSessionStands;
    case SessionRead::kUnreadable:
      return kSessionStoreFailed;
    default:
      return kSessionUnknown;
  }
}

// A last activity ahead of the clock means that the clock was set back. By less than a timeout: the session goes on. By
// more: nobody can tell any more how long it was idle, so it ends.
bool HasRunOut(const Session& session, int timeout_s) {
  const int64_t idle_s = IdleSeconds(session);
  return idle_s >= timeout_s || idle_s <= -timeout_s;
}

// What the session knows of its account is brought up to date when any account has changed since the last look.
int LookAgain(const char* id, Session* session) {
  const ChangeStamp stamp = ReadChangeStamp();
  if (stamp == session->stamp && !(stamp == kNoStamp)) return kSessionStands;
  const KestAccountsModule* accounts = Accounts();
  KestAccountState account;
  const int found = accounts == nullptr ? -1 : accounts->find_by_uid(session->uid, &account);
  if (found < 0) return kSessionStoreFailed;
  if (found == 0) return kSessionAccountGone;
  if (account.credential != session->credential) return kSessionInterrupted;

  session->expire_day = account.expire_day;
  session->administrator = account.administrator;
  session->privilege = account.privilege;
  session->newest_login = account.login_serial;
  memcpy(session->user, account.name, sizeof(session->user));
  session->stamp = IsSettled(stamp) ? stamp : kNoStamp;
  ReplaceSession(id, *session);
  return kSessionStands;
}

bool IsFromElsewhere(const Session& session) {
  const char* remote = getenv("REMOTE_ADDR");
  // Every web server says where a request comes from; without one there is nothing to compare.
  return remote != nullptr && strncmp(session.remote, remote, sizeof(session.remote) - 1) != 0;
}

}  // namespace

int64_t IdleSeconds(const Session& session) { return time(nullptr) - session.active_s; }

// The session file stays when something else ended the session: the next request shall hear the same reason.
int JudgeSession(const char* id, int timeout_s, Session* session) {
  const int read = Read(id, session);
  if (read != kSessionStands) return read;
  if (HasRunOut(*session, timeout_s)) {
    RemoveSession(id);
    return kSessionUnknown;
  }
  if (IsFromElsewhere(*session)) return kSessionInterrupted;
  const int account = LookAgain(id, session);
  if (account != kSessionStands) return account;
  if (IsExpiredDay(session->expire_day)) return kSessionAccountGone;
  const bool superseded = session->newest_login > session->login_serial;
  return superseded && OneSessionPerAccount() ? kSessionInterrupted : kSessionStands;
}

}  // namespace kest
