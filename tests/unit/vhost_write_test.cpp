// Virtual hosts: writing both files.

#include <sys/stat.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <new>
#include <random>

#include "internal/vhost_writer.h"
#include "support/allocations.h"
#include "support/killed_process.h"
#include "support/mock_kestcgi.h"
#include "vhost_fixture.h"

namespace tarvel_test {
namespace {

using tarvel_internal::SetHttpPort;
using ::testing::_;
using ::testing::AnyNumber;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Return;
using ::testing::StartsWith;
using ::testing::StrEq;
using ::testing::UnorderedElementsAre;

const char kFormats[] =
    "ErrorDocument 403 \"/webdefault/sample.php?status=403\"\n"
    "ErrorDocument 404 \"/webdefault/sample.php?status=404\"\n"
    "ErrorDocument 500 \"/webdefault/sample.php?status=500\"\n";

class VHostWriteTest : public VHostTest {
 protected:
  VHostWriteTest() {
    WriteFile(kHttpFile, "old http\n");
    WriteFile(kHttpsFile, "old https\n");
    std::filesystem::create_directories(machine().RealPath("/var/services/web"));
  }
  ~VHostWriteTest() override { SetHttpPort(0); }

  void HttpPortIs(const char* value) {
    EXPECT_CALL(cgi(), KestCgiInit(StrEq(""), _));
    EXPECT_CALL(cgi(), KestCgiLoadInfo(_));
    EXPECT_CALL(cgi(), KestCgiGetInfo(_, StrEq("httpport"), StrEq(""))).WillOnce(Return(value));
  }

  // Any number of saves.
  void SettingsMayBeRead() {
    EXPECT_CALL(cgi(), KestCgiInit(StrEq(""), _)).Times(AnyNumber());
    EXPECT_CALL(cgi(), KestCgiLoadInfo(_)).Times(AnyNumber());
    EXPECT_CALL(cgi(), KestCgiGetInfo(_, _, _)).Times(AnyNumber()).WillRepeatedly(Return("5000"));
  }

  // Settings are not read again in the same test.
  bool Save(const Json::Value& list, const char* http_port = "5000") {
    HttpPortIs(http_port);
    Json::Value copy = list;
    const bool saved = VHost::VHostInfoAllSet(copy);
    EXPECT_EQ(list, copy) << "the list gains no members";
    return saved;
  }

  // How many the calls since the last look have opened and not closed.
  int OpenFiles() {
    int open = 0;
    for (const std::string& call : Calls()) open += call.rfind("fopen", 0) == 0 ? 1 : call == "fclose" ? -1 : 0;
    return open;
  }

  void ExpectOldFiles() {
    EXPECT_EQ("old http\n", FileContent(kHttpFile));
    EXPECT_EQ("old https\n", FileContent(kHttpsFile));
  }

  static std::string Golden(const char* name) {
    std::ifstream file(std::string(TARVEL_GOLDEN_FOLDER) + "/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  static mode_t ModeOf(const std::string& path) {
    return static_cast<mode_t>(std::filesystem::status(path).permissions());
  }

  std::string Folder(const std::string& name) { return machine().RealPath("/var/services/web/" + name); }

  const Json::Value one_ = List({HostOf(0, 8080, "a.example", "a")});

  static Json::Value List(const std::vector<Json::Value>& items) {
    Json::Value list(Json::arrayValue);
    for (const Json::Value& item : items) list.append(item);
    return list;
  }
};

const char kHttpTmp[] = "/usr/kest/etc/httpd-vhost.conf-user.tmp";
const char kHttpsTmp[] = "/usr/kest/etc/httpd-ssl-vhost.conf-user.tmp";
const char kOpenHttp[] = "fopen /usr/kest/etc/httpd-vhost.conf-user.tmp w";
const char kOpenHttps[] = "fopen /usr/kest/etc/httpd-ssl-vhost.conf-user.tmp w";
const char kRenameHttp[] = "rename /usr/kest/etc/httpd-vhost.conf-user.tmp /usr/kest/etc/httpd-vhost.conf-user";
const char kRenameHttps[] =
    "rename /usr/kest/etc/httpd-ssl-vhost.conf-user.tmp /usr/kest/etc/httpd-ssl-vhost.conf-user";

TEST_F(VHostWriteTest, BothFilesAreExactToTheByte) {
  EXPECT_TRUE(Save(List({
      HostOf(0, 8080, "shop.example", "shop"),
      HostOf(1, 443, "secure.example", "secure"),
      HostOf(0, 443, "plain443.example", "plain 443"),
      HostOf(1, 8443, "other.example", "secure"),
      HostOf(0, 8080, "second.example", "shop"),
      HostOf(0, 80, "www.example", "www"),
      HostOf(1, 8080, "both.example", "both"),
      HostOf(0, 5000, "admin.example", "admin"),
      HostOf(0, 81, "last.example", "last"),
      HostOf(1, 443, "third.example", "third"),
  })));
  EXPECT_EQ(Golden("httpd-vhost.conf-user"), FileContent(kHttpFile));
  EXPECT_EQ(Golden("httpd-ssl-vhost.conf-user"), FileContent(kHttpsFile));
  EXPECT_FALSE(FileExists(kHttpTmp));
  EXPECT_FALSE(FileExists(kHttpsTmp));
}

TEST_F(VHostWriteTest, OneHostBesideTheAppliancesOwn) {
  EXPECT_TRUE(Save(one_));
  EXPECT_EQ(std::string("Listen 8080\nNameVirtualHost *:8080\nNameVirtualHost *:80\nNameVirtualHost *:5000\n"
                        "<VirtualHost *:80>\nServerName *\nDocumentRoot /var/services/web\n</VirtualHost>\n"
                        "<VirtualHost *:5000>\nServerName *\nDocumentRoot /var/services/web\n</VirtualHost>\n"
                        "<VirtualHost *:8080>\nServerName a.example\nDocumentRoot \"/var/services/web/a\"\n") +
                kFormats + "</VirtualHost>\n",
            FileContent(kHttpFile));
  EXPECT_EQ("", FileContent(kHttpsFile));
}

TEST_F(VHostWriteTest, TheCallsComeInTheirOrder) {
  EXPECT_TRUE(Save(List({HostOf(0, 81, "a", "a"), HostOf(1, 443, "b", "b")})));
  EXPECT_THAT(Calls(), ElementsAre("malloc 12", "malloc 12", kOpenHttp, kOpenHttps,                                //
                                   "KestCgiInit", "KestCgiLoadInfo", "KestCgiGetInfo", "KestCgiFree",              //
                                   "fputs", "fputs", "fputs",                                                      //
                                   "stat /var/services/web/a", "mkdir /var/services/web/a 0777",                   //
                                   "chown /var/services/web/a 1024 0", "chmod /var/services/web/a 0777", "fputs",  //
                                   "stat /var/services/web/b", "mkdir /var/services/web/b 0777",                   //
                                   "chown /var/services/web/b 1024 0", "chmod /var/services/web/b 0777", "fputs",  //
                                   "fclose", "fclose", "free", "free", kRenameHttps, kRenameHttp));
}

TEST_F(VHostWriteTest, AnEmptyListMakesBothFilesEmpty) {
  for (const Json::Value& list : {Json::Value(Json::arrayValue), Json::Value()}) {
    WriteFile(kHttpFile, "old");
    WriteFile(kHttpsFile, "old");
    EXPECT_TRUE(Save(list));
    EXPECT_EQ("", FileContent(kHttpFile));
    EXPECT_EQ("", FileContent(kHttpsFile));
    EXPECT_THAT(Calls(), ElementsAre("malloc 4", "malloc 4", kOpenHttp, kOpenHttps, "KestCgiInit", "KestCgiLoadInfo",
                                     "KestCgiGetInfo", "KestCgiFree", "fclose", "fclose", "free", "free", kRenameHttps,
                                     kRenameHttp));
  }
}

TEST_F(VHostWriteTest, WhereTheHttpPortIs80TheAppliancesHostIsThereOnce) {
  EXPECT_TRUE(Save(one_, "80"));
  EXPECT_THAT(FileContent(kHttpFile),
              StartsWith("Listen 8080\nNameVirtualHost *:8080\nNameVirtualHost *:80\n<VirtualHost *:80>\nServerName *\n"
                         "DocumentRoot /var/services/web\n</VirtualHost>\n<VirtualHost *:8080>\n"));
}

TEST_F(VHostWriteTest, WithoutAnHttpPortTheAppliancesHostIsThereOnPortZeroToo) {
  for (const char* value : {"", "none"}) {
    EXPECT_TRUE(Save(one_, value));
    EXPECT_THAT(FileContent(kHttpFile),
                StartsWith("Listen 8080\nNameVirtualHost *:8080\nNameVirtualHost *:80\nNameVirtualHost *:0\n"
                           "<VirtualHost *:80>\nServerName *\nDocumentRoot /var/services/web\n</VirtualHost>\n"
                           "<VirtualHost *:0>\nServerName *\n"));
  }
}

TEST_F(VHostWriteTest, AnHttpPortBeyondIntSaturates) {
  EXPECT_TRUE(Save(one_, "4294967376"));
  EXPECT_NE(std::string::npos, FileContent(kHttpFile).find("<VirtualHost *:2147483647>\nServerName *\n"));
}

TEST_F(VHostWriteTest, TheHttpPortIsReadAnewForEachSave) {
  EXPECT_TRUE(Save(one_, "8080"));
  EXPECT_THAT(FileContent(kHttpFile), StartsWith("NameVirtualHost *:80\nNameVirtualHost *:8080\n"));
  EXPECT_TRUE(Save(one_, "81"));
  EXPECT_THAT(FileContent(kHttpFile), StartsWith("Listen 8080\nNameVirtualHost *:8080\n"));
}

TEST_F(VHostWriteTest, MissingMembersAreZeroAndEmpty) {
  EXPECT_TRUE(Save(List({Json::Value(), Json::Value(Json::objectValue)})));
  const std::string block = std::string("<VirtualHost *:0>\nServerName \nDocumentRoot \"/var/services/web/\"\n") +
                            kFormats + "</VirtualHost>\n";
  const std::string content = FileContent(kHttpFile);
  EXPECT_EQ(block + block, content.substr(content.size() - 2 * block.size()));
}

TEST_F(VHostWriteTest, AFolderIsMadeForEverybodyWhateverTheUmask) {
  const mode_t before = umask(0077);
  EXPECT_TRUE(Save(one_));
  umask(before);
  EXPECT_TRUE(std::filesystem::is_directory(Folder("a")));
  EXPECT_EQ(0777u, ModeOf(Folder("a")));
}

TEST_F(VHostWriteTest, AFolderThatExistsIsLeftAsItIsEvenWhenItIsAFile) {
  std::filesystem::create_directories(Folder("a"));
  std::filesystem::permissions(Folder("a"), std::filesystem::perms(0700));
  WriteFile("/var/services/web/b", "file");
  EXPECT_TRUE(Save(List({HostOf(0, 81, "a", "a"), HostOf(0, 81, "b", "b"), HostOf(0, 81, "c", "")})));
  EXPECT_EQ(0700u, ModeOf(Folder("a")));
  EXPECT_EQ("file", FileContent("/var/services/web/b"));
  for (const std::string& call : Calls()) {
    EXPECT_TRUE(call.find("mkdir") == std::string::npos && call.find("ch") != 0) << call;
  }
}

TEST_F(VHostWriteTest, OwnerAndModeOfANewFolderAreNotChecked) {
  machine().FailNext("chown", EPERM);
  machine().FailNext("chmod", EPERM);
  EXPECT_TRUE(Save(one_));
  EXPECT_TRUE(FileExists("/var/services/web/a"));
}

TEST_F(VHostWriteTest, AFoldersPathIsCutTo63BytesButNotInTheFile) {
  const std::string fits(63 - std::string("/var/services/web/").size(), 'f');
  EXPECT_TRUE(Save(List({HostOf(0, 81, "a", fits + "g")})));
  EXPECT_TRUE(FileExists("/var/services/web/" + fits));
  EXPECT_FALSE(FileExists("/var/services/web/" + fits + "g"));
  EXPECT_NE(std::string::npos, FileContent(kHttpFile).find("DocumentRoot \"/var/services/web/" + fits + "g\"\n"));
}

TEST_F(VHostWriteTest, AFolderWhoseParentIsMissingCannotBeMade) {
  EXPECT_FALSE(Save(List({HostOf(0, 81, "a", "b/c")})));
  ExpectLogged("vhost:# mkdir[/var/services/web/b/c] failed! error_code=2/No such file or directory");
  ExpectOldFiles();
}

TEST_F(VHostWriteTest, AFolderThatCannotBeLookedUpEndsTheSave) {
  for (const int error : {EACCES, ENOTDIR, ELOOP}) {
    machine().FailNext("stat", error);
    EXPECT_FALSE(Save(one_));
    ExpectLogged("vhost:# stat[/var/services/web/a] failed! error_code=" + std::to_string(error) + "/" +
                 std::strerror(error));
    ExpectOldFiles();
    EXPECT_FALSE(FileExists("/var/services/web/a"));
    EXPECT_TRUE(FileExists(kHttpTmp));
    EXPECT_TRUE(FileExists(kHttpsTmp));
  }
}

TEST_F(VHostWriteTest, AFolderThatCannotBeMadeEndsTheSave) {
  machine().FailNext("mkdir", EROFS);
  EXPECT_FALSE(Save(one_));
  ExpectLogged("vhost:# mkdir[/var/services/web/a] failed! error_code=30/Read-only file system");
  ExpectOldFiles();
  EXPECT_THAT(Calls(), Contains("mkdir /var/services/web/a 0777"));
}

TEST_F(VHostWriteTest, AnyOtherTypeEndsTheSaveBeforeAnyFolderIsMade) {
  for (const int type : {2, -1, INT_MAX}) {
    EXPECT_FALSE(Save(List({HostOf(0, 81, "a", "a"), HostOf(type, 82, "b", "b")})));
    ExpectLogged("vhost:# The type [" + std::to_string(type) + "] of virtual host is wrong!!");
    ExpectOldFiles();
    EXPECT_EQ("Listen 81\nNameVirtualHost *:81\n", FileContent(kHttpTmp));
    EXPECT_EQ("", FileContent(kHttpsTmp));
    EXPECT_FALSE(FileExists("/var/services/web/a"));
  }
}

TEST_F(VHostWriteTest, ANegativePortEndsTheSaveAndIsLoggedTwice) {
  for (const int type : {0, 1}) {
    EXPECT_FALSE(Save(List({HostOf(type, -8080, "a", "a")})));
    ExpectLogged("vhost:# Bad parameters!!");
    ExpectLogged("vhost:# AppendPort() failed! port=[-8080]");
    ExpectOldFiles();
    const std::vector<std::string> calls = Calls();
    EXPECT_THAT(std::vector<std::string>(calls.end() - 4, calls.end()),
                UnorderedElementsAre("fclose", "fclose", "free", "free"));
  }
}

TEST_F(VHostWriteTest, MemoryThatRunsOutIsLoggedAndNothingIsOpened) {
  for (const int blocks_before : {0, 1}) {
    machine().FailAfter("malloc", blocks_before, ENOMEM);
    Json::Value list = one_;
    EXPECT_FALSE(VHost::VHostInfoAllSet(list));
    ExpectLogged("vhost:# Out of memory!!");
    for (const std::string& call : Calls()) EXPECT_TRUE(call == "malloc 8" || call == "free") << call;
  }
  ExpectOldFiles();
}

TEST_F(VHostWriteTest, MemoryThatEndsAnywhereLeavesTheRealFilesAndNoneOpen) {
  SettingsMayBeRead();
  Json::Value list = List({HostOf(0, 81, "a", "a"), HostOf(1, 443, std::string(100, 'b'), std::string(100, 'b'))});
  constexpr int kEndless = 1000;
  int failures = 0;
  for (bool saved = false; !saved && failures < kEndless;) {
    try {
      const FailingNew failing(failures);
      saved = VHost::VHostInfoAllSet(list);
    } catch (const std::bad_alloc&) {
      ++failures;
      ExpectOldFiles();
    }
    EXPECT_EQ(0, OpenFiles());
  }
  EXPECT_GE(failures, 20);
  EXPECT_LT(failures, kEndless);
}

TEST_F(VHostWriteTest, AFileThatCannotBeOpenedIsLoggedAndTheOtherOneStays) {
  Json::Value list = one_;
  machine().FailNext("fopen", EACCES);
  EXPECT_FALSE(VHost::VHostInfoAllSet(list));
  ExpectLogged(std::string("vhost:# Fail to fopen file [") + kHttpTmp + "], errno=[13]");
  EXPECT_FALSE(FileExists(kHttpTmp));
  machine().FailAfter("fopen", 1, EMFILE);
  EXPECT_FALSE(VHost::VHostInfoAllSet(list));
  ExpectLogged(std::string("vhost:# Fail to fopen file [") + kHttpsTmp + "], errno=[24]");
  EXPECT_TRUE(FileExists(kHttpTmp));
  ExpectOldFiles();
}

TEST_F(VHostWriteTest, AWriteThatFailsNeverReachesTheRealFiles) {
  const Json::Value list = List({HostOf(0, 81, "a", "a"), HostOf(1, 443, "b", "b")});
  const std::vector<std::vector<std::string>> logs = {
      {"AppendPort() failed! port=[81]"}, {"AppendPort() failed! port=[443]"}, {},
      {"VHostConfWrite() failed!!"},      {"VHostConfWrite() failed!!"},
  };
  for (size_t written = 0; written < logs.size(); ++written) {
    SCOPED_TRACE(written);
    machine().FailAfter("fputs", static_cast<int>(written), ENOSPC);
    EXPECT_FALSE(Save(list));
    for (const std::string& text : logs[written]) ExpectLogged("vhost:# " + text);
    ExpectOldFiles();
  }
  for (const int closed : {0, 1}) {
    machine().FailAfter("fclose", closed, ENOSPC);
    EXPECT_FALSE(Save(list));
    ExpectOldFiles();
    for (const std::string& call : Calls()) EXPECT_NE(0u, call.find("rename")) << call;
  }
}

TEST_F(VHostWriteTest, AFullDiskNeverReachesTheRealFiles) {
  Json::Value many(Json::arrayValue);
  for (int i = 0; i < 200; ++i) many.append(HostOf(i % 2, 80, "host.example", ""));
  for (const char* full : {kHttpTmp, kHttpsTmp}) {
    SCOPED_TRACE(full);
    std::filesystem::remove(machine().RealPath(full));
    std::filesystem::create_symlink("/dev/full", machine().RealPath(full));
    EXPECT_FALSE(Save(List({HostOf(0, 81, "a", "a"), HostOf(1, 443, "b", "b")}))) << "seen when the file is closed";
    ExpectOldFiles();
    EXPECT_FALSE(Save(many)) << "seen while the file is written";
    ExpectLogged("vhost:# VHostConfWrite() failed!!");
    ExpectOldFiles();
    std::filesystem::remove(machine().RealPath(full));
  }
}

TEST_F(VHostWriteTest, AProcessKilledAtAnyCallLeavesEachFileOldOrNewAndTheNextSaveWorks) {
  SettingsMayBeRead();
  Json::Value list(Json::arrayValue);
  // More than stdio keeps back, so that the temporary files are half written for a while.
  for (int i = 0; i < 40; ++i) list.append(HostOf(i % 2, 8000 + i, "host" + std::to_string(i) + ".example", "a"));
  ASSERT_TRUE(VHost::VHostInfoAllSet(list));
  const std::string http = FileContent(kHttpFile), https = FileContent(kHttpsFile);
  bool half_written = false;
  const auto look = [&] {
    const std::string http_now = FileContent(kHttpFile), https_now = FileContent(kHttpsFile);
    EXPECT_TRUE(http_now == http || http_now == "old http\n") << http_now;
    EXPECT_TRUE(https_now == https || https_now == "old https\n") << https_now;
    EXPECT_FALSE(http_now == http && https_now != https) << "HTTPS first";
    const std::string temporary = FileExists(kHttpTmp) ? FileContent(kHttpTmp) : "";
    half_written |= !temporary.empty() && temporary.size() < http.size();
    WriteFile(kHttpFile, "old http\n");
    WriteFile(kHttpsFile, "old https\n");
  };
  const int killed = KilledAtEachCall([&] { VHost::VHostInfoAllSet(list); }, look);
  EXPECT_GT(killed, 2 * static_cast<int>(list.size())) << "a port and a block each";
  EXPECT_TRUE(half_written);
  ASSERT_TRUE(VHost::VHostInfoAllSet(list));
  EXPECT_EQ(http, FileContent(kHttpFile));
  EXPECT_EQ(https, FileContent(kHttpsFile));
}

TEST_F(VHostWriteTest, RenamesAreNotChecked) {
  machine().FailNext("rename", EACCES);
  EXPECT_TRUE(Save(one_));
  EXPECT_EQ("old https\n", FileContent(kHttpsFile));
  EXPECT_EQ("Listen 8080\n", FileContent(kHttpFile).substr(0, 12));
  WriteFile(kHttpFile, "old http\n");
  machine().FailAfter("rename", 1, EACCES);
  EXPECT_TRUE(Save(one_));
  EXPECT_EQ("", FileContent(kHttpsFile));
  EXPECT_EQ("old http\n", FileContent(kHttpFile));
}

TEST_F(VHostWriteTest, WhatIsNoListIsRefusedWithoutAWordAndNothingIsTouched) {
  for (const char* text : {"{}", "{'vhosttype': 0}", "'list'", "1", "true", "1.5"}) {
    SCOPED_TRACE(text);
    Json::Value list = Doc(text);
    EXPECT_FALSE(VHost::VHostInfoAllSet(list));
    EXPECT_EQ(Doc(text), list);
  }
  EXPECT_THAT(Calls(), IsEmpty());
  ExpectOldFiles();
}

TEST_F(VHostWriteTest, AMemberOfAnotherTypeIsRefusedWithoutAWord) {
  for (const char* item : {"1", "'host'", "[]", "{'vhosttype': 'http'}", "{'vhosttype': []}", "{'port': '8080'}",
                           "{'port': 2147483648}", "{'port': {}}", "{'host': []}", "{'host': {}}", "{'folder': []}"}) {
    SCOPED_TRACE(item);
    EXPECT_FALSE(Save(Doc("[{'port': 81, 'host': 'a', 'folder': 'a'}, " + std::string(item) + "]")));
    ExpectOldFiles();
    for (const std::string& call : Calls()) EXPECT_NE(0u, call.find("rename")) << call;
  }
}

TEST_F(VHostWriteTest, NumbersAndTextsAreReadAsOneAnotherWhereTheyCanBe) {
  EXPECT_TRUE(Save(Doc("[{'vhosttype': false, 'port': 81.9, 'host': 12, 'folder': true}]")));
  EXPECT_NE(std::string::npos, FileContent(kHttpFile).find("<VirtualHost *:81>\nServerName 12\nDocumentRoot "
                                                           "\"/var/services/web/true\"\n"));
}

// Names and folders that the format carries, from pieces that could be mistaken for its own lines.
class Generator {
 public:
  explicit Generator(unsigned seed) : random_(seed) {}

  Json::Value List() {
    Json::Value list(Json::arrayValue);
    for (unsigned count = Below(12); count > 0; --count) {
      list.append(HostOf(static_cast<int>(Below(2)), Port(), Text(kNames, 1), Text(kFolders, 1)));
    }
    return list;
  }

 private:
  static constexpr const char* kNames[] = {
      "a",  "host", ".example", "-",    "ServerName", "Listen", "\"", "#", "<VirtualHost", "</VirtualHost>",
      "\\", "%s",   "\xC3\xA4", "\xFF", "/",          "\t",     "'"};
  static constexpr const char* kFolders[] = {
      "a", "site", " ",  "-",  "DocumentRoot", "Listen", "#", "<VirtualHost *:80>",
      ":", "*",    "\\", "%s", "\xC3\xA4",     "\xFF",   "'", "\t"};

  unsigned Below(unsigned bound) { return static_cast<unsigned>(random_() % bound); }

  int Port() {
    constexpr int kPorts[] = {0, 80, 443, 5000, 8080, 8443, 81, 65535, INT_MAX};
    return kPorts[Below(sizeof kPorts / sizeof kPorts[0])];
  }

  template <size_t kCount>
  std::string Text(const char* const (&pieces)[kCount], unsigned least) {
    std::string text;
    for (unsigned count = least + Below(4); count > 0; --count) text += pieces[Below(kCount)];
    // What the trimming of the line takes away is not part of a text.
    while (!text.empty() && text.back() == '\t') text.pop_back();
    return text.empty() ? "x" : text;
  }

  std::mt19937 random_;
};

TEST_F(VHostWriteTest, WhatIsWrittenIsReadBackInOrder) {
  TrimsLines();
  SettingsMayBeRead();
  const char* const wanted = std::getenv("VHOST_SEED");
  const unsigned first_seed =
      wanted != nullptr ? static_cast<unsigned>(std::strtoul(wanted, nullptr, 10)) : std::random_device()();
  for (unsigned seed = first_seed; seed != first_seed + 300; ++seed) {
    SCOPED_TRACE("the same list again: VHOST_SEED=" + std::to_string(seed));
    Json::Value list = Generator(seed).List();
    ASSERT_TRUE(VHost::VHostInfoAllSet(list));
    // HTTP hosts come first, each kind in its order.
    Json::Value expected(Json::arrayValue);
    for (const int type : {0, 1}) {
      for (const Json::Value& item : list) {
        if (item["vhosttype"].asInt() == type) expected.append(item);
      }
    }
    Json::Value read(Json::arrayValue);
    ASSERT_EQ(static_cast<int>(list.size()), VHost::VHostInfoAllGet(read));
    ASSERT_EQ(expected, read);
    const std::string http = FileContent(kHttpFile), https = FileContent(kHttpsFile);
    ASSERT_TRUE(VHost::VHostInfoAllSet(read));
    ASSERT_EQ(http, FileContent(kHttpFile));
    ASSERT_EQ(https, FileContent(kHttpsFile));
    Json::Value again(Json::arrayValue);
    VHost::VHostInfoAllGet(again);
    ASSERT_EQ(expected, again);
  }
}

}  // namespace
}  // namespace tarvel_test
