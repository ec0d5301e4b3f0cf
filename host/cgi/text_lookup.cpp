// The texts of a context: what the program asks of them, in the request's language.
#include <stdarg.h>

#include "host/cgi/context.h"
#include "host/cgi/language.h"

int KestCgiLoadText(KESTCGI* ctx, ...) {
  KestCgiCore* const core = kest::CoreOf(ctx);
  if (core == nullptr) return -1;
  va_list names;
  va_start(names, ctx);
  const int found = kest::Guarded(-1, [&] {
    std::vector<std::string> sections;
    while (const char* const name = va_arg(names, const char*)) sections.emplace_back(name);
    return core->texts.Load(core->text_root, kest::RequestLanguage(), sections);
  });
  va_end(names);
  return found;
}

const char* KestCgiGetText(KESTCGI* ctx, const char* key, const char* second) {
  KestCgiCore* const core = kest::CoreOf(ctx);
  if (core == nullptr || key == nullptr) return second;
  const char* const text = kest::Guarded<const char*>(nullptr, [&] { return core->texts.Find(key); });
  return text != nullptr ? text : second;
}

const char* KestCgiGetEncodeText(KESTCGI* ctx, const char* key, const char* second) {
  KestCgiCore* const core = kest::CoreOf(ctx);
  if (core == nullptr || key == nullptr) return second;
  const char* const text = kest::Guarded<const char*>(nullptr, [&] { return core->texts.FindEncoded(key); });
  return text != nullptr ? text : second;
}

const char* KestCgiGetLang(KESTCGI*) {
  return kest::Guarded<const char*>(kest::kFallbackLanguage, [] { return kest::RequestLanguage(); });
}
