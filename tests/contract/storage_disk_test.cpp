// What disks are used for.
#include <dirent.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "platform/keststorage.h"
#include "platform/klib.h"

namespace {

// A disk of this machine, or "".
std::string AnyDisk() {
  DIR* const disks = opendir("/sys/class/block");
  if (disks == nullptr) return "";
  std::string found;
  while (const dirent* const disk = readdir(disks)) {
    if (disk->d_name[0] != '.' && (found.empty() || disk->d_name < found)) found = disk->d_name;
  }
  closedir(disks);
  return found.empty() ? "" : "/dev/" + found;
}

int Status(const char* disk, SPACEDISKREPLY* reply) {
  const SPACEDISKREQ request = {disk, nullptr, nullptr};
  return KESTSpaceDiskStatusGet(&request, reply);
}

TEST(StorageDisk, ADiskOfThisMachineHasAState) {
  const std::string disk = AnyDisk();
  if (disk.empty()) GTEST_SKIP() << "the kernel shows no disk";
  SPACEDISKREPLY reply = {};
  ASSERT_LE(0, Status(disk.c_str(), &reply));
  EXPECT_EQ(0, reply.flags & ~15);
  EXPECT_EQ((reply.flags & 3) == 0, reply.spaceName[0] == '\0');
}

TEST(StorageDisk, AMissingDiskIsAFailureAndLeavesTheReply) {
  for (const char* disk : {"/dev/sdnone", "sdnone", "", "/", "/dev/", "/dev/.", "/dev/..", "/dev/../etc/passwd", "/etc",
                           "/dev/null", "..", "/dev/a/../../x"}) {
    SPACEDISKREPLY reply = {};
    reply.flags = 64;
    KLIBErrSet(0);
    EXPECT_GT(0, Status(disk, &reply)) << disk;
    EXPECT_NE(0, KLIBErrGet()) << disk;
    EXPECT_EQ(64, reply.flags) << disk;
  }
}

TEST(StorageDisk, AQuestionAboutNothingIsRefused) {
  SPACEDISKREPLY reply = {};
  const SPACEDISKREQ request = {"/dev/sda", nullptr, nullptr};
  EXPECT_GT(0, Status(nullptr, &reply));
  EXPECT_GT(0, KESTSpaceDiskStatusGet(nullptr, &reply));
  EXPECT_GT(0, KESTSpaceDiskStatusGet(&request, nullptr));
}

}  // namespace
