// Urlencoded parameters, against a decoder written straight from the rules.
#include <algorithm>
#include <map>

#include "fuzz_input.h"
#include "platform/kestcgi.h"

namespace {

constexpr size_t kPairsMax = 1000 - 1;  // less the one that is there already
constexpr size_t kNameMax = 256;
constexpr int kLookedUpMax = 100;

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::string Decoded(const std::string& text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    const int high = text[i] == '%' && i + 2 < text.size() ? HexDigit(text[i + 1]) : -1;
    const int low = high >= 0 ? HexDigit(text[i + 2]) : -1;
    if (low >= 0) {
      out += static_cast<char>(16 * high + low);
      i += 2;
    } else {
      out += text[i] == '+' ? ' ' : text[i];
    }
  }
  return out;
}

// The first value of each name, and the number of pairs; -1 when the line is to be refused.
int Reference(const std::string& line, std::map<std::string, std::string>* first) {
  size_t count = 0;
  for (size_t at = 0; at <= line.size();) {
    const size_t end = std::min(line.find('&', at), line.size());
    const std::string piece = line.substr(at, end - at);
    at = end + 1;
    const size_t equals = piece.find('=');
    const std::string name = Decoded(piece.substr(0, equals));
    const std::string value = equals == std::string::npos ? "" : Decoded(piece.substr(equals + 1));
    if ((name + value).find('\0') != std::string::npos) return -1;
    if (name.empty()) continue;
    if (name.size() > kNameMax || count >= kPairsMax) return -1;
    first->emplace(name, value);
    ++count;
  }
  return static_cast<int>(count);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string line = FuzzInput(data, size).TextRest();
  std::map<std::string, std::string> expected;
  const int expected_count = Reference(line, &expected);

  KESTCGI ctx = {};
  KestCgiInit("", &ctx);
  char earlier[] = "earlier=1";
  Require(KestCgiParseCGIParam(&ctx, earlier) == 1);
  const int count = KestCgiParseCGIParam(&ctx, line.data());
  Require(expected_count < 0 ? count < 0 : count == expected_count);
  expected.emplace("earlier", "1");
  int looked_up = 0;
  for (const auto& [name, value] : expected) {
    if (++looked_up > kLookedUpMax) break;
    const char* const found = KestCgiGetCGIParam(&ctx, name.c_str(), nullptr);
    if (name == "earlier") {
      Require(found != nullptr && found[0] == '1');
    } else if (count < 0) {
      Require(found == nullptr);  // a refused line leaves nothing behind
    } else {
      Require(found != nullptr && value == found);
    }
  }
  KestCgiFree(&ctx);
  return 0;
}
