// whoami.cgi: who am I, and what may I do?
//
//   GET [active=1]   {"data": {"user", "language", "seconds_left", "may": {"settings", "upload"}}, "success": true}
//
// The request is a poll: it does not keep an idle session alive. With "active" it does: something of the user's is
// under way that takes long.
#include <tarvel/tarvel.h>

#include <cstring>

#include "reply.h"
#include "who.h"

int main() {
  Tarvel request(true);
  const int mode = std::strcmp(request.In("active", ""), "1") == 0 ? site::kActivity : site::kPoll;
  if (!request.IsAuthorized(nullptr, mode, KEST_CGI_POSITION_ACCOUNT)) return 0;

  const site::Who who = site::AskWho(mode);
  Json::Value data;
  data["user"] = request.GetLoginUserName();
  data["language"] = request.GetUILanguage();
  data["seconds_left"] = who.seconds_left;
  data["may"]["settings"] = who.administrator;
  data["may"]["upload"] = true;
  return site::Succeed(request, data);
}
