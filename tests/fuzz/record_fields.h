#ifndef TESTS_FUZZ_RECORD_FIELDS_H_
#define TESTS_FUZZ_RECORD_FIELDS_H_

#include <climits>
#include <optional>
#include <string>

#include "fuzz_input.h"

/// Fields of the platform's records, of any bytes.

/// A text that may be null.
using Text = std::optional<std::string>;

inline Text OptionalText(const char* text) { return text != nullptr ? Text(text) : Text(); }
inline char* Pointer(Text& text) { return text ? text->data() : nullptr; }

/// Null, empty, or a line.
inline Text AnyText(FuzzInput& input) { return input.Choice(8) == 0 ? Text() : Text(input.TextLine()); }

/// Any number, most often one that means something.
inline int AnyNumber(FuzzInput& input) {
  constexpr int kUsual[] = {-1, 0, 1, 2, 3, 4, 5, 6, 7, 100, INT_MIN, INT_MAX};
  constexpr unsigned kCount = sizeof kUsual / sizeof *kUsual;
  constexpr unsigned kByte = 256;
  const unsigned choice = input.Choice(kByte);
  if (choice < kByte - kCount) return kUsual[choice % kCount];
  unsigned number = 0;
  for (size_t i = 0; i < sizeof number; ++i) number = number * kByte + input.Choice(kByte);
  return static_cast<int>(number);
}

#endif  // TESTS_FUZZ_RECORD_FIELDS_H_
