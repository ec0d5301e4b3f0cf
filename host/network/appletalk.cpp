// No kernel of today speaks AppleTalk: there are no zones, as the interface documents.

#include "host/klib/error_code.h"
#include "platform/kestnet.h"

int KESTAppleZoneGet(const char*, KESTAPPLEZONE**) { return kest::FailWith(kest::kErrorNoSuchObject); }

// Nothing was handed out.
void KESTAppleZoneFree(KESTAPPLEZONE*) {}
