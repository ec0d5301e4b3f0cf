#include "host/storage/skipped_file_system.h"

#include <sys/vfs.h>

#include <cerrno>

#include "host/klib/error_code.h"
#include "platform/keststorage.h"

namespace kest {
namespace {

struct Kind {
  uint32_t magic;
  int skip;
};

constexpr Kind kKinds[] = {
    {0x4d44, kSkipFat},       // msdos, vfat
    {0x2011bab0, kSkipFat},   // exfat
    {0x5346544e, kSkipNtfs},  // ntfs
    {0x7366746e, kSkipNtfs},  // ntfs3
    {0x65735546, kSkipNtfs},  // fuse, fuseblk
};

}  // namespace

bool LeavesOut(uint32_t magic, int skip) {
  for (const Kind& kind : kKinds) {
    if (kind.magic == magic) return (kind.skip & skip) != 0;
  }
  return false;
}

}  // namespace kest

int FSIsMatchSkipFS(const char* path, int skipFsType) {
  if (path == nullptr || skipFsType < 0 || skipFsType > (kest::kSkipFat | kest::kSkipNtfs)) {
    return kest::FailWith(kest::kErrorBadParameter);
  }
  if (skipFsType == 0) return 0;
  struct statfs file_system;
  if (statfs(path, &file_system) != 0) return kest::FailWith(kest::ErrorCodeOf(errno));
  return kest::LeavesOut(static_cast<uint32_t>(file_system.f_type), skipFsType) ? 1 : 0;
}
