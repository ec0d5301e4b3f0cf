// The settings form's "load" without the library: the same request, session and settings from the platform, the same
// reply through jsoncpp.
#include <json/reader.h>
#include <json/writer.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/kestcgi.h"
#include "settings.h"

#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace {

// A JSON body is tried first, then a form: what a program does that accepts both.
void ReadParameters(KESTCGI* request, Json::Value& json) {
  char* line = KestCgiGetParamLine();
  if (line == nullptr) return;
  Json::Reader reader;
  if (!reader.parse(line, line + strlen(line), json, true)) KestCgiParseCGIParam(request, line);
  free(line);
}

void Answer(KESTCGI* request, const Json::Value& reply) {
  KestCgiSetHTTPHeader(request, "Cache-Control", "no-store");
  KestCgiSetHTTPHeader(request, "Content-type", "text/plain; charset=\"UTF-8\"");
  KestCgiPrintHTTPHeader(request);
  printf("%s", Json::StyledWriter().write(reply).c_str());
  fflush(stdout);
}

}  // namespace

int main() {
  setsid();
  KESTCGI request;
  KestCgiInit("", &request);
  KestCgiLoadInCookies(&request);
  Json::Value json, reply;
  ReadParameters(&request, json);

  char user[493] = "";
  CgiAuthRequest question = {1, 0, 0};
  const bool allowed =
      KestCgiIsAuthorized(&request, user, sizeof user, &question, KEST_CGI_POSITION_ADMINISTRATION) > 0;
  reply["success"] = allowed;
  if (allowed && strcmp(KestCgiGetCGIParam(&request, "action", ""), "load") == 0) reply["data"] = Settings();
  Answer(&request, reply);
  KestCgiFree(&request);
}
