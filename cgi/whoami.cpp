// whoami.cgi: who am I, and what may I do?
//
//   GET   {"data": {"user", "language", "seconds_left", "may": {"settings", "upload"}}, "success": true}
//
// The request is a poll: it does not keep an idle session alive.
#include <tarvel/tarvel.h>

// The library answers a refused position with a complete reply. Asking whether another position would be open,
// without sending anything, exists in the platform only.
#include "platform/kestcgi.h"
#include "reply.h"

namespace {

constexpr int kPoll = 0;

struct Position {
  bool open;
  int seconds_left;
};

Position Ask(_tag_cgi_position position) {
  KESTCGI context;
  char user[493] = "";
  CgiAuthRequest check = {};
  check.mode = kPoll;
  KestCgiInit("", &context);
  KestCgiLoadInCookies(&context);
  const bool open = KestCgiIsAuthorized(&context, user, sizeof(user), &check, position) > 0;
  KestCgiFree(&context);
  return {open, check.secondsLeft};
}

}  // namespace

int main() {
  Tarvel request(true);
  if (!request.IsAuthorized(nullptr, kPoll, KEST_CGI_POSITION_ACCOUNT)) return 0;

  const Position administration = Ask(KEST_CGI_POSITION_ADMINISTRATION);
  Json::Value data;
  data["user"] = request.GetLoginUserName();
  data["language"] = request.GetUILanguage();
  data["seconds_left"] = administration.seconds_left;
  data["may"]["settings"] = administration.open;
  data["may"]["upload"] = true;
  return site::Succeed(request, data);
}
