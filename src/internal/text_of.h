#ifndef TARVEL_INTERNAL_TEXT_OF_H
#define TARVEL_INTERNAL_TEXT_OF_H

namespace tarvel_internal {

/// A text of a platform's record, where null reads as "".
inline const char* TextOf(const char* text) { return text != nullptr ? text : ""; }

}  // namespace tarvel_internal

#endif  // TARVEL_INTERNAL_TEXT_OF_H
