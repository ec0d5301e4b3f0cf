// Cookies of a request, against a splitter written straight from the rules.
#include "host/cgi/cookies.h"

#include "fuzz_input.h"

namespace {

std::string Trimmed(const std::string& text) {
  const size_t first = text.find_first_not_of(" \t");
  return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string header = FuzzInput(data, size).TextRest();
  kest::TextPairs cookies;
  kest::ParseCookies(header, &cookies);
  Require(cookies.Count() <= 200);

  std::string seen = "\n";
  size_t count = 0;
  for (size_t at = 0; at < header.size() && count < 200;) {
    const size_t end = std::min(header.find(';', at), header.size());
    const std::string pair = header.substr(at, end - at);
    at = end + 1;
    const size_t equals = pair.find('=');
    const std::string name = Trimmed(pair.substr(0, equals));
    if (equals == std::string::npos || name.empty()) continue;
    ++count;
    if (name.find('\n') != std::string::npos || seen.find("\n" + name + "\n") != std::string::npos) continue;
    seen += name + "\n";
    std::string value = Trimmed(pair.substr(equals + 1));
    if (value.size() > 1 && value.front() == '"' && value.back() == '"') value = value.substr(1, value.size() - 2);
    if (name.find('\n') == std::string::npos) Require(cookies.Find(name) != nullptr && value == cookies.Find(name));
  }
  Require(cookies.Count() == count);
  return 0;
}
