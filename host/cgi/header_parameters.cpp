#include "host/cgi/header_parameters.h"

#include <ctype.h>

#include <algorithm>

namespace kest {
namespace {

constexpr char kBlanks[] = " \t";
constexpr char kBehindToken[] = " \t;=\",\r\n";

void SkipBlanks(std::string_view* rest) {
  rest->remove_prefix(std::min(rest->find_first_not_of(kBlanks), rest->size()));
}

std::string_view TakeToken(std::string_view* rest) {
  const std::string_view token = rest->substr(0, rest->find_first_of(kBehindToken));
  rest->remove_prefix(token.size());
  return token;
}

// Takes a quoted text whose opening quote is the next character.
bool TakeQuoted(std::string_view* rest, std::string* value) {
  for (size_t i = 1; i < rest->size(); ++i) {
    if ((*rest)[i] == '"') {
      rest->remove_prefix(i + 1);
      return true;
    }
    if ((*rest)[i] == '\\' && i + 1 < rest->size() && (*rest)[i + 1] == '"') ++i;
    *value += (*rest)[i];
  }
  return false;
}

bool TakeValue(std::string_view* rest, std::string* value) {
  if (!rest->empty() && rest->front() == '"') return TakeQuoted(rest, value);
  *value = TakeToken(rest);
  return !value->empty();
}

std::string Lower(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
  return out;
}

}  // namespace

const std::string* HeaderParameters::Find(std::string_view name) const {
  const std::string* found = nullptr;
  for (const auto& parameter : parameters) {
    if (parameter.first != name) continue;
    if (found != nullptr) return nullptr;
    found = &parameter.second;
  }
  return found;
}

bool HeaderParameters::Has(std::string_view name) const {
  return std::any_of(parameters.begin(), parameters.end(), [&](const auto& one) { return one.first == name; });
}

bool ParseHeaderParameters(std::string_view text, HeaderParameters* out) {
  SkipBlanks(&text);
  out->type = Lower(TakeToken(&text));
  if (out->type.empty()) return false;
  for (SkipBlanks(&text); !text.empty(); SkipBlanks(&text)) {
    if (text.front() != ';') return false;
    text.remove_prefix(1);
    SkipBlanks(&text);
    if (text.empty()) return true;
    std::string name = Lower(TakeToken(&text));
    if (name.empty() || text.empty() || text.front() != '=') return false;
    text.remove_prefix(1);
    std::string value;
    if (!TakeValue(&text, &value)) return false;
    out->parameters.emplace_back(std::move(name), std::move(value));
  }
  return true;
}

}  // namespace kest
