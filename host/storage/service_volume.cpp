#include <cstring>

#include "host/klib/error_code.h"
#include "host/storage/mounted_volumes.h"
#include "host/storage/service_record.h"

int KESTServiceNewVolumeDecide(SERVICEINFO* info, char* buf, int size) {
  if (info == nullptr || buf == nullptr || size < 1) return kest::FailWith(kest::kErrorBadParameter);
  kest::Volumes volumes;
  if (!kest::ListVolumes(kest::kMountTable, kest::LocationsOf(*info), &volumes)) return -1;
  const KESTMOUNTVOL* const chosen = kest::ChooseVolume(volumes.get(), *info);
  if (chosen == nullptr) return kest::FailWith(kest::kErrorNoSuchObject);
  const size_t length = strlen(chosen->path);
  if (length >= static_cast<size_t>(size)) return kest::FailWith(kest::kErrorBadParameter);
  memcpy(buf, chosen->path, length + 1);
  return 1;
}
