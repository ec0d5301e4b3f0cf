// Browsers' names of any bytes and choices of any kind, against the rules without patterns.
#include "mobile_detector.h"

#include <cctype>
#include <climits>
#include <string>

#include "fuzz_input.h"

namespace {

constexpr const char* kMobileBrowsers[] = {"symbianos",  "windows ce", "ppc",        "pda",        "palmos",
                                           "blackberry", "vodafone",   "opera mobi", "opera mini", "up.browser",
                                           "avantgo",    "eudoraweb",  "plink",      "plucker",    "netfront",
                                           "xiino",      "blazer",     "webpro",     "proxinet",   "elaine"};
constexpr const char* kCookies[] = {"0", "1", "2", "-1", "1x", "x"};
constexpr unsigned kCookieCount = 6;

// An environment variable without setenv(), which keeps every value for ever.
class Variable {
 public:
  explicit Variable(const char* name) : name_(name) {}
  void Set(bool present, const std::string& value) {
    unsetenv(name_);
    entry_ = name_ + ("=" + value);
    if (present) putenv(entry_.data());
  }

 private:
  const char* name_;
  std::string entry_;
};

std::string Escaped(const std::string& text) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string escaped;
  for (const char byte : text) {
    const auto value = static_cast<unsigned char>(byte);
    escaped += {'%', kDigits[value >> 4], kDigits[value & 15]};
  }
  return escaped;
}

struct Browser {
  bool mobile = false, ios = false, android = false, ie_mobile = false, ipad = false;
};

Browser Known(std::string agent, bool header) {
  for (char& byte : agent) byte = static_cast<char>(byte >= 'A' && byte <= 'Z' ? byte - 'A' + 'a' : byte);
  const auto has = [&agent](const char* word, size_t from = 0) { return agent.find(word, from) != std::string::npos; };
  const size_t ppc = agent.find("ppc");
  Browser browser;
  if (ppc != std::string::npos && (has("mac os x", ppc) || has("safari", ppc))) return browser;
  browser.ipad = has("ipad");
  browser.ios = browser.ipad || has("iphone") || has("ipod");
  browser.android = !browser.ios && has("android");
  browser.mobile = browser.ios || browser.android || header;
  for (const char* word : kMobileBrowsers) browser.mobile = browser.mobile || has(word);
  browser.ie_mobile = browser.mobile && (has("msie") || has("iemobile"));
  return browser;
}

// The number that a text begins with; `whole` tells whether nothing else stands there.
long Number(const std::string& text, bool& whole) {
  size_t at = 0;
  while (at < text.size() && std::isspace(static_cast<unsigned char>(text[at])) != 0) ++at;
  const bool negative = at < text.size() && text[at] == '-';
  if (at < text.size() && (text[at] == '-' || text[at] == '+')) ++at;
  const size_t begin = at;
  long number = 0;
  for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
    const long digit = negative ? '0' - text[at] : text[at] - '0';
    if (__builtin_mul_overflow(number, 10, &number) || __builtin_add_overflow(number, digit, &number)) {
      number = negative ? LONG_MIN : LONG_MAX;
    }
  }
  whole = at > begin && at == text.size();
  return number;
}

bool WantsDesktop(const std::string& cookie, bool has_parameter, const std::string& parameter) {
  bool whole = false;
  const long stored = Number(cookie, whole);
  const long chosen = Number(parameter, whole);
  return has_parameter && whole ? chosen != 0 : stored != 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static Variable agent_variable("HTTP_USER_AGENT"), os("HTTP_UA_OS"), wap("HTTP_X_WAP_PROFILE");
  static Variable cookies("HTTP_COOKIE"), query("QUERY_STRING"), method("REQUEST_METHOD");
  FuzzInput input(data, size);
  const unsigned present = input.Choice(32);
  const bool has_agent = (present & 1) == 0, has_os = (present & 2) != 0, has_wap = (present & 4) != 0;
  const bool has_cookie = (present & 8) != 0, has_parameter = (present & 16) != 0;
  const std::string cookie = kCookies[input.Choice(kCookieCount)];
  const std::string parameter = input.TextLine(), agent = input.TextRest();
  agent_variable.Set(has_agent, agent);
  os.Set(has_os, "");
  wap.Set(has_wap, "");
  cookies.Set(has_cookie, "forceDesktop=" + cookie);
  method.Set(true, "GET");
  query.Set(true, has_parameter ? "forceDesktop=" + Escaped(parameter) : "");

  Tarvel request(false);
  const MobileDetector browser(request);
  const Browser known = has_agent ? Known(agent, has_os || has_wap) : Browser();
  const bool desktop = WantsDesktop(has_cookie ? cookie : known.ipad ? "1" : "0", has_parameter, parameter);
  Require(browser.IsMobileDetected() == known.mobile && browser.IsIPad() == known.ipad);
  Require(browser.IsMobile() == (known.mobile && !desktop) && browser.IsIOS() == (known.ios && !desktop));
  Require(browser.IsAndroid() == (known.android && !desktop));
  Require(browser.IsIEMobile() == (known.ie_mobile && !desktop));
  return 0;
}
