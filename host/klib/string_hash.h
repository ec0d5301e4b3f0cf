#ifndef KEST_KLIB_STRING_HASH_H_
#define KEST_KLIB_STRING_HASH_H_

#include <map>
#include <string>

#include "platform/klib.h"

/// What a PSZHASH points at; whoever consumes a map (mail templates) walks it here.
struct KLIBSZHASH {
  std::map<std::string, std::string> values;
};

#endif  // KEST_KLIB_STRING_HASH_H_
