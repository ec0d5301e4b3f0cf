// This platform has no database of shared folders: what looks for, lists, makes or changes one fails, as the interface
// documents, and questions about one are answered no.

#include "host/klib/error_code.h"
#include "platform/kestdir.h"

int ShareDefaultGet(SHAREDEFAULTREQ*, KESTSHARE**) { return kest::FailWith(kest::kErrorNoSuchObject); }

int KESTShareGet(const char*, KESTSHARE**) { return kest::FailWith(kest::kErrorNoSuchObject); }

int KESTShareSet(const char*, KESTSHARE*, KESTCOPYARGS*) { return kest::FailWith(kest::kErrorNoSuchObject); }

// Nothing was handed out.
void KESTShareFree(KESTSHARE*) {}

int KESTShareEnum(PSZLIST*, KEST_SHARE_ENUM) { return kest::FailWith(kest::kErrorNoSuchObject); }

int KESTShareEnumByPrefix(PSZLIST*, KEST_SHARE_ENUM, const char*, int) {
  return kest::FailWith(kest::kErrorNoSuchObject);
}

KESTSHAREDB* KESTShareDBOpen(void) {
  kest::FailWith(kest::kErrorNoSuchObject);
  return nullptr;
}

int KESTShareDBCursorGet(KESTSHAREDB*, KESTSHARE**) { return kest::FailWith(kest::kErrorNoSuchObject); }

int KESTShareDBClose(KESTSHAREDB*) { return 0; }

int KESTShareEncryptionAction(int, _tag_KEST_SHARE_ENC_*) { return kest::FailWith(kest::kErrorNoSuchObject); }

int ShareNameCheck(const char*) { return 0; }

int BlShareIIsSATASection(const char*) { return 0; }

int BlShareIIsUsbSection(const char*) { return 0; }

int BlSDKUserIsInList(const char*, const char*) { return 0; }

// Cannot be judged: callers take only a positive answer for a conflict.
int UserCheckRights(PSZLIST*, PSZLIST*, PSZLIST*) { return kest::FailWith(kest::kErrorNoSuchObject); }
