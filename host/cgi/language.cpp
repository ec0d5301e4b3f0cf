#include "host/cgi/language.h"

#include <ctype.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <string>
#include <string_view>

#include "host/cgi/cookies.h"
#include "host/cgi/settings.h"
#include "host/cgi/texts.h"

namespace kest {
namespace {

constexpr size_t kCodeMax = 15;

std::string Lower(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
  return out;
}

// Letters, digits and hyphens only: a code becomes part of a path.
bool IsLanguageCode(std::string_view code) {
  if (code.size() < 2 || code.size() > kCodeMax || !isalpha(static_cast<unsigned char>(code[0]))) return false;
  for (const char c : code) {
    if (!isalnum(static_cast<unsigned char>(c)) && c != '-') return false;
  }
  return true;
}

bool IsShipped(const std::string& code) {
  return IsLanguageCode(code) && access((std::string(kMainTextRoot) + "/texts/" + code + ".ini").c_str(), R_OK) == 0;
}

std::string_view TakeItem(std::string_view* rest, char separator) {
  const size_t end = rest->find(separator);
  std::string_view item = rest->substr(0, end);
  rest->remove_prefix(end == std::string_view::npos ? rest->size() : end + 1);
  const size_t first = item.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return item.substr(first, item.find_last_not_of(" \t") - first + 1);
}

// Weight of a language range in thousandths (RFC 9110 section 12.4.2); a broken one counts as 0.
int WeightOf(std::string_view parameter) {
  if (parameter.empty()) return 1000;
  if (parameter.substr(0, 2) != "q=" && parameter.substr(0, 2) != "Q=") return 0;
  parameter.remove_prefix(2);
  if (parameter.empty() || (parameter[0] != '0' && parameter[0] != '1')) return 0;
  int weight = (parameter[0] - '0') * 1000;
  if (parameter.size() > 1 && parameter[1] != '.') return 0;
  int unit = 100;
  for (size_t i = 2; i < parameter.size() && i < 5; ++i, unit /= 10) {
    if (!isdigit(static_cast<unsigned char>(parameter[i]))) return 0;
    weight += (parameter[i] - '0') * unit;
  }
  return weight > 1000 ? 1000 : weight;
}

// What a range stands for among the shipped languages: itself, else its first subtag ("de" for "de-AT").
std::string ShippedFor(std::string_view range) {
  if (range == "*") return kFallbackLanguage;
  const std::string code = Lower(range);
  if (IsShipped(code)) return code;
  const std::string first = code.substr(0, code.find('-'));
  return first != code && IsShipped(first) ? first : std::string();
}

std::string BestAccepted(std::string_view header) {
  constexpr int kRangesMax = 32;
  std::string best;
  int best_weight = 0;
  for (int i = 0; i < kRangesMax && !header.empty(); ++i) {
    std::string_view item = TakeItem(&header, ',');
    const std::string_view range = TakeItem(&item, ';');
    const int weight = WeightOf(TakeItem(&item, ';'));
    if (weight <= best_weight) continue;
    std::string code = ShippedFor(range);
    if (code.empty()) continue;
    best = std::move(code);
    best_weight = weight;
  }
  return best;
}

std::string Choose() {
  const char* const cookies = getenv("HTTP_COOKIE");
  TextPairs sent;
  if (cookies != nullptr && strstr(cookies, "lang") != nullptr) ParseCookies(cookies, &sent);
  const char* const wanted = sent.Find("lang");
  if (wanted != nullptr && IsShipped(wanted)) return wanted;

  const char* const setting = ProcessSetting("language", "auto");
  if (strcmp(setting, "auto") != 0 && IsShipped(setting)) return setting;

  const char* const accepted = getenv("HTTP_ACCEPT_LANGUAGE");
  std::string best = BestAccepted(accepted != nullptr ? accepted : "");
  return best.empty() ? kFallbackLanguage : best;
}

}  // namespace

const char* RequestLanguage() {
  static char chosen[kCodeMax + 1];
  if (chosen[0] == '\0') Choose().copy(chosen, kCodeMax);
  return chosen;
}

}  // namespace kest
