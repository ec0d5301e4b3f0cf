#include "host/cgi/cookies.h"

#include <stdlib.h>

#include "host/cgi/context.h"

namespace kest {
namespace {

constexpr size_t kCookiesMax = 200;

std::string_view Trimmed(std::string_view text) {
  const size_t first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::string_view Unquoted(std::string_view value) {
  const bool quoted = value.size() >= 2 && value.front() == '"' && value.back() == '"';
  return quoted ? value.substr(1, value.size() - 2) : value;
}

}  // namespace

void ParseCookies(std::string_view header, TextPairs* cookies) {
  for (size_t taken = 0; taken < kCookiesMax && !header.empty();) {
    const size_t end = header.find(';');
    const std::string_view pair = header.substr(0, end);
    header.remove_prefix(end == std::string_view::npos ? header.size() : end + 1);
    const size_t equals = pair.find('=');
    if (equals == std::string_view::npos) continue;
    const std::string_view name = Trimmed(pair.substr(0, equals));
    if (name.empty()) continue;
    cookies->AddCopy(name, Unquoted(Trimmed(pair.substr(equals + 1))));
    ++taken;
  }
}

}  // namespace kest

int KestCgiLoadInCookies(KESTCGI* ctx) {
  KestCgiCore* const core = kest::CoreOf(ctx);
  if (core == nullptr) return -1;
  return kest::Guarded(-1, [&] {
    core->cookies.Truncate(0);
    // Cookies set by this very reply stand in front: the first of a name counts.
    core->headers.AppendQueuedCookies(&core->cookies);
    const char* const header = getenv("HTTP_COOKIE");
    if (header != nullptr) kest::ParseCookies(header, &core->cookies);
    return static_cast<int>(core->cookies.Count());
  });
}

const char* KestCgiGetInCookies(KESTCGI* ctx, const char* name, const char* def) {
  const KestCgiCore* const core = kest::CoreOf(ctx);
  const char* const value = core == nullptr || name == nullptr ? nullptr : core->cookies.Find(name);
  return value != nullptr ? value : def;
}

int KestCgiSetCookies(KESTCGI* ctx, const char* name, const char* value, const char* expires, const char* path,
                      const char* domain, const char* secure) {
  KestCgiCore* const core = kest::CoreOf(ctx);
  if (core == nullptr || name == nullptr || value == nullptr) return 0;
  return kest::Guarded(0, [&] {
    kest::CookieToSend cookie{name, value};
    cookie.expires = expires;
    cookie.path = path;
    cookie.domain = domain;
    cookie.secure = secure != nullptr;
    return core->headers.AddCookie(cookie) ? 1 : 0;
  });
}
