// The head of a reply: header queue and redirect.
#include <stdio.h>

#include "host/cgi/context.h"
#include "host/cgi/refusal.h"

namespace {

bool Print(const std::string& text) { return fwrite(text.data(), 1, text.size(), stdout) == text.size(); }

bool IsControl(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < 0x20 || byte == 0x7f;
}

// A URL as it may stand in a header: bytes that no URL holds are percent-encoded, "" is the site's root.
// @return false for a control character
bool HeaderUrl(const char* url, std::string* out) {
  if (*url == '\0') *out = "/";
  for (; *url != '\0'; ++url) {
    if (IsControl(*url)) return false;
    if (*url == ' ' || static_cast<unsigned char>(*url) >= 0x80) {
      char escape[4];
      snprintf(escape, sizeof(escape), "%%%02X", static_cast<unsigned>(static_cast<unsigned char>(*url)));
      *out += escape;
    } else {
      *out += *url;
    }
  }
  return true;
}

}  // namespace

int KestCgiSetHTTPHeader(KESTCGI* ctx, const char* name, const char* value) {
  KestCgiCore* const core = kest::CoreOf(ctx);
  if (core == nullptr || name == nullptr || value == nullptr) return 0;
  return kest::Guarded(0, [&] { return core->headers.Add(name, value) ? 1 : 0; });
}

int KestCgiPrintHTTPHeader(KESTCGI* ctx) {
  KestCgiCore* const core = kest::CoreOf(ctx);
  if (core == nullptr) return 0;
  return kest::Guarded(0, [&] { return Print(core->headers.TakeBlock()) ? 1 : 0; });
}

int KestCgiRedirect(KESTCGI* ctx, const char* url) {
  KestCgiCore* const core = kest::CoreOf(ctx);
  if (core == nullptr || url == nullptr) return 0;
  return kest::Guarded(0, [&] {
    std::string location;
    if (!HeaderUrl(url, &location)) return 0;
    // A refused request is not sent elsewhere: the client would never learn why.
    if (const kest::Refusal* const refusal = kest::CurrentRefusal()) {
      core->headers.Add("Content-type", "text/plain; charset=\"UTF-8\"");
      return Print(core->headers.TakeBlock() + refusal->reason + "\n") ? 1 : 0;
    }
    if (!core->headers.Add("Status", "302 Found") || !core->headers.Add("Location", location)) return 0;
    return Print(core->headers.TakeBlock()) ? 1 : 0;
  });
}
