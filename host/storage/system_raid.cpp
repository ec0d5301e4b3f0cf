#include <stdlib.h>
#include <strings.h>
#include <unistd.h>

#include "host/cgi/settings.h"
#include "host/klib/error_code.h"
#include "host/klib/key_value_file.h"
#include "host/storage/guarded_call.h"
#include "host/storage/mdstat.h"

// The kernel shows the file when it has the driver.
int KESTSupportRAID(void) { return access(kest::kMdstat, F_OK) == 0 ? 1 : 0; }

// Nothing that a stock machine could be asked: the factory's settings say it.
int SupportEBox(void) {
  const int supported = kest::Guarded([] {
    kest::KeyValueFile factory;
    if (!factory.Load(kest::kFactorySettingsFile)) return 0;
    const char* const value = factory.Find("expansion_units");
    return value != nullptr && strcasecmp(value, "yes") == 0 ? 1 : 0;
  });
  return supported > 0 ? 1 : 0;
}

int RAIDSystemGet(_tag_raid_for_system_** slot) {
  if (slot == nullptr) return kest::FailWith(kest::kErrorBadParameter);
  _tag_raid_for_system_ read;
  const int result = kest::Guarded([&read] { return kest::ReadSystemArrays(kest::kMdstat, &read); });
  if (result < 0) return result;
  auto* const raid = static_cast<_tag_raid_for_system_*>(malloc(sizeof(_tag_raid_for_system_)));
  if (raid == nullptr) return kest::FailWith(kest::kErrorNoMemory);
  *raid = read;
  RAIDSystemFree(*slot);
  *slot = raid;
  return 0;
}

void RAIDSystemFree(_tag_raid_for_system_* raid) { free(raid); }
