// Disks of machines that this one is not: folders as those of /sys, files as those of /proc.
#include "host/storage/disk_use.h"

#include <sys/stat.h>
#include <unistd.h>

#include <map>
#include <string>

#include "folder.h"
#include "platform/klib.h"

namespace kest {
namespace {

// sda and sdb hold the system's arrays md0 and md1 on their first two partitions, and md2 with a mapped volume dm-0 on
// the third. sdc is a USB disk with one partition, sdd holds the root file system.
class DiskUseTest : public testing::Test {
 protected:
  DiskUseTest() {
    for (const char* disk : {"sda", "sdb"}) AddDisk(disk, 3);
    AddDisk("sdc", 1, "usb1/1-1");
    AddDisk("sdd", 1);
    for (const char* array : {"md0", "md1", "md2", "dm-0"}) AddDevice(array, array);
    for (const char* disk : {"sda", "sdb"}) {
      for (int i = 0; i < 3; ++i) {
        AddHolder(std::string(disk) + "/" + disk + std::to_string(i + 1), "md" + std::to_string(i));
      }
    }
    AddHolder("md2", "dm-0");
    Arrays("active", "[2/2] [UU]", "[2/2] [UU]");
    Mounts("");
  }

  void AddDevice(const std::string& folder, const std::string& name) {
    mkdir(Path(folder).c_str(), 0755);
    mkdir(Path(folder + "/holders").c_str(), 0755);
    const std::string number = "8:" + std::to_string(next_minor_) + "\n";
    folder_.Put(folder + "/dev", number);
    numbers_[name] = "8:" + std::to_string(next_minor_++);
    symlink(Path(folder).c_str(), Path("class/" + name).c_str());
  }

  void AddDisk(const std::string& name, int partitions, const std::string& port = "ata1") {
    std::string folder;
    for (size_t at = 0; at != std::string::npos; at = port.find('/', at + 1)) {
      if (at > 0) mkdir(Path(port.substr(0, at)).c_str(), 0755);
    }
    mkdir(Path("class").c_str(), 0755);
    mkdir(Path(port).c_str(), 0755);
    AddDevice(port + "/" + name, name);
    for (int i = 1; i <= partitions; ++i) {
      const std::string partition = name + std::to_string(i);
      AddDevice(port + "/" + name + "/" + partition, partition);
      folder_.Put("class/" + partition + "/partition", std::to_string(i) + "\n");
    }
  }

  void AddHolder(const std::string& below, const std::string& above) {
    mkdir(Path("class/" + below + "/holders").c_str(), 0755);
    symlink(Path("class/" + above).c_str(), Path("class/" + below + "/holders/" + above).c_str());
  }

  void Arrays(const std::string& md2_state, const std::string& md2_disks, const std::string& md0_disks) {
    folder_.Put("mdstat", "Personalities : [raid1]\nmd2 : " + md2_state + " raid1 sda3[0] sdb3[1]\n      9 blocks " +
                              md2_disks + "\n\nmd0 : active raid1 sda1[0] sdb1[1]\n      9 blocks " + md0_disks +
                              "\n\nunused devices: <none>\n");
  }

  void Mounts(const std::string& lines) { folder_.Put("mounts", lines); }
  std::string Mount(const std::string& device, const std::string& path, const std::string& options = "rw") {
    return "36 25 " + numbers_[device] + " / " + path + " " + options + " - ext4 /dev/" + device + " rw\n";
  }

  // "FLAGS TYPE NAME".
  std::string Use(const std::string& disk, const _space_info_* space = nullptr,
                  const _tag_raid_for_system_* raid = nullptr) {
    const std::string devices = Path("class"), mdstat = Path("mdstat"), mounts = Path("mounts");
    const KernelFiles files = {devices.c_str(), mdstat.c_str(), mounts.c_str()};
    const SPACEDISKREQ request = {disk.c_str(), raid, space};
    SPACEDISKREPLY reply = {};
    if (ReadDiskUse(files, request, &reply) < 0) return "failed";
    return std::to_string(reply.flags) + " " + std::to_string(reply.spaceType) + " " + reply.spaceName;
  }

  std::string Path(const std::string& name) const { return folder_.File(name); }

  const Folder folder_;
  std::map<std::string, std::string> numbers_;
  int next_minor_ = 16;
};

TEST_F(DiskUseTest, AFreeDiskIsNotUsed) { EXPECT_EQ("0 0 ", Use("/dev/sdc")); }

TEST_F(DiskUseTest, ADiskBelongsToTheVolumeOnItsPartition) {
  Mounts(Mount("sdc1", "/volumeUSB1/usbshare"));
  EXPECT_EQ("1 1 /volumeUSB1/usbshare", Use("/dev/sdc"));
  EXPECT_EQ("1 1 /volumeUSB1/usbshare", Use("sdc"));
  EXPECT_EQ("1 1 /volumeUSB1/usbshare", Use("/dev/sdc1"));
  EXPECT_EQ("0 0 ", Use("/dev/sdd"));
}

TEST_F(DiskUseTest, ADiskBelongsToTheVolumeAboveArrayAndMapping) {
  Mounts(Mount("dm-0", "/volume1"));
  EXPECT_EQ("5 1 /volume1", Use("/dev/sda"));
  EXPECT_EQ("5 1 /volume1", Use("/dev/sdb"));
}

TEST_F(DiskUseTest, AFileSystemWithoutNumberIsToldByWhatWasMounted) {
  Mounts("36 25 0:44 / /volume1 rw - btrfs /dev/md2 rw\n");
  EXPECT_EQ("5 1 /volume1", Use("/dev/sda"));
  EXPECT_EQ("0 0 ", Use("/dev/sdc"));
  Mounts("36 25 0:44 / /volume1 rw - tmpfs none rw\n");
  EXPECT_EQ("4 0 ", Use("/dev/sda"));
}

TEST_F(DiskUseTest, OfSeveralVolumesTheOneAskedForWins) {
  AddDisk("sde", 2);
  Mounts(Mount("sde1", "/volume7") + Mount("sde2", "/volume8"));
  const _space_info_ eighth = {KEST_SPACE_VOLUME, "/volume8"};
  const _space_info_ other = {KEST_SPACE_VOLUME, "/volume9"};
  const _space_info_ lun = {KEST_SPACE_ISCSI, "/volume8"};
  EXPECT_EQ("1 1 /volume7", Use("/dev/sde"));
  EXPECT_EQ("1 1 /volume8", Use("/dev/sde", &eighth));
  EXPECT_EQ("1 1 /volume7", Use("/dev/sde", &other));
  EXPECT_EQ("1 1 /volume7", Use("/dev/sde", &lun));
}

TEST_F(DiskUseTest, AVolumeIsCrashedWhenItIsReadOnlyOrItsArrayDoesNotWork) {
  Mounts(Mount("dm-0", "/volume1", "ro"));
  EXPECT_EQ("7 1 /volume1", Use("/dev/sda"));
  Mounts(Mount("dm-0", "/volume1"));
  Arrays("inactive", "", "[2/2] [UU]");
  EXPECT_EQ("7 1 /volume1", Use("/dev/sda"));
  Arrays("active", "[2/1] [U_]", "[2/2] [UU]");
  EXPECT_EQ("5 1 /volume1", Use("/dev/sda"));
}

TEST_F(DiskUseTest, ACrashedArrayDoesNotTakeAnotherVolumeAlong) {
  AddDevice("ata1/sda/sda4", "sda4");
  folder_.Put("class/sda4/partition", "4\n");
  Mounts(Mount("sda4", "/volume4"));
  Arrays("inactive", "", "[2/2] [UU]");
  EXPECT_EQ("5 1 /volume4", Use("/dev/sda"));
}

TEST_F(DiskUseTest, ACrashedArrayWithoutMountIsTheSpaceAskedFor) {
  Arrays("inactive", "", "[2/2] [UU]");
  const _space_info_ volume = {KEST_SPACE_VOLUME, "/volume1"};
  const _space_info_ lun = {KEST_SPACE_ISCSI, "lun7"};
  EXPECT_EQ("7 1 /volume1", Use("/dev/sda", &volume));
  EXPECT_EQ("7 2 lun7", Use("/dev/sda", &lun));
  EXPECT_EQ("7 1 ", Use("/dev/sda"));
}

TEST_F(DiskUseTest, SystemPartitionsAreTheSystemsArraysAndTheRoot) {
  EXPECT_EQ("4 0 ", Use("/dev/sda"));
  Mounts(Mount("sdd1", "/"));
  EXPECT_EQ("4 0 ", Use("/dev/sdd"));
  EXPECT_EQ("0 0 ", Use("/dev/sdc"));
}

TEST_F(DiskUseTest, ACrashedArrayOfTheSystemIsNoSpace) {
  Arrays("active", "[2/2] [UU]", "[2/0] [__]");
  EXPECT_EQ("4 0 ", Use("/dev/sda"));
}

TEST_F(DiskUseTest, EitherOfTheSystemsArraysMayBeCrashed) {
  const _tag_raid_for_system_ sound = {{{KEST_RAID_NORMAL}, {KEST_RAID_DEGRADED}}};
  const _tag_raid_for_system_ system = {{{KEST_RAID_CRASHED}, {KEST_RAID_NORMAL}}};
  const _tag_raid_for_system_ swap = {{{KEST_RAID_NORMAL}, {KEST_RAID_CRASHED}}};
  EXPECT_EQ("4 0 ", Use("/dev/sda", nullptr, &sound));
  EXPECT_EQ("12 0 ", Use("/dev/sda", nullptr, &system));
  EXPECT_EQ("12 0 ", Use("/dev/sda", nullptr, &swap));
  EXPECT_EQ("0 0 ", Use("/dev/sdc", nullptr, &system));
}

TEST_F(DiskUseTest, FilesOfTheKernelThatCannotBeUnderstoodAreAFailure) {
  folder_.Put("mdstat", "Personalities : [raid1]\nmd2 : half\n");
  EXPECT_EQ("failed", Use("/dev/sda"));
  EXPECT_EQ("0 0 ", Use("/dev/sdc"));  // stands on no array
  unlink(Path("mdstat").c_str());
  EXPECT_EQ("failed", Use("/dev/sda"));
  unlink(Path("mounts").c_str());
  EXPECT_EQ("failed", Use("/dev/sdc"));
}

TEST_F(DiskUseTest, DevicesThatHoldEachOtherEndTheWalk) {
  AddHolder("dm-0", "md2");
  EXPECT_EQ("4 0 ", Use("/dev/sda"));
}

TEST_F(DiskUseTest, ANameThatIsNoDeviceIsAFailure) {
  for (const char* disk :
       {"", "/dev/", "/dev/sdz", "sdz", "/etc/passwd", "/etc/sda", ".", "..", "/dev/../class/sda", "holders"}) {
    KLIBErrSet(0);
    EXPECT_EQ("failed", Use(disk)) << disk;
    EXPECT_NE(0, KLIBErrGet()) << disk;
  }
  folder_.Put("class/sdc/dev", "nonsense\n");
  EXPECT_EQ("failed", Use("sdc"));
}

TEST_F(DiskUseTest, AUsbDiskIsToldByItsPort) {
  EXPECT_TRUE(IsOnUsb(Path("class").c_str(), "sdc"));
  EXPECT_TRUE(IsOnUsb(Path("class").c_str(), "sdc1"));
  EXPECT_FALSE(IsOnUsb(Path("class").c_str(), "sda"));
  EXPECT_FALSE(IsOnUsb(Path("class").c_str(), "none"));
  EXPECT_FALSE(IsOnUsb(Path("class").c_str(), ""));
}

}  // namespace
}  // namespace kest
