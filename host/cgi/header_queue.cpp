#include "host/cgi/header_queue.h"

#include <ctype.h>
#include <string.h>
#include <strings.h>

#include "host/cgi/refusal.h"

namespace kest {
namespace {

// A token of RFC 9110 section 5.6.2.
bool IsToken(std::string_view text) {
  if (text.empty()) return false;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte == 0 || byte >= 0x80 || (!isalnum(byte) && strchr("!#$%&'*+-.^_`|~", c) == nullptr)) return false;
  }
  return true;
}

bool HoldsControl(std::string_view text) {
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if ((byte < 0x20 && c != '\t') || byte == 0x7f) return true;
  }
  return false;
}

// An octet of a cookie's value, RFC 6265 section 4.1.1.
bool IsCookieValue(std::string_view value) {
  for (const char c : value) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte <= 0x20 || byte >= 0x7f || strchr("\",;\\", c) != nullptr) return false;
  }
  return true;
}

// Appends "; name=value"; false when the value could begin another attribute or header.
bool AppendAttribute(const char* name, const char* value, std::string* line) {
  if (value == nullptr) return true;
  if (HoldsControl(value) || strchr(value, ';') != nullptr) return false;
  line->append("; ").append(name).append("=").append(value);
  return true;
}

bool EqualsNoCase(std::string_view a, const char* b) {
  return a.size() == strlen(b) && strncasecmp(a.data(), b, a.size()) == 0;
}

}  // namespace

bool HeaderQueue::Add(std::string_view name, std::string_view value) {
  if (!IsToken(name) || HoldsControl(value) || name.size() + value.size() + 2 > kHeaderLineMax) return false;
  if (EqualsNoCase(name, "Status")) {
    status_ = value;
    return true;
  }
  std::string line;
  line.reserve(name.size() + value.size() + 4);
  lines_.append(line.append(name).append(": ").append(value).append("\r\n"));
  return true;
}

bool HeaderQueue::AddCookie(const CookieToSend& cookie) {
  if (!IsToken(cookie.name) || !IsCookieValue(cookie.value)) return false;
  std::string line = std::string(cookie.name) + "=" + cookie.value;
  if (!AppendAttribute("Expires", cookie.expires, &line) || !AppendAttribute("Path", cookie.path, &line) ||
      !AppendAttribute("Domain", cookie.domain, &line)) {
    return false;
  }
  if (cookie.secure) line += "; Secure";
  if (cookie.http_only) line += "; HttpOnly";
  if (!AppendAttribute("SameSite", cookie.same_site, &line)) return false;
  const bool removed = cookie.value[0] == '\0' && cookie.expires != nullptr;
  cookies_.push_back({cookie.name, cookie.value, removed});
  if (Add("Set-Cookie", line)) return true;
  cookies_.pop_back();
  return false;
}

void HeaderQueue::AppendQueuedCookies(TextPairs* cookies) const {
  for (auto cookie = cookies_.rbegin(); cookie != cookies_.rend(); ++cookie) {
    if (cookie->removed) {
      cookies->Add(cookies->Keep(cookie->name), nullptr);
    } else {
      cookies->AddCopy(cookie->name, cookie->value);
    }
  }
}

std::string HeaderQueue::TakeBlock() {
  std::string block;
  if (const Refusal* const refusal = CurrentRefusal()) {
    block = "Status: " + std::to_string(refusal->status) + " " + refusal->phrase + "\r\n";
    block.append("x-request-refused: ").append(refusal->reason).append("\r\n");
  } else if (!status_.empty()) {
    block = "Status: " + status_ + "\r\n";
  }
  block.append(lines_).append("\r\n");
  status_.clear();
  lines_.clear();
  return block;
}

}  // namespace kest
