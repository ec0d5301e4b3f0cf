#include "host/storage/disk_use.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "host/klib/error_code.h"
#include "host/storage/guarded_call.h"
#include "host/storage/kernel_file.h"
#include "host/storage/volume_path.h"

namespace kest {
namespace {

constexpr int kInSpace = 1;
constexpr int kSpaceCrashed = 2;
constexpr int kInSystem = 4;
constexpr int kSystemCrashed = 8;

using Stack = std::vector<BlockDevice>;

// A volume that is mounted from the disk.
struct MountedSpace {
  std::string path;
  std::string source;
  bool writable;
  unsigned major;
  unsigned minor;
};

struct Mounts {
  const Stack& stack;
  std::vector<MountedSpace> spaces;
  bool has_root = false;
  bool out_of_memory = false;
};

void Visit(const KestMount* mount, void* data) {
  auto* const mounts = static_cast<Mounts*>(data);
  _tag_vol_id_ id;
  try {
    if (!Holds(mounts->stack, *mount)) return;
    if (strcmp(mount->path, "/") == 0) mounts->has_root = true;
    if (!ParseMountPath(mount->path, &id)) return;
    mounts->spaces.push_back({mount->path, mount->source, mount->writable, mount->major, mount->minor});
  } catch (const std::bad_alloc&) {
    mounts->out_of_memory = true;  // not through the table's reader, which is C
  }
}

bool StandsOn(const Stack& stack, const MountedSpace& space) {
  return Holds(stack, {space.path.c_str(), space.source.c_str(), "", space.writable, space.major, space.minor});
}

bool IsSystemArray(const std::string& name) { return name == kSystemArrays[0] || name == kSystemArrays[1]; }

// Arrays of the disk, other than the system's, that do not work: each with what stands on it.
bool FindCrashedArrays(const KernelFiles& files, const Stack& stack, std::vector<Stack>* out) {
  std::string mdstat;
  for (const BlockDevice& device : stack) {
    if (device.name.compare(0, 2, "md") != 0 || IsSystemArray(device.name)) continue;
    if (mdstat.empty() && !ReadKernelFile(files.mdstat, &mdstat)) return false;
    KEST_RAID_STATE state;
    errno = EIO;
    if (!FindArray(mdstat, device.name, &state)) return false;
    Stack above;
    if (state == KEST_RAID_CRASHED && StackOn(files.block_devices, device.name, &above)) out->push_back(above);
  }
  return true;
}

void SetSpace(const SPACEDISKREQ& request, SPACEDISKREPLY* reply, const char* mounted_path) {
  reply->spaceType = KEST_SPACE_VOLUME;
  if (mounted_path == nullptr && request.space != nullptr) {
    reply->spaceType = request.space->type;
    mounted_path = request.space->name;
  }
  if (mounted_path != nullptr) {
    snprintf(reply->spaceName, sizeof(reply->spaceName), "%.*s", static_cast<int>(sizeof(reply->spaceName) - 1),
             mounted_path);
  }
}

// The one that the question names, else the first; NULL when nothing is mounted from the disk.
const MountedSpace* Pick(const std::vector<MountedSpace>& spaces, const _space_info_* wanted) {
  for (const MountedSpace& space : spaces) {
    if (wanted == nullptr || wanted->type != KEST_SPACE_VOLUME) break;
    if (strncmp(wanted->name, space.path.c_str(), sizeof(wanted->name)) == 0) return &space;
  }
  return spaces.empty() ? nullptr : &spaces.front();
}

void ReadSpace(const SPACEDISKREQ& request, const Mounts& mounts, const std::vector<Stack>& crashed,
               SPACEDISKREPLY* reply) {
  const MountedSpace* const space = Pick(mounts.spaces, request.space);
  if (space == nullptr) {
    if (crashed.empty()) return;
    reply->flags |= kInSpace | kSpaceCrashed;
    SetSpace(request, reply, nullptr);
    return;
  }
  bool broken = !space->writable;
  for (const Stack& array : crashed) broken = broken || StandsOn(array, *space);
  reply->flags |= kInSpace | (broken ? kSpaceCrashed : 0);
  SetSpace(request, reply, space->path.c_str());
}

void ReadSystem(const SPACEDISKREQ& request, const Mounts& mounts, SPACEDISKREPLY* reply) {
  if (mounts.has_root) reply->flags |= kInSystem;
  for (const BlockDevice& device : mounts.stack) {
    if (!IsSystemArray(device.name)) continue;
    const int state = request.raid == nullptr ? 0 : request.raid->entry[device.name == kSystemArrays[1] ? 1 : 0].state;
    reply->flags |= kInSystem | (state == KEST_RAID_CRASHED ? kSystemCrashed : 0);
  }
}

}  // namespace

int ReadDiskUse(const KernelFiles& files, const SPACEDISKREQ& request, SPACEDISKREPLY* reply) {
  Stack stack;
  if (!StackOn(files.block_devices, DeviceName(request.disk), &stack)) return FailWith(ErrorCodeOf(errno));
  Mounts mounts = {stack, {}};
  if (!VisitMounts(files.mounts, Visit, &mounts)) return -1;
  std::vector<Stack> crashed;
  if (mounts.out_of_memory) return FailWith(kErrorNoMemory);
  if (!FindCrashedArrays(files, stack, &crashed)) return FailWith(ErrorCodeOf(errno));
  SPACEDISKREPLY read = {};
  ReadSpace(request, mounts, crashed, &read);
  ReadSystem(request, mounts, &read);
  *reply = read;
  return 0;
}

}  // namespace kest

int KESTSpaceDiskStatusGet(const SPACEDISKREQ* request, SPACEDISKREPLY* reply) {
  if (request == nullptr || request->disk == nullptr || reply == nullptr) {
    return kest::FailWith(kest::kErrorBadParameter);
  }
  return kest::Guarded([&] { return kest::ReadDiskUse({}, *request, reply); });
}
