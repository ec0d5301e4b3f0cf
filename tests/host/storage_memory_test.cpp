// Lack of memory, allocation after allocation: each call fails as documented, nothing is left behind, and no exception
// crosses the platform's interface.
#include <cstdlib>
#include <functional>
#include <new>
#include <string>

#include "folder.h"
#include "host/klib/error_code.h"
#include "host/storage/disk_use.h"
#include "host/storage/external_disk.h"
#include "host/storage/format_disk.h"
#include "host/storage/guarded_call.h"
#include "host/storage/mdstat.h"
#include "host/storage/nfs_exports.h"
#include "host/storage/service_record.h"
#include "platform/klib.h"

namespace {

int allocations_left = -1;  // negative: no limit

bool Strikes() { return allocations_left >= 0 && allocations_left-- == 0; }

}  // namespace

extern "C" void* __real_calloc(size_t count, size_t size);
extern "C" void* __wrap_calloc(size_t count, size_t size) { return Strikes() ? nullptr : __real_calloc(count, size); }

void* operator new(size_t size) {
  void* const memory = Strikes() ? nullptr : malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void operator delete(void* memory) noexcept { free(memory); }
void operator delete(void* memory, size_t) noexcept { free(memory); }

namespace kest {
namespace {

class StorageMemoryTest : public testing::Test {
 protected:
  // Runs a call with its first allocation failing, then its second, until there is none left to fail.
  static void FailEach(
      const std::function<int()>& call, const std::function<void()>& after_failure = [] {}) {
    constexpr int kMost = 1000;
    int failed = 0;
    for (; failed < kMost; ++failed) {
      KLIBErrSet(0);
      allocations_left = failed;
      const int result = Guarded(call);
      const bool struck = allocations_left < 0;
      allocations_left = -1;
      if (!struck) {
        EXPECT_EQ(0, result);
        break;
      }
      EXPECT_GT(0, result) << failed;
      EXPECT_EQ(kErrorNoMemory, KLIBErrGet()) << failed;
      after_failure();
    }
    EXPECT_LT(0, failed);
    EXPECT_GT(kMost, failed);
  }

  std::string Put(const std::string& name, const std::string& text) const { return folder_.Put(name, text); }

  const Folder folder_;
};

TEST_F(StorageMemoryTest, AListOfVolumesIsReleased) {
  const std::string table =
      Put("mounts", "1 1 8:3 / /volume1 rw - ext4 /dev/sda3 rw\n2 1 8:4 / /volume2 rw - ext4 /dev/sda4 rw\n");
  FailEach([&table] {
    Volumes volumes;
    return ListVolumes(table.c_str(), kEveryLocation, &volumes) ? 0 : -1;
  });
}

TEST_F(StorageMemoryTest, AServicesRecordIsLeft) {
  const std::string current = Put("current", "web_volume=\"/volume1\"\nweb_locations=\"internal,expansion\"\n");
  const std::string factory = Put("factory", "web_skip=\"fat\"\n");
  SERVICEINFO info = {};
  FailEach([&] { return ReadServiceRecord(current.c_str(), factory.c_str(), KEST_SERVICE_WEB, &info); },
           [&] { EXPECT_STREQ("", info.path); });
  EXPECT_STREQ("/volume1", info.path);
}

TEST_F(StorageMemoryTest, ArraysAreNotGuessed) {
  const std::string mdstat =
      Put("mdstat", "Personalities : [raid1]\nmd0 : active raid1 sda1[0]\n      9 blocks [2/1] [U_]\n");
  _tag_raid_for_system_ raid = {};
  FailEach([&] { return ReadSystemArrays(mdstat.c_str(), &raid); });
  EXPECT_EQ(KEST_RAID_DEGRADED, raid.entry[0].state);
}

TEST_F(StorageMemoryTest, ADisksUseIsNotGuessed) {
  const std::string devices = folder_.File("class"),
                    mounts = Put("mounts", "1 1 8:3 / /volume1 rw - ext4 /dev/sda3 rw\n");
  mkdir(devices.c_str(), 0755);
  mkdir((devices + "/sda3").c_str(), 0755);
  Put("class/sda3/dev", "8:3\n");
  const KernelFiles files = {devices.c_str(), "/nonexistent", mounts.c_str()};
  const SPACEDISKREQ request = {"/dev/sda3", nullptr, nullptr};
  SPACEDISKREPLY reply = {};
  FailEach([&] { return ReadDiskUse(files, request, &reply); }, [&] { EXPECT_EQ(0, reply.flags); });
  EXPECT_EQ(1, reply.flags);
}

TEST_F(StorageMemoryTest, AnExternalDiskIsNotMistaken) {
  const std::string image = Put("a.img", ""), named = Put("named", "usb1=\"" + image + "\"\n");
  const std::string mounts = Put("mounts", "1 1 0:44 / /volumeUSB1 rw - tmpfs x rw\n");
  const ExternalDiskFiles files = {named.c_str(), "/nonexistent", mounts.c_str()};
  ExternalDisk disk = {};
  FailEach([&] { return FindExternalDisk(files, image.c_str(), KEST_VOL_USB, &disk); });
  EXPECT_EQ("/volumeUSB1", disk.mount_path);
}

TEST_F(StorageMemoryTest, ADiskIsFormattedOrNotTouched) {
  const std::string blank(1024 * 1024, '\0'), image = Put("a.img", blank);
  const std::string devices = folder_.File("class"), named = Put("named", "usb1=\"" + image + "\"\n"),
                    mounts = Put("mounts", "");
  const ExternalDiskFiles files = {named.c_str(), devices.c_str(), mounts.c_str()};
  FailEach([&] { return FormatExternalDisk(files, image.c_str(), KEST_VOL_USB, 1); },
           [&] { EXPECT_TRUE(blank == Content(image)); });
  EXPECT_FALSE(blank == Content(image));
}

TEST_F(StorageMemoryTest, ExportsStandAsTheyWere) {
  mkdir(folder_.File("exports.d").c_str(), 0755);
  const std::string rules = Put("rules", "/volume1/a=\"x(ro)\"\n"), exports_folder = folder_.File("exports.d");
  const std::string exports = Put("exports.d/kest.exports", "/volume1/b y(ro)\n");
  const NfsFiles files = {rules.c_str(), exports_folder.c_str(), exports.c_str(), "/nonexistent"};
  FailEach([&] { return ApplyNfsRule(files, "/volume1/a"); },
           [&] { EXPECT_EQ("/volume1/b y(ro)\n", Content(exports)); });
  EXPECT_EQ("/volume1/b y(ro)\n/volume1/a x(ro)\n", Content(exports));
}

}  // namespace
}  // namespace kest
