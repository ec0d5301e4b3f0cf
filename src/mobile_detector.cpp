#include "mobile_detector.h"

#include <cstdlib>
#include <cstring>
#include <memory>

#include "platform/klib.h"

namespace {

constexpr char kPpcMac[] = "PPC.*(Mac OS X|Safari)";
constexpr char kMobileBrowser[] =
    "(SymbianOS|Windows CE|PPC|PDA|PalmOS|BlackBerry|Vodafone|Opera Mobi|Opera Mini|UP\\.Browser|AvantGo|EudoraWeb|"
    "PLink|Plucker|NetFront|Xiino|Blazer|WebPro|ProxiNet|Elaine)";

constexpr char kForceDesktop[] = "forceDesktop";
constexpr int kDecimal = 10;

struct FreeText {
  void operator()(char* text) const { std::free(text); }
};
using Text = std::unique_ptr<char, FreeText>;

// A pattern for which memory is short has no sub-expression and can be released. It is zeroed afterwards, because what
// the compiler has counted before it gives up stays counted.
void Compile(regex_t& pattern, const char* expression) {
  if (regcomp(&pattern, expression, REG_EXTENDED | REG_ICASE) != 0) std::memset(&pattern, 0, sizeof pattern);
}

// Unanchored: names match inside longer words too.
bool Matches(const regex_t& pattern, const char* text) {
  return pattern.re_nsub != 0 && regexec(&pattern, text, 0, nullptr, 0) == 0;
}

// Whether the words of kPpcMac stand there in their order, before the pattern is asked. It goes to the end of the agent
// for each "PPC", so that a long agent of nothing else would take the square of its length.
bool HasWordsOfPpcMac(const char* agent) {
  const char* const ppc = strcasestr(agent, "PPC");
  return ppc != nullptr && (strcasestr(ppc, "Mac OS X") != nullptr || strcasestr(ppc, "Safari") != nullptr);
}

bool Contains(const Text& text, const char* word) { return std::strstr(text.get(), word) != nullptr; }

Text LowerCase(const char* text) {
  Text copy(strdup(text));
  if (copy && SzKLIBStrCaseLower(copy.get()) == nullptr) copy.reset();
  return copy;
}

// Presence counts, an empty value too.
bool HasMobileHeader() { return std::getenv("HTTP_UA_OS") != nullptr || std::getenv("HTTP_X_WAP_PROFILE") != nullptr; }

}  // namespace

MobileDetector::MobileDetector(Tarvel& request) : request_(request) {
  Compile(ppc_mac_, kPpcMac);
  Compile(mobile_browser_, kMobileBrowser);
  request_.LoadIn();
  DetectMobileDevice();
  is_mobile_detected_ = is_mobile_;
  if (IsForceDesktop()) is_mobile_ = is_ios_ = is_android_ = is_ie_mobile_ = false;
}

MobileDetector::~MobileDetector() {
  regfree(&mobile_browser_);
  regfree(&ppc_mac_);
}

void MobileDetector::DetectMobileDevice() {
  const char* const agent = std::getenv("HTTP_USER_AGENT");
  if (agent == nullptr || (HasWordsOfPpcMac(agent) && Matches(ppc_mac_, agent))) return;
  const Text lower = LowerCase(agent);
  if (!lower) return;

  if (Contains(lower, "ipad")) {
    is_ipad_ = is_ios_ = true;
  } else if (Contains(lower, "iphone") || Contains(lower, "ipod")) {
    is_ios_ = true;
  } else if (Contains(lower, "android")) {
    is_android_ = true;
  } else if (!Matches(mobile_browser_, lower.get()) && !HasMobileHeader()) {
    return;
  }
  is_mobile_ = true;
  if (Contains(lower, "msie") || Contains(lower, "iemobile")) is_ie_mobile_ = true;
}

bool MobileDetector::IsForceDesktop() {
  const long stored = std::strtol(request_.GetCookie(kForceDesktop, is_ipad_ ? "1" : "0"), nullptr, kDecimal);
  const char* const parameter = request_.In(kForceDesktop, nullptr);
  if (parameter == nullptr) return stored != 0;
  char* end = nullptr;
  const long chosen = std::strtol(parameter, &end, kDecimal);
  if (end == parameter || *end != '\0' || chosen == stored) return stored != 0;
  request_.AddCookieToHeader(const_cast<char*>("/"), const_cast<char*>(kForceDesktop), const_cast<char*>(parameter));
  return chosen != 0;
}
