#include "host/klib/file_replace.h"

#include <sys/file.h>
#include <sys/wait.h>

#include <cerrno>

#include "folder.h"
#include "host/klib/key_value_file.h"
#include "system_faults.h"

namespace kest {
namespace {

using Names = std::set<std::string>;

struct Row {
  const char* call;
  int error;
  int nth;
};

// Every call between the first look at the file and the moment at which the new bytes have its name.
const Row kFaults[] = {
    {"open", EACCES, 1},                          // the file itself
    {"fstat", EIO, 1},                            // while locking
    {"flock", ENOLCK, 1},   {"open", EMFILE, 2},  // the reading of the old bytes
    {"mkostemp", EROFS, 1},                       // the sibling
    {"fstat", EIO, 3},      {"fchmod", EPERM, 1}, {"write", ENOSPC, 1},
    {"write", EDQUOT, 1},   {"fsync", EIO, 1},    {"rename", EXDEV, 1},
};

TEST(FileReplaceTest, AfterAnyFailedCallTheOldFileStandsAlone) {
  for (const Row& row : kFaults) {
    SCOPED_TRACE(std::string(row.call) + " " + std::to_string(row.nth));
    const Folder folder;
    const std::string path = folder.Put("settings", "a=\"1\"\n");
    const FailingCall fault(row.call, row.error, row.nth);
    errno = 0;
    const bool written = SetKeyValue(path.c_str(), "a", "2", kKeyValueFormat);
    const int error = errno;
    EXPECT_TRUE(fault.Struck());
    EXPECT_FALSE(written);
    EXPECT_EQ(row.error, error);
    EXPECT_EQ("a=\"1\"\n", Content(path));
    EXPECT_EQ(Names{"settings"}, folder.Names());
  }
}

TEST(FileReplaceTest, AFileThatWasMissingIsMissingAfterAFailure) {
  for (const char* call : {"mkostemp", "write", "fsync", "rename"}) {
    SCOPED_TRACE(call);
    const Folder folder;
    const FailingCall fault(call, EIO);
    EXPECT_FALSE(SetKeyValue(folder.File("settings").c_str(), "a", "2", kKeyValueFormat));
    EXPECT_TRUE(fault.Struck());
    EXPECT_EQ(Names{}, folder.Names());
  }
}

TEST(FileReplaceTest, AnInterruptedWriteIsContinued) {
  const Folder folder;
  const std::string path = folder.Put("settings", "");
  const FailingCall fault("write", EINTR);
  EXPECT_TRUE(SetKeyValue(path.c_str(), "a", "2", kKeyValueFormat));
  EXPECT_TRUE(fault.Struck());
  EXPECT_EQ("a=\"2\"\n", Content(path));
}

TEST(FileReplaceTest, AFolderThatCannotBeSynchronisedIsNoFailure) {
  const Folder folder;
  const std::string path = folder.Put("settings", "");
  const FailingCall fault("fsync", EINVAL, 2);
  EXPECT_TRUE(SetKeyValue(path.c_str(), "a", "2", kKeyValueFormat));
  EXPECT_TRUE(fault.Struck());
  EXPECT_EQ("a=\"2\"\n", Content(path));
}

TEST(FileReplaceTest, ALockThatIsNeverFreedEndsTheWaiting) {
  const Folder folder;
  const std::string path = folder.Put("settings", "a=\"1\"\n");
  const FailingCall fault("flock", EWOULDBLOCK, FailingCall::kEvery);
  EXPECT_FALSE(SetKeyValue(path.c_str(), "a", "2", kKeyValueFormat));
  EXPECT_EQ(ETIMEDOUT, errno);
  EXPECT_EQ("a=\"1\"\n", Content(path));
}

TEST(FileReplaceTest, ModeIsKept) {
  const Folder folder;
  const std::string path = folder.Put("settings", "");
  for (const mode_t mode : {0600u, 0640u, 0664u}) {
    ASSERT_EQ(0, chmod(path.c_str(), mode));
    ASSERT_TRUE(SetKeyValue(path.c_str(), "a", std::to_string(mode), kKeyValueFormat));
    struct stat status;
    ASSERT_EQ(0, stat(path.c_str(), &status));
    EXPECT_EQ(mode, status.st_mode & 07777);
  }
}

TEST(FileReplaceTest, OwnerAndGroupAreKept) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can give a file away";
  const Folder folder;
  const std::string path = folder.Put("settings", "");
  if (chown(path.c_str(), 12345, 54321) != 0) GTEST_SKIP() << "this namespace has one identity only";
  ASSERT_TRUE(SetKeyValue(path.c_str(), "a", "2", kKeyValueFormat));
  struct stat status;
  ASSERT_EQ(0, stat(path.c_str(), &status));
  EXPECT_EQ(12345u, status.st_uid);
  EXPECT_EQ(54321u, status.st_gid);
}

TEST(FileReplaceTest, ANewFileGetsMode0644) {
  const Folder folder;
  const mode_t before = umask(022);
  EXPECT_TRUE(SetKeyValue(folder.File("new").c_str(), "a", "2", kKeyValueFormat));
  umask(before);
  struct stat status;
  ASSERT_EQ(0, stat(folder.File("new").c_str(), &status));
  EXPECT_EQ(0644u, status.st_mode & 07777);
}

TEST(FileReplaceTest, TheOwnSymbolicLinkStaysAndItsTargetIsReplaced) {
  const Folder folder;
  const std::string target = folder.Put("real", "a=\"1\"\n");
  ASSERT_EQ(0, symlink("real", folder.File("link").c_str()));
  EXPECT_TRUE(SetKeyValue(folder.File("link").c_str(), "a", "2", kKeyValueFormat));
  EXPECT_EQ("a=\"2\"\n", Content(target));
  struct stat status;
  ASSERT_EQ(0, lstat(folder.File("link").c_str(), &status));
  EXPECT_TRUE(S_ISLNK(status.st_mode));
}

TEST(FileReplaceTest, TheSymbolicLinkOfAnotherUserIsRefused) {
  const Folder folder;
  const std::string target = folder.Put("victim", "a=\"1\"\n");
  const std::string link = folder.File("link");
  ASSERT_EQ(0, symlink("victim", link.c_str()));
  if (lchown(link.c_str(), 12345, 12345) != 0) GTEST_SKIP() << "only root can make another user's link";
  EXPECT_FALSE(SetKeyValue(link.c_str(), "a", "2", kKeyValueFormat));
  EXPECT_EQ(ELOOP, errno);
  EXPECT_EQ("a=\"1\"\n", Content(target));
}

TEST(FileReplaceTest, ALinkToItselfAndALinkToNothingAreRefused) {
  const Folder folder;
  ASSERT_EQ(0, symlink("loop", folder.File("loop").c_str()));
  ASSERT_EQ(0, symlink("nowhere", folder.File("dangling").c_str()));
  EXPECT_FALSE(SetKeyValue(folder.File("loop").c_str(), "a", "2", kKeyValueFormat));
  EXPECT_EQ(ELOOP, errno);
  EXPECT_FALSE(SetKeyValue(folder.File("dangling").c_str(), "a", "2", kKeyValueFormat));
  EXPECT_EQ(ENOENT, errno);
  EXPECT_EQ((Names{"loop", "dangling"}), folder.Names());
}

TEST(FileReplaceTest, ADirectoryAPipeAndAMissingFolderAreRefused) {
  const Folder folder;
  ASSERT_EQ(0, mkdir(folder.File("directory").c_str(), 0755));
  ASSERT_EQ(0, mkfifo(folder.File("pipe").c_str(), 0644));
  EXPECT_FALSE(SetKeyValue(folder.File("directory").c_str(), "a", "2", kKeyValueFormat));
  EXPECT_EQ(EISDIR, errno);
  EXPECT_FALSE(SetKeyValue(folder.File("pipe").c_str(), "a", "2", kKeyValueFormat));
  EXPECT_EQ(EINVAL, errno);
  EXPECT_FALSE(SetKeyValue(folder.File("none/settings").c_str(), "a", "2", kKeyValueFormat));
  EXPECT_EQ(ENOENT, errno);
  EXPECT_EQ((Names{"directory", "pipe"}), folder.Names());
}

TEST(FileReplaceTest, AnotherNameOfTheOldFileKeepsTheOldBytes) {
  const Folder folder;
  const std::string path = folder.Put("settings", "a=\"1\"\n");
  ASSERT_EQ(0, link(path.c_str(), folder.File("backup").c_str()));
  EXPECT_TRUE(SetKeyValue(path.c_str(), "a", "2", kKeyValueFormat));
  EXPECT_EQ("a=\"1\"\n", Content(folder.File("backup")));
}

TEST(FileReplaceTest, SettingWhatIsThereAlreadyWritesNothing) {
  const Folder folder;
  const std::string path = folder.Put("settings", "a=\"1\"\n");
  const FailingCall fault("mkostemp", EIO);
  EXPECT_TRUE(SetKeyValue(path.c_str(), "a", "1", kKeyValueFormat));
  EXPECT_FALSE(fault.Struck());
}

TEST(FileReplaceTest, ANameOfTheGreatestLengthCanBeReplaced) {
  const Folder folder;
  const std::string path = folder.Put(std::string(255, 'n'), "");
  EXPECT_TRUE(SetKeyValue(path.c_str(), "a", "2", kKeyValueFormat));
  EXPECT_EQ("a=\"2\"\n", Content(path));
}

}  // namespace
}  // namespace kest
