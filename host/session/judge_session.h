// Does a session still stand? Asked by whoever acts for its account.
#ifndef KEST_HOST_SESSION_JUDGE_SESSION_H_
#define KEST_HOST_SESSION_JUDGE_SESSION_H_

#include <stdint.h>

#include "host/session/session_file.h"

namespace kest {

constexpr int kSessionStands = 1;
// The others are what KestCgiIsAuthorized() answers.
constexpr int kSessionUnknown = -1;
constexpr int kSessionInterrupted = -3;
constexpr int kSessionStoreFailed = -4;
constexpr int kSessionAccountGone = -5;

// Reads the session and looks at it and at its account: idle for too long, from another address, superseded, the
// account changed, expired or gone. `id` must have the form of one; `session` is complete when the session stands.
int JudgeSession(const char* id, int timeout_s, Session* session);

// Seconds since the session's last activity; negative when that lies ahead of the clock.
int64_t IdleSeconds(const Session& session);

}  // namespace kest

#endif  // KEST_HOST_SESSION_JUDGE_SESSION_H_
