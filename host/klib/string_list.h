// What the host platform does to a caller's list beyond the interface.
#ifndef KEST_HOST_KLIB_STRING_LIST_H_
#define KEST_HOST_KLIB_STRING_LIST_H_

#include <cstddef>

#include "platform/klib.h"

namespace kest {

size_t TextCount(PSZLIST list);

// Takes back the texts that were appended since the list had so many, while nobody sorted it.
void CutList(PSZLIST list, size_t count);

}  // namespace kest

#endif  // KEST_HOST_KLIB_STRING_LIST_H_
