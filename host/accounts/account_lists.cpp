// Lists of accounts and the saving of their records, which this platform has not: each call fails, as the interface
// documents, and a walk cannot begin.

#include "host/klib/error_code.h"
#include "platform/kestdir.h"

int KESTUserSet(const char**, KESTUSER**, int) { return kest::FailWith(kest::kErrorNoSuchObject); }

KESTUSERDB* KESTUserDBOpen(void) {
  kest::FailWith(kest::kErrorNoSuchObject);
  return nullptr;
}

int KESTUserDBGetByCursor(KESTUSERDB*, KESTUSER**, AUTH_TYPE, int) { return kest::FailWith(kest::kErrorNoSuchObject); }

int KESTUserDBClose(KESTUSERDB*) { return 0; }

int KESTUserDBDomainRebuild(int) { return kest::FailWith(kest::kErrorNoSuchObject); }

int KESTUserEnumByPrefix(PSZLIST*, AUTH_TYPE, const char*, int) { return kest::FailWith(kest::kErrorNoSuchObject); }

int KESTUserTotalNum(AUTH_TYPE) {
  kest::FailWith(kest::kErrorNoSuchObject);
  return 0;
}
