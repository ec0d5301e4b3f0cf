#ifndef TESTS_UNIT_SUPPORT_TEXT_LIST_H
#define TESTS_UNIT_SUPPORT_TEXT_LIST_H

#include <string>
#include <vector>

#include "platform/klib.h"

namespace tarvel_test {

/// A list of the platform with these texts: one block, as the platform promises, which `free` releases.
PSZLIST NewTextList(const std::vector<std::string>& texts);

/// A text of such a list, writable; null beyond its end.
char* TextOf(PSZLIST list, int index);

/// The pieces of a text between commas, without empty ones.
std::vector<std::string> CommaPieces(const std::string& text);

/// Removes white space at both ends, in place.
void TrimInPlace(char* text);

}  // namespace tarvel_test

#endif  // TESTS_UNIT_SUPPORT_TEXT_LIST_H
