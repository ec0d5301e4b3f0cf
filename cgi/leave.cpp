// leave.cgi: ends the session of the caller and leads to the login; the banner's link "log out".
//
//   GET   from a page of this site; from elsewhere it ends nothing and leads to a page that asks
#include <tarvel/tarvel.h>

#include <cstdlib>
#include <cstring>

#include "reply.h"
#include "who.h"

namespace {

// Whether the browser says that a page of this site asked for this address. "none" is no answer, a link in a mail says
// that, too. Nor is silence: browsers tell the site nowhere but on https and loopback, and a page elsewhere can keep
// its own address to itself.
bool IsOwnLink() {
  const char* site = getenv("HTTP_SEC_FETCH_SITE");
  if (site != nullptr) return strcmp(site, "same-origin") == 0;
  const char* referer = getenv("HTTP_REFERER");
  const char* host = getenv("HTTP_HOST");
  if (referer == nullptr || host == nullptr) return false;
  const char* authority = strstr(referer, "://");
  if (authority == nullptr) return false;
  authority += strlen("://");
  return strncmp(authority, host, strlen(host)) == 0 && authority[strlen(host)] == '/';
}

}  // namespace

int main() {
  Tarvel request(true);
  request.AddHeader("Cache-Control", "no-store");
  if (!IsOwnLink()) {
    request.Redirect("/logout.html");
    return 0;
  }
  if (!request.IsAuthorized("/login.html", site::kPoll, KEST_CGI_POSITION_ACCOUNT)) return 0;
  request.Redirect(request.Logout() ? "/login.html" : "/logout.html");
}
