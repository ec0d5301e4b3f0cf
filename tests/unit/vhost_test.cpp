// Virtual hosts: values of lines, ports of a file, the file manager's host.

#include "vhost.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <filesystem>

#include "vhost_fixture.h"

namespace tarvel_test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class VHostValueTest : public VHostTest {};

struct ValueRow {
  int line;
  const char* text;
  const char* value;
};

constexpr ValueRow kValueRows[] = {
    {__LINE__, "Listen 8080", "8080"},
    {__LINE__, "Listen  8080", "8080"},
    {__LINE__, "Listen\t8080", "8080"},
    {__LINE__, "Listen\t\t8080", "8080"},
    {__LINE__, "Listen 80\t81", "80\t81"},
    {__LINE__, "Listen\t80 81", "81"},
    {__LINE__, "a b c", "c"},
    {__LINE__, "Listen ", ""},
    {__LINE__, "Listen\t", ""},
    {__LINE__, " x", "x"},
    {__LINE__, "ServerName \"a b\"", "b\""},
};

TEST_F(VHostValueTest, TheLastBlankCountsAndATabOnlyWhereThereIsNoBlank) {
  for (const ValueRow& row : kValueRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line);
    std::string line = row.text;
    char* value = nullptr;
    EXPECT_TRUE(VHost::VHostValueGet(line.data(), &value));
    ASSERT_STREQ(row.value, value);
    EXPECT_EQ(line.data() + line.size() - std::strlen(row.value), value) << "a piece of the line";
    EXPECT_EQ(row.text, line);
  }
}

TEST_F(VHostValueTest, ALineWithoutBlankAndTabHasNone) {
  for (const char* text : {"Listen", "", "a\nb\vc\rd"}) {
    std::string line = text;
    char* value = line.data();
    EXPECT_FALSE(VHost::VHostValueGet(line.data(), &value));
    ExpectLogged(std::string("vhost:# The line format is wrong!! szLine=") + text + ".");
    EXPECT_EQ(line.data(), value);
  }
}

TEST_F(VHostValueTest, MissingArgumentsAreLogged) {
  char line[] = "a b";
  char* value = nullptr;
  EXPECT_FALSE(VHost::VHostValueGet(nullptr, &value));
  ExpectLogged("vhost:# Bad parameters!!");
  EXPECT_FALSE(VHost::VHostValueGet(line, nullptr));
  ExpectLogged("vhost:# Bad parameters!!");
}

class VHostPortTest : public VHostTest {
 protected:
  int PortsOf(const std::string& content, int max = 10) {
    WriteFile(path_, content);
    return VHost::VHostPortGet(path_.c_str(), ports_, max);
  }

  std::vector<int> First(int count) const { return {ports_, ports_ + count}; }

  const std::string path_ = ScratchPath("vhost.conf");
  int ports_[11] = {-7, -7, -7, -7, -7, -7, -7, -7, -7, -7, -7};
};

TEST_F(VHostPortTest, TheValuesOfTheListenLinesAreReadInTheirOrder) {
  TrimsLines();
  EXPECT_EQ(3, PortsOf("Listen 8080\nNameVirtualHost *:8080\n\n# Listen 1\n  Listen\t443  \nlisten 2\nlisten 3\n"
                       "<VirtualHost *:5>\nServerName Listen 6\nListen 8080"));
  EXPECT_THAT(First(4), ElementsAre(8080, 443, 8080, -7));
}

TEST_F(VHostPortTest, TheFileIsReadLineByLineAndClosed) {
  TrimsLines(::testing::Exactly(2));
  EXPECT_EQ(1, PortsOf("Listen 1\n\n"));
  EXPECT_THAT(Calls(), ElementsAre("fopen " + path_ + " r", "KLIBStrTrimSpace", "KLIBStrTrimSpace", "free", "fclose"));
}

TEST_F(VHostPortTest, ListenIsAPrefixSoLongerDirectivesCountToo) {
  TrimsLines();
  EXPECT_EQ(2, PortsOf("ListenBacklog 511\nListen80 81\n"));
  EXPECT_THAT(First(2), ElementsAre(511, 81));
}

struct PortRow {
  int line;
  const char* value;
  int port;
};

constexpr PortRow kPortRows[] = {
    {__LINE__, "8080", 8080},
    {__LINE__, "0", 0},
    {__LINE__, "none", 0},
    {__LINE__, "80x", 80},
    {__LINE__, "-1", -1},
    {__LINE__, "+9", 9},
    {__LINE__, "0x50", 0},
    {__LINE__, "010", 10},
    {__LINE__, "[::]:80", 0},
    {__LINE__, "127.0.0.1:80", 127},
    {__LINE__, "2147483647", INT_MAX},
    {__LINE__, "2147483648", INT_MAX},
    {__LINE__, "4294967376", INT_MAX},
    {__LINE__, "-99999999999999999999", INT_MIN},
};

TEST_F(VHostPortTest, APortIsADecimalNumberThatSaturates) {
  TrimsLines();
  for (const PortRow& row : kPortRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line);
    EXPECT_EQ(1, PortsOf(std::string("Listen ") + row.value + "\n"));
    EXPECT_EQ(row.port, ports_[0]);
  }
}

TEST_F(VHostPortTest, AsManyAsFitAreReadAndOneMoreIsAFailure) {
  TrimsLines();
  EXPECT_EQ(2, PortsOf("Listen 1\nListen 2\n", 2));
  EXPECT_EQ(-1, PortsOf("Listen 1\nListen 2\nListen 3\n", 2));
  ExpectLogged("vhost:# The number of virtual host port is greater than 2!!");
  EXPECT_THAT(First(3), ElementsAre(1, 2, -7));
  EXPECT_EQ("fclose", Calls().back());
}

TEST_F(VHostPortTest, OneTooManyIsAFailureEvenWithoutAValue) {
  TrimsLines();
  EXPECT_EQ(-1, PortsOf("Listen 1\nListen\n", 1));
  ExpectLogged("vhost:# The number of virtual host port is greater than 1!!");
}

TEST_F(VHostPortTest, ALineWithoutAValueIsLoggedTwiceAndPassedOver) {
  TrimsLines();
  EXPECT_EQ(2, PortsOf("Listen 1\n Listen \nListen 2\n", 2));
  ExpectLogged("vhost:# The line format is wrong!! szLine=Listen.");
  ExpectLogged("vhost:# Failed to parse value in the virtual host file [" + path_ + "], szBuf=[Listen]");
  EXPECT_THAT(First(2), ElementsAre(1, 2));
}

TEST_F(VHostPortTest, AFileThatCannotBeOpenedHasNoPorts) {
  EXPECT_EQ(0, VHost::VHostPortGet("/usr/kest/etc/none", ports_, 10));
  ExpectLogged("vhost:# Fail to open [/usr/kest/etc/none] file. errno=2/No such file or directory");
  machine().FailNext("fopen", EACCES);
  EXPECT_EQ(0, PortsOf("Listen 1\n"));
  ExpectLogged("vhost:# Fail to open [" + path_ + "] file. errno=13/Permission denied");
  EXPECT_EQ(-7, ports_[0]);
}

TEST_F(VHostPortTest, AnEmptyFileAndADirectoryHaveNoPorts) {
  EXPECT_EQ(0, PortsOf(""));
  EXPECT_EQ(0, VHost::VHostPortGet(ScratchPath("").c_str(), ports_, 10));
}

TEST_F(VHostPortTest, ALineThatCannotBeTrimmedIsToldToDebuggersAndIsAFailure) {
  TrimsLinesAndFails(1, 0xd00);
  EXPECT_EQ(-1, PortsOf("Listen 1\nListen 2\nListen 3\n"));
  ExpectLoggedForDebugging("vhost:# KLIBStrTrimSpace() failed! szInput[Listen 2\n], errno=[0x0D00]");
  EXPECT_THAT(First(2), ElementsAre(1, -7));
  EXPECT_EQ("fclose", Calls().back());
}

TEST_F(VHostPortTest, BadArgumentsAreAFailureAndNothingIsOpened) {
  for (const int max : {0, -1, INT_MIN}) {
    EXPECT_EQ(-1, VHost::VHostPortGet(path_.c_str(), ports_, max));
    ExpectLogged("vhost:# Bad parameter!!");
  }
  EXPECT_EQ(-1, VHost::VHostPortGet(nullptr, ports_, 1));
  ExpectLogged("vhost:# Bad parameter!!");
  EXPECT_EQ(-1, VHost::VHostPortGet(path_.c_str(), nullptr, 1));
  ExpectLogged("vhost:# Bad parameter!!");
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(VHostPortTest, OddFilesAreReadLineByLineWhateverTheirLength) {
  TrimsLines();
  EXPECT_EQ(2, PortsOf("Listen 1\r\nListen 2\r\n"));
  EXPECT_EQ(1, PortsOf("Listen" + std::string(1048576, ' ') + "7"));
  EXPECT_EQ(7, ports_[0]);
  EXPECT_EQ(1, PortsOf("Listen 5" + std::string(1, '\0') + "6\n")) << "a line ends at a NUL";
  EXPECT_EQ(5, ports_[0]);
}

class VHostVentoTest : public VHostTest {
 protected:
  const std::string path_ = ScratchPath("webfm.conf");
};

TEST_F(VHostVentoTest, WithoutTlsTheFileHasTheHostAlone) {
  EXPECT_EQ(0, VHost::VHostFileVentoSet(path_.c_str(), "7000", 0));
  EXPECT_THAT(Calls(), ElementsAre("fopen " + path_ + " w", "fputs", "fclose"));
  EXPECT_EQ(
      "Listen 7000\nNameVirtualHost *:7000\n<VirtualHost *:7000>\nServerName LocalMachine\n"
      "DocumentRoot /usr/kest/kestman/webfm\n</VirtualHost>\n",
      FileContent(path_));
}

TEST_F(VHostVentoTest, WithTlsTheCertificateStandsBeforeTheEnd) {
  WriteFile(path_, std::string(10000, 'x'));
  for (const int ssl : {1, -1}) {
    EXPECT_EQ(0, VHost::VHostFileVentoSet(path_.c_str(), "7001", ssl));
    EXPECT_EQ(
        "Listen 7001\nNameVirtualHost *:7001\n<VirtualHost *:7001>\nServerName LocalMachine\n"
        "DocumentRoot /usr/kest/kestman/webfm\n"
        "SSLCipherSuite HIGH:MEDIUM\nSSLProtocol all -SSLv2\n"
        "SSLCertificateFile /usr/kest/etc/ssl/ssl.crt/server.crt\n"
        "SSLCertificateKeyFile /usr/kest/etc/ssl/ssl.key/server.key\nSSLEngine on\n</VirtualHost>\n",
        FileContent(path_));
  }
}

TEST_F(VHostVentoTest, ThePortIsATextAndStandsAsItIs) {
  EXPECT_EQ(0, VHost::VHostFileVentoSet(path_.c_str(), "%s%n", 0));
  EXPECT_THAT(FileContent(path_), ::testing::StartsWith("Listen %s%n\nNameVirtualHost *:%s%n\n<VirtualHost *:%s%n>\n"));
}

TEST_F(VHostVentoTest, MissingArgumentsAreLoggedAndNothingIsOpened) {
  EXPECT_EQ(-1, VHost::VHostFileVentoSet(nullptr, "1", 0));
  ExpectLogged("vhost:# Bad parameters!!");
  EXPECT_EQ(-1, VHost::VHostFileVentoSet(path_.c_str(), nullptr, 0));
  ExpectLogged("vhost:# Bad parameters!!");
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_FALSE(FileExists(path_));
}

TEST_F(VHostVentoTest, AFileThatCannotBeOpenedIsLogged) {
  machine().FailNext("fopen", EACCES);
  EXPECT_EQ(-1, VHost::VHostFileVentoSet(path_.c_str(), "1", 0));
  ExpectLogged("vhost:# Fail to fopen file [" + path_ + "], errno=[13]");
}

TEST_F(VHostVentoTest, AFileThatCannotBeWrittenIsAFailure) {
  for (const char* call : {"fputs", "fclose"}) {
    machine().FailNext(call, ENOSPC);
    EXPECT_EQ(-1, VHost::VHostFileVentoSet(path_.c_str(), "1", 0)) << call;
    EXPECT_EQ("fclose", Calls().back());
  }
  std::filesystem::create_symlink("/dev/full", ScratchPath("full"));
  EXPECT_EQ(-1, VHost::VHostFileVentoSet(ScratchPath("full").c_str(), "1", 0));
}

}  // namespace
}  // namespace tarvel_test
