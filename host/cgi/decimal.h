#ifndef KEST_HOST_CGI_DECIMAL_H_
#define KEST_HOST_CGI_DECIMAL_H_

#include <stdint.h>

#include <string_view>

namespace kest {

enum class Decimal { kNumber, kTooLarge, kNone };

// Reads a number made of decimal digits only: no sign, no blank, no prefix, no text behind it.
Decimal ParseDecimal(std::string_view text, uint64_t* value);

}  // namespace kest

#endif  // KEST_HOST_CGI_DECIMAL_H_
