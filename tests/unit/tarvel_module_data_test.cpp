// Request context: module data and the library's own settings, at their fixed paths.

#include <cerrno>
#include <filesystem>
#include <string>

#include "support/killed_process.h"
#include "tarvel.h"
#include "tarvel_fixture.h"

namespace tarvel_test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kModules = "/tmp/tarvel/modules";
const char kMakeModules[] = "system /bin/mkdir -p /tmp/tarvel/modules";

class TarvelModuleDataTest : public TarvelTest {
 protected:
  // Where the record really is while the test runs.
  std::string OnDisk(const std::string& name) { return machine().RealPath(kModules + "/" + name); }
  void MakeDirectory(const std::string& name) { std::filesystem::create_directories(OnDisk(name)); }

  Json::Value value_ = Doc("{'a': 1}");
  Json::Value out_;
};

TEST_F(TarvelModuleDataTest, ARecordNeverWrittenReadsFalseSilently) {
  EXPECT_FALSE(Request().ReadModuleData("draft", out_));
  EXPECT_FALSE(Request().IsModuleDataExist("draft"));
  EXPECT_TRUE(out_.isNull());
}

TEST_F(TarvelModuleDataTest, TheFirstWriteMakesTheDirectoryTheSecondDoesNotCallTheShell) {
  EXPECT_TRUE(Request().WriteModuleData("draft", value_));
  EXPECT_THAT(Calls(),
              ElementsAre("stat /tmp/tarvel/modules", kMakeModules, "fopen /tmp/tarvel/modules/draft.tmp w+", "fputs",
                          "fclose", "rename /tmp/tarvel/modules/draft.tmp /tmp/tarvel/modules/draft"));
  EXPECT_EQ("{\n   \"a\" : 1\n}\n", FileContent(kModules + "/draft"));
  EXPECT_TRUE(Request().WriteModuleData("draft", value_));
  EXPECT_THAT(Calls(), ElementsAre("stat /tmp/tarvel/modules", "fopen /tmp/tarvel/modules/draft.tmp w+", "fputs",
                                   "fclose", "rename /tmp/tarvel/modules/draft.tmp /tmp/tarvel/modules/draft"));
}

TEST_F(TarvelModuleDataTest, AWrittenRecordExistsAndIsReadBack) {
  EXPECT_TRUE(Request().WriteModuleData("draft", value_));
  EXPECT_TRUE(Request().IsModuleDataExist("draft"));
  EXPECT_TRUE(Request().ReadModuleData("draft", out_));
  EXPECT_EQ(value_, out_);
}

TEST_F(TarvelModuleDataTest, AProcessKilledAtAnyCallLeavesTheOldRecordOrTheNewOne) {
  Tarvel& request = Request();
  Json::Value next;
  // More than stdio keeps back.
  next["a"] = std::string(10000, 'x');
  EXPECT_TRUE(request.WriteModuleData("draft", next));
  const std::string fresh = FileContent(kModules + "/draft");
  EXPECT_TRUE(request.WriteModuleData("draft", value_));
  const std::string old = FileContent(kModules + "/draft");
  const auto look = [&] {
    const std::string now = FileContent(kModules + "/draft");
    EXPECT_TRUE(now == old || now == fresh) << now;
  };
  EXPECT_EQ(5, KilledAtEachCall([&] { request.WriteModuleData("draft", next); }, look));
  EXPECT_EQ(fresh, FileContent(kModules + "/draft"));
}

TEST_F(TarvelModuleDataTest, ADirectoryThatCannotBeMadeShowsAsAFailureToOpenTheRecord) {
  machine().FailNext("system", EPERM);
  EXPECT_TRUE(Request().WriteModuleData("draft", value_));
  ExpectLogged("tarvel(#) Failed to fopen /tmp/tarvel/modules/draft.tmp, reason=No such file or directory.\n");
  EXPECT_FALSE(Request().IsModuleDataExist("draft"));
}

TEST_F(TarvelModuleDataTest, AnyFileAtTheDirectorysPlaceKeepsTheShellAway) {
  WriteFile(kModules, "a file");
  EXPECT_TRUE(Request().WriteModuleData("draft", value_));
  ExpectLogged("tarvel(#) Failed to fopen /tmp/tarvel/modules/draft.tmp, reason=Not a directory.\n");
  EXPECT_THAT(Calls(), ElementsAre("stat /tmp/tarvel/modules", "fopen /tmp/tarvel/modules/draft.tmp w+"));
}

TEST_F(TarvelModuleDataTest, ADirectoryOfThatNameExistsToo) {
  MakeDirectory("draft");
  EXPECT_TRUE(Request().IsModuleDataExist("draft"));
}

TEST_F(TarvelModuleDataTest, ExistenceFollowsLinks) {
  MakeDirectory("");
  std::filesystem::create_symlink("nowhere", OnDisk("link"));
  EXPECT_FALSE(Request().IsModuleDataExist("link"));
  WriteFile(kModules + "/nowhere", "");
  EXPECT_TRUE(Request().IsModuleDataExist("link"));
}

TEST_F(TarvelModuleDataTest, NamesAreAppendedAsTheyAre) {
  MakeDirectory("sub");
  EXPECT_TRUE(Request().WriteModuleData("sub/draft", value_));
  EXPECT_EQ("{\n   \"a\" : 1\n}\n", FileContent(kModules + "/sub/draft"));
  EXPECT_TRUE(Request().IsModuleDataExist(""));
  EXPECT_TRUE(Request().IsModuleDataExist(".."));
  EXPECT_TRUE(Request().IsModuleDataExist("../modules/sub/draft"));
}

TEST_F(TarvelModuleDataTest, WritingARecordDestroysTheOneThatHasItsTemporaryName) {
  EXPECT_TRUE(Request().WriteModuleData("x.tmp", value_));
  EXPECT_TRUE(Request().WriteModuleData("x", value_));
  EXPECT_FALSE(Request().IsModuleDataExist("x.tmp"));
}

TEST_F(TarvelModuleDataTest, RemovingAMissingRecordGivesMinusOne) {
  EXPECT_EQ(-1, Request().RemoveModuleData("draft"));
  EXPECT_EQ(ENOENT, errno);
}

TEST_F(TarvelModuleDataTest, ARecordIsRemovedAndTheDirectoryStays) {
  EXPECT_TRUE(Request().WriteModuleData("draft", value_));
  Calls();
  EXPECT_EQ(0, Request().RemoveModuleData("draft"));
  EXPECT_THAT(Calls(), ElementsAre("remove /tmp/tarvel/modules/draft"));
  EXPECT_FALSE(FileExists(kModules + "/draft"));
  EXPECT_TRUE(FileExists(kModules));
}

TEST_F(TarvelModuleDataTest, AnEmptyDirectoryIsRemovedTooAFilledOneIsNot) {
  MakeDirectory("filled/inner");
  EXPECT_EQ(-1, Request().RemoveModuleData("filled"));
  EXPECT_EQ(0, Request().RemoveModuleData("filled/inner"));
  EXPECT_EQ(0, Request().RemoveModuleData("filled"));
}

TEST_F(TarvelModuleDataTest, WithoutANameEveryOperationLeavesTheFilesAlone) {
  EXPECT_FALSE(Request().IsModuleDataExist(nullptr));
  EXPECT_FALSE(Request().ReadModuleData(nullptr, out_));
  EXPECT_TRUE(Request().WriteModuleData(nullptr, value_));
  EXPECT_EQ(-1, Request().RemoveModuleData(nullptr));
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(TarvelModuleDataTest, ARecordOfAMegabyteAndAByteReadsFalseAndIsLogged) {
  WriteFile(kModules + "/big", std::string(1048577, ' '));
  EXPECT_FALSE(Request().ReadModuleData("big", out_));
  ExpectLogged("tarvel (#) Can't read file > 1MB.");
}

// Each call that a write makes, in turn. What cannot be opened or renamed leaves the record before; what cannot be
// written leaves an empty one, which reads as none: writes are not checked.
TEST_F(TarvelModuleDataTest, AWriteLeavesAWholeRecordOrNoneWhateverFails) {
  const struct {
    const char* call;
    const char* left;
  } rows[] = {{"stat", "{'a': 2}"},   {"fopen", "{'a': 1}"},  {"fputs", nullptr},
              {"fclose", "{'a': 2}"}, {"rename", "{'a': 1}"}, {"nothing", "{'a': 2}"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.call);
    EXPECT_TRUE(Request().WriteModuleData("volume", value_));
    Json::Value next = Doc("{'a': 2}");
    if (row.call != std::string("nothing")) machine().FailNext(row.call, ENOSPC);
    EXPECT_TRUE(Request().WriteModuleData("volume", next));
    if (row.call == std::string("fopen")) {
      ExpectLogged("tarvel(#) Failed to fopen /tmp/tarvel/modules/volume.tmp, reason=No space left on device.\n");
    }
    Json::Value read;
    EXPECT_EQ(row.left != nullptr, Request().ReadModuleData("volume", read));
    if (row.left != nullptr) {
      EXPECT_EQ(Doc(row.left), read);
    }
  }
}

TEST_F(TarvelModuleDataTest, WithoutMemoryTheRecordBeforeStays) {
  EXPECT_TRUE(Request().WriteModuleData("volume", value_));
  Json::Value next = Doc("{'a text that is too long to need no memory': 2}");
  const int failures = FailuresUntilItSucceeds([&] {
    EXPECT_EQ("{\n   \"a\" : 1\n}\n", FileContent(kModules + "/volume"));
    Request().WriteModuleData("volume", next);
  });
  EXPECT_GE(failures, 5);
  EXPECT_EQ("{\n   \"a text that is too long to need no memory\" : 2\n}\n", FileContent(kModules + "/volume"));
}

TEST_F(TarvelModuleDataTest, ABrokenRecordReadsFalseSilently) {
  WriteFile(kModules + "/draft", "{\"a\": ");
  EXPECT_FALSE(Request().ReadModuleData("draft", out_));
}

class TarvelConfigTest : public TarvelModuleDataTest {};

TEST_F(TarvelConfigTest, TheLibrarysSettingsAreOneFile) {
  WriteFile("/usr/kest/etc/tarvel.cfg", "{}");
  EXPECT_TRUE(Request().SaveConfig(value_));
  EXPECT_THAT(Calls(), ElementsAre("fopen /usr/kest/etc/tarvel.cfg.tmp w+", "fputs", "fclose",
                                   "rename /usr/kest/etc/tarvel.cfg.tmp /usr/kest/etc/tarvel.cfg"));
  EXPECT_TRUE(Request().LoadConfig(out_));
  EXPECT_EQ(value_, out_);
}

TEST_F(TarvelConfigTest, MissingSettingsLoadFalseSilently) { EXPECT_FALSE(Request().LoadConfig(out_)); }

TEST_F(TarvelConfigTest, SettingsThatCannotBeSavedAreLoggedAndTrue) {
  EXPECT_TRUE(Request().SaveConfig(value_));
  ExpectLogged("tarvel(#) Failed to fopen /usr/kest/etc/tarvel.cfg.tmp, reason=No such file or directory.\n");
}

}  // namespace
}  // namespace tarvel_test
