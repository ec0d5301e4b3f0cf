// What a path says of its volume.
#include <sys/vfs.h>

#include <string_view>

#include "host/klib/error_code.h"
#include "host/storage/volume_path.h"
#include "platform/keststorage.h"

namespace kest {
namespace {

// Magic numbers of file systems, as statfs() gives them.
constexpr unsigned long kFat = 0x4d44;
constexpr unsigned long kNtfs = 0x5346544e;
constexpr unsigned long kNtfs3 = 0x7366746e;

enum SkipBit { kSkipFat = 1, kSkipNtfs = 2 };

// The mount path that a path begins with, as far as its spelling goes.
std::string_view MountPathOf(std::string_view path) { return path.substr(0, path.find('/', 1)); }

}  // namespace
}  // namespace kest

int VolumePathParse(const char* path, _tag_vol_id_* id) {
  if (path == nullptr || id == nullptr) return kest::FailWith(kest::kErrorBadParameter);
  return kest::ParseVolumePath(kest::MountPathOf(path), id) ? 1 : 0;
}

int KESTMountVolInfoGet(const char* path, KESTMOUNTVOL* info) {
  if (path == nullptr || info == nullptr) return kest::FailWith(kest::kErrorBadParameter);
  const std::string_view mount_path = kest::MountPathOf(path);
  KESTMOUNTVOL* const list = KESTMountVolInfoEnum(0);
  const KESTMOUNTVOL* volume = list;
  while (volume != nullptr && volume->path != mount_path) volume = volume->next;
  if (volume != nullptr) {
    *info = *volume;
    info->next = nullptr;
  }
  const bool found = volume != nullptr;
  KESTMountVolInfoFree(list);
  return found ? 0 : kest::FailWith(kest::kErrorNoSuchObject);
}

int FSIsMatchSkipFS(const char* path, int skipFsType) {
  if (skipFsType == 0) return 0;
  struct statfs info;
  if (path == nullptr || statfs(path, &info) != 0) return 1;
  const auto kind = static_cast<unsigned long>(info.f_type) & 0xffffffffUL;
  if (kind == kest::kFat) return skipFsType & kest::kSkipFat;
  if (kind == kest::kNtfs || kind == kest::kNtfs3) return skipFsType & kest::kSkipNtfs;
  return 0;
}
