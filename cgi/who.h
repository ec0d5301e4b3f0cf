// Who is logged in, and what that account may do: told to the pages by whoami.cgi and by the frame.
#ifndef CGI_WHO_H
#define CGI_WHO_H

#include <tarvel/tarvel.h>

#include <cstring>

// The library answers a refused position with a complete reply. Asking whether another position would be open,
// without sending anything, exists in the platform only.
#include "platform/kestcgi.h"

namespace site {

/// Mode of IsAuthorized(): the request is a poll and does not keep an idle session alive.
inline constexpr int kPoll = 0;

/// Mode of IsAuthorized(): the request is activity of the user.
inline constexpr int kActivity = 1;

/// Mode for a program whose page also asks by itself for what is new, with "poll" 1.
inline int ModeOfLook(Tarvel& request) { return std::strcmp(request.In("poll", ""), "1") == 0 ? kPoll : kActivity; }

struct Who {
  bool administrator;
  int seconds_left;  ///< of the session, without further activity
};

/// Asks about the session of this request, which IsAuthorized() has allowed in the same mode.
inline Who AskWho(int mode) {
  KESTCGI context;
  char user[493] = "";
  CgiAuthRequest check = {};
  check.mode = mode;
  KestCgiInit("", &context);
  KestCgiLoadInCookies(&context);
  const bool open = KestCgiIsAuthorized(&context, user, sizeof(user), &check, KEST_CGI_POSITION_ADMINISTRATION) > 0;
  KestCgiFree(&context);
  return {open, check.secondsLeft};
}

}  // namespace site

#endif  // CGI_WHO_H
