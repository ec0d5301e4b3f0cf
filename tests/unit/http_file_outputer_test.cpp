// Files as replies: every shape of reply byte by byte, and what fails on the way.

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <type_traits>

#include "http_file_outputer_fixture.h"

namespace tarvel_test {
namespace {

using ::testing::_;
using ::testing::ElementsAre;
using ::testing::Eq;
using ::testing::IsEmpty;
using ::testing::Return;

constexpr char kType[] = "text/plain";

static_assert(std::is_empty_v<HTTPFileOutputer> && !std::is_polymorphic_v<HTTPFileOutputer>);
static_assert(std::is_same_v<long long, decltype(_tag_HTTP_RANGE_SEGMENT::start)>);
static_assert(std::is_same_v<long long, decltype(_tag_HTTP_RANGE_SEGMENT::end)>);
static_assert(sizeof(_tag_HTTP_RANGE_SEGMENT) == 16);

class FileReplyTest : public HttpFileOutputerTest {
 protected:
  int Send(const std::string& content) {
    WriteFile(path_, content);
    return outputer_.Output(path_.c_str(), kType);
  }

  const std::string path_ = ScratchPath("file.txt");
  const std::string digits_ = "0123456789";
  const std::string thousand_ = Pattern(1000);
};

TEST_F(FileReplyTest, WithoutARangeTheFileIsSentWholeAndNoStatusLine) {
  EXPECT_EQ(0, Send(digits_));
  EXPECT_EQ(
      "Content-Length: 10\r\n"
      "Content-Type: text/plain\r\n"
      "\r\n"
      "0123456789",
      Printed());
  EXPECT_THAT(Calls(), ElementsAre("fopen " + path_ + " rb", "fstat", "malloc 16", "fread 10", "select 1 3600.0",
                                   "fwrite 10", "free", "fclose"));
}

TEST_F(FileReplyTest, TheFirstHundredBytesOfAThousand) {
  AsksFor("0-99");
  EXPECT_EQ(0, Send(thousand_));
  EXPECT_EQ(
      "Status: 206 Partial Content\r\n"
      "Content-Length: 100\r\n"
      "Content-Type: text/plain\r\n"
      "Content-Range: bytes 0-99/1000\r\n"
      "\r\n" +
          thousand_.substr(0, 100),
      Printed());
  EXPECT_THAT(Calls(), ElementsAre("fopen " + path_ + " rb", "fstat", "PslKLIBSzListAlloc", "KLIBStrTok", "malloc 16",
                                   "SzKLIBSzListGet", "KLIBStrTrimSpace", "strdup 0-99", "free", "free", "fread 100",
                                   "select 1 3600.0", "fwrite 100", "free", "fclose"))
      << "nothing is sought for a first range from 0";
}

TEST_F(FileReplyTest, ThreeWaysToAskForTheLastHundredBytes) {
  for (const char* range : {"-100", "900-", "900-5000"}) {
    SCOPED_TRACE(range);
    AsksFor(range);
    ASSERT_EQ(0, Send(thousand_));
    ASSERT_EQ(
        "Status: 206 Partial Content\r\n"
        "Content-Length: 100\r\n"
        "Content-Type: text/plain\r\n"
        "Content-Range: bytes 900-999/1000\r\n"
        "\r\n" +
            thousand_.substr(900),
        Printed());
    ::testing::Mock::VerifyAndClearExpectations(&klib());
  }
}

TEST_F(FileReplyTest, ARangeThatCannotBeServedIsA416WithTheWholeFile) {
  for (const char* ranges : {"500-400", "abc", "1-2x", "1000-", "1000-1000", "-0", "-", "5", " ", "0-1, ,2-3",
                             "0-1,500-400", "0-1,x", "0-99999999999999999999999999999999", "--5", "+-5", "5--9"}) {
    SCOPED_TRACE(ranges);
    AsksFor(ranges);
    EXPECT_EQ(0, Send(thousand_));
    EXPECT_EQ(
        "Status: 416 Requested Range Not Satisfiable\r\n"
        "Content-Length: 1000\r\n"
        "Content-Type: text/plain\r\n"
        "Content-Range: bytes 0-999/1000\r\n"
        "\r\n" +
            thousand_,
        Printed());
    ::testing::Mock::VerifyAndClearExpectations(&klib());
  }
}

TEST_F(FileReplyTest, TheRangesOfA416AreFreedBeforeItsOwnIsMade) {
  AsksFor("500-400");
  EXPECT_EQ(0, Send(thousand_));
  Printed();
  EXPECT_THAT(Calls(), ElementsAre("fopen " + path_ + " rb", "fstat", "PslKLIBSzListAlloc", "KLIBStrTok", "malloc 16",
                                   "SzKLIBSzListGet", "KLIBStrTrimSpace", "strdup 500-400", "free", "free", "free",
                                   "malloc 16", "fread 1000", "select 1 3600.0", "fwrite 1000", "free", "fclose"));
}

TEST_F(FileReplyTest, OnlyBytesAreRangesAndTheirNameMayHaveAnyCase) {
  HasHeader("Bytes=0-1");
  ExpectSplit("0-1");
  EXPECT_EQ(0, Send(digits_));
  EXPECT_EQ(
      "Status: 206 Partial Content\r\nContent-Length: 2\r\nContent-Type: text/plain\r\n"
      "Content-Range: bytes 0-1/10\r\n\r\n01",
      Printed());
  for (const char* header : {"items=0-1", "bytes", "bytes 0-1", " bytes=0-1", "byte=0-1", ""}) {
    SCOPED_TRACE(header);
    HasHeader(header);
    ASSERT_EQ(0, Send(digits_));
    ASSERT_EQ("Content-Length: 10\r\nContent-Type: text/plain\r\n\r\n0123456789", Printed());
  }
}

TEST_F(FileReplyTest, BytesWithNothingBehindThemAreNoRange) {
  for (const char* ranges : {"", ",", ",,,"}) {
    SCOPED_TRACE(ranges);
    AsksFor(ranges);
    ASSERT_EQ(0, Send(digits_));
    ASSERT_EQ("Content-Length: 10\r\nContent-Type: text/plain\r\n\r\n0123456789", Printed());
    ::testing::Mock::VerifyAndClearExpectations(&klib());
  }
}

TEST_F(FileReplyTest, SeveralRangesAreOneMultipartBody) {
  AsksFor("0-0,2-2");
  EXPECT_EQ(0, Send(digits_));
  const std::string head =
      "Status: 206 Partial Content\r\n"
      "Content-Type: multipart/byteranges; boundary=abc553f100\r\n"
      "Content-Length: 166\r\n"
      "\r\n";
  const std::string body =
      "\r\n--abc553f100\r\n"
      "Content-Type: text/plain\r\n"
      "Content-Range: bytes 0-0/10\r\n"
      "\r\n"
      "0"
      "\r\n--abc553f100\r\n"
      "Content-Type: text/plain\r\n"
      "Content-Range: bytes 2-2/10\r\n"
      "\r\n"
      "2"
      "\r\n--abc553f100--\r\n";
  EXPECT_EQ(166u, body.size());
  EXPECT_EQ(head + body, Printed());
  EXPECT_THAT(Calls(), ElementsAre("fopen " + path_ + " rb", "fstat", "PslKLIBSzListAlloc", "KLIBStrTok", "malloc 32",
                                   "SzKLIBSzListGet", "KLIBStrTrimSpace", "strdup 0-0", "free", "SzKLIBSzListGet",
                                   "KLIBStrTrimSpace", "strdup 2-2", "free", "free", "getpid", "time", "fread 1",
                                   "select 1 3600.0", "fwrite 1", "fseeko 2", "fread 1", "select 1 3600.0", "fwrite 1",
                                   "free", "fclose"));
}

TEST_F(FileReplyTest, RangesAreSentAsAskedForNeitherSortedNorMerged) {
  AsksFor("5-9, 0-4 ,0-4,3-7");
  EXPECT_EQ(0, Send(digits_));
  std::string body;
  for (const char* part :
       {"5-9/10\r\n\r\n56789", "0-4/10\r\n\r\n01234", "0-4/10\r\n\r\n01234", "3-7/10\r\n\r\n34567"}) {
    body += std::string("\r\n--abc553f100\r\nContent-Type: text/plain\r\nContent-Range: bytes ") + part;
  }
  body += "\r\n--abc553f100--\r\n";
  EXPECT_EQ(
      "Status: 206 Partial Content\r\nContent-Type: multipart/byteranges; boundary=abc553f100\r\nContent-Length: " +
          std::to_string(body.size()) + "\r\n\r\n" + body,
      Printed());
}

TEST_F(FileReplyTest, ALaterRangeFromZeroGoesBackToTheBeginning) {
  AsksFor("0-9,0-9");
  EXPECT_EQ(0, Send(digits_));
  Printed();
  std::vector<std::string> calls = Calls();
  calls.erase(calls.begin(), std::find(calls.begin(), calls.end(), "time"));
  EXPECT_THAT(calls, ElementsAre("time", "fread 10", "select 1 3600.0", "fwrite 10", "fseeko 0", "fread 10",
                                 "select 1 3600.0", "fwrite 10", "free", "fclose"));
}

TEST_F(FileReplyTest, WhenGoingBackFailsTheReplyEndsThere) {
  AsksFor("0-1,0-1");
  machine().FailNext("fseeko", EIO);
  EXPECT_EQ(-1, Send(digits_));
  EXPECT_THAT(Printed(), ::testing::EndsWith("Content-Range: bytes 0-1/10\r\n\r\n"));
}

TEST_F(FileReplyTest, TheLengthOfAMultipartBodyIsExactForThousandsOfRanges) {
  const std::string content = Pattern(10000);
  std::string ranges, body;
  for (int i = 1; i <= 2000; ++i) {
    const std::string first = std::to_string(10000 - i);
    ranges += ",-" + std::to_string(i);
    body += "\r\n--abc553f100\r\nContent-Type: text/plain\r\nContent-Range: bytes " + first + "-9999/10000\r\n\r\n" +
            content.substr(content.size() - static_cast<size_t>(i));
  }
  body += "\r\n--abc553f100--\r\n";
  AsksFor(ranges);
  EXPECT_EQ(0, Send(content));
  const std::string reply = Printed();
  const std::string length = "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n";
  const size_t top = reply.size() - body.size();
  EXPECT_EQ(length, reply.substr(top - length.size(), length.size()));
  EXPECT_TRUE(body == reply.substr(top));
}

TEST_F(FileReplyTest, ASuffixLongerThanTheFileIsPromisedAndFailsAtTheSeek) {
  AsksFor("-2000");
  EXPECT_EQ(-1, Send(thousand_));
  EXPECT_EQ(
      "Status: 206 Partial Content\r\n"
      "Content-Length: 2000\r\n"
      "Content-Type: text/plain\r\n"
      "Content-Range: bytes -1000-999/1000\r\n"
      "\r\n",
      Printed());
  ExpectLogged("http_file_outputer(#): fseeko failed, offset=-1000 errno=Invalid argument");
}

TEST_F(FileReplyTest, TheLongestSuffixOverflowsNothing) {
  AsksFor("-9223372036854776808,-1");
  EXPECT_EQ(-1, Send(thousand_));
  EXPECT_THAT(Printed(), ::testing::HasSubstr("Content-Range: bytes -9223372036854775808-999/1000\r\n"));
  ExpectLogged("http_file_outputer(#): fseeko failed, offset=-9223372036854775808 errno=Invalid argument");
}

TEST_F(FileReplyTest, AnEmptyFileWithoutARangeHasTheLengthZero) {
  EXPECT_EQ(0, Send(""));
  EXPECT_EQ("Content-Length: 0\r\nContent-Type: text/plain\r\n\r\n", Printed());
  EXPECT_THAT(Calls(), ElementsAre("fopen " + path_ + " rb", "fstat", "malloc 16", "fread 0", "select 1 3600.0",
                                   "fwrite 0", "free", "fclose"));
}

TEST_F(FileReplyTest, AnEmptyFileWithARangeEndsBeforeItsBeginning) {
  AsksFor("0-");
  EXPECT_EQ(0, Send(""));
  EXPECT_EQ(
      "Status: 416 Requested Range Not Satisfiable\r\n"
      "Content-Length: 0\r\n"
      "Content-Type: text/plain\r\n"
      "Content-Range: bytes 0--1/0\r\n"
      "\r\n",
      Printed());
}

TEST_F(FileReplyTest, APipeIsSentToItsEndWithoutLengthAndItsRangeIsIgnored) {
  HasHeader("bytes=0-1");
  int ends[2];
  ASSERT_EQ(0, pipe2(ends, O_CLOEXEC));
  const std::string content = Pattern(20000);
  ASSERT_EQ(20000, write(ends[1], content.data(), content.size()));
  close(ends[1]);
  const TestFile file(fdopen(ends[0], "rb"));
  EXPECT_EQ(0, outputer_.Output(file.get(), "a.txt", kType));
  EXPECT_EQ("Content-Type: text/plain\r\n\r\n" + content, Printed());
}

TEST_F(FileReplyTest, WhatHasNoDescriptorOrCannotBeExaminedHasNoLengthEither) {
  HasHeader("bytes=0-1");
  char text[] = "memory";
  const TestFile file(fmemopen(text, 6, "rb"));
  EXPECT_EQ(0, outputer_.Output(file.get(), nullptr, kType));
  EXPECT_EQ("Content-Type: text/plain\r\n\r\nmemory", Printed());
  machine().FailNext("fstat", EIO);
  EXPECT_EQ(0, Send(digits_));
  EXPECT_EQ("Content-Type: text/plain\r\n\r\n0123456789", Printed());
}

TEST_F(FileReplyTest, ADirectoryIsAnEmptyReplyWithoutLength) {
  EXPECT_EQ(0, outputer_.Output(ScratchPath("").c_str(), kType));
  EXPECT_EQ("Content-Type: text/plain\r\n\r\n", Printed());
}

TEST_F(FileReplyTest, RangesAcross2To31And2To32AreServedFromAFileAbove4GiB) {
  const std::string path = SparseFile(4294967396, {{2147483640, "across 2 to 31"}, {4294967290, "across 2 to 32"}});
  AsksFor("2147483640-2147483653,4294967290-4294967303,4294967296-4294967299,-2,4294967394-");
  EXPECT_EQ(0, outputer_.Output(path.c_str(), kType));
  std::string body;
  for (const std::string& part : {std::string("2147483640-2147483653/4294967396\r\n\r\nacross 2 to 31"),
                                  std::string("4294967290-4294967303/4294967396\r\n\r\nacross 2 to 32"),
                                  std::string("4294967296-4294967299/4294967396\r\n\r\n 2 t"),
                                  std::string("4294967394-4294967395/4294967396\r\n\r\n\0\0", 38),
                                  std::string("4294967394-4294967395/4294967396\r\n\r\n\0\0", 38)}) {
    body += "\r\n--abc553f100\r\nContent-Type: text/plain\r\nContent-Range: bytes " + part;
  }
  body += "\r\n--abc553f100--\r\n";
  EXPECT_EQ(
      "Status: 206 Partial Content\r\nContent-Type: multipart/byteranges; boundary=abc553f100\r\nContent-Length: " +
          std::to_string(body.size()) + "\r\n\r\n" + body,
      Printed());
}

TEST_F(FileReplyTest, LengthsAbove4GiBAreAnnouncedInFull) {
  const std::string path = SparseFile(8589934600, {});
  const FileSizeLimit limit(1 << 20);
  for (int i = 0; i < 3; ++i) machine().FailNext("select", EIO);
  EXPECT_EQ(-1, outputer_.Output(path.c_str(), kType));
  EXPECT_EQ("Content-Length: 8589934600\r\nContent-Type: text/plain\r\n\r\n", Printed());
  AsksFor("5-");
  EXPECT_EQ(-1, outputer_.Output(path.c_str(), kType));
  EXPECT_EQ(
      "Status: 206 Partial Content\r\nContent-Length: 8589934595\r\nContent-Type: text/plain\r\n"
      "Content-Range: bytes 5-8589934599/8589934600\r\n\r\n",
      Printed());
  AsksFor("0-,0-");
  EXPECT_EQ(-1, outputer_.Output(path.c_str(), kType));
  EXPECT_THAT(Printed(), ::testing::HasSubstr("Content-Length: 17179869398\r\n"));
  for (int i = 0; i < 3; ++i) {
    ExpectLogged("http_file_outputer(#): write blocked over 3600 seconds, return=-1, errno=Input/output error");
  }
}

TEST_F(FileReplyTest, LackOfMemoryWhileRangesAreReadIsA416WithTheWholeFile) {
  HasHeader("bytes=0-1");
  EXPECT_CALL(klib(), PslKLIBSzListAlloc(1024)).WillOnce(Return(nullptr));
  EXPECT_EQ(0, Send(digits_));
  EXPECT_EQ(
      "Status: 416 Requested Range Not Satisfiable\r\n"
      "Content-Length: 10\r\n"
      "Content-Type: text/plain\r\n"
      "Content-Range: bytes 0-9/10\r\n"
      "\r\n"
      "0123456789",
      Printed());
  ExpectLogged("http_file_outputer(#): PslKLIBSzListAlloc() failed!");
}

TEST_F(FileReplyTest, LackOfMemoryForTheWholeFilesSegmentSendsNothing) {
  machine().FailNext("malloc", ENOMEM);
  EXPECT_EQ(-1, Send(digits_));
  EXPECT_THAT(Calls(), ElementsAre("fopen " + path_ + " rb", "fstat", "malloc 16", "fclose"));
  AsksFor("x");
  machine().FailAfter("malloc", 1, ENOMEM);
  EXPECT_EQ(-1, Send(digits_));
  EXPECT_EQ("", Printed()) << "no status line either";
}

TEST_F(FileReplyTest, AFailureInTheMiddleEndsTheReplyWithoutAClosingBoundary) {
  AsksFor("1-2,3-4,5-6");
  machine().FailAfter("select", 1, EINTR);
  EXPECT_EQ(-1, Send(digits_));
  const std::string reply = Printed();
  EXPECT_THAT(reply, ::testing::EndsWith("Content-Range: bytes 3-4/10\r\n\r\n"));
  EXPECT_THAT(reply, ::testing::HasSubstr("Content-Range: bytes 1-2/10\r\n\r\n12\r\n--"));
  ExpectLogged("http_file_outputer(#): write blocked over 3600 seconds, return=-1, errno=Interrupted system call");
}

TEST_F(FileReplyTest, TheHeadersHaveLeftBeforeTheFirstByteIsWaitedFor) {
  machine().FailNext("select", EIO);
  EXPECT_EQ(-1, Send(digits_));
  EXPECT_EQ("Content-Length: 10\r\nContent-Type: text/plain\r\n\r\n", Flushed());
  Printed();
  ExpectLogged("http_file_outputer(#): write blocked over 3600 seconds, return=-1, errno=Input/output error");
}

TEST_F(FileReplyTest, AFileThatShrinksWhileItIsSentEndsEarlyAndIsNoFailure) {
  WriteFile(path_, digits_);
  HasHeader("bytes=2-8");
  ExpectSplit("2-8");
  EXPECT_CALL(klib(), KLIBStrTrimSpace(_, nullptr)).WillOnce([this](char*, char*) {
    return truncate(path_.c_str(), 4);
  });
  EXPECT_EQ(0, outputer_.Output(path_.c_str(), kType));
  EXPECT_EQ(
      "Status: 206 Partial Content\r\nContent-Length: 7\r\nContent-Type: text/plain\r\n"
      "Content-Range: bytes 2-8/10\r\n\r\n23",
      Printed());
}

TEST_F(FileReplyTest, APathThatCannotBeOpenedWritesAndLogsNothing) {
  EXPECT_EQ(-1, outputer_.Output(path_.c_str(), kType));
  EXPECT_THAT(Calls(), ElementsAre("fopen " + path_ + " rb"));
  WriteFile(path_, digits_);
  machine().FailNext("fopen", EMFILE);
  EXPECT_EQ(-1, outputer_.Output(path_.c_str(), kType));
  Calls();
  EXPECT_EQ(-1, outputer_.Output(static_cast<const char*>(nullptr), kType));
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(FileReplyTest, AnOpenFileIsReadFromWhereItStandsAndStaysOpen) {
  WriteFile(path_, digits_);
  const TestFile file = Open(path_);
  ASSERT_EQ('0', std::fgetc(file.get()));
  EXPECT_EQ(0, outputer_.Output(file.get(), "x", kType));
  EXPECT_EQ("Content-Length: 10\r\nContent-Type: text/plain\r\n\r\n123456789", Printed());
  EXPECT_THAT(Calls(), ElementsAre("fstat", "malloc 16", "fread 10", "select 1 3600.0", "fwrite 9", "free"));
  EXPECT_EQ(10, std::ftell(file.get()));
}

TEST_F(FileReplyTest, WithoutATypeTheNameDecidesEverywhereInTheReply) {
  WriteFile("/usr/kest/etc.defaults/mimetypes.txt", "txt text/from-table\n");
  AsksFor("0-0,1-1");
  WriteFile(path_, digits_);
  EXPECT_EQ(0, outputer_.Output(path_.c_str(), nullptr));
  const std::string reply = Printed();
  EXPECT_THAT(reply, ::testing::HasSubstr("Content-Length: 176\r\n\r\n"));
  EXPECT_EQ(176u, reply.size() - reply.find("\r\n\r\n") - 4);
  EXPECT_THAT(reply, ::testing::HasSubstr("Content-Type: text/from-table\r\nContent-Range: bytes 1-1/10\r\n\r\n1"));
}

TEST_F(FileReplyTest, TheNameOfAnOpenFileCountsForTheTypeAlone) {
  WriteFile("/usr/kest/etc.defaults/mimetypes.txt", "txt text/from-table\n");
  WriteFile(ScratchPath("other"), digits_);
  const TestFile file = Open(ScratchPath("other"));
  EXPECT_EQ(0, outputer_.Output(file.get(), "/nowhere/x.txt", nullptr));
  EXPECT_EQ("Content-Length: 10\r\nContent-Type: text/from-table\r\n\r\n0123456789", Printed());
  std::rewind(file.get());
  EXPECT_EQ(0, outputer_.Output(file.get(), nullptr, nullptr));
  EXPECT_EQ("Content-Length: 10\r\nContent-Type: application/octet-stream\r\n\r\n0123456789", Printed());
}

TEST_F(FileReplyTest, AGivenTypeIsSentAsItIs) {
  WriteFile(path_, "x");
  for (const std::string& type : {std::string("a/%s%n"), std::string(), "x/" + std::string(5000, 'y')}) {
    SCOPED_TRACE(type);
    ASSERT_EQ(0, outputer_.Output(path_.c_str(), type.c_str()));
    ASSERT_EQ("Content-Length: 1\r\nContent-Type: " + type + "\r\n\r\nx", Printed());
  }
}

}  // namespace
}  // namespace tarvel_test
