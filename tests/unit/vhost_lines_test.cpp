// Virtual hosts: the lines of the files.

#include <cerrno>
#include <climits>
#include <cstdio>
#include <memory>

#include "internal/vhost_writer.h"
#include "vhost_fixture.h"

namespace tarvel_test {
namespace {

using tarvel_internal::AppendPort;
using tarvel_internal::SetHttpPort;
using tarvel_internal::VHostConfWrite;
using ::testing::ElementsAre;

const char kFormats[] =
    "ErrorDocument 403 \"/webdefault/sample.php?status=403\"\n"
    "ErrorDocument 404 \"/webdefault/sample.php?status=404\"\n"
    "ErrorDocument 500 \"/webdefault/sample.php?status=500\"\n";

// What a function writes into a file.
class Written {
 public:
  Written() : file_(std::tmpfile()) {}
  FILE* get() const { return file_.get(); }
  std::string text() const {
    std::fflush(file_.get());
    std::string content(static_cast<size_t>(std::ftell(file_.get())), '\0');
    std::rewind(file_.get());
    content.resize(std::fread(content.data(), 1, content.size(), file_.get()));
    return content;
  }

 private:
  struct Close {
    void operator()(FILE* file) const { std::fclose(file); }
  };
  std::unique_ptr<FILE, Close> file_;
};

// Asked before any test, and so before anything could set the HTTP port.
const int kAnswerForPortOneAtFirst = [] {
  const Written file;
  int ports[2] = {};
  return AppendPort(file.get(), ports, 1);
}();

class VHostLinesTest : public VHostTest {
 protected:
  ~VHostLinesTest() override { SetHttpPort(0); }

  const Written file_;
  int ports_[8] = {};
};

TEST_F(VHostLinesTest, APortIsListenedOnAndNamed) {
  EXPECT_EQ(1, AppendPort(file_.get(), ports_, 8080));
  EXPECT_EQ(1, AppendPort(file_.get(), ports_, INT_MAX));
  EXPECT_EQ("Listen 8080\nNameVirtualHost *:8080\nListen 2147483647\nNameVirtualHost *:2147483647\n", file_.text());
  EXPECT_THAT(ports_, ElementsAre(8080, INT_MAX, 0, 0, 0, 0, 0, 0));
}

TEST_F(VHostLinesTest, ThePortOfHttpsIsOnlyNamed) {
  EXPECT_EQ(1, AppendPort(file_.get(), ports_, 443));
  EXPECT_EQ("NameVirtualHost *:443\n", file_.text());
  EXPECT_EQ(443, ports_[0]);
}

TEST_F(VHostLinesTest, APortIsWrittenOnce) {
  for (const int port : {8080, 443, 81, 8080, 443, 81}) EXPECT_EQ(1, AppendPort(file_.get(), ports_, port));
  EXPECT_EQ("Listen 8080\nNameVirtualHost *:8080\nNameVirtualHost *:443\nListen 81\nNameVirtualHost *:81\n",
            file_.text());
  EXPECT_THAT(ports_, ElementsAre(8080, 443, 81, 0, 0, 0, 0, 0));
}

TEST_F(VHostLinesTest, PortsThatAreServedAnywayAreNotWritten) {
  EXPECT_EQ(0, AppendPort(file_.get(), ports_, 0));
  EXPECT_EQ(0, AppendPort(file_.get(), ports_, 80));
  SetHttpPort(5000);
  EXPECT_EQ(0, AppendPort(file_.get(), ports_, 5000));
  EXPECT_EQ(0, AppendPort(file_.get(), ports_, 0));
  EXPECT_EQ(0, AppendPort(file_.get(), ports_, 80));
  EXPECT_EQ("", file_.text());
  EXPECT_EQ(0, ports_[0]);
  SetHttpPort(5001);
  EXPECT_EQ(1, AppendPort(file_.get(), ports_, 5000));
}

TEST_F(VHostLinesTest, UntilItIsSetTheHttpPortIsNone) { EXPECT_EQ(1, kAnswerForPortOneAtFirst); }

TEST_F(VHostLinesTest, BadArgumentsOfAPortAreLogged) {
  EXPECT_EQ(-1, AppendPort(nullptr, ports_, 81));
  ExpectLogged("vhost:# Bad parameters!!");
  EXPECT_EQ(-1, AppendPort(file_.get(), nullptr, 81));
  ExpectLogged("vhost:# Bad parameters!!");
  for (const int port : {-1, INT_MIN}) {
    EXPECT_EQ(-1, AppendPort(file_.get(), ports_, port));
    ExpectLogged("vhost:# Bad parameters!!");
  }
  EXPECT_EQ(-1, AppendPort(nullptr, nullptr, 80)) << "also for a port that needs no lines";
  ExpectLogged("vhost:# Bad parameters!!");
  EXPECT_EQ("", file_.text());
  EXPECT_EQ(0, ports_[0]);
}

TEST_F(VHostLinesTest, AnHttpHostHasItsBlock) {
  EXPECT_TRUE(VHostConfWrite(file_.get(), HostOf(0, 8080, "shop.example", "shop")));
  EXPECT_EQ(std::string("<VirtualHost *:8080>\nServerName shop.example\nDocumentRoot \"/var/services/web/shop\"\n") +
                kFormats + "</VirtualHost>\n",
            file_.text());
}

TEST_F(VHostLinesTest, OnlyTheTypeOfHttpsTurnsTlsOn) {
  EXPECT_TRUE(VHostConfWrite(file_.get(), HostOf(1, 443, "a", "b")));
  EXPECT_EQ(std::string("<VirtualHost *:443>\nServerName a\nDocumentRoot \"/var/services/web/b\"\n") + kFormats +
                "SSLEngine on\n</VirtualHost>\n",
            file_.text());
  EXPECT_TRUE(VHostConfWrite(file_.get(), HostOf(2, -1, "", "")));
  EXPECT_EQ(std::string("<VirtualHost *:-1>\nServerName \nDocumentRoot \"/var/services/web/\"\n") + kFormats +
                "</VirtualHost>\n",
            file_.text().substr(file_.text().find("<VirtualHost *:-1>")));
}

TEST_F(VHostLinesTest, TextsStandAsTheyAreUpToANul) {
  EXPECT_TRUE(VHostConfWrite(file_.get(), HostOf(0, 1, "a\n%s\"<>", "../\"x" + std::string(1, '\0') + "y")));
  EXPECT_EQ(std::string("<VirtualHost *:1>\nServerName a\n%s\"<>\nDocumentRoot \"/var/services/web/../\"x\"\n") +
                kFormats + "</VirtualHost>\n",
            file_.text());
}

TEST_F(VHostLinesTest, APortThatCannotBeWrittenIsAFailure) {
  machine().FailNext("fputs", ENOSPC);
  EXPECT_EQ(-1, AppendPort(file_.get(), ports_, 8080));
}

TEST_F(VHostLinesTest, ABlockWithoutAFileIsLoggedAndOneThatCannotBeWrittenIsAFailure) {
  EXPECT_FALSE(VHostConfWrite(nullptr, HostOf(0, 1, "a", "b")));
  ExpectLogged("vhost:# Bad parameters!!");
  machine().FailNext("fputs", ENOSPC);
  EXPECT_FALSE(VHostConfWrite(file_.get(), HostOf(0, 1, "a", "b")));
}

}  // namespace
}  // namespace tarvel_test
