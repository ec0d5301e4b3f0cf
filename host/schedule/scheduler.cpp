// This platform has neither a store of scheduled jobs nor an event log: every call fails, as the interface documents.

#include "host/klib/error_code.h"
#include "platform/kestsched.h"

int KESTScheduleGet(const char*, _tag_KEST_SCHEDULE*) { return kest::FailWith(kest::kErrorNoSuchObject); }

int KESTScheduleSet(_tag_KEST_SCHEDULE*) { return kest::FailWith(kest::kErrorNoSuchObject); }

int KESTScheduleRemove(const char*) { return kest::FailWith(kest::kErrorNoSuchObject); }

int KESTLogSet1(int, int, int, const char*, const char*, const char*, const char*) {
  return kest::FailWith(kest::kErrorNoSuchObject);
}
