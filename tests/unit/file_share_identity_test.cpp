// Taking on an account's identity, safe paths and real paths.

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "file_share_fixture.h"

namespace tarvel_test {
namespace {

using ::testing::_;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Return;
using ::testing::StrEq;

class FileShareIdentityTest : public FileShareTest {
 protected:
  int TakeOn() { return files_.WfmLibUGIDSet("0a1b", "alice"); }
  void AnswerGid(int gid) { EXPECT_CALL(cgi(), KestCgiGIDGet(StrEq("0a1b"), StrEq("alice"))).WillOnce(Return(gid)); }
  void AnswerGidSet(int result) {
    EXPECT_CALL(cgi(), KestCgiGidSet(StrEq("0a1b"), StrEq("alice"))).WillOnce(Return(result));
  }
  void AnswerUidSet(int result) {
    EXPECT_CALL(cgi(), KestCgiUidSet(StrEq("0a1b"), StrEq("alice"))).WillOnce(Return(result));
  }
};

TEST_F(FileShareIdentityTest, GroupsComeBeforeTheGroupAndTheGroupBeforeTheUser) {
  for (const int result : {0, 100, INT_MAX}) {
    AnswerGid(100);
    AnswerGidSet(result);
    AnswerUidSet(result);
    EXPECT_EQ(0, TakeOn());
    EXPECT_THAT(Calls(), ElementsAre("KestCgiGIDGet", "initgroups alice 100", "KestCgiGidSet", "KestCgiUidSet"));
  }
  EXPECT_EQ(kBefore, Error());
}

TEST_F(FileShareIdentityTest, GroupZeroIsAGroup) {
  AnswerGid(0);
  AnswerGidSet(0);
  AnswerUidSet(0);
  EXPECT_EQ(0, TakeOn());
  EXPECT_THAT(Calls(), ElementsAre("KestCgiGIDGet", "initgroups alice 0", "KestCgiGidSet", "KestCgiUidSet"));
}

TEST_F(FileShareIdentityTest, AMissingArgumentIsError1) {
  EXPECT_EQ(-1, files_.WfmLibUGIDSet(nullptr, "alice"));
  ExpectLogged("file_share(#) bad parameter");
  EXPECT_EQ(1, Error());
  ForgetError();
  EXPECT_EQ(-1, files_.WfmLibUGIDSet("0a1b", nullptr));
  ExpectLogged("file_share(#) bad parameter");
  EXPECT_EQ(1, Error());
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(FileShareIdentityTest, WithoutAGroupNothingIsChanged) {
  for (const int gid : {-1, INT_MIN}) {
    AnswerGid(gid);
    EXPECT_EQ(-1, TakeOn());
    ExpectLogged("file_share(#) failed to get GID for user=alice, sid=0a1b");
    EXPECT_THAT(Calls(), ElementsAre("KestCgiGIDGet"));
  }
  EXPECT_EQ(kBefore, Error());
}

TEST_F(FileShareIdentityTest, GoesOnWithoutSupplementaryGroups) {
  AnswerGid(100);
  machine().FailNext("initgroups", EPERM);
  AnswerGidSet(0);
  AnswerUidSet(0);
  EXPECT_EQ(0, TakeOn());
  ExpectLogged("file_share(#) failed to initgroup for user=alice, sid=0a1b");
  EXPECT_EQ(kBefore, Error());
}

TEST_F(FileShareIdentityTest, AGroupThatCannotBeSetIsTheEnd) {
  AnswerGid(100);
  AnswerGidSet(-1);
  EXPECT_EQ(-1, TakeOn());
  ExpectLogged("file_share(#) failed to set GID for user=alice, sid=0a1b");
  EXPECT_THAT(Calls(), ElementsAre("KestCgiGIDGet", "initgroups alice 100", "KestCgiGidSet"));
  EXPECT_EQ(kBefore, Error());
}

TEST_F(FileShareIdentityTest, AUserIdThatCannotBeSetIsAFailure) {
  AnswerGid(100);
  AnswerGidSet(100);
  AnswerUidSet(-1);
  EXPECT_EQ(-1, TakeOn());
  ExpectLogged("file_share(#) failed to set UID for user=alice, sid=0a1b");
  EXPECT_EQ(kBefore, Error());
}

class FileShareCheckTest : public FileShareTest {
 protected:
  // The path is refused with this error of the platform.
  void IsRefused(int error, const std::string& path) {
    EXPECT_CALL(klib(), KLIBErrSet(error)).RetiresOnSaturation();
    EXPECT_EQ(-1, files_.WfmCheckPath(path.c_str())) << path;
  }
  std::string Folder(const std::string& name) {
    std::filesystem::create_directories(ScratchPath(name));
    return ScratchPath(name);
  }
};

TEST_F(FileShareCheckTest, TheRootIsSafe) {
  EXPECT_EQ(0, files_.WfmCheckPath("/"));
  EXPECT_THAT(Calls(), ElementsAre("strdup /", "lstat /", "free"));
  EXPECT_EQ(kBefore, Error());
}

TEST_F(FileShareCheckTest, APathOfFoldersAndAFileIsSafeFromItsEndToTheRoot) {
  Folder("a");
  WriteFile(ScratchPath("a/file"), "");
  EXPECT_EQ(0, files_.WfmCheckPath(ScratchPath("a/file").c_str()));
  std::vector<std::string> expected = {"strdup " + ScratchPath("a/file")};
  for (std::string path = ScratchPath("a/file"); !path.empty(); path.resize(path.rfind('/'))) {
    expected.push_back("lstat " + path);
  }
  expected.emplace_back("free");
  EXPECT_EQ(expected, Calls());
}

TEST_F(FileShareCheckTest, EmptyComponentsAreSafe) {
  Folder("a/b");
  EXPECT_EQ(0, files_.WfmCheckPath(ScratchPath("a//b/").c_str()));
  EXPECT_EQ(0, files_.WfmCheckPath("//"));
}

TEST_F(FileShareCheckTest, NoPathAndARelativeOneAreBadParameters) {
  EXPECT_CALL(klib(), KLIBErrSet(0xD00));
  EXPECT_EQ(-1, files_.WfmCheckPath(nullptr));
  for (const char* path : {"", "a", "volume1/photo", " /", "./a"}) IsRefused(0xD00, path);
}

TEST_F(FileShareCheckTest, AMissingObjectIsToldSilently) {
  IsRefused(0x600, ScratchPath("missing"));
  IsRefused(0x600, ScratchPath("missing/in/missing"));
  EXPECT_EQ(kBefore, Error());
}

TEST_F(FileShareCheckTest, ADeniedObjectIsToldSilently) {
  machine().FailNext("lstat", EACCES);
  IsRefused(0x300, "/");
}

TEST_F(FileShareCheckTest, AnythingElseThatFailsIsLoggedWithItsReason) {
  WriteFile(ScratchPath("file"), "");
  const std::string below = ScratchPath("file/below");
  IsRefused(0x8100, below);
  ExpectLogged("file_share(#):WfmCheckPath failed to lstat " + below + ", reason=Not a directory");
  const std::string name = "/" + std::string(256, 'n');
  IsRefused(0x8100, name);
  ExpectLogged("file_share(#):WfmCheckPath failed to lstat " + name + ", reason=File name too long");
  machine().FailNext("lstat", EIO);
  IsRefused(0x8100, "/");
  ExpectLogged("file_share(#):WfmCheckPath failed to lstat /, reason=Input/output error");
}

TEST_F(FileShareCheckTest, AFailureFurtherUpIsNamedByTheShortenedPath) {
  const std::string folder = Folder("a");
  machine().FailAfter("lstat", 1, EIO);
  IsRefused(0x8100, folder);
  ExpectLogged("file_share(#):WfmCheckPath failed to lstat " + folder.substr(0, folder.rfind('/')) +
               ", reason=Input/output error");
  machine().FailAfter("lstat", 2, EACCES);
  IsRefused(0x300, folder);
  machine().FailAfter("lstat", 1, ENOENT);
  IsRefused(0x600, folder);
}

TEST_F(FileShareCheckTest, LinksAreRefusedWhereverTheyStand) {
  const std::string folder = Folder("a");
  std::filesystem::create_symlink(folder, ScratchPath("link"));
  WriteFile(folder + "/file", "");
  IsRefused(0x8100, ScratchPath("link"));
  ExpectLogged("file_share(#):WfmCheckPath Path is not regular file and directory:" + ScratchPath("link"));
  IsRefused(0x8100, ScratchPath("link/file"));
  ExpectLogged("file_share(#):WfmCheckPath Path is not regular file and directory:" + ScratchPath("link"));
  // Through the slash at the end the link is followed, but only to meet it one step later.
  IsRefused(0x8100, ScratchPath("link/"));
  ExpectLogged("file_share(#):WfmCheckPath Path is not regular file and directory:" + ScratchPath("link"));
  std::filesystem::create_symlink(ScratchPath("loop"), ScratchPath("loop"));
  IsRefused(0x8100, ScratchPath("loop"));
  ExpectLogged("file_share(#):WfmCheckPath Path is not regular file and directory:" + ScratchPath("loop"));
  IsRefused(0x8100, ScratchPath("loop/x"));
  ExpectLogged("file_share(#):WfmCheckPath failed to lstat " + ScratchPath("loop/x") +
               ", reason=Too many levels of symbolic links");
}

TEST_F(FileShareCheckTest, PipesSocketsAndDevicesAreRefused) {
  ASSERT_EQ(0, mkfifo(ScratchPath("pipe").c_str(), 0600));
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  const std::string path = ScratchPath("socket");
  ASSERT_GT(sizeof address.sun_path, path.size());
  std::memcpy(address.sun_path, path.data(), path.size());
  const int socket_fd = socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_EQ(0, bind(socket_fd, reinterpret_cast<sockaddr*>(&address), sizeof address));
  for (const std::string& other : {ScratchPath("pipe"), ScratchPath("socket"), std::string("/dev/null")}) {
    IsRefused(0x8100, other);
    ExpectLogged("file_share(#):WfmCheckPath Path is not regular file and directory:" + other);
  }
  close(socket_fd);
}

TEST_F(FileShareCheckTest, DotsAreRefusedWithThePathBeforeThem) {
  const std::string folder = Folder("volume1/a/b");
  const std::string above = folder.substr(0, folder.rfind('/'));
  Folder("volume1/b");
  IsRefused(0x8100, above + "/../b");
  ExpectLogged("file_share(#):WfmCheckPath Path contains '.' or '..', path = " + above);
  IsRefused(0x8100, above + "/./b");
  ExpectLogged("file_share(#):WfmCheckPath Path contains '.' or '..', path = " + above);
  IsRefused(0x8100, above + "/.");
  ExpectLogged("file_share(#):WfmCheckPath Path contains '.' or '..', path = " + above);
  IsRefused(0x8100, "/..");
  ExpectLogged("file_share(#):WfmCheckPath Path contains '.' or '..', path = ");
}

TEST_F(FileShareCheckTest, AMissingObjectBelowDotsIsMissing) { IsRefused(0x600, Folder("a") + "/../missing"); }

TEST_F(FileShareCheckTest, NamesThatOnlyBeginWithDotsAreNames) {
  for (const char* name : {"...", "..a", ".a", "a..", "a.", " .."}) {
    EXPECT_EQ(0, files_.WfmCheckPath(Folder(name).c_str()));
  }
}

TEST_F(FileShareCheckTest, WithoutMemoryForTheCopyNothingIsLookedAt) {
  machine().FailNext("strdup", ENOMEM);
  IsRefused(0x8100, "/");
  ExpectLogged("file_share(#):WfmCheckPath strdup fail, error:Cannot allocate memory");
  EXPECT_THAT(Calls(), ElementsAre("strdup /", "KLIBErrSet"));
}

TEST_F(FileShareCheckTest, ThePlatformsErrorIsSetBeforeItIsLogged) {
  machine().FailNext("lstat", EIO);
  EXPECT_CALL(klib(), KLIBErrSet(0x8100)).WillOnce([](int) { errno = 0; });
  EXPECT_EQ(-1, files_.WfmCheckPath("/"));
  ExpectLogged("file_share(#):WfmCheckPath failed to lstat /, reason=Input/output error");
  machine().FailNext("strdup", ENOMEM);
  EXPECT_CALL(klib(), KLIBErrSet(0x8100)).WillOnce([](int) { errno = 0; });
  EXPECT_EQ(-1, files_.WfmCheckPath("/"));
  ExpectLogged("file_share(#):WfmCheckPath strdup fail, error:Cannot allocate memory");
}

class FileShareRealPathTest : public FileShareTest {
 protected:
  FileShareRealPathTest() { std::filesystem::create_directories(ScratchPath("real/deep")); }
  ~FileShareRealPathTest() override { std::filesystem::current_path(here_); }

  std::string RealPath(const std::string& path, int size = 4095) {
    std::vector<char> buffer(4096, '?');
    return files_.WfmLibRealFullPathGet(path.c_str(), buffer.data(), size) ? buffer.data() : "<false>";
  }

  const std::string here_ = std::filesystem::current_path().string();
};

TEST_F(FileShareRealPathTest, LinksAndDotsAreResolved) {
  std::filesystem::create_symlink("real", ScratchPath("link"));
  EXPECT_EQ(ScratchPath("real/deep"), RealPath(ScratchPath("link/./deep/../deep/")));
  EXPECT_EQ("/", RealPath("/"));
  EXPECT_EQ(here_, RealPath("."));
  EXPECT_EQ(here_, std::filesystem::current_path().string());
  EXPECT_EQ(kBefore, Error());
}

TEST_F(FileShareRealPathTest, TheProcessGoesThereAndBack) {
  EXPECT_EQ("/", RealPath("/", 20));
  EXPECT_THAT(Calls(), ElementsAre("getcwd 4095", "chdir /", "getcwd 20", "chdir " + here_));
}

TEST_F(FileShareRealPathTest, AFolderThatCannotBeEnteredIsFalse) {
  WriteFile(ScratchPath("file"), "");
  for (const std::string& path : {ScratchPath("missing"), ScratchPath("file"), std::string()}) {
    EXPECT_EQ("<false>", RealPath(path));
    EXPECT_EQ(here_, std::filesystem::current_path().string());
    EXPECT_THAT(Calls(), ElementsAre("getcwd 4095", "chdir " + path));
  }
  machine().FailNext("chdir", EACCES);
  EXPECT_EQ("<false>", RealPath("/"));
  EXPECT_EQ(here_, std::filesystem::current_path().string());
}

TEST_F(FileShareRealPathTest, AnUnknownWorkingFolderIsNotLeft) {
  machine().FailNext("getcwd", ENOENT);
  EXPECT_EQ("<false>", RealPath("/"));
  EXPECT_THAT(Calls(), ElementsAre("getcwd 4095"));
}

TEST_F(FileShareRealPathTest, WhatCannotBeToldIsFalseAfterGoingBack) {
  machine().FailAfter("getcwd", 1, ENOENT);
  EXPECT_EQ("<false>", RealPath("/"));
  EXPECT_EQ(here_, std::filesystem::current_path().string());
}

TEST_F(FileShareRealPathTest, TheResultMustFit) {
  const std::string real = ScratchPath("real");
  const int bytes = static_cast<int>(real.size()) + 1;
  EXPECT_EQ(real, RealPath(real, bytes));
  EXPECT_EQ("<false>", RealPath(real, bytes - 1));
  EXPECT_EQ(here_, std::filesystem::current_path().string());
}

TEST_F(FileShareRealPathTest, MissingArgumentsAreFalse) {
  char buffer[8] = "?";
  EXPECT_EQ(FALSE, files_.WfmLibRealFullPathGet(nullptr, buffer, sizeof buffer));
  EXPECT_EQ(FALSE, files_.WfmLibRealFullPathGet("/", nullptr, 8));
  EXPECT_EQ(FALSE, files_.WfmLibRealFullPathGet("/", buffer, 0));
  EXPECT_EQ(FALSE, files_.WfmLibRealFullPathGet("/", buffer, -1));
  EXPECT_STREQ("?", buffer);
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(FileShareRealPathTest, NotBeingLetBackIsNoFailure) {
  machine().FailAfter("chdir", 1, EACCES);
  EXPECT_EQ(ScratchPath("real"), RealPath(ScratchPath("real")));
  EXPECT_EQ(ScratchPath("real"), std::filesystem::current_path().string());
}

// As deep as a path of 4094 bytes goes, and one byte deeper.
TEST_F(FileShareRealPathTest, TheWorkingFoldersPathMayHave4094Bytes) {
  for (const bool too_long : {false, true}) {
    const std::string root = ScratchPath("real");
    std::filesystem::current_path(root);
    size_t length = root.size();
    const size_t wanted = too_long ? 4095 : 4094;
    while (length < wanted) {
      const size_t rest = wanted - length - 1;
      const std::string name(rest > 255 ? 200 : rest, 'd');
      mkdir(name.c_str(), 0700);
      ASSERT_EQ(0, chdir(name.c_str())) << std::strerror(errno);
      length += 1 + name.size();
    }
    EXPECT_EQ(too_long ? "<false>" : "/", RealPath("/"));
    std::filesystem::current_path(here_);
  }
}

}  // namespace
}  // namespace tarvel_test
