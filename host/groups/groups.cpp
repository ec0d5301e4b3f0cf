// This platform has no database of groups: each call fails, as the interface documents, and a walk cannot begin.

#include "host/klib/error_code.h"
#include "platform/kestdir.h"

int KESTGroupGet(const char*, KESTGROUP**) { return kest::FailWith(kest::kErrorNoSuchObject); }

// Nothing was handed out.
void KESTGroupFree(KESTGROUP*) {}

int KESTGroupSet(const char*, KESTGROUP*) { return kest::FailWith(kest::kErrorNoSuchObject); }

int KESTGroupDescGet(const char*, char**, int*) { return kest::FailWith(kest::kErrorNoSuchObject); }

int KESTGroupDescSet(const char*, const char*) { return kest::FailWith(kest::kErrorNoSuchObject); }

KESTGROUPDB* KESTGroupDBOpen(void) {
  kest::FailWith(kest::kErrorNoSuchObject);
  return nullptr;
}

int KESTGroupDBGetByCursor(KESTGROUPDB*, KESTGROUP**, AUTH_TYPE, int) {
  return kest::FailWith(kest::kErrorNoSuchObject);
}

int KESTGroupDBClose(KESTGROUPDB*) { return 0; }

int KESTGroupEnumByPrefix(PSZLIST*, AUTH_TYPE, const char*, int) { return kest::FailWith(kest::kErrorNoSuchObject); }
