// whoami.cgi: who am I, and what may I do?
//
//   GET   {"data": {"user", "language", "seconds_left", "may": {"settings", "upload"}}, "success": true}
//
// The request is a poll: it does not keep an idle session alive.
#include <tarvel/tarvel.h>

#include "reply.h"
#include "who.h"

int main() {
  Tarvel request(true);
  if (!request.IsAuthorized(nullptr, site::kPoll, KEST_CGI_POSITION_ACCOUNT)) return 0;

  const site::Who who = site::AskWho(site::kPoll);
  Json::Value data;
  data["user"] = request.GetLoginUserName();
  data["language"] = request.GetUILanguage();
  data["seconds_left"] = who.seconds_left;
  data["may"]["settings"] = who.administrator;
  data["may"]["upload"] = true;
  return site::Succeed(request, data);
}
