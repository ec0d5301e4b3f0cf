#ifndef TARVEL_INTERNAL_BOUNDED_TEXT_H
#define TARVEL_INTERNAL_BOUNDED_TEXT_H

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <string>

namespace tarvel_internal {

/// A formatted text as a buffer of kBytes holds it: what finds no room is cut.
template <size_t kBytes>
__attribute__((format(printf, 1, 2))) std::string BoundedText(const char* format, ...) {
  char text[kBytes];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  return text;
}

}  // namespace tarvel_internal

#endif  // TARVEL_INTERNAL_BOUNDED_TEXT_H
