// The folders in a folder.

#include <dirent.h>
#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <string>
#include <type_traits>
#include <vector>

#include "file_share_fixture.h"
#include "support/allocations.h"

namespace tarvel_test {
namespace {

using ::testing::_;
using ::testing::AnyNumber;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

using Entry = _tag_SUBDIR_ENTRY_INFO_;
using Entries = std::vector<Entry>;

static_assert(std::is_same_v<decltype(Entry::name), std::string> && std::is_same_v<decltype(Entry::path), std::string>);
static_assert(std::is_same_v<decltype(Entry::size), int64_t> && std::is_same_v<decltype(Entry::mode), uint32_t> &&
              std::is_same_v<decltype(Entry::mtime), int32_t> && std::is_same_v<decltype(Entry::uid), uint32_t> &&
              std::is_same_v<decltype(Entry::gid), uint32_t>);

class FileShareFoldersTest : public FileShareTest {
 protected:
  FileShareFoldersTest() {
    std::filesystem::create_directories(dir_);
    EXPECT_CALL(klib(), KLIBUnicodeUTF8StrCaseCmp(_, _)).Times(AnyNumber()).WillRepeatedly(strcasecmp);
  }

  void Make(const std::vector<std::string>& folders) {
    for (const auto& folder : folders) std::filesystem::create_directories(dir_ + "/" + folder);
  }
  std::vector<std::string> Names(int expected = 1) {
    Entries entries;
    EXPECT_EQ(expected, files_.WfmLibEnumSubDir(dir_, entries));
    return NamesOf(entries);
  }
  static std::vector<std::string> NamesOf(const Entries& entries) {
    std::vector<std::string> names;
    for (const Entry& entry : entries) names.push_back(entry.name);
    return names;
  }

  const std::string dir_ = ScratchPath("tree");
};

TEST_F(FileShareFoldersTest, FoldersAreOrderedAsAPersonReadsThem) {
  Make({"Gamma", "beta", "Alpha"});
  EXPECT_THAT(Names(), ElementsAre("Alpha", "beta", "Gamma"));
  EXPECT_EQ(0, Error());
}

TEST_F(FileShareFoldersTest, TheOrderIsThePlatforms) {
  Make({"a", "b", "c"});
  EXPECT_CALL(klib(), KLIBUnicodeUTF8StrCaseCmp(_, _)).WillRepeatedly([](const char* a, const char* b) {
    return strcasecmp(b, a) * 1000;
  });
  EXPECT_THAT(Names(), ElementsAre("c", "b", "a"));
}

TEST_F(FileShareFoldersTest, AnEntryTellsWhatLstatTells) {
  Make({"a folder"});
  const std::string path = dir_ + "/a folder";
  chmod(path.c_str(), 02751);
  const timespec times[] = {{1, 0}, {1234567890, 999999999}};
  utimensat(AT_FDCWD, path.c_str(), times, 0);
  Entries entries;
  EXPECT_EQ(1, files_.WfmLibEnumSubDir(dir_, entries));
  struct stat info = {};
  ASSERT_EQ(0, lstat(path.c_str(), &info));
  ASSERT_THAT(entries, SizeIs(1));
  EXPECT_EQ("a folder", entries[0].name);
  EXPECT_EQ(path, entries[0].path);
  EXPECT_EQ(info.st_size, entries[0].size);
  EXPECT_EQ(S_IFDIR | 02751U, entries[0].mode);
  EXPECT_EQ(1234567890, entries[0].mtime);
  EXPECT_EQ(info.st_uid, entries[0].uid);
  EXPECT_EQ(info.st_gid, entries[0].gid);
}

TEST_F(FileShareFoldersTest, ASizeHas64Bits) {
  Make({"large"});
  machine().FailNext("lstat size", 3);
  Entries entries;
  EXPECT_EQ(1, files_.WfmLibEnumSubDir(dir_, entries));
  EXPECT_EQ(0x300000001, entries.at(0).size);
}

TEST_F(FileShareFoldersTest, ATimeBeyond2038IsNegative) {
  Make({"late"});
  const timespec times[] = {{0, 0}, {2147483648, 0}};
  utimensat(AT_FDCWD, (dir_ + "/late").c_str(), times, 0);
  Entries entries;
  EXPECT_EQ(1, files_.WfmLibEnumSubDir(dir_, entries));
  EXPECT_EQ(INT32_MIN, entries.at(0).mtime);
}

TEST_F(FileShareFoldersTest, ThePathOfAnEntryIsBuiltAsItIs) {
  Make({"a"});
  for (const std::string& dir : {dir_ + "/", dir_ + "//.", dir_ + "/../tree"}) {
    Entries entries;
    EXPECT_EQ(1, files_.WfmLibEnumSubDir(dir, entries));
    EXPECT_EQ(dir + "/a", entries.at(0).path);
  }
}

TEST_F(FileShareFoldersTest, AFolderOfFilesHasNone) {
  WriteFile(dir_ + "/file", "");
  mkfifo((dir_ + "/pipe").c_str(), 0600);
  EXPECT_THAT(Names(), IsEmpty());
  std::filesystem::remove(dir_ + "/file");
  std::filesystem::remove(dir_ + "/pipe");
  EXPECT_THAT(Names(), IsEmpty());
  EXPECT_EQ(0, Error());
}

TEST_F(FileShareFoldersTest, MetadataDotsAndLinksNeverAppear) {
  Make({"@eadir", "@eaDir", "@EADIR", "@EaDir", "a"});
  std::filesystem::create_directory_symlink(dir_ + "/a", dir_ + "/link");
  std::filesystem::create_directory_symlink("missing", dir_ + "/dangling");
  EXPECT_THAT(Names(), ElementsAre("a"));
}

TEST_F(FileShareFoldersTest, NamesThatOnlyLookLikeThoseAreListed) {
  Make({"@eadi", "@eadirs", "x@eadir", ".hidden", "...", "..a", "#recycle"});
  EXPECT_THAT(Names(), ElementsAre("#recycle", "...", "..a", ".hidden", "@eadi", "@eadirs", "x@eadir"));
}

TEST_F(FileShareFoldersTest, NamesOfEveryKindAreListed) {
  const std::string longest(255, 'n');
  const std::vector<std::string> odd = {" ", "\n", "\"quoted\"", "%s", "'", "\\", longest, "\xc3\xa4", "\xff\xfe"};
  Make(odd);
  EXPECT_THAT(Names(), ::testing::UnorderedElementsAreArray(odd));
}

TEST_F(FileShareFoldersTest, NamesThatDifferInCaseAloneAreAllThere) {
  Make({"photo", "Photo", "PHOTO", "aa", "zz"});
  const std::vector<std::string> names = Names();
  EXPECT_THAT(names, ::testing::UnorderedElementsAre("photo", "Photo", "PHOTO", "aa", "zz"));
  EXPECT_EQ("aa", names.front());
  EXPECT_EQ("zz", names.back());
}

TEST_F(FileShareFoldersTest, EntriesThatAreThereStayAndAreSortedWithTheNewOnes) {
  Make({"delta", "Bravo"});
  Entries entries(2);
  entries[0].name = "echo";
  entries[0].path = "of the caller's own";
  entries[1].name = "alpha";
  EXPECT_EQ(1, files_.WfmLibEnumSubDir(dir_, entries));
  EXPECT_THAT(NamesOf(entries), ElementsAre("alpha", "Bravo", "delta", "echo"));
  EXPECT_EQ("of the caller's own", entries[3].path);
}

TEST_F(FileShareFoldersTest, EntriesOfTheCallerAreSortedEvenWhenNoFolderIsFound) {
  Entries entries(2);
  entries[0].name = "b";
  entries[1].name = "a";
  EXPECT_EQ(1, files_.WfmLibEnumSubDir(dir_, entries));
  EXPECT_THAT(NamesOf(entries), ElementsAre("a", "b"));
}

TEST_F(FileShareFoldersTest, AnEmptyPathFailsBeforeTheErrorIsCleared) {
  Entries entries(1);
  EXPECT_EQ(0, files_.WfmLibEnumSubDir("", entries));
  ExpectLogged("file_share:# Bad parameter");
  EXPECT_EQ(kBefore, Error());
  EXPECT_THAT(entries, SizeIs(1));
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(FileShareFoldersTest, AFolderThatCannotBeOpenedIsToldByTheErrorAlone) {
  const std::vector<std::pair<int, int>> errors = {{ENOENT, 6}, {ENOTDIR, 6},      {EACCES, 3}, {EPERM, 7}, {ELOOP, 7},
                                                   {EMFILE, 7}, {ENAMETOOLONG, 7}, {ENOMEM, 7}, {EIO, 7}};
  for (const auto& [reason, error] : errors) {
    Entries entries(2);
    entries[0].name = "b";
    entries[1].name = "a";
    machine().FailNext("opendir", reason);
    EXPECT_EQ(0, files_.WfmLibEnumSubDir(dir_, entries));
    EXPECT_EQ(error, Error()) << reason;
    EXPECT_THAT(NamesOf(entries), ElementsAre("b", "a"));
  }
}

TEST_F(FileShareFoldersTest, MissingFoldersFilesAndLoopsAreNone) {
  Entries entries;
  EXPECT_EQ(0, files_.WfmLibEnumSubDir(dir_ + "/missing", entries));
  EXPECT_EQ(6, Error());
  WriteFile(dir_ + "/file", "");
  EXPECT_EQ(0, files_.WfmLibEnumSubDir(dir_ + "/file", entries));
  EXPECT_EQ(6, Error());
  std::filesystem::create_symlink("loop", dir_ + "/loop");
  EXPECT_EQ(0, files_.WfmLibEnumSubDir(dir_ + "/loop", entries));
  EXPECT_EQ(7, Error());
  EXPECT_EQ(0, files_.WfmLibEnumSubDir(dir_ + "/" + std::string(256, 'n'), entries));
  EXPECT_EQ(7, Error());
}

TEST_F(FileShareFoldersTest, AnUnreadableFolderIsError3) {
  // The superuser may read it.
  if (geteuid() == 0) machine().FailNext("opendir", EACCES);
  chmod(dir_.c_str(), 0);
  EXPECT_THAT(Names(0), IsEmpty());
  EXPECT_EQ(3, Error());
  chmod(dir_.c_str(), 0700);
}

TEST_F(FileShareFoldersTest, ASuccessClearsTheError) {
  files_.WfmLibSetErr(WEBFMERR_DENIED);
  Names();
  EXPECT_EQ(0, Error());
}

TEST_F(FileShareFoldersTest, EntriesOfUnknownTypeAreSkippedAndNotExamined) {
  Make({"a"});
  for (int i = 0; i < 3; ++i) machine().FailNext("readdir type", DT_UNKNOWN);
  EXPECT_THAT(Names(), IsEmpty());
  EXPECT_THAT(Calls(), Not(Contains("lstat " + dir_ + "/a")));
}

TEST_F(FileShareFoldersTest, WhatIsNoFolderAnyMoreWhenItIsLookedAtIsLeftOut) {
  // A file and a link that were folders when the entry was read.
  for (const bool link : {false, true}) {
    const std::string path = dir_ + "/changed";
    std::filesystem::remove(path);
    if (link) {
      std::filesystem::create_directory_symlink(ScratchPath(""), path);
    } else {
      WriteFile(path, "");
    }
    for (int i = 0; i < 3; ++i) machine().FailNext("readdir type", DT_DIR);
    EXPECT_THAT(Names(), IsEmpty());
    EXPECT_THAT(Calls(), Contains("lstat " + path));
  }
}

TEST_F(FileShareFoldersTest, WhatVanishesWhileItIsReadIsLeftOut) {
  Make({"a", "b", "c"});
  machine().FailAfter("lstat", 1, ENOENT);
  EXPECT_THAT(Names(), SizeIs(2));
  machine().FailNext("lstat", EACCES);
  machine().FailAfter("lstat", 1, EIO);
  EXPECT_THAT(Names(), SizeIs(1));
  EXPECT_EQ(0, Error());
}

TEST_F(FileShareFoldersTest, AFolderThatFailsInTheMiddleGivesWhatWasRead) {
  Make({"a", "b"});
  machine().FailNext("readdir", EIO);
  EXPECT_THAT(Names(), IsEmpty());
  EXPECT_EQ(0, Error());
}

TEST_F(FileShareFoldersTest, TheFolderIsClosedBeforeTheNamesAreCompared) {
  Make({"a", "b"});
  bool compared = false;
  EXPECT_CALL(klib(), KLIBUnicodeUTF8StrCaseCmp(_, _)).WillRepeatedly([&](const char* a, const char* b) {
    EXPECT_EQ("closedir", compared ? "closedir" : Calls().back());
    compared = true;
    return strcasecmp(a, b);
  });
  EXPECT_THAT(Names(), ElementsAre("a", "b"));
  EXPECT_TRUE(compared);
}

TEST_F(FileShareFoldersTest, AFolderAmongAHundredThousandFilesIsFound) {
  Make({"z", "a"});
  // Links, which cost the file system least; a file takes only so many.
  constexpr int kFiles = 100000, kLinks = 30000;
  for (int i = 0; i < kFiles; ++i) {
    const std::string file = dir_ + "/" + std::to_string(i - i % kLinks), path = dir_ + "/" + std::to_string(i);
    if (path == file) {
      WriteFile(file, "");
    } else {
      ASSERT_EQ(0, link(file.c_str(), path.c_str()));
    }
  }
  EXPECT_THAT(Names(), ElementsAre("a", "z"));
}

TEST_F(FileShareFoldersTest, AThousandLevelsDeepAFolderIsListedAsLongAsItsPathIsOne) {
  std::string path = dir_;
  int levels = 0;
  for (; path.size() + 2 < 4094 && levels < 1000; ++levels) {
    path += "/d";
    ASSERT_EQ(0, mkdir(path.c_str(), 0700)) << levels;
  }
  ASSERT_EQ(1000, levels);
  Entries entries;
  const std::string parent = path.substr(0, path.size() - 2);
  EXPECT_EQ(1, files_.WfmLibEnumSubDir(parent, entries));
  ASSERT_THAT(entries, SizeIs(1));
  EXPECT_EQ(path, entries[0].path);
  // Beyond the longest path of the system.
  EXPECT_EQ(0, files_.WfmLibEnumSubDir(path + std::string(2200, '/'), entries));
  EXPECT_EQ(7, Error());
}

TEST_F(FileShareFoldersTest, LackOfMemoryPassesAndLeaksNothing) {
  Make({"a_name_that_is_longer_than_sixteen_bytes", "another_name_that_is_longer_than_that"});
  EXPECT_LE(5, FailuresUntilItSucceeds([&] {
              Entries entries;
              files_.WfmLibEnumSubDir(dir_, entries);
            }));
}

}  // namespace
}  // namespace tarvel_test
