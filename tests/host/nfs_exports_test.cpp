#include "host/storage/nfs_exports.h"

#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "folder.h"
#include "platform/klib.h"

namespace kest {
namespace {

class NfsExportsTest : public testing::Test {
 protected:
  int Apply(const std::string& folder, const std::string& rules) {
    rules_ = folder_.Put("rules", rules);
    KLIBErrSet(0);
    return ApplyNfsRule(Files(), folder.c_str());
  }

  NfsFiles Files() {
    rules_ = folder_.File("rules"), exports_folder_ = folder_.File("exports.d");
    exports_ = folder_.File("exports.d/kest.exports"), exportfs_ = folder_.File("exportfs");
    return {rules_.c_str(), exports_folder_.c_str(), exports_.c_str(), exportfs_.c_str()};
  }

  std::string Exports() { return Content(folder_.File("exports.d/kest.exports")); }

  // A program in the place of exportfs: notes its arguments and ends with `status`.
  void InstallExportfs(int status) {
    folder_.Put("exportfs",
                "#!/bin/sh\necho \"$@\" >>'" + folder_.File("called") + "'\nexit " + std::to_string(status) + "\n");
    chmod(folder_.File("exportfs").c_str(), 0755);
  }

  const Folder folder_;
  std::string rules_, exports_folder_, exports_, exportfs_;
};

TEST_F(NfsExportsTest, ARuleBecomesALine) {
  ASSERT_EQ(0, Apply("/volume1/photo", "/volume1/photo=\"192.168.1.0/24(rw,no_subtree_check) *.lan(ro)\"\n"));
  EXPECT_EQ("/volume1/photo 192.168.1.0/24(rw,no_subtree_check) *.lan(ro)\n", Exports());
}

TEST_F(NfsExportsTest, OneFoldersLineIsReplacedAndRemovedAndOthersStand) {
  ASSERT_EQ(0, Apply("/volume1/a", "/volume1/a=\"x(ro)\"\n"));
  ASSERT_EQ(0, Apply("/volume1/ab", "/volume1/ab=\"y(ro)\"\n"));
  ASSERT_EQ(0, Apply("/volume1/a", "/volume1/a=\"z(rw)\"\n"));
  EXPECT_EQ("/volume1/a z(rw)\n/volume1/ab y(ro)\n", Exports());
  ASSERT_EQ(0, Apply("/volume1/a/", ""));
  EXPECT_EQ("/volume1/ab y(ro)\n", Exports());
  ASSERT_EQ(0, Apply("/volume1/ab", "/volume1/ab=\"\"\n"));
  EXPECT_EQ("", Exports());
}

TEST_F(NfsExportsTest, AFolderWithoutRuleLeavesNoTrace) {
  InstallExportfs(1);
  ASSERT_EQ(0, Apply("/volume1/photo", ""));
  EXPECT_EQ((std::set<std::string>{"rules", "exportfs"}), folder_.Names());
}

TEST_F(NfsExportsTest, ANameCannotLeaveItsPlaceInTheLine) {
  EXPECT_EQ("/volume1/a\\040b x(ro)\n", ExportLine("/volume1/a b", "x(ro)"));
  EXPECT_EQ("/volume1/a\\012/etc\\040\\052\\050rw\\051 x(ro)\n", ExportLine("/volume1/a\n/etc *(rw)", "x(ro)"));
  EXPECT_EQ("/volume1/\\042\\043\\047\\134\\011 x(ro)\n", ExportLine("/volume1/\"#'\\\t", "x(ro)"));
  EXPECT_EQ("/volume1/\xC3\xBC-._09 x(ro)\n", ExportLine("/volume1/\xC3\xBC-._09", "x(ro)"));
  EXPECT_EQ("", WithExport("/volume1/a\\040b x(ro)\n", "/volume1/a b", ""));
}

TEST_F(NfsExportsTest, ClientsThatAreNoneAreRefused) {
  for (const char* clients :
       {"(rw)", "host (rw)", "a(rw)#", "a\t(rw)", "\"a\"(rw)", "a\\(rw)", "a;b", " ", "a(rw)\x01"}) {
    EXPECT_EQ("", ExportLine("/volume1/a", clients)) << clients;
  }
  EXPECT_GT(0, Apply("/volume1/a", "/volume1/a=\"(rw)\"\n"));
  EXPECT_NE(0, KLIBErrGet());
  EXPECT_EQ("", Exports());
}

TEST_F(NfsExportsTest, AFolderOnNoVolumeIsRefused) {
  for (const char* folder : {"", "/", "/etc", "volume1/a", "/volume1/../etc", "/volume/a"}) {
    EXPECT_GT(0, Apply(folder, std::string(folder) + "=\"x(ro)\"\n")) << folder;
    EXPECT_NE(0, KLIBErrGet()) << folder;
  }
}

TEST_F(NfsExportsTest, TheServerIsToldWheneverItMayKnowSomething) {
  InstallExportfs(0);
  ASSERT_EQ(0, Apply("/volume1/a", "/volume1/a=\"x(ro)\"\n"));
  EXPECT_EQ("-r\n", Content(folder_.File("called")));
  ASSERT_EQ(0, Apply("/volume1/a", "/volume1/a=\"x(ro)\"\n"));
  EXPECT_EQ("-r\n-r\n", Content(folder_.File("called")));
}

TEST_F(NfsExportsTest, AServerThatRefusesIsAFailure) {
  InstallExportfs(1);
  EXPECT_GT(0, Apply("/volume1/a", "/volume1/a=\"x(ro)\"\n"));
  EXPECT_NE(0, KLIBErrGet());
  EXPECT_EQ("/volume1/a x(ro)\n", Exports());
}

TEST_F(NfsExportsTest, FilesThatCannotBeReadOrWrittenAreAFailure) {
  mkdir(folder_.File("exports.d").c_str(), 0755);
  mkdir(folder_.File("exports.d/kest.exports").c_str(), 0755);
  EXPECT_GT(0, Apply("/volume1/a", "/volume1/a=\"x(ro)\"\n"));
  rmdir(folder_.File("exports.d/kest.exports").c_str());
  rmdir(folder_.File("exports.d").c_str());
  folder_.Put("exports.d", "a file");
  EXPECT_GT(0, Apply("/volume1/a", "/volume1/a=\"x(ro)\"\n"));
  unlink(folder_.File("rules").c_str());
  mkdir(folder_.File("rules").c_str(), 0755);
  EXPECT_GT(0, ApplyNfsRule(Files(), "/volume1/a"));
}

TEST_F(NfsExportsTest, ALastLineWithoutEndIsOne) {
  EXPECT_EQ("/volume1/b y\n/volume1/a x\n", WithExport("/volume1/b y", "/volume1/a", "/volume1/a x\n"));
}

}  // namespace
}  // namespace kest
