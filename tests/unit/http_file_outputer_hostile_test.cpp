// Files as replies: large, odd and failing ones, and what is left of the reply then.

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <climits>

#include "http_file_outputer_fixture.h"

namespace tarvel_test {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;

constexpr char kType[] = "text/plain";

class HostileReplyTest : public HttpFileOutputerTest {
 protected:
  int Send(const std::string& content) {
    WriteFile(path_, content);
    return outputer_.Output(path_.c_str(), kType);
  }

  // The head of a multipart reply and of its parts.
  static std::string Top(size_t body_bytes) {
    return "Status: 206 Partial Content\r\nContent-Type: multipart/byteranges; "
           "boundary=abc553f100\r\nContent-Length: " +
           std::to_string(body_bytes) + "\r\n\r\n";
  }
  static std::string Part(const std::string& range, const std::string& content) {
    return "\r\n--abc553f100\r\nContent-Type: text/plain\r\nContent-Range: bytes " + range + "\r\n\r\n" + content;
  }

  const std::string path_ = ScratchPath("file.txt");
  const std::string end_ = "\r\n--abc553f100--\r\n";
};

TEST_F(HostileReplyTest, TenThousandRangesAreSentOneByOne) {
  const std::string content = Pattern(1000);
  std::string ranges, body;
  for (size_t i = 0; i < 10000; ++i) {
    const std::string at = std::to_string(i % 1000);
    ranges += (i > 0 ? "," : "") + at + "-" + at;
    body += Part(at + "-" + at + "/1000", content.substr(i % 1000, 1));
  }
  body += end_;
  AsksFor(ranges);
  EXPECT_EQ(0, Send(content));
  EXPECT_TRUE(Top(body.size()) + body == Printed());
}

TEST_F(HostileReplyTest, TenThousandRangesOfWhichTheLastIsNoneAreA416) {
  std::string ranges;
  for (int i = 0; i < 9999; ++i) ranges += "0-0,";
  AsksFor(ranges + "x");
  EXPECT_EQ(0, Send("0123456789"));
  EXPECT_EQ(
      "Status: 416 Requested Range Not Satisfiable\r\nContent-Length: 10\r\nContent-Type: text/plain\r\n"
      "Content-Range: bytes 0-9/10\r\n\r\n0123456789",
      Printed());
}

TEST_F(HostileReplyTest, EachPartsHeadersAreCountedAsLongAsTheyAre) {
  AsksFor("0-0,10-12,7-,5-999,100-100");
  const std::string content = Pattern(1000);
  const std::string body = Part("0-0/1000", content.substr(0, 1)) + Part("10-12/1000", content.substr(10, 3)) +
                           Part("7-999/1000", content.substr(7)) + Part("5-999/1000", content.substr(5)) +
                           Part("100-100/1000", content.substr(100, 1)) + end_;
  EXPECT_EQ(0, Send(content));
  EXPECT_EQ(Top(body.size()) + body, Printed());
}

TEST_F(HostileReplyTest, ASuffixThatIsTooLongAmongOthersIsPromisedAndEndsTheReply) {
  AsksFor("0-1,-20");
  const std::string body = Part("0-1/10", "01") + Part("-10-9/10", std::string(20, '?')) + end_;
  EXPECT_EQ(-1, Send("0123456789"));
  EXPECT_EQ(Top(body.size()) + Part("0-1/10", "01") + Part("-10-9/10", ""), Printed());
  ExpectLogged("http_file_outputer(#): fseeko failed, offset=-10 errno=Invalid argument");
}

TEST_F(HostileReplyTest, ASuffixOfAnEmptyFileIsPromisedToo) {
  AsksFor("-5");
  EXPECT_EQ(-1, Send(""));
  EXPECT_EQ(
      "Status: 206 Partial Content\r\nContent-Length: 5\r\nContent-Type: text/plain\r\n"
      "Content-Range: bytes -5--1/0\r\n\r\n",
      Printed());
  ExpectLogged("http_file_outputer(#): fseeko failed, offset=-5 errno=Invalid argument");
}

TEST_F(HostileReplyTest, AFailedSeekToALaterRangeEndsTheReplyBehindItsHeaders) {
  AsksFor("0-1,5-6,8-9");
  machine().FailNext("fseeko", EIO);
  EXPECT_EQ(-1, Send("0123456789"));
  EXPECT_THAT(Printed(), EndsWith(Part("0-1/10", "01") + Part("5-6/10", "")));
  ExpectLogged("http_file_outputer(#): fseeko failed, offset=5 errno=Input/output error");
}

TEST_F(HostileReplyTest, AReadErrorLeavesARangeOutAndIsNoFailure) {
  AsksFor("0-1,5-6");
  machine().FailNext("fread", EIO);
  const std::string body = Part("0-1/10", "01") + Part("5-6/10", "56") + end_;
  EXPECT_EQ(0, Send("0123456789"));
  EXPECT_EQ(Top(body.size()) + Part("0-1/10", "") + Part("5-6/10", "56") + end_, Printed());
}

TEST_F(HostileReplyTest, AClosedStandardOutputIsAFailedWait) {
  WriteFile(path_, "0123456789");
  const TestFile file = Open(path_);
  const int captured = dup(STDOUT_FILENO);
  close(STDOUT_FILENO);
  EXPECT_EQ(-1, outputer_.Output(file.get(), nullptr, kType));
  dup2(captured, STDOUT_FILENO);
  close(captured);
  Printed();
  ExpectLogged("http_file_outputer(#): write blocked over 3600 seconds, return=-1, errno=Bad file descriptor");
}

TEST_F(HostileReplyTest, TheBoundaryHasRoomForEveryClock) {
  AsksFor("0-0,1-1");
  machine().FailNext("time", 0);
  EXPECT_EQ(0, Send("01"));
  EXPECT_THAT(Printed(), HasSubstr("boundary=abc" + std::string(2 * sizeof(long), 'f') + "\r\n"));
}

// Deliberate: its last byte is that of a file whose length nobody knows.
TEST_F(HostileReplyTest, TheGreatestFileOfAllIsSentWithoutItsLength) {
  const int fd = memfd_create("greatest", MFD_CLOEXEC);
  ASSERT_EQ(0, ftruncate(fd, LLONG_MAX));
  const TestFile file(fdopen(fd, "rb"));
  AsksFor("9223372036854775806-");
  machine().FailNext("select", EIO);
  EXPECT_EQ(-1, outputer_.Output(file.get(), nullptr, kType));
  EXPECT_EQ(
      "Status: 206 Partial Content\r\nContent-Type: text/plain\r\n"
      "Content-Range: bytes 9223372036854775806-9223372036854775806/9223372036854775807\r\n\r\n",
      Printed());
  ExpectLogged("http_file_outputer(#): write blocked over 3600 seconds, return=-1, errno=Input/output error");
  AsksFor("9223372036854775804-9223372036854775805");
  machine().FailNext("select", EIO);
  EXPECT_EQ(-1, outputer_.Output(file.get(), nullptr, kType));
  EXPECT_THAT(Printed(), HasSubstr("Content-Length: 2\r\n"));
  ExpectLogged("http_file_outputer(#): write blocked over 3600 seconds, return=-1, errno=Input/output error");
}

}  // namespace
}  // namespace tarvel_test
