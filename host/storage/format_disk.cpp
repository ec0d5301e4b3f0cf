#include "host/storage/format_disk.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <cerrno>

#include "host/klib/error_code.h"
#include "host/klib/file_descriptor.h"
#include "host/klib/run_program.h"
#include "host/storage/guarded_call.h"
#include "host/storage/volume_path.h"

namespace kest {
namespace {

constexpr int kTimeoutSeconds = 3600;

struct FileSystem {
  const char* type;  // the kernel's name
  const char* program;
  const char* option;
};

// By number, from 1. FAT takes a whole disk only when told to; the others ask questions unless told not to.
constexpr FileSystem kFileSystems[] = {
    {"vfat", "/usr/sbin/mkfs.vfat", "-I"},
    {"ext3", "/usr/sbin/mkfs.ext3", "-qF"},
    {"ext4", "/usr/sbin/mkfs.ext4", "-qF"},
};

const FileSystem* FindFileSystem(int fs) {
  constexpr int kCount = static_cast<int>(sizeof(kFileSystems) / sizeof(kFileSystems[0]));
  return fs < 1 || fs > kCount ? nullptr : &kFileSystems[fs - 1];
}

int Fail(int error) { return FailWith(ErrorCodeOf(error)); }

// Where a disk is mounted, and whether that is anywhere but as a volume of its location.
struct Uses {
  const std::vector<BlockDevice>& stack;
  _tag_vol_location_ location;
  std::vector<std::string> volumes;
  std::string source;  // of the first one: its device and its file system
  std::string type;
  bool elsewhere;
  bool out_of_memory;
};

void Visit(const KestMount* mount, void* data) {
  auto* const uses = static_cast<Uses*>(data);
  _tag_vol_id_ id;
  try {
    if (!Holds(uses->stack, *mount)) return;
    if (ParseMountPath(mount->path, &id) && id.location == uses->location) {
      if (uses->volumes.empty()) {
        uses->source = mount->source;
        uses->type = mount->type;
      }
      uses->volumes.emplace_back(mount->path);
    } else {
      uses->elsewhere = true;
    }
  } catch (const std::bad_alloc&) {
    uses->out_of_memory = true;
  }
}

int FindUses(const ExternalDiskFiles& files, Uses* uses) {
  if (!VisitMounts(files.mounts, Visit, uses)) return -1;
  if (uses->out_of_memory) return FailWith(kErrorNoMemory);
  return uses->elsewhere ? FailWith(kErrorDenied) : 0;
}

// The later mount may lie on the earlier one.
int Unmount(const std::vector<std::string>& paths) {
  for (auto path = paths.rbegin(); path != paths.rend(); ++path) {
    if (umount2(path->c_str(), UMOUNT_NOFOLLOW) != 0) return Fail(errno);
  }
  return 0;
}

// Whether it is mounted is no part of the result: a volume's information says it.
void Mount(const Uses& uses, const std::string& device, const std::string& type) {
  if (uses.volumes.empty()) return;
  mount(device.c_str(), uses.volumes.front().c_str(), type.c_str(), MS_NOSUID | MS_NODEV, nullptr);
}

// The device, locked against a second formatting until it is closed.
int OpenDevice(const ExternalDisk& disk, FileDescriptor* device) {
  device->Reset(open(disk.path.c_str(), O_RDWR | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  struct stat status;
  if (!device->IsOpen() || fstat(device->Get(), &status) != 0) return Fail(errno);
  if (!S_ISBLK(status.st_mode) && !S_ISREG(status.st_mode)) return FailWith(kErrorBadParameter);
  return flock(device->Get(), LOCK_EX | LOCK_NB) == 0 ? 0 : Fail(errno);
}

// The programs open a device exclusively, so one that an array or anything else holds is left alone.
int MakeFileSystem(const FileSystem& file_system, const ExternalDisk& disk) {
  const char* const arguments[] = {file_system.program, file_system.option, disk.path.c_str(), nullptr};
  const int status = RunProgram(arguments, kTimeoutSeconds);
  if (status < 0) return Fail(errno);
  return status == 0 ? 0 : FailWith(kErrorSystem);
}

}  // namespace

int FormatExternalDisk(const ExternalDiskFiles& files, const char* device, _tag_vol_location_ location, int fs) {
  const FileSystem* const file_system = FindFileSystem(fs);
  if (device == nullptr || *device == '\0' || file_system == nullptr) return FailWith(kErrorBadParameter);
  ExternalDisk disk;
  if (FindExternalDisk(files, device, location, &disk) != 0) return -1;
  std::vector<BlockDevice> stack;
  if (!disk.name.empty() && !StackOn(files.block_devices, disk.name, &stack)) return Fail(errno);
  Uses uses = {stack, location, {}, "", "", false, false};
  FileDescriptor locked;
  if (FindUses(files, &uses) != 0 || OpenDevice(disk, &locked) != 0 || Unmount(uses.volumes) != 0) return -1;
  const int result = MakeFileSystem(*file_system, disk);
  // A partition that was mounted is gone with the old contents; what a failure left as it was is used on.
  if (result == 0) {
    Mount(uses, disk.path, file_system->type);
  } else {
    Mount(uses, uses.source, uses.type);
  }
  return result;
}

}  // namespace kest

int KESTUSBVolInit(char* dev, int fs) {
  return kest::Guarded([&] { return kest::FormatExternalDisk({}, dev, KEST_VOL_USB, fs); });
}

int KESTSATAVolInit(char* dev, int fs, int /*one*/) {
  return kest::Guarded([&] { return kest::FormatExternalDisk({}, dev, KEST_VOL_SATA, fs); });
}
