// The settings form's "load" over GNU cgicc: request, cookies and headers are cgicc's, session and settings the
// platform's, the reply jsoncpp's.
#include <cgicc/Cgicc.h>
#include <cgicc/HTTPResponseHeader.h>
#include <json/writer.h>

#include <iostream>

#include "platform/kestcgi.h"
#include "settings.h"

#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace {

bool Allowed(const cgicc::Cgicc& cgi) {
  bool has_session = false;
  for (const cgicc::HTTPCookie& cookie : cgi.getEnvironment().getCookieList()) {
    has_session = has_session || cookie.getName() == "id";
  }
  if (!has_session) return false;
  KESTCGI session;
  KestCgiInit("", &session);
  KestCgiLoadInCookies(&session);
  char user[493] = "";
  CgiAuthRequest question = {1, 0, 0};
  const int answer = KestCgiIsAuthorized(&session, user, sizeof user, &question, KEST_CGI_POSITION_ADMINISTRATION);
  KestCgiFree(&session);
  return answer > 0;
}

}  // namespace

int main() {
  const cgicc::Cgicc cgi;
  Json::Value reply;
  reply["success"] = Allowed(cgi);
  if (reply["success"].asBool() && cgi("action") == "load") reply["data"] = Settings();

  cgicc::HTTPResponseHeader header("HTTP/1.1", 200, "OK");
  header.addHeader("Cache-Control", "no-store");
  header.addHeader("Content-type", "text/plain; charset=\"UTF-8\"");
  std::cout << header << Json::StyledWriter().write(reply) << std::flush;
}
