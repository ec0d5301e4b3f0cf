#include "file_share.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <filesystem>
#include <string>
#include <type_traits>
#include <vector>

#include "file_share_fixture.h"
#include "support/allocations.h"

namespace tarvel_test {
namespace {

using ::testing::_;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Return;
using ::testing::StrEq;

// What callers were compiled with.
static_assert(sizeof(WEBFMERR) == sizeof(int) && sizeof(WEBFM_SHARE_PRIVILEGE) == sizeof(int));
static_assert(std::is_empty_v<TarvelFileShare>);
static_assert(WEBFMERR_NONE == 0 && WEBFMERR_BAD_PARAMETER == 1 && WEBFMERR_UNRESOLVED == 2 && WEBFMERR_DENIED == 3 &&
              WEBFMERR_MISSING == 6 && WEBFMERR_QUERY_FAILED == 7 && WEBFMERR_REFUSED == 9);
static_assert(WEBFM_SHARE_NO_ACCESS == 0 && WEBFM_SHARE_READ_ONLY == 1 && WEBFM_SHARE_READ_WRITE == 2);

class FileShareErrorTest : public FileShareTest {};

TEST_F(FileShareErrorTest, TheLastErrorIsOneValueOfTheProcess) {
  TarvelFileShare other;
  for (const int error : {0, 1, 9, -1, INT_MAX, INT_MIN}) {
    files_.WfmLibSetErr(static_cast<WEBFMERR>(error));
    EXPECT_EQ(error, other.WfmLibGetErr());
  }
  { TarvelFileShare short_lived; }
  EXPECT_EQ(INT_MIN, Error());
  EXPECT_THAT(Calls(), IsEmpty());
}

class FileShareComponentTest : public FileShareTest {
 protected:
  std::string Component(const std::string& path, BOOL first) {
    char* const component = files_.WfmLibGetTokOfPath(path.c_str(), first);
    const std::string text = component != nullptr ? component : "<null>";
    std::free(component);
    return text;
  }
};

struct ComponentRow {
  int line;
  const char* path;
  const char* first;
  const char* last;
};

const ComponentRow kComponentRows[] = {
    {__LINE__, "/photo/a/", "photo", "a"},
    {__LINE__, "/photo/2024/a.jpg", "photo", "a.jpg"},
    {__LINE__, "/photo", "photo", "photo"},
    {__LINE__, "photo/", "photo", "photo"},
    {__LINE__, "photo/a", "photo", "a"},
    {__LINE__, "//photo//a//", "photo", "a"},
    {__LINE__, "/ a b /\"\n%s", " a b ", "\"\n%s"},
    {__LINE__, "/./..", ".", ".."},
    {__LINE__, "/\xff\xfe/\xc3\xa4", "\xff\xfe", "\xc3\xa4"},
};

TEST_F(FileShareComponentTest, TheFirstAndTheLastComponentOfAPath) {
  for (const ComponentRow& row : kComponentRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line);
    EXPECT_EQ(row.first, Component(row.path, TRUE));
    EXPECT_EQ(row.first, Component(row.path, -1));
    EXPECT_EQ(row.last, Component(row.path, FALSE));
  }
  EXPECT_EQ(kBefore, Error());
}

TEST_F(FileShareComponentTest, NoPathIsABadParameter) {
  EXPECT_EQ(nullptr, files_.WfmLibGetTokOfPath(nullptr, TRUE));
  ExpectLogged("file_share(#): bad parameter!");
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(FileShareComponentTest, ANameWithoutSlashFailsAlthoughItIsASingleComponent) {
  for (const std::string path : {"photo", ""}) {
    EXPECT_EQ("<null>", Component(path, TRUE));
    ExpectLogged("file_share(#): bad path name=" + path);
    EXPECT_THAT(Calls(), ElementsAre("PslKLIBSzListAlloc", "KLIBSzListFree"));
  }
}

TEST_F(FileShareComponentTest, SlashesAloneAreAnErrorPath) {
  for (const char* path : {"/", "///"}) {
    EXPECT_EQ("<null>", Component(path, FALSE));
    ExpectLogged("file_share(#) error path");
  }
}

TEST_F(FileShareComponentTest, APathThatCannotBeSplitIsAnErrorPath) {
  EXPECT_CALL(klib(), KLIBStrTok(_, _, _)).WillOnce(Return(-1));
  EXPECT_EQ("<null>", Component("/photo", TRUE));
  ExpectLogged("file_share(#) error path");
}

TEST_F(FileShareComponentTest, WithoutMemoryForTheListNothingElseIsAsked) {
  EXPECT_CALL(klib(), PslKLIBSzListAlloc(1024)).WillOnce(Return(nullptr));
  EXPECT_EQ("<null>", Component("no slash", TRUE));
  ExpectLogged("file_share(#): PslKLIBSzListAlloc() failed!");
  EXPECT_THAT(Calls(), ElementsAre("PslKLIBSzListAlloc"));
}

TEST_F(FileShareComponentTest, TheComponentIsACopyForFree) {
  EXPECT_EQ("photo", Component("/photo", TRUE));
  EXPECT_THAT(Calls(), ElementsAre("PslKLIBSzListAlloc", "KLIBStrTok", "SzKLIBSzListGet", "strdup photo",
                                   "KLIBSzListFree", "free"));
  machine().FailNext("strdup", ENOMEM);
  EXPECT_EQ("<null>", Component("/photo", TRUE));
}

TEST_F(FileShareComponentTest, OnlyTheFirst4094BytesOfAPathCount) {
  const std::string slashes(4090, '/');
  EXPECT_EQ("phot", Component(slashes + "photo", TRUE));
  const std::string whole = "/" + std::string(4093, 'a');
  EXPECT_EQ(whole.substr(1), Component(whole, TRUE));
  EXPECT_EQ(whole.substr(1), Component(whole + "b/c", FALSE));
  EXPECT_EQ("<null>", Component(std::string(4094, '/') + "photo", TRUE));
  ExpectLogged("file_share(#) error path");
}

struct HomeRow {
  int line;
  const char* dir;
  const char* user;
  bool home;
};

const HomeRow kHomeRows[] = {
    {__LINE__, "home", nullptr, true},
    {__LINE__, "home", "alice", true},
    {__LINE__, "/home", nullptr, true},
    {__LINE__, "/home", "alice", true},
    {__LINE__, "home/", nullptr, false},
    {__LINE__, "/home/", nullptr, false},
    {__LINE__, "/home/", "alice", false},
    {__LINE__, "/home/x", nullptr, true},
    {__LINE__, "/home/x", "alice", true},
    {__LINE__, "/home/x", "bob", true},
    {__LINE__, "/Home/x", "alice", false},
    {__LINE__, "Home", nullptr, false},
    {__LINE__, "HOME", "alice", false},
    {__LINE__, "/homes", nullptr, false},
    {__LINE__, "/homes", "alice", false},
    {__LINE__, "/homes/", "alice", false},
    {__LINE__, "/homes/alice", nullptr, false},
    {__LINE__, "/homes/alice", "alice", true},
    {__LINE__, "/homes/Alice/x", "alice", true},
    {__LINE__, "/homes/alice/x", "ALICE", true},
    {__LINE__, "/homes/bob", "alice", false},
    {__LINE__, "/homes/alic", "alice", false},
    // The name need not end where the user's does.
    {__LINE__, "/homes/alice2/x", "alice", true},
    {__LINE__, "/homes/anybody", "", true},
    {__LINE__, "/homes", "", false},
    {__LINE__, "/homesalice", "alice", false},
    // Another case of letters is no place of homes to begin with.
    {__LINE__, "/Homes/alice", "alice", false},
    {__LINE__, "homes", "alice", false},
    {__LINE__, "homes/alice", "alice", false},
    {__LINE__, "photo", "alice", false},
    {__LINE__, "/photo/home/x", "alice", false},
    {__LINE__, "", nullptr, false},
    {__LINE__, "", "", false},
    {__LINE__, "/", "alice", false},
};

class FileShareHomeTest : public FileShareTest {
 protected:
  // An account whose home is this folder.
  KESTUSER* Account(const std::string& home) {
    home_ = home;
    account_.home = home_.data();
    return &account_;
  }

 private:
  std::string home_;
  KESTUSER account_ = {};
};

TEST_F(FileShareHomeTest, PlacesOfHomes) {
  for (const HomeRow& row : kHomeRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line);
    EXPECT_EQ(row.home, files_.IsDirUserHome(row.dir, row.user));
  }
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_EQ(kBefore, Error());
}

TEST_F(FileShareHomeTest, AHomeIsTheRealPathOfTheAccountsFolder) {
  const std::string real = ScratchPath("volume1");
  std::filesystem::create_directories(real + "/alice");
  std::filesystem::create_symlink(real, ScratchPath("homes"));
  std::string path;
  FindsUser("alice", Account(ScratchPath("homes/./alice")));
  EXPECT_EQ(1, files_.WfmUserHomeFullPathGet(path, "alice"));
  EXPECT_EQ(real + "/alice", path);
  EXPECT_EQ(kBefore, Error());
}

TEST_F(FileShareHomeTest, NoAccountHasNoHome) {
  for (const bool filled : {false, true}) {
    std::string path = "as before";
    FindsUser("alice", filled ? Account("/") : nullptr, -1);
    EXPECT_EQ(0, files_.WfmUserHomeFullPathGet(path, "alice"));
    ExpectLogged("file_share:# Failed to get user (alice)");
    EXPECT_EQ("as before", path);
  }
  EXPECT_EQ(kBefore, Error());
}

TEST_F(FileShareHomeTest, AnAnswerAboveZeroIsAnAccount) {
  std::string path;
  FindsUser("alice", Account("/"), 1);
  EXPECT_EQ(1, files_.WfmUserHomeFullPathGet(path, "alice"));
  EXPECT_EQ("/", path);
}

TEST_F(FileShareHomeTest, AHomeThatCannotBeEnteredIsNamed) {
  std::string path = "as before";
  const std::string home = ScratchPath("missing");
  FindsUser("alice", Account(home));
  EXPECT_EQ(0, files_.WfmUserHomeFullPathGet(path, "alice"));
  ExpectLogged("file_share:# Failed to get real path (" + home + ")");
  EXPECT_EQ("as before", path);
  KESTUSER homeless = {};
  FindsUser("bob", &homeless);
  EXPECT_EQ(0, files_.WfmUserHomeFullPathGet(path, "bob"));
  ExpectLogged("file_share:# Failed to get real path ()");
}

TEST_F(FileShareHomeTest, AHomeIsAskedForWith4095Bytes) {
  std::string path;
  FindsUser("alice", Account("/"));
  EXPECT_EQ(1, files_.WfmUserHomeFullPathGet(path, "alice"));
  const std::string back = std::filesystem::current_path().string();
  EXPECT_THAT(Calls(),
              ElementsAre("KESTUserGet", "getcwd 4095", "chdir /", "getcwd 4095", "chdir " + back, "KESTUserFree"));
}

class FileSharePathTest : public FileShareHomeTest {
 protected:
  int FullPath(const char* path, const std::string& user = "alice") {
    return files_.WfmFullPathGet(path, full_, share_, volume_, folder_, user);
  }

  std::string full_ = "?", share_ = "?", volume_ = "?", folder_ = "?";
};

struct PathRow {
  int line;
  const char* path;
  const char* share;
  const char* folder;
  const char* full;
  const char* volume;
};

const PathRow kPathRows[] = {
    {__LINE__, "/photo/2024/a.jpg", "photo", "/volume1/photo", "/volume1/photo/2024/a.jpg", "/volume1"},
    {__LINE__, "/photo", "photo", "/volume1/photo", "/volume1/photo", "/volume1"},
    {__LINE__, "/photo/", "photo", "/volume1/photo", "/volume1/photo/", "/volume1"},
    {__LINE__, "//photo//a", "photo", "/volume1/photo", "/volume1/photo//a", "/volume1"},
    {__LINE__, "photo/a", "photo", "/volume1/photo", "/volume1/photo/a", "/volume1"},
    {__LINE__, "/photo/../../etc", "photo", "/volume1/photo", "/volume1/photo/../../etc", "/volume1"},
    {__LINE__, "/photo/photo", "photo", "/volume1/photo", "/volume1/photo/photo", "/volume1"},
    {__LINE__, "/PHOTO/a", "PHOTO", "/volume1/photo", "/volume1/photo/a", "/volume1"},
    {__LINE__, "/../x", "..", "/volume1/x", "/volume1/x/x", "/volume1"},
    // "home" is exact, and only a whole component.
    {__LINE__, "/Home/a", "Home", "/volume1/Home", "/volume1/Home/a", "/volume1"},
    {__LINE__, "/homes/a", "homes", "/volume1/homes", "/volume1/homes/a", "/volume1"},
    {__LINE__, "/photo/home", "photo", "/volume1/photo", "/volume1/photo/home", "/volume1"},
    // Folders of shares of every form.
    {__LINE__, "/a/b", "a", "/volumeUSB1/usbshare/deep/a", "/volumeUSB1/usbshare/deep/a/b", "/volumeUSB1"},
    {__LINE__, "/a/b", "a", "/volume1", "/volume1/b", "/volume1"},
    {__LINE__, "/a/b", "a", "/", "//b", "/"},
    {__LINE__, "/a/b", "a", "//x/y", "//x/y/b", "/"},
    {__LINE__, "/a/b", "a", "volume1/a/c", "volume1/a/c/b", "volume1/a"},
    {__LINE__, "/a/b", "a", "volume1", "volume1/b", "volume1"},
    {__LINE__, "/a/b", "a", "", "/b", ""},
    {__LINE__, "/a/b", "a", nullptr, "/b", ""},
};

TEST_F(FileSharePathTest, APathInAShareIsOneInItsFolder) {
  for (const PathRow& row : kPathRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line);
    KESTSHARE* record = Share("its own name");
    std::string folder = row.folder != nullptr ? row.folder : "";
    record->path = row.folder != nullptr ? folder.data() : nullptr;
    FindsShare(row.share, record);
    EXPECT_EQ(1, FullPath(row.path));
    EXPECT_EQ(row.full, full_);
    EXPECT_EQ(row.share, share_);
    EXPECT_EQ(row.volume, volume_);
    EXPECT_EQ(folder, folder_);
    EXPECT_EQ(0, Error());
  }
}

TEST_F(FileSharePathTest, HomeResolvesThroughTheUsersFolderAndNotThroughAShare) {
  const std::string real = ScratchPath("alice");
  std::filesystem::create_directories(real);
  FindsUser("Alice", Account(real));
  EXPECT_EQ(1, FullPath("/home/docs", "Alice"));
  EXPECT_EQ(real + "/docs", full_);
  EXPECT_EQ("home", share_);
  EXPECT_EQ(real, folder_);
  EXPECT_EQ(real.substr(0, real.find('/', 1)), volume_);
  EXPECT_EQ(0, Error());
}

TEST_F(FileSharePathTest, MissingArgumentsAreError1AndSilent) {
  EXPECT_EQ(0, FullPath(nullptr));
  EXPECT_EQ(1, Error());
  ForgetError();
  EXPECT_EQ(0, FullPath(""));
  EXPECT_EQ(1, Error());
  ForgetError();
  EXPECT_EQ(0, FullPath("/photo", ""));
  EXPECT_EQ(1, Error());
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_EQ("????", full_ + share_ + volume_ + folder_);
}

TEST_F(FileSharePathTest, APathWithoutComponentIsError2) {
  EXPECT_EQ(0, FullPath("//"));
  ExpectLogged("file_share(#) error path");
  ExpectLogged("file_share:# WfmLibGetTokOfPath fail");
  EXPECT_EQ(2, Error());
  ForgetError();
  EXPECT_EQ(0, FullPath("photo"));
  ExpectLogged("file_share(#): bad path name=photo");
  ExpectLogged("file_share:# WfmLibGetTokOfPath fail");
  EXPECT_EQ(2, Error());
  EXPECT_EQ("????", full_ + share_ + volume_ + folder_);
}

TEST_F(FileSharePathTest, AHomeThatCannotBeResolvedIsError2) {
  FindsUser("alice", nullptr, -1);
  EXPECT_EQ(0, FullPath("/home"));
  ExpectLogged("file_share:# Failed to get user (alice)");
  ExpectLogged("file_share:# WfmUserHomeFullPathGet fail");
  EXPECT_EQ(2, Error());
  EXPECT_EQ("???", full_ + volume_ + folder_);
}

TEST_F(FileSharePathTest, AnythingButZeroIsNoShareAndError6) {
  for (const int result : {-1, 1}) {
    ForgetError();
    FindsShare("photo", result == 1 ? Share("photo") : nullptr, result);
    EXPECT_EQ(0, FullPath("/photo/a"));
    ExpectLogged("file_share:# KESTShareGet fail");
    EXPECT_EQ(6, Error());
    EXPECT_EQ("photo", share_);
    EXPECT_EQ("???", full_ + volume_ + folder_);
  }
}

TEST_F(FileSharePathTest, ASuccessClearsTheErrorOfACallBefore) {
  EXPECT_EQ(0, FullPath(""));
  FindsShare("photo", Share("photo"));
  EXPECT_EQ(1, FullPath("/photo"));
  EXPECT_EQ(0, Error());
}

TEST_F(FileSharePathTest, TheCallsOnThePlatformStandInThisOrder) {
  FindsShare("photo", Share("photo"));
  EXPECT_EQ(1, FullPath("/photo/a"));
  EXPECT_THAT(Calls(), ElementsAre("PslKLIBSzListAlloc", "KLIBStrTok", "SzKLIBSzListGet", "strdup photo",
                                   "KLIBSzListFree", "KESTShareGet", "KESTShareFree", "free"));
}

TEST_F(FileSharePathTest, ThePathMayBeOneOfTheOutputs) {
  for (std::string* output : {&full_, &share_, &volume_, &folder_}) {
    *output = "/photo/a/" + std::string(100, 'b');
    FindsShare("photo", Share("photo"));
    EXPECT_EQ(1, FullPath(output->c_str()));
    EXPECT_EQ("/volume1/photo/a/" + std::string(100, 'b'), full_);
  }
}

TEST_F(FileSharePathTest, LackOfMemoryPassesAndLeaksNothing) {
  const std::string deep = "/photo/" + std::string(100, 'd');
  KESTSHARE* record = Share("photo");
  std::string folder = "/volume1/" + std::string(100, 'v');
  record->path = folder.data();
  EXPECT_CALL(dir(), KESTShareGet(_, _)).WillRepeatedly([=](const char*, KESTSHARE** slot) {
    *slot = record;
    return 0;
  });
  EXPECT_LE(4, FailuresUntilItSucceeds([&] {
              std::string full, share, volume, shared;
              files_.WfmFullPathGet(deep.c_str(), full, share, volume, shared, "alice");
            }));
  EXPECT_LE(1, FailuresUntilItSucceeds([&] { files_.IsDirUserHome("/homes/alice", deep.c_str()); }));
}

TEST(FileSharePermissionTest, PermissionsAreADecimalNumberThatReadsLikeTheOctalOne) {
  TarvelFileShare files;
  EXPECT_EQ(755U, files.GetPrivilege(0755));
  EXPECT_EQ(640U, files.GetPrivilege(0640));
  for (unsigned owner = 0; owner < 8; ++owner) {
    for (unsigned group = 0; group < 8; ++group) {
      for (unsigned others = 0; others < 8; ++others) {
        const unsigned mode = owner << 6 | group << 3 | others;
        const unsigned number = owner * 100 + group * 10 + others;
        EXPECT_EQ(number, files.GetPrivilege(mode));
        EXPECT_EQ(number, files.GetPrivilege(mode | S_IFDIR | S_ISUID | S_ISGID | S_ISVTX));
        EXPECT_EQ(number, files.GetPrivilege(mode | ~0777U));
      }
    }
  }
}

}  // namespace
}  // namespace tarvel_test
