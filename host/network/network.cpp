// This platform has no Windows domain, no list of time zones and no AppleTalk: every call fails, as
// the interface documents.

#include "host/klib/error_code.h"
#include "platform/kestnet.h"

int WINIQuery1(char*, int, int*, int*) { return kest::FailWith(kest::kErrorNoSuchObject); }

int KESTWinADSJoined(void) { return 0; }

int KESTWinTestJoin(int) { return kest::FailWith(kest::kErrorNoSuchObject); }

int KESTZoneEnum(char*, int, int*) { return kest::FailWith(kest::kErrorNoSuchObject); }

int KESTAppleZoneGet(const char*, KESTAPPLEZONE**) { return kest::FailWith(kest::kErrorNoSuchObject); }

// Nothing was handed out.
void KESTAppleZoneFree(KESTAPPLEZONE*) {}
