// May this request use the page? Asked by every program first, so the usual answer costs one small file read and two
// stat() calls, and no database.
#include <stdlib.h>
#include <string.h>
#include <syslog.h>
#include <time.h>

#include <algorithm>

#include "host/accounts/accounts_module.h"
#include "host/accounts/expiry.h"
#include "host/cgi/context.h"
#include "host/cgi/refusal.h"
#include "host/session/authorized_account.h"
#include "host/session/session_file.h"
#include "host/session/session_settings.h"

namespace kest {
namespace {

constexpr int kAdministrator = 2;
constexpr int kOrdinary = 1;
constexpr int kStands = 1;
constexpr int kBadArguments = 0;
constexpr int kNoSession = -1;
constexpr int kNotPrivileged = -2;
constexpr int kInterrupted = -3;
constexpr int kStoreFailed = -4;
constexpr int kAccountGone = -5;

// Activity is written down at most once a minute, and more often where a minute would matter.
constexpr int kTouchEvery_s = 60;

int Read(const char* id, Session* session) {
  switch (ReadSession(id, session)) {
    case SessionRead::kOk:
      return kStands;
    case SessionRead::kUnreadable:
      return kStoreFailed;
    default:
      return kNoSession;
  }
}

int64_t IdleSeconds(const Session& session) { return time(nullptr) - session.active_s; }

// A last activity ahead of the clock means that the clock was set back. By less than a timeout: the session goes on. By
// more: nobody can tell any more how long it was idle, so it ends.
bool HasRunOut(const Session& session, int timeout_s) {
  const int64_t idle_s = IdleSeconds(session);
  return idle_s >= timeout_s || idle_s <= -timeout_s;
}

// What the session knows of its account is brought up to date when any account has changed since the last look.
int LookAgain(const char* id, Session* session) {
  const ChangeStamp stamp = ReadChangeStamp();
  if (stamp == session->stamp && !(stamp == kNoStamp)) return kStands;
  const KestAccountsModule* accounts = Accounts();
  KestAccountState account;
  const int found = accounts == nullptr ? -1 : accounts->find_by_uid(session->uid, &account);
  if (found < 0) return kStoreFailed;
  if (found == 0) return kAccountGone;
  if (account.credential != session->credential) return kInterrupted;

  session->expire_day = account.expire_day;
  session->administrator = account.administrator;
  session->privilege = account.privilege;
  session->newest_login = account.login_serial;
  memcpy(session->user, account.name, sizeof(session->user));
  session->stamp = IsSettled(stamp) ? stamp : kNoStamp;
  ReplaceSession(id, *session);
  return kStands;
}

bool IsFromElsewhere(const Session& session) {
  const char* remote = getenv("REMOTE_ADDR");
  // Every web server says where a request comes from; without one there is nothing to compare.
  return remote != nullptr && strncmp(session.remote, remote, sizeof(session.remote) - 1) != 0;
}

// The session file stays when something else ended the session: the next request shall hear the same reason.
int Judge(const char* id, int timeout_s, Session* session) {
  const int read = Read(id, session);
  if (read != kStands) return read;
  if (HasRunOut(*session, timeout_s)) {
    RemoveSession(id);
    return kNoSession;
  }
  if (IsFromElsewhere(*session)) return kInterrupted;
  const int account = LookAgain(id, session);
  if (account != kStands) return account;
  if (IsExpiredDay(session->expire_day)) return kAccountGone;
  const bool superseded = session->newest_login > session->login_serial;
  return superseded && OneSessionPerAccount() ? kInterrupted : kStands;
}

// Renews the idle timer where the request counts as activity, and mends one that lies ahead of the clock in any case.
// @return seconds until the session ends
int Renew(const char* id, const Session& session, int timeout_s, bool active) {
  const int64_t idle_s = IdleSeconds(session);
  const bool ahead = idle_s < -1;
  if (ahead || (active && idle_s >= std::min(kTouchEvery_s, timeout_s / 4))) TouchSession(id);
  return active || ahead ? timeout_s : static_cast<int>(timeout_s - std::max<int64_t>(0, idle_s));
}

int Authorize(KESTCGI* ctx, char* user, int size, CgiAuthRequest* request, _tag_cgi_position position) {
  const char* id = KestCgiGetInCookies(ctx, "id", nullptr);
  if (!IsSessionId(id)) return kNoSession;
  const int timeout_s = SessionTimeoutSeconds();
  Session session;
  const int verdict = Judge(id, timeout_s, &session);
  if (verdict != kStands) return verdict;
  // A name cut off might be another account's.
  if (strlen(session.user) >= static_cast<size_t>(size)) return kBadArguments;

  strcpy(user, session.user);
  RememberAuthorized(session);
  request->uid = session.uid;
  request->secondsLeft = Renew(id, session, timeout_s, request->mode != 0);
  if (position == KEST_CGI_POSITION_ADMINISTRATION && !session.administrator) return kNotPrivileged;
  return session.administrator ? kAdministrator : kOrdinary;
}

}  // namespace
}  // namespace kest

int KestCgiIsAuthorized(KESTCGI* ctx, char* user, int size, CgiAuthRequest* req, _tag_cgi_position pos) {
  const bool known = pos == KEST_CGI_POSITION_ACCOUNT || pos == KEST_CGI_POSITION_ADMINISTRATION;
  if (kest::CoreOf(ctx) == nullptr || user == nullptr || size < 1 || req == nullptr || !known) return 0;
  if (kest::CurrentRefusal() != nullptr) return 0;
  return kest::Guarded(kest::kStoreFailed, [&] { return kest::Authorize(ctx, user, size, req, pos); });
}
