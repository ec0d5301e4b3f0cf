// logout.cgi: ends the session of the caller.
//
//   POST
#include <tarvel/tarvel.h>

#include "reply.h"

int main() {
  Tarvel request(true);
  if (!site::IsOwnPost()) return site::RefuseChange(request);

  // Logout() needs the name that the check fills in; a session that is over already is refused here.
  if (!request.IsAuthorized(nullptr, 1, KEST_CGI_POSITION_ACCOUNT)) return 0;
  if (!request.Logout()) return site::Refuse(request, "common", "error_system");
  return site::Succeed(request, Json::Value(Json::objectValue));
}
