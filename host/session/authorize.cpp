// May this request use the page? Asked by every program first, so the usual answer costs one small file read and two
// stat() calls, and no database.
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include <algorithm>

#include "host/cgi/context.h"
#include "host/cgi/refusal.h"
#include "host/session/authorized_account.h"
#include "host/session/judge_session.h"
#include "host/session/session_settings.h"

namespace kest {
namespace {

constexpr int kAdministrator = 2;
constexpr int kOrdinary = 1;
constexpr int kBadArguments = 0;
constexpr int kNotPrivileged = -2;

// Activity is written down at most once a minute, and more often where a minute would matter.
constexpr int kTouchEvery_s = 60;

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
  if (!IsSessionId(id)) return kSessionUnknown;
  const int timeout_s = SessionTimeoutSeconds();
  Session session;
  const int verdict = JudgeSession(id, timeout_s, &session);
  if (verdict != kSessionStands) return verdict;
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
  return kest::Guarded(kest::kSessionStoreFailed, [&] { return kest::Authorize(ctx, user, size, req, pos); });
}
