// A real external disk, as far as the kernel is concerned: a loop device. Runs as root in the appliance's file tree,
// with the machine's devices; ends with status 77 where there are no loop devices to be had.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/loop.h>
#include <sched.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "file_system_of.h"
#include "platform/keststorage.h"
#include "platform/klib.h"
#include "session_fixture.h"

namespace {

constexpr int kFat = 1, kExt3 = 2, kExt4 = 3;
constexpr int kSkipped = 77;
constexpr char kVolume[] = "/volumeUSB7";

[[noreturn]] void Skip(const char* why) {
  printf("skipped: %s\n", why);
  exit(kSkipped);
}

// A loop device over an image of its own, for as long as it lives.
class LoopDisk {
 public:
  LoopDisk() {
    if (mount("devtmpfs", "/dev", "devtmpfs", 0, nullptr) != 0) Skip("the machine's devices cannot be had");
    const int control = open("/dev/loop-control", O_RDWR | O_CLOEXEC);
    const int image = open("/tmp/loop.img", O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    const int number = control < 0 ? -1 : ioctl(control, LOOP_CTL_GET_FREE);
    path_ = "/dev/loop" + std::to_string(number);
    fd_ = number < 0 ? -1 : open(path_.c_str(), O_RDWR | O_CLOEXEC);
    const bool attached = fd_ >= 0 && ftruncate(image, 32 * 1024 * 1024) == 0 && ioctl(fd_, LOOP_SET_FD, image) == 0;
    close(control);
    close(image);
    if (!attached) Skip("there is no loop device");
  }
  ~LoopDisk() {
    while (umount(kVolume) == 0) continue;
    ioctl(fd_, LOOP_CLR_FD);
    close(fd_);
  }
  LoopDisk(const LoopDisk&) = delete;
  LoopDisk& operator=(const LoopDisk&) = delete;

  const std::string& path() const { return path_; }

 private:
  std::string path_;
  int fd_ = -1;
};

class StorageLoop : public SessionTest {
 protected:
  static void SetUpTestSuite() {
    disk_ = new LoopDisk;
    std::ofstream("/usr/kest/etc/external_disks.conf") << "usb7=\"" << disk_->path() << "\"\n";
    mkdir(kVolume, 0755);
  }
  static void TearDownTestSuite() {
    delete disk_;
    disk_ = nullptr;
  }
  void TearDown() override { umount2(kVolume, MNT_DETACH); }

  static int Format(int fs) {
    std::string device = disk_->path();
    KLIBErrSet(0);
    return KESTUSBVolInit(device.data(), fs);
  }
  static bool Mount(const char* type, unsigned long flags = 0) {
    return mount(disk_->path().c_str(), kVolume, type, flags, nullptr) == 0;
  }
  static std::string Use() {
    SPACEDISKREPLY reply = {};
    const SPACEDISKREQ request = {disk_->path().c_str(), nullptr, nullptr};
    if (KESTSpaceDiskStatusGet(&request, &reply) < 0) return "failed";
    return std::to_string(reply.flags) + " " + reply.spaceName;
  }

  static LoopDisk* disk_;
};
LoopDisk* StorageLoop::disk_ = nullptr;

TEST_F(StorageLoop, AFormattedDiskIsMountedUsedAndDescribed) {
  ASSERT_EQ(0, Format(kExt4)) << KLIBErrGet();
  EXPECT_EQ("0 ", Use());
  ASSERT_TRUE(Mount("ext4"));
  KESTMOUNTVOL volume;
  ASSERT_EQ(0, KESTMountVolInfoGet("/volumeUSB7/a", &volume));
  EXPECT_EQ(7, volume.number);
  EXPECT_NE(0, volume.writable);
  EXPECT_GT(volume.totalBytes, 16u * 1024 * 1024);
  EXPECT_EQ("1 /volumeUSB7", Use());
  EXTVOLINFO info;
  std::string device = disk_->path();
  ASSERT_EQ(0, KESTDiskUSBDevGetVolInfo(device.data(), &info));
  EXPECT_STREQ("usbshare7", info.shareName);
  EXPECT_STREQ(kVolume, info.sharePath);
}

TEST_F(StorageLoop, AMountedVolumeIsFormattedAndMountedAgain) {
  ASSERT_EQ(0, Format(kExt4));
  ASSERT_TRUE(Mount("ext4"));
  std::ofstream(std::string(kVolume) + "/before") << "x";
  ASSERT_EQ(0, Format(kExt3)) << KLIBErrGet();
  EXPECT_EQ("ext3", FileSystemOf(disk_->path()));
  KESTMOUNTVOL volume;
  ASSERT_EQ(0, KESTMountVolInfoGet(kVolume, &volume));
  EXPECT_NE(0, access("/volumeUSB7/before", F_OK));
}

TEST_F(StorageLoop, AVolumeWhoseFormattingFailsIsMountedAgainAsItWas) {
  ASSERT_EQ(0, Format(kExt4));
  ASSERT_TRUE(Mount("ext4"));
  std::ofstream(std::string(kVolume) + "/before") << "x";
  ASSERT_EQ(0, mount("/usr/bin/false", "/usr/sbin/mkfs.ext3", nullptr, MS_BIND, nullptr));
  EXPECT_NE(0, Format(kExt3));
  EXPECT_NE(0, KLIBErrGet());
  EXPECT_EQ(0, umount("/usr/sbin/mkfs.ext3"));
  EXPECT_EQ(0, access("/volumeUSB7/before", F_OK));
}

TEST_F(StorageLoop, AVolumeInUseIsNotFormatted) {
  ASSERT_EQ(0, Format(kExt4));
  ASSERT_TRUE(Mount("ext4"));
  const int file = open("/volumeUSB7/open", O_CREAT | O_RDWR | O_CLOEXEC, 0600);
  EXPECT_NE(0, Format(kExt3));
  EXPECT_NE(0, KLIBErrGet());
  EXPECT_EQ(0, access("/volumeUSB7/open", F_OK));
  close(file);
}

TEST_F(StorageLoop, ADiskThatSomethingHoldsIsNotFormatted) {
  ASSERT_EQ(0, Format(kExt4));
  const int held = open(disk_->path().c_str(), O_RDONLY | O_EXCL | O_CLOEXEC);  // as an array holds its disks
  ASSERT_LE(0, held);
  for (const int fs : {kFat, kExt3, kExt4}) {
    EXPECT_NE(0, Format(fs)) << fs;
    EXPECT_NE(0, KLIBErrGet()) << fs;
  }
  close(held);
  EXPECT_EQ("ext4", FileSystemOf(disk_->path()));
}

TEST_F(StorageLoop, ADiskMountedElsewhereIsNotFormatted) {
  ASSERT_EQ(0, Format(kExt4));
  mkdir("/mnt", 0755);
  ASSERT_EQ(0, mount(disk_->path().c_str(), "/mnt", "ext4", 0, nullptr));
  EXPECT_NE(0, Format(kExt3));
  EXPECT_NE(0, KLIBErrGet());
  EXPECT_EQ(0, umount("/mnt"));
  EXPECT_EQ("ext4", FileSystemOf(disk_->path()));
}

TEST_F(StorageLoop, AReadOnlyVolumeIsACrashedSpace) {
  ASSERT_EQ(0, Format(kExt4));
  ASSERT_TRUE(Mount("ext4", MS_RDONLY));
  KESTMOUNTVOL volume;
  ASSERT_EQ(0, KESTMountVolInfoGet(kVolume, &volume));
  EXPECT_EQ(0, volume.writable);
  EXPECT_EQ("3 /volumeUSB7", Use());
}

int Spawn(std::vector<std::string> words) {
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  pid_t pid = 0;
  int status = -1;
  if (posix_spawn(&pid, arguments[0], nullptr, nullptr, arguments.data(), environ) != 0) return -1;
  return waitpid(pid, &status, 0) == pid && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(StorageLoop, AQuotaIsKeptByTheKernel) {
  ASSERT_EQ(0, Spawn({"/usr/sbin/mkfs.ext4", "-qF", "-O", "quota", disk_->path()}));
  if (!Mount("ext4")) GTEST_SKIP() << "this kernel keeps no quotas on disks";
  _tag_KEST_QUOTA_ quota = {8 * 1024 * 1024, 0};
  ASSERT_EQ(0, KESTQuotaSet("/volumeUSB7/a", "anna", &quota)) << KLIBErrGet();
  std::ofstream("/volumeUSB7/hers") << std::string(1024 * 1024, 'x');
  ASSERT_EQ(0, chown("/volumeUSB7/hers", 1027, 100));
  quota = {};
  ASSERT_EQ(0, KESTQuotaGet("/volumeUSB7", "anna", &quota)) << KLIBErrGet();
  EXPECT_EQ(8u * 1024 * 1024, quota.limitBytes);
  EXPECT_GE(quota.usedBytes, 1024u * 1024);
  EXPECT_LT(quota.usedBytes, 2u * 1024 * 1024);
}

// A kernel with the md driver, as far as a process of its own can see. Gives the number of the first promise that is
// not kept, 0 when all are.
int SeeArrays() {
  const auto show = [](const char* state) {
    std::ofstream("/proc/mdstat")
        << "Personalities : [raid1]\nmd1 : active raid1 sda2[0]\n      9 blocks [2/1] [U_]\n\nmd0 : " << state
        << "\n      9 blocks [2/2] [UU]\n\nunused devices: <none>\n";
  };
  if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return kSkipped;
  if (mount("tmpfs", "/proc", "tmpfs", 0, nullptr) != 0) return kSkipped;
  show("active raid1 sda1[0] sdb1[1]");
  if (KESTSupportRAID() == 0) return 1;
  _tag_raid_for_system_* raid = nullptr;
  if (RAIDSystemGet(&raid) < 0 || raid == nullptr) return 2;
  if (raid->entry[0].state != KEST_RAID_NORMAL || raid->entry[1].state != KEST_RAID_DEGRADED) return 3;
  show("inactive sda1[0]");
  if (RAIDSystemGet(&raid) < 0 || raid->entry[0].state != KEST_RAID_CRASHED) return 4;
  show("half");
  if (RAIDSystemGet(&raid) >= 0 || raid->entry[0].state != KEST_RAID_CRASHED) return 5;
  if (RAIDSystemGet(nullptr) >= 0) return 6;
  RAIDSystemFree(raid);
  return 0;
}

TEST(StorageArrays, TheSystemsAreReadAsTheKernelShowsThem) {
  const pid_t pid = fork();
  if (pid == 0) _exit(unshare(CLONE_NEWNS) == 0 ? SeeArrays() : kSkipped);
  int status = -1;
  ASSERT_EQ(pid, waitpid(pid, &status, 0));
  ASSERT_TRUE(WIFEXITED(status));
  if (WEXITSTATUS(status) == kSkipped) GTEST_SKIP() << "/proc cannot be covered";
  EXPECT_EQ(0, WEXITSTATUS(status));
}

}  // namespace
