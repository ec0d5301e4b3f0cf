// Virtual hosts: reading both files.

#include <cerrno>
#include <climits>
#include <cstring>

#include "internal/vhost_reader.h"
#include "vhost_fixture.h"

namespace tarvel_test {
namespace {

using ::testing::ElementsAre;
using ::testing::Exactly;
using ::testing::IsEmpty;

const char kOneHost[] =
    "<VirtualHost *:8080>\nServerName a.example\nDocumentRoot \"/var/services/web/a\"\n</VirtualHost>\n";
const char kDefaultHost[] = "<VirtualHost *:80>\nServerName *\nDocumentRoot /var/services/web\n</VirtualHost>\n";

class VHostReadTest : public VHostTest {
 protected:
  // The hosts of a single file; `count_` is the result.
  Json::Value Read(const std::string& content, int type = 0) {
    WriteFile(path_, content);
    Json::Value list;
    count_ = tarvel_internal::ReadHosts(path_.c_str(), type, list);
    return list;
  }

  static std::string Block(const std::string& lines) { return "<VirtualHost *:81>\n" + lines + "</VirtualHost>\n"; }

  const std::string path_ = ScratchPath("vhost.conf");
  int count_ = -99;
};

// A document of a list of hosts in short: "type port host folder; ...".
std::string Told(const Json::Value& list) {
  std::string text;
  for (const Json::Value& item : list) {
    if (!text.empty()) text += "; ";
    text += item["vhosttype"].asString() + " " + item["port"].asString() + " " + item["host"].asString() + " " +
            item["folder"].asString();
  }
  return text;
}

TEST_F(VHostReadTest, AHostIsAnObjectOfFourMembers) {
  TrimsLines();
  EXPECT_EQ(Doc("[{'vhosttype': 0, 'port': 8080, 'host': 'a.example', 'folder': 'a'}]"), Read(kOneHost));
  EXPECT_EQ(1, count_);
  EXPECT_EQ(Doc("[{'vhosttype': 1, 'port': 8080, 'host': 'a.example', 'folder': 'a'}]"), Read(kOneHost, 1));
}

TEST_F(VHostReadTest, HostsComeInTheirOrderAndTheAppliancesOwnAreLeftOut) {
  TrimsLines();
  EXPECT_EQ("0 81 a a; 0 81 b b; 0 81 c c",
            Told(Read("Listen 81\nNameVirtualHost *:81\n" + std::string(kDefaultHost) + kDefaultHost +
                      Block("ServerName a\nDocumentRoot \"/w/a\"\nErrorDocument 403 \"/x\"\nSSLEngine on\n") +
                      Block("ServerName b\nDocumentRoot \"/w/b\"\n") + kDefaultHost +
                      Block("DocumentRoot \"/w/c\"\nServerName c\n"))));
  EXPECT_EQ(3, count_);
}

TEST_F(VHostReadTest, TheAppliancesOwnHostAtTheEndTakesNothingAway) {
  TrimsLines();
  EXPECT_EQ("0 8080 a.example a", Told(Read(std::string(kOneHost) + kDefaultHost)));
  EXPECT_EQ(1, count_);
}

TEST_F(VHostReadTest, EmptyLinesAndCommentsArePassedOver) {
  TrimsLines();
  EXPECT_EQ("0 81 a a", Told(Read("\n  \n# <VirtualHost *:1>\n" +
                                  Block("\n # ServerName x\nServerName a\n#DocumentRoot /w/x\nDocumentRoot /w/a\n"
                                        "Listen ServerName x\nNameVirtualHost /w/x\n"))));
  EXPECT_EQ(1, count_);
}

TEST_F(VHostReadTest, LinesMayBeIndentedAndEndAsOnOtherSystems) {
  TrimsLines();
  EXPECT_EQ("0 81 a a", Told(Read("  <VirtualHost *:81> \r\n\tServerName\ta\r\n\tDocumentRoot\t\"/w/a\"\r\n"
                                  " </VirtualHost>\t\r\n")));
}

struct PortRow {
  int line;
  const char* block;
  int port;
};

constexpr PortRow kPortRows[] = {
    {__LINE__, "<VirtualHost *:81>", 81},
    {__LINE__, "<VirtualHost 10.0.0.1:82>", 82},
    {__LINE__, "<VirtualHost [::1]:83>", 83},
    {__LINE__, "<VirtualHost *:1 *:84>", 84},
    {__LINE__, "<VirtualHost *:856", 85},
    {__LINE__, "<VirtualHost *:8>", 8},
    {__LINE__, "<VirtualHost *:8", 0},
    {__LINE__, "<VirtualHost *:", 0},
    {__LINE__, "<VirtualHost *:>", 0},
    {__LINE__, "<VirtualHost *>", 0},
    {__LINE__, "<VirtualHost", 0},
    {__LINE__, "<VirtualHosts *:86>", 86},
    {__LINE__, "<VirtualHost *:x>", 0},
    {__LINE__, "<VirtualHost *:-5>", -5},
    {__LINE__, "<VirtualHost *:4294967376>", INT_MAX},
    {__LINE__, "<VirtualHost *:-99999999999>", INT_MIN},
};

TEST_F(VHostReadTest, APortStandsBehindTheLastColonWithoutTheLinesLastCharacter) {
  TrimsLines();
  for (const PortRow& row : kPortRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line);
    const Json::Value list = Read(std::string(row.block) + "\nServerName a\nDocumentRoot /w/a\n</VirtualHost>");
    ASSERT_EQ(1u, list.size());
    EXPECT_TRUE(list[0]["port"].isInt());
    EXPECT_EQ(row.port, list[0]["port"].asInt());
  }
}

struct NameRow {
  int line;
  const char* name_line;
  const char* host;
};

constexpr NameRow kNameRows[] = {
    {__LINE__, "ServerName alpha", "alpha"}, {__LINE__, "ServerName alpha:8080", "alpha"},
    {__LINE__, "ServerName a:b:c", "a:b"},   {__LINE__, "ServerName a b", "b"},
    {__LINE__, "ServerName\ta", "a"},        {__LINE__, "ServerName a\tb", "a\tb"},
    {__LINE__, "ServerNames a", "a"},        {__LINE__, "ServerName \xC3\xA4", "\xC3\xA4"},
    {__LINE__, "ServerName a*", "a*"},       {__LINE__, "ServerName %s", "%s"},
};

TEST_F(VHostReadTest, ANameIsTheLinesValueUpToItsLastColon) {
  TrimsLines();
  for (const NameRow& row : kNameRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line);
    const Json::Value list = Read(Block(std::string(row.name_line) + "\nDocumentRoot /w/a\n"));
    ASSERT_EQ(1u, list.size());
    EXPECT_EQ(row.host, list[0]["host"].asString());
  }
}

TEST_F(VHostReadTest, AnyNameThatBeginsWithAStarIsTheAppliancesOwn) {
  TrimsLines();
  for (const char* name : {"*", "*.example", "*:80"}) {
    SCOPED_TRACE(name);
    EXPECT_EQ("", Told(Read(Block(std::string("ServerName ") + name + "\nServerName a\nDocumentRoot /w/a\n"))));
    EXPECT_EQ(0, count_);
  }
}

struct FolderRow {
  int line;
  const char* root_line;
  const char* folder;
};

constexpr FolderRow kFolderRows[] = {
    {__LINE__, "DocumentRoot \"/var/services/web/a\"", "a"},
    {__LINE__, "DocumentRoot /var/services/web/a", "a"},
    {__LINE__, "DocumentRoot \"/w/a b\"", "a b"},
    {__LINE__, "DocumentRoot \"/w/a \"", "a "},
    {__LINE__, "DocumentRoot \"/w/a\"\"", "a\""},
    {__LINE__, "DocumentRoot /w/a\" x", "a\" x"},
    {__LINE__, "DocumentRoot/w/a", "a"},
    {__LINE__, "DocumentRoots /w/a", "a"},
    {__LINE__, "DocumentRoot\t/w/\xFF", "\xFF"},
    {__LINE__, "DocumentRoot /", ""},
    {__LINE__, "DocumentRoot \"/w/\"", ""},
};

TEST_F(VHostReadTest, AFolderStandsBehindTheLastSlashWithoutOneClosingQuote) {
  TrimsLines();
  for (const FolderRow& row : kFolderRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line);
    const Json::Value list = Read(Block("ServerName a\n" + std::string(row.root_line) + "\n") + kOneHost);
    ASSERT_EQ(2u, list.size());
    EXPECT_EQ(row.folder, list[0]["folder"].asString());
  }
}

TEST_F(VHostReadTest, TheRestOfARootLineIsTrimmedOnceMore) {
  TrimsLines(Exactly(5));
  Read(kOneHost);
  EXPECT_THAT(Calls(), ElementsAre("fopen " + path_ + " r", "KLIBStrTrimSpace", "KLIBStrTrimSpace", "KLIBStrTrimSpace",
                                   "KLIBStrTrimSpace", "KLIBStrTrimSpace", "free", "fclose"));
}

TEST_F(VHostReadTest, WhatTrimmingDoesToQuotesDoesNotMatter) {
  using namespace ::testing;
  EXPECT_CALL(klib(), KLIBStrTrimSpace(_, _)).WillRepeatedly([](char* text, char*) {
    TrimInPlace(text);
    const size_t length = std::strlen(text);
    if (length > 0 && text[length - 1] == '"') text[length - 1] = '\0';
    return 1;
  });
  EXPECT_EQ("0 8080 a.example a", Told(Read(kOneHost)));
}

TEST_F(VHostReadTest, ARootWithoutASlashIsLoggedAndPassedOver) {
  TrimsLines();
  EXPECT_EQ("0 81 a b", Told(Read(Block("ServerName a\nDocumentRoot /w/b\nDocumentRoot  c \n DocumentRoot\n"))));
  ExpectLogged("vhost:# The format of virtual host configure file[" + path_ + "] is wrong!! szBuf=DocumentRoot  c");
  ExpectLogged("vhost:# The format of virtual host configure file[" + path_ + "] is wrong!! szBuf=DocumentRoot");
}

TEST_F(VHostReadTest, ANameLineWithoutAValueIsLoggedTwiceAndPassedOver) {
  TrimsLines();
  EXPECT_EQ("0 81 a b", Told(Read(Block("ServerName a\nServerName \nDocumentRoot /w/b\n"))));
  ExpectLogged("vhost:# The line format is wrong!! szLine=ServerName.");
  ExpectLogged("vhost:# Failed to parse value in the virtual host file [" + path_ + "], szBuf=[ServerName]");
}

TEST_F(VHostReadTest, TheLastNameAndRootOfABlockCount) {
  TrimsLines();
  EXPECT_EQ("0 81 c d", Told(Read(Block("ServerName a\nDocumentRoot /w/b\nServerName c\nDocumentRoot /w/d\n"))));
}

TEST_F(VHostReadTest, OnlyTheLastBlockNeedsANameAndAFolder) {
  TrimsLines();
  EXPECT_EQ("0 81  ; 0 81 a ; 0 81  b; 0 8080 a.example a",
            Told(Read(Block("") + Block("ServerName a\n") + Block("DocumentRoot /w/b\n") + kOneHost)));
  EXPECT_EQ(4, count_);
  for (const char* lines : {"", "ServerName a\n", "DocumentRoot /w/b\n", "ServerName :\nDocumentRoot /w/b\n"}) {
    SCOPED_TRACE(lines);
    EXPECT_EQ("0 8080 a.example a", Told(Read(kOneHost + Block(lines))));
    EXPECT_EQ(2, count_) << "counted all the same";
  }
}

TEST_F(VHostReadTest, ABlockThatNeverEndsIsLeftOutAndCounted) {
  TrimsLines();
  const std::string open = "<VirtualHost *:1>\nServerName x\nDocumentRoot /w/x\n";
  EXPECT_EQ("0 8080 a.example a", Told(Read(open + kOneHost)));
  EXPECT_EQ(2, count_);
  EXPECT_EQ("0 8080 a.example a", Told(Read(kOneHost + open)));
  EXPECT_EQ(2, count_);
}

TEST_F(VHostReadTest, OnlyTheWholeLineEndsABlock) {
  TrimsLines();
  for (const char* end :
       {"</VirtualHost> # x", "</virtualhost>", "</VirtualHost", "</VirtualHosts>", "x</VirtualHost>"}) {
    SCOPED_TRACE(end);
    EXPECT_EQ("", Told(Read(std::string("<VirtualHost *:1>\nServerName x\nDocumentRoot /w/x\n") + end + "\n")));
    EXPECT_EQ(1, count_);
  }
}

TEST_F(VHostReadTest, WhatABlockDoesNotNameIsNotTheOneBefores) {
  TrimsLines();
  EXPECT_EQ("0 8080 a.example a; 0 81  b; 0 8080 a.example a",
            Told(Read(kOneHost + Block("DocumentRoot /w/b\n") + kOneHost)));
}

TEST_F(VHostReadTest, LinesBehindABlockStillChangeItsHost) {
  TrimsLines();
  EXPECT_EQ("0 8080 b b", Told(Read(std::string(kOneHost) + "ServerName b\nDocumentRoot /w/b\n")));
}

TEST_F(VHostReadTest, AHostOutsideOfAnyBlockIsReadAndNotCounted) {
  TrimsLines();
  const Json::Value list = Read("ServerName a\nDocumentRoot /w/b\n</VirtualHost>\n");
  EXPECT_EQ(Doc("[{'vhosttype': 0, 'host': 'a', 'folder': 'b'}]"), list);
  EXPECT_EQ(0, count_);
  EXPECT_EQ("", Told(Read("</VirtualHost>\n")));
  EXPECT_EQ("", Told(Read("ServerName a\nDocumentRoot /w/b\n"))) << "without an end it is none";
}

TEST_F(VHostReadTest, ANameOfTheApplianceOutsideOfABlockTakesOneAway) {
  TrimsLines();
  Read("ServerName *\n");
  EXPECT_EQ(-1, count_);
  EXPECT_EQ("0 8080 a.example a", Told(Read(std::string("ServerName *\n") + kOneHost)));
  EXPECT_EQ(0, count_);
  EXPECT_EQ("0 81 b b", Told(Read("ServerName *\n" + std::string(kOneHost) + Block("ServerName b\nDocumentRoot /b\n"))))
      << "a host at a count of 0 is not appended by the next one";
  EXPECT_EQ(1, count_);
  EXPECT_EQ("0 81 b b",
            Told(Read(std::string(kOneHost) + "ServerName *\n" + Block("ServerName b\nDocumentRoot /b\n"))));
}

TEST_F(VHostReadTest, ANameOfTheApplianceBehindABlockTakesItsHostsPortNameAndFolderAway) {
  TrimsLines();
  EXPECT_EQ("0 8080 a.example a; 0 0  ; 0 81 c c",
            Told(Read(kOneHost + Block("ServerName b\nDocumentRoot /b\n") + "ServerName *\n" +
                      Block("ServerName c\nDocumentRoot /c\n"))));
  EXPECT_EQ(2, count_);
}

TEST_F(VHostReadTest, AFileThatCannotBeOpenedHasNoHosts) {
  Json::Value list;
  EXPECT_EQ(0, tarvel_internal::ReadHosts("/usr/kest/etc/none", 0, list));
  ExpectLogged("vhost:# Fail to open [/usr/kest/etc/none] file. errno=2/No such file or directory");
  EXPECT_TRUE(list.isNull());
}

TEST_F(VHostReadTest, BadArgumentsAreLoggedAndNothingIsOpened) {
  Json::Value list;
  EXPECT_EQ(0, tarvel_internal::ReadHosts(nullptr, 0, list));
  ExpectLogged("vhost:# Bad parameters!!");
  EXPECT_EQ(0, tarvel_internal::ReadHosts(path_.c_str(), 2, list));
  ExpectLogged("vhost:# Bad parameters!!");
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(VHostReadTest, ALineThatCannotBeTrimmedEndsTheFileAndTheLastHostIsLost) {
  const std::string content = kOneHost + Block("ServerName b\nDocumentRoot /w/b\n") + "# behind\n";
  TrimsLinesAndFails(10, 0x8100);
  EXPECT_EQ("0 8080 a.example a", Told(Read(content)));
  EXPECT_EQ(2, count_);
  ExpectLoggedForDebugging("vhost:# KLIBStrTrimSpace() failed! szInput[# behind\n], errno=[0x8100]");
  EXPECT_EQ("fclose", Calls().back());
}

TEST_F(VHostReadTest, ARootThatCannotBeTrimmedEndsTheFileToo) {
  TrimsLinesAndFails(3, 0x2);
  EXPECT_EQ("", Told(Read(kOneHost)));
  EXPECT_EQ(1, count_);
  ExpectLoggedForDebugging("vhost:# KLIBStrTrimSpace() failed! szInput[ \"/var/services/web/a\"], errno=[0x0002]");
  EXPECT_EQ("fclose", Calls().back());
}

TEST_F(VHostReadTest, OddFilesAreReadAsTheyAre) {
  TrimsLines();
  EXPECT_EQ("", Told(Read("")));
  EXPECT_EQ(0, count_);
  EXPECT_EQ("0 81 a a", Told(Read("<VirtualHost *:81>\nServerName a\nDocumentRoot /w/a\n</VirtualHost>")));
  const std::string nul(1, '\0');
  EXPECT_EQ("0 81 a a", Told(Read(Block("ServerName a" + nul + "b\nDocumentRoot /w/a" + nul + "\n" + nul + "\n"))));
  const std::string long_name(1048576, 'n');
  EXPECT_EQ("0 81 " + long_name + " a", Told(Read(Block("ServerName " + long_name + "\nDocumentRoot /w/a\n"))));
  EXPECT_EQ("0 81 a a", Told(Read(Block(std::string(1048577, 'x') + "\nServerName a\nDocumentRoot /w/a\n"))));
  std::string many;
  for (int i = 0; i < 20000; ++i) many += Block("ServerName a\nDocumentRoot /w/a\n");
  EXPECT_EQ(20000u, Read(many).size()) << "more than 1 MiB";
  Json::Value list;
  EXPECT_EQ(0, tarvel_internal::ReadHosts(ScratchPath("").c_str(), 0, list)) << "a directory";
}

class VHostReadAllTest : public VHostTest {
 protected:
  void Has(const std::string& http, const std::string& https) {
    WriteFile(kHttpFile, http);
    WriteFile(kHttpsFile, https);
  }

  Json::Value list_;
};

TEST_F(VHostReadAllTest, BothFilesAreReadHttpFirst) {
  TrimsLines();
  Has(kOneHost, std::string(kOneHost) + kOneHost);
  EXPECT_EQ(3, VHost::VHostInfoAllGet(list_));
  EXPECT_EQ("0 8080 a.example a; 1 8080 a.example a; 1 8080 a.example a", Told(list_));
  EXPECT_THAT(CallsButTrimming(), ElementsAre(std::string("fopen ") + kHttpFile + " r", "free", "fclose",
                                              std::string("fopen ") + kHttpsFile + " r", "free", "fclose"));
}

TEST_F(VHostReadAllTest, HostsAreAppendedToWhatTheListHolds) {
  TrimsLines();
  Has(kOneHost, "");
  list_ = Doc("[{'vhosttype': 7, 'port': 1, 'host': 'x', 'folder': 'y'}]");
  EXPECT_EQ(1, VHost::VHostInfoAllGet(list_));
  EXPECT_EQ("7 1 x y; 0 8080 a.example a", Told(list_));
}

TEST_F(VHostReadAllTest, MissingFilesHaveNoHostsAndNullStaysNull) {
  EXPECT_EQ(0, VHost::VHostInfoAllGet(list_));
  ExpectLogged(std::string("vhost:# Fail to open [") + kHttpFile + "] file. errno=2/No such file or directory");
  ExpectLogged(std::string("vhost:# Fail to open [") + kHttpsFile + "] file. errno=2/No such file or directory");
  EXPECT_TRUE(list_.isNull());
}

TEST_F(VHostReadAllTest, EachFileMayBeMissingAlone) {
  TrimsLines();
  Has(kOneHost, kOneHost);
  machine().FailNext("fopen", EACCES);
  EXPECT_EQ(1, VHost::VHostInfoAllGet(list_));
  ExpectLogged(std::string("vhost:# Fail to open [") + kHttpFile + "] file. errno=13/Permission denied");
  EXPECT_EQ("1 8080 a.example a", Told(list_));
  list_ = Json::Value();
  machine().FailAfter("fopen", 1, EACCES);
  EXPECT_EQ(1, VHost::VHostInfoAllGet(list_));
  ExpectLogged(std::string("vhost:# Fail to open [") + kHttpsFile + "] file. errno=13/Permission denied");
  EXPECT_EQ("0 8080 a.example a", Told(list_));
}

TEST_F(VHostReadAllTest, ANegativeCountOfTheFirstFileIsZeroAndTheSecondIsNotRead) {
  TrimsLines();
  Has("ServerName *\n", kOneHost);
  EXPECT_EQ(0, VHost::VHostInfoAllGet(list_));
  EXPECT_TRUE(list_.isNull());
  EXPECT_THAT(CallsButTrimming(), ElementsAre(std::string("fopen ") + kHttpFile + " r", "free", "fclose"));
}

TEST_F(VHostReadAllTest, ANegativeCountOfTheSecondFileDoesNotCount) {
  TrimsLines();
  Has(kOneHost, "ServerName *\n");
  EXPECT_EQ(1, VHost::VHostInfoAllGet(list_));
}

TEST_F(VHostReadAllTest, AFileThatCannotBeTrimmedStillLetsTheOtherOneBeRead) {
  Has(kOneHost, "");
  TrimsLinesAndFails(0, 1);
  EXPECT_EQ(0, VHost::VHostInfoAllGet(list_));
  ExpectLoggedForDebugging("vhost:# KLIBStrTrimSpace() failed! szInput[<VirtualHost *:8080>\n], errno=[0x0001]");
  EXPECT_THAT(CallsButTrimming(), ElementsAre(std::string("fopen ") + kHttpFile + " r", "KLIBErrGet", "free", "fclose",
                                              std::string("fopen ") + kHttpsFile + " r", "free", "fclose"));
}

}  // namespace
}  // namespace tarvel_test
