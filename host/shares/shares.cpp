// This platform has no database of shared folders: what makes or changes one fails, as the interface documents.

#include "host/klib/error_code.h"
#include "platform/kestdir.h"

int ShareDefaultGet(SHAREDEFAULTREQ*, KESTSHARE**) { return kest::FailWith(kest::kErrorNoSuchObject); }

int KESTShareSet(const char*, KESTSHARE*, KESTCOPYARGS*) { return kest::FailWith(kest::kErrorNoSuchObject); }

// Nothing was handed out.
void KESTShareFree(KESTSHARE*) {}
