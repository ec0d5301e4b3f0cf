// login.cgi: opens a session.
//
//   POST user=NAME&passwd=PASSWORD   the platform core sets the session cookie "id"
//
// A refusal names the text to show; an unknown name and a wrong password are told apart nowhere.
#include <tarvel/tarvel.h>

#include <cstdio>

#include "reply.h"

namespace {

struct Refusal {
  int result;
  const char* key;
};

constexpr Refusal kRefusals[] = {
    {-1, "error_wrong_login"},
    {-2, "error_account_closed"},
    {-3, "error_too_many_tries"},
};

const char* RefusalKey(int result) {
  for (const Refusal& refusal : kRefusals) {
    if (refusal.result == result) return refusal.key;
  }
  return "error_login_failed";
}

}  // namespace

int main() {
  Tarvel request(true);
  if (!site::IsOwnPost()) return site::RefuseChange(request);

  _tag_login_params login = {};
  login.user = request.In("user", "");
  login.passwd = request.In("passwd", "");
  const int result = request.Login(&login);
  if (result == 1) return site::Succeed(request, Json::Value(Json::objectValue));

  if (login.delay_s > 0) {
    char seconds[16];
    snprintf(seconds, sizeof(seconds), "%d", login.delay_s);
    request.AddHeader("Retry-After", seconds);
  }
  return site::Refuse(request, "login", RefusalKey(result));
}
