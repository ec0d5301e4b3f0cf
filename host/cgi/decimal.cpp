#include "host/cgi/decimal.h"

namespace kest {

Decimal ParseDecimal(std::string_view text, uint64_t* value) {
  if (text.empty() || text.find_first_not_of("0123456789") != std::string_view::npos) return Decimal::kNone;
  uint64_t number = 0;
  for (const char c : text) {
    const auto digit = static_cast<uint64_t>(c - '0');
    if (number > (UINT64_MAX - digit) / 10) return Decimal::kTooLarge;
    number = number * 10 + digit;
  }
  *value = number;
  return Decimal::kNumber;
}

}  // namespace kest
