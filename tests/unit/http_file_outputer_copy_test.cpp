// Files as replies: the copying of bytes.

#include <fcntl.h>
#include <stdio_ext.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>

#include "http_file_outputer_fixture.h"

namespace tarvel_test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class CopyTest : public HttpFileOutputerTest {
 protected:
  // Copies to standard output.
  int Copy(const std::string& content, long long offset, long long length) {
    WriteFile(path_, content);
    const TestFile in = Open(path_);
    const int result = outputer_.DumpFile(in.get(), stdout, offset, length);
    calls_ = Calls();
    return result;
  }

  // Copies to a stream that the test made.
  int CopyTo(FILE* out, const std::string& content) {
    WriteFile(path_, content);
    const TestFile in = Open(path_);
    errno = 0;
    const int result = outputer_.DumpFile(in.get(), out, 0, static_cast<long long>(content.size()));
    calls_ = Calls();
    return result;
  }

  const std::string path_ = ScratchPath("file");
  std::vector<std::string> calls_;
};

TEST_F(CopyTest, APieceIsReadWaitedForAndWrittenBeforeTheNextOne) {
  const std::string content = Pattern(20000);
  EXPECT_EQ(0, Copy(content, 0, 20000));
  EXPECT_EQ(content, Printed());
  EXPECT_THAT(calls_, ElementsAre("fread 8192", "select 1 3600.0", "fwrite 8192", "fread 8192", "select 1 3600.0",
                                  "fwrite 8192", "fread 3616", "select 1 3600.0", "fwrite 3616"))
      << "the limit is a fresh one each time";
}

TEST_F(CopyTest, TheCopyBeginsAtTheOffsetAndEndsWithTheLength) {
  const std::string content = Pattern(20000);
  EXPECT_EQ(0, Copy(content, 251 * 9 + 3, 9000));
  EXPECT_EQ(content.substr(251 * 9 + 3, 9000), Printed());
  EXPECT_EQ("fseeko 2262", calls_.front());
}

TEST_F(CopyTest, ALengthOfWholePiecesNeedsNoFurtherOne) {
  EXPECT_EQ(0, Copy(Pattern(16384), 0, 16384));
  EXPECT_EQ(Pattern(16384), Printed());
  EXPECT_EQ(6u, calls_.size());
}

TEST_F(CopyTest, NothingAndLessThanNothingAreOneEmptyPiece) {
  for (const long long length : {0LL, -1LL, LLONG_MIN}) {
    SCOPED_TRACE(length);
    ASSERT_EQ(0, Copy("abc", 0, length));
    ASSERT_EQ("", Printed());
    ASSERT_THAT(calls_, ElementsAre("fread 0", "select 1 3600.0", "fwrite 0"));
  }
}

TEST_F(CopyTest, AFileThatEndsEarlyEndsTheCopyWithoutAFailure) {
  EXPECT_EQ(0, Copy("short", 0, 1000000));
  EXPECT_EQ("short", Printed());
  EXPECT_THAT(calls_, ElementsAre("fread 8192", "select 1 3600.0", "fwrite 5"));
  EXPECT_EQ(0, Copy("short", 5000000000, 1));
  EXPECT_EQ("", Printed());
}

TEST_F(CopyTest, AnEndRightBehindAPieceTakesAnEmptyOneToBeSeen) {
  EXPECT_EQ(0, Copy(Pattern(8192), 0, LLONG_MAX));
  EXPECT_EQ(Pattern(8192), Printed());
  EXPECT_THAT(calls_,
              ElementsAre("fread 8192", "select 1 3600.0", "fwrite 8192", "fread 8192", "select 1 3600.0", "fwrite 0"));
}

TEST_F(CopyTest, AFileAtItsEndIsNotTouched) {
  WriteFile(path_, "abc");
  const TestFile in = Open(path_);
  while (std::fgetc(in.get()) != EOF) continue;
  EXPECT_EQ(0, outputer_.DumpFile(in.get(), stdout, 0, 3));
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_EQ(0, outputer_.DumpFile(in.get(), stdout, 1, 2));
  EXPECT_EQ("bc", Printed()) << "a seek leaves the end";
}

TEST_F(CopyTest, AReadErrorEndsTheCopyAfterItsWaitAndIsNoFailure) {
  machine().FailNext("fread", EIO);
  EXPECT_EQ(0, Copy("abc", 0, 3));
  EXPECT_THAT(calls_, ElementsAre("fread 3", "select 1 3600.0", "fwrite 0"));
  const TestFile directory = Open(ScratchPath(""));
  EXPECT_EQ(0, outputer_.DumpFile(directory.get(), stdout, 0, LLONG_MAX));
  EXPECT_THAT(Calls(), ElementsAre("fread 8192", "select 1 3600.0", "fwrite 0"));
}

// Gives "abc", fails, gives "def" and ends.
ssize_t ReadAroundAFailure(void* calls, char* buffer, size_t) {
  const int call = (*static_cast<int*>(calls))++;
  if (call == 1) {
    errno = EIO;
    return -1;
  }
  if (call > 2) return 0;
  std::memcpy(buffer, call == 0 ? "abc" : "def", 3);
  return 3;
}

TEST_F(CopyTest, AReadErrorBehindSomeBytesIsNotTheEndYet) {
  int calls = 0;
  const TestFile in(fopencookie(&calls, "rb", {ReadAroundAFailure, nullptr, nullptr, nullptr}));
  EXPECT_EQ(0, outputer_.DumpFile(in.get(), stdout, 0, 6));
  EXPECT_EQ("abcdef", Printed());
  EXPECT_THAT(Calls(), ElementsAre("fread 6", "select 1 3600.0", "fwrite 3", "fread 3", "select 1 3600.0", "fwrite 3"));
}

TEST_F(CopyTest, OffsetsAcross2To31And2To32AreReached) {
  const std::string path = SparseFile(4294967400, {{2147483640, "across 2 to 31"}, {4294967290, "across 2 to 32"}});
  const TestFile in = Open(path);
  EXPECT_EQ(0, outputer_.DumpFile(in.get(), stdout, 2147483640, 14));
  EXPECT_EQ("across 2 to 31", Printed());
  EXPECT_EQ(0, outputer_.DumpFile(in.get(), stdout, 4294967290, 14));
  EXPECT_EQ("across 2 to 32", Printed());
  EXPECT_EQ(0, outputer_.DumpFile(in.get(), stdout, 4294967297, 7));
  EXPECT_EQ("2 to 32", Printed());
}

TEST_F(CopyTest, AFailedSeekIsLoggedAndNothingIsRead) {
  machine().FailNext("fseeko", EIO);
  EXPECT_EQ(-1, Copy("abc", 4294967297, 3));
  ExpectLogged("http_file_outputer(#): fseeko failed, offset=4294967297 errno=Input/output error");
  EXPECT_THAT(calls_, ElementsAre("fseeko 4294967297"));
}

TEST_F(CopyTest, APipeCannotSeekAndNeedNotFromZero) {
  int ends[2];
  ASSERT_EQ(0, pipe2(ends, O_CLOEXEC));
  ASSERT_EQ(3, write(ends[1], "abc", 3));
  close(ends[1]);
  const TestFile in(fdopen(ends[0], "rb"));
  EXPECT_EQ(-1, outputer_.DumpFile(in.get(), stdout, 1, 1));
  ExpectLogged("http_file_outputer(#): fseeko failed, offset=1 errno=Illegal seek");
  EXPECT_EQ(0, outputer_.DumpFile(in.get(), stdout, 0, LLONG_MAX));
  EXPECT_EQ("abc", Printed());
}

TEST_F(CopyTest, AClientThatStopsReadingIsGivenUp) {
  machine().FailNext("select", 0);
  EXPECT_EQ(-1, Copy("abc", 0, 3));
  ExpectLogged("http_file_outputer(#): write blocked over 3600 seconds, return=0, errno=Success");
  EXPECT_THAT(calls_, ElementsAre("fread 3", "select 1 3600.0"));
}

TEST_F(CopyTest, AnInterruptedWaitIsAFailure) {
  machine().FailNext("select", EINTR);
  EXPECT_EQ(-1, Copy("abc", 0, 3));
  ExpectLogged("http_file_outputer(#): write blocked over 3600 seconds, return=-1, errno=Interrupted system call");
}

TEST_F(CopyTest, AWaitThatDoesNotReportTheDescriptorIsAFailure) {
  machine().FailNext("select report", EIO);
  EXPECT_EQ(-1, Copy("abc", 0, 3));
  ExpectLogged("http_file_outputer(#): failed to wait for file descriptor, errno=Input/output error");
  EXPECT_THAT(calls_, ElementsAre("fread 3", "select 1 3600.0"));
}

TEST_F(CopyTest, WhatSelectCannotWaitForIsAFailedWait) {
  char memory[16];
  const TestFile none(fmemopen(memory, sizeof memory, "wb"));
  EXPECT_EQ(-1, CopyTo(none.get(), "abc"));
  ExpectLogged("http_file_outputer(#): failed to wait for file descriptor, errno=Bad file descriptor");
  EXPECT_THAT(calls_, ElementsAre("fread 3"));

  struct rlimit before;
  ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &before));
  struct rlimit more = before;
  more.rlim_cur = 1100;
  ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &more));
  const int fd = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 1024);
  ASSERT_LE(1024, fd);
  {
    const TestFile high(fdopen(fd, "wb"));
    EXPECT_EQ(-1, CopyTo(high.get(), "abc"));
  }
  setrlimit(RLIMIT_NOFILE, &before);
  ExpectLogged("http_file_outputer(#): failed to wait for file descriptor, errno=Bad file descriptor");
}

TEST_F(CopyTest, AClosedOutputIsAFailedWait) {
  WriteFile(path_, "abc");
  const TestFile in = Open(path_);
  const TestFile out(std::fopen(ScratchPath("copy").c_str(), "wb"));
  close(fileno(out.get()));
  EXPECT_EQ(-1, outputer_.DumpFile(in.get(), out.get(), 0, 3));
  ExpectLogged("http_file_outputer(#): write blocked over 3600 seconds, return=-1, errno=Bad file descriptor");
}

TEST_F(CopyTest, TheLowestDescriptorIsOneLikeOthers) {
  const int input = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3);
  const int file = open(ScratchPath("copy").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  dup2(file, STDIN_FILENO);
  close(file);
  {
    const TestFile out(fdopen(STDIN_FILENO, "wb"));
    EXPECT_EQ(0, CopyTo(out.get(), "abc"));
  }
  dup2(input, STDIN_FILENO);
  close(input);
  EXPECT_THAT(calls_, ElementsAre("fread 3", "select 0 3600.0", "fwrite 3"));
}

TEST_F(CopyTest, TheStreamsOwnDescriptorIsWaitedForAlone) {
  const TestFile out(std::fopen(ScratchPath("copy").c_str(), "wb"));
  EXPECT_EQ(0, CopyTo(out.get(), "abc"));
  EXPECT_EQ("select " + std::to_string(fileno(out.get())) + " 3600.0", calls_[1]);
  EXPECT_EQ("abc", FileContent(ScratchPath("copy"))) << "flushed";
}

TEST_F(CopyTest, AShortWriteIsLoggedAndEndsTheCopy) {
  machine().FailAfter("fwrite", 1, EDQUOT);
  EXPECT_EQ(-1, Copy(Pattern(20000), 0, 20000));
  EXPECT_EQ(8192u + 4096u, Printed().size());
  ExpectLogged("http_file_outputer(#): failed to write errno=Disk quota exceeded");
  EXPECT_THAT(calls_, ElementsAre("fread 8192", "select 1 3600.0", "fwrite 8192", "fread 8192", "select 1 3600.0",
                                  "fwrite 8192"));
}

TEST_F(CopyTest, AFullDeviceIsSeenInTheWriteAndNotInTheFlush) {
  TestFile full(std::fopen("/dev/full", "wb"));
  EXPECT_EQ(-1, CopyTo(full.get(), Pattern(8192)));
  ExpectLogged("http_file_outputer(#): failed to write errno=No space left on device");
  full.reset(std::fopen("/dev/full", "wb"));
  EXPECT_EQ(0, CopyTo(full.get(), "a piece smaller than the stream's buffer"));
}

TEST_F(CopyTest, AClientThatWentAwayIsAFailedWrite) {
  int ends[2];
  ASSERT_EQ(0, pipe2(ends, O_CLOEXEC));
  close(ends[0]);
  const TestFile out(fdopen(ends[1], "wb"));
  const auto before = std::signal(SIGPIPE, SIG_IGN);
  EXPECT_EQ(-1, CopyTo(out.get(), Pattern(20000)));
  std::signal(SIGPIPE, before);
  ExpectLogged("http_file_outputer(#): failed to write errno=Broken pipe");
}

// Its buffer takes whole pieces, so only sending them fails.
TEST_F(CopyTest, AClientOfStandardOutputThatWentAwayIsAFailedWriteOfTheNextPiece) {
  EXPECT_EQ(0, Copy(Pattern(8192), 0, 8192));
  const int captured = dup(STDOUT_FILENO);
  int ends[2];
  ASSERT_EQ(0, pipe2(ends, O_CLOEXEC));
  close(ends[0]);
  dup2(ends[1], STDOUT_FILENO);
  const auto before = std::signal(SIGPIPE, SIG_IGN);
  EXPECT_EQ(-1, Copy(Pattern(80000), 0, 80000));
  std::signal(SIGPIPE, before);
  dup2(captured, STDOUT_FILENO);
  std::clearerr(stdout);
  close(captured);
  close(ends[1]);
  Printed();
  ExpectLogged("http_file_outputer(#): failed to write errno=Broken pipe");
}

TEST_F(CopyTest, EachPieceHasLeftBeforeTheNextOneIsWaitedFor) {
  machine().FailAfter("select", 1, EIO);
  EXPECT_EQ(-1, Copy(Pattern(20000), 0, 20000));
  EXPECT_EQ(Pattern(8192), Flushed());
  Printed();
  ExpectLogged("http_file_outputer(#): write blocked over 3600 seconds, return=-1, errno=Input/output error");
}

TEST_F(CopyTest, OnlyStandardOutputLosesABufferThatIsTooSmall) {
  char small[512];
  static char usual[4096];
  std::setvbuf(stdout, usual, _IOFBF, sizeof usual);
  const TestFile out(std::fopen(ScratchPath("copy").c_str(), "wb"));
  std::setvbuf(out.get(), small, _IOFBF, sizeof small);
  EXPECT_EQ(0, CopyTo(out.get(), "abc"));
  EXPECT_EQ(sizeof small, __fbufsize(out.get()));
  EXPECT_EQ(sizeof usual, __fbufsize(stdout));
}

TEST_F(CopyTest, AProgramsBufferThatTakesAPieceIsKept) {
  static char enough[8192];
  std::setvbuf(stdout, enough, _IOFBF, sizeof enough);
  EXPECT_EQ(0, Copy("abc", 0, 3));
  EXPECT_EQ(sizeof enough, __fbufsize(stdout));
  Printed();
}

// Another file in the place of standard output, with the buffer that a program finds.
class UsualOutput {
 public:
  explicit UsualOutput(int fd) : captured_(dup(STDOUT_FILENO)) {
    static char usual[4096];
    std::fflush(stdout);
    std::setvbuf(stdout, usual, _IOFBF, sizeof usual);
    dup2(fd, STDOUT_FILENO);
  }
  ~UsualOutput() {
    std::clearerr(stdout);
    dup2(captured_, STDOUT_FILENO);
    close(captured_);
  }
  UsualOutput(const UsualOutput&) = delete;
  UsualOutput& operator=(const UsualOutput&) = delete;

 private:
  int captured_;
};

// A socket that keeps the bounds of writes.
TEST_F(CopyTest, APieceLeavesStandardOutputInOneWriteBehindWhatWasPrinted) {
  int ends[2];
  ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends));
  {
    const UsualOutput output(ends[1]);
    std::printf("printed");
    EXPECT_EQ(0, Copy(Pattern(20000), 0, 20000));
  }
  close(ends[1]);
  std::string received;
  std::vector<ssize_t> writes;
  char piece[20000];
  for (ssize_t got; (got = recv(ends[0], piece, sizeof piece, 0)) > 0;) {
    writes.push_back(got);
    received.append(piece, static_cast<size_t>(got));
  }
  close(ends[0]);
  EXPECT_THAT(writes, ElementsAre(7, 8192, 8192, 3616));
  EXPECT_EQ("printed" + Pattern(20000), received);
}

TEST_F(CopyTest, TheFailureOfTheLastPieceShowsToo) {
  const TestFile full(std::fopen("/dev/full", "wb"));
  {
    const UsualOutput output(fileno(full.get()));
    EXPECT_EQ(-1, Copy(Pattern(8192), 0, 8192));
  }
  ExpectLogged("http_file_outputer(#): failed to write errno=No space left on device");
}

}  // namespace
}  // namespace tarvel_test
