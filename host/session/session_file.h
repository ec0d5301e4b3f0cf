// Sessions: one file each in a directory that only the appliance's own id may enter. The file's name is the session's
// id, its modification time the session's last activity, its content what the session knows of its account.
#ifndef KEST_HOST_SESSION_SESSION_FILE_H_
#define KEST_HOST_SESSION_SESSION_FILE_H_

#include <stddef.h>
#include <stdint.h>

#include "host/session/change_stamp.h"

namespace kest {

constexpr char kSessionDirectory[] = "/usr/kest/var/session";

// 128 random bits in lower-case hexadecimal digits.
constexpr size_t kSessionIdLength = 32;
constexpr size_t kSessionPathBytes = sizeof(kSessionDirectory) + 1 + kSessionIdLength;

struct Session {
  int uid = -1;
  int expire_day = -1;
  bool administrator = false;
  int privilege = 0;  // mask of applications
  int64_t credential = 0;
  int64_t login_serial = 0;  // number of the login that opened the session
  int64_t newest_login = 0;  // number of the account's last login, as of the last look at it
  ChangeStamp stamp;         // under which the account was last looked at; kNoStamp: look again
  char remote[64] = "";      // address of the client that logged in
  char user[493] = "";
  int64_t active_s = 0;  // last activity, seconds since the epoch; not part of the content
};

// Whether a text that a client sent has the form of an id. NULL has not.
bool IsSessionId(const char* text);

// Path of the session's file. `id` must have the form of one.
void SessionPath(const char* id, char (&path)[kSessionPathBytes]);

enum class SessionRead {
  kOk,
  kAbsent,
  kDamaged,     // there is something, but no session that this program wrote (logged)
  kUnreadable,  // the store failed (logged)
};
SessionRead ReadSession(const char* id, Session* out);

// Writes a new session under a new id; `id` receives it. False on failure (logged), nothing is left behind then.
bool CreateSession(const Session& session, char (&id)[kSessionIdLength + 1]);

// Puts new content in place of a session's in one step, last activity unchanged. A session that has ended meanwhile
// stays ended. A failure is logged and costs only the next request's time.
void ReplaceSession(const char* id, const Session& session);

// Sets the last activity to now. A session that has ended meanwhile stays ended.
void TouchSession(const char* id);

// Ends a session. True when there is none any more; a failure is logged.
bool RemoveSession(const char* id);

}  // namespace kest

#endif  // KEST_HOST_SESSION_SESSION_FILE_H_
