// language.cgi: chooses the language of the pages for this browser, before a login too.
//
//   POST lang=auto|en|de   sets the cookie "lang"
#include <tarvel/tarvel.h>

#include <string>

#include "languages.h"
#include "reply.h"

namespace {

bool IsOffered(const std::string& language) {
  for (const char* offered : site::kLanguages) {
    if (language == offered) return true;
  }
  return false;
}

}  // namespace

int main() {
  Tarvel request(true);
  if (!site::IsOwnPost()) return site::RefuseChange(request);

  std::string language = request.In("lang", "");
  if (!IsOffered(language)) return site::Refuse(request, "error", "error_unknown_language");

  char path[] = "/";
  char name[] = "lang";
  if (!request.AddCookieToHeader(path, name, language.data())) return site::Refuse(request, "common", "error_system");
  return site::Succeed(request, Json::Value(language));
}
