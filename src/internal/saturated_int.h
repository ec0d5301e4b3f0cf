#ifndef TARVEL_INTERNAL_SATURATED_INT_H
#define TARVEL_INTERNAL_SATURATED_INT_H

#include <algorithm>
#include <climits>
#include <cstdlib>

namespace tarvel_internal {

/// The decimal number at the beginning of a text, as strtol reads it: blanks and a sign pass, what follows the digits
/// is not looked at, a text without digits is 0. A number beyond `int` is the nearest `int`, so that machines with a
/// wider `long` get the same results.
inline int SaturatedInt(const char* text) {
  constexpr int kDecimal = 10;
  return static_cast<int>(std::clamp<long>(std::strtol(text, nullptr, kDecimal), INT_MIN, INT_MAX));
}

}  // namespace tarvel_internal

#endif  // TARVEL_INTERNAL_SATURATED_INT_H
