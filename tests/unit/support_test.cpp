// The fixture itself: what it promises to notice, it notices.

#include <gtest/gtest-spi.h>
#include <regex.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>

#include "support/allocations.h"
#include "support/killed_process.h"
#include "support/mock_kestcgi.h"
#include "support/mock_keststorage.h"
#include "support/platform_test.h"
#include "tarvel.h"

namespace tarvel_test {
namespace {

using ::testing::_;
using ::testing::ElementsAre;

int* lost = nullptr;
// An optimiser leaves out what nobody sees.
int* volatile needed = nullptr;

// A test inside the test; its end is the end of the object.
class Inner : public PlatformTest {
 public:
  using PlatformTest::cgi;
  using PlatformTest::ExpectLogged;
  using PlatformTest::ExpectLoggedForDebugging;
  using PlatformTest::ExpectRequest;
  using PlatformTest::FailuresUntilItSucceeds;
  using PlatformTest::machine;
  using PlatformTest::storage;

 private:
  void TestBody() override {}
};

void LeaveAContextOpen() {
  Inner inner;
  KESTCGI context;
  EXPECT_CALL(inner.cgi(), KestCgiInit(_, _));
  KestCgiInit("", &context);
}

void LoseMemoryWhenMemoryIsShort() {
  Inner inner;
  inner.FailuresUntilItSucceeds([] {
    auto kept = std::make_unique<int>(1);
    try {
      needed = new int(2);
      delete needed;
    } catch (const std::bad_alloc&) {
      lost = kept.release();
      throw;
    }
  });
}

void FreeAContextTwice() {
  Inner inner;
  KESTCGI context;
  EXPECT_CALL(inner.cgi(), KestCgiInit(_, _));
  KestCgiInit("", &context);
  KestCgiFree(&context);
  inner.machine().ledger().Give("platform context", &context);
}

void UseAContextThatIsNotOpen() {
  Inner inner;
  KESTCGI context;
  EXPECT_CALL(inner.cgi(), KestCgiLoadInCookies(_));
  KestCgiLoadInCookies(&context);
}

void KeepAListOfVolumes() {
  Inner inner;
  KESTMOUNTVOL volume = {};
  EXPECT_CALL(inner.storage(), KESTMountVolInfoEnum(0)).WillOnce(::testing::Return(&volume));
  KESTMountVolInfoEnum(0);
}

void* block = nullptr;

void KeepABlock() {
  Inner inner;
  block = std::malloc(3);
}

regex_t pattern;

void KeepAPattern() {
  Inner inner;
  regcomp(&pattern, "a", REG_EXTENDED);
}

void CallThePlatformUnexpectedly() {
  Inner inner;
  KestCgiIsUploadRequest();
}

void LogWithoutAsking() {
  Inner inner;
  syslog(LOG_ERR, "%s:%d oops", "tarvel", 12);
}

void ExpectAnotherLine() {
  Inner inner;
  syslog(LOG_ERR, "%s:%d oops", "tarvel", 12);
  inner.ExpectLogged("tarvel:# other");
}

void ExpectAnotherPriority() {
  Inner inner;
  syslog(LOG_DEBUG, "%s:%d oops", "tarvel", 12);
  inner.ExpectLogged("tarvel:# oops");
}

void ExpectALineForDebuggingThatIsAFailure() {
  Inner inner;
  syslog(LOG_ERR, "%s:%d oops", "tarvel", 12);
  inner.ExpectLoggedForDebugging("tarvel:# oops");
}

void ExpectALineThatIsNotThere() { Inner().ExpectLogged("tarvel:# oops"); }

void PrintWithoutAsking() {
  Inner inner;
  std::printf("noise");
}

void OrderAFaultThatNeverHappens() { Inner().machine().FailNext("open", 5); }

void OrderAFaultThatComesTooLate() {
  Inner inner;
  inner.machine().FailAfter("close", 1, 5);
  EXPECT_EQ(-1, close(-1));
}

TEST(PlatformTestTest, NoticesWhatIsNotGivenBack) {
  EXPECT_NONFATAL_FAILURE(LeaveAContextOpen(), "leaked: platform context");
  EXPECT_NONFATAL_FAILURE(KeepAListOfVolumes(), "leaked: list of mounted volumes");
  EXPECT_NONFATAL_FAILURE(KeepABlock(), "leaked: block from malloc");
  std::free(block);
  EXPECT_NONFATAL_FAILURE(KeepAPattern(), "leaked: compiled pattern");
  regfree(&pattern);
}

TEST(PlatformTestTest, NoticesBlocksThatAreLostWhenMemoryIsShort) {
  EXPECT_NONFATAL_FAILURE(LoseMemoryWhenMemoryIsShort(), "blocks, after the failure of number 1");
  delete lost;
}

TEST(PlatformTestTest, NoticesWrongUseOfAContext) {
  EXPECT_NONFATAL_FAILURE(FreeAContextTwice(), "platform context given back that is not out");
  EXPECT_NONFATAL_FAILURE(UseAContextThatIsNotOpen(), "on a context that is not initialised");
}

TEST(PlatformTestTest, NoticesPlatformCallsThatWereNotExpected) {
  EXPECT_NONFATAL_FAILURE(CallThePlatformUnexpectedly(), "Uninteresting mock function call");
}

TEST(PlatformTestTest, NoticesLogLinesThatAreNotWanted) {
  EXPECT_NONFATAL_FAILURE(LogWithoutAsking(), "unexpected log line: tarvel:12 oops");
  EXPECT_NONFATAL_FAILURE(ExpectAnotherLine(), "tarvel:# other");
  EXPECT_NONFATAL_FAILURE(ExpectAnotherPriority(), "tarvel:12 oops");
  EXPECT_NONFATAL_FAILURE(ExpectALineForDebuggingThatIsAFailure(), "tarvel:12 oops");
  EXPECT_NONFATAL_FAILURE(ExpectALineThatIsNotThere(), "nothing logged, expected: tarvel:# oops");
}

TEST(PlatformTestTest, NoticesOutputThatIsNotWanted) {
  EXPECT_NONFATAL_FAILURE(PrintWithoutAsking(), "unexpected output");
}

TEST(PlatformTestTest, NoticesFaultsThatWereNeverMet) {
  EXPECT_NONFATAL_FAILURE(OrderAFaultThatNeverHappens(), "was to fail and was never called: open");
  EXPECT_NONFATAL_FAILURE(OrderAFaultThatComesTooLate(), "was to fail and was never called: close");
}

class MachineTest : public PlatformTest {};

TEST_F(MachineTest, KeepsErrnoForLogLinesThatPrintIt) {
  errno = ENOENT;
  syslog(LOG_ERR, "%s:%d %m", "tarvel", 7);
  ExpectLogged("tarvel:# No such file or directory");
}

TEST_F(MachineTest, FailsACallAfterSoManyThatDoNot) {
  machine().FailAfter("remove", 2, EIO);
  for (const int error : {ENOENT, ENOENT, EIO, ENOENT}) {
    EXPECT_EQ(-1, std::remove(ScratchPath("missing").c_str()));
    EXPECT_EQ(error, errno);
  }
}

TEST_F(MachineTest, NotesCallsWithMemoryThatATestCannotTakeAway) {
  const std::string path = "/nowhere/a path that is too long to need no memory";
  struct stat info;
  const FailingNew failing(0);
  EXPECT_EQ(-1, stat(path.c_str(), &info));
  EXPECT_THROW(needed = new int(2), std::bad_alloc) << "the first that is not the machine's own";
  EXPECT_THAT(Calls(), ::testing::ElementsAre("stat " + path));
}

TEST_F(MachineTest, KillsAProcessAtEachCallAndLeavesWhatItHadDone) {
  std::string seen;
  const auto look = [&] {
    for (const char* name : {"a", "b"}) seen += FileExists(ScratchPath(name)) ? name : "-";
    seen += " ";
  };
  const auto work = [this] {
    mkdir(ScratchPath("a").c_str(), 0700);
    mkdir(ScratchPath("b").c_str(), 0700);
  };
  EXPECT_EQ(2, KilledAtEachCall(work, look));
  EXPECT_EQ("-- a- ab ", seen);
  EXPECT_THAT(Calls(), ::testing::IsEmpty()) << "the test's own process called nothing";
}

TEST_F(MachineTest, FindsFixedPathsBelowItsOwnRootAndLeavesOthers) {
  EXPECT_EQ(ScratchPath("usr/kest/etc/x"), machine().RealPath("/usr/kest/etc/x"));
  EXPECT_EQ(ScratchPath("tmp/tarvel"), machine().RealPath("/tmp/tarvel"));
  EXPECT_EQ(ScratchPath("var/services/web/x"), machine().RealPath("/var/services/web/x"));
  EXPECT_EQ("/usr/kestrel", machine().RealPath("/usr/kestrel"));
  EXPECT_EQ("/etc/passwd", machine().RealPath("/etc/passwd"));
}

TEST_F(MachineTest, MakesFoldersBelowItsOwnRootAndTellsTheirModesAndOwners) {
  WriteFile("/var/services/other", "");
  EXPECT_EQ(0, mkdir("/var/services/x", 0700));
  EXPECT_EQ(0, chmod("/var/services/x", 0750));
  EXPECT_EQ(0, chown("/var/services/x", 1024, 0));
  EXPECT_TRUE(FileExists("/var/services/x"));
  EXPECT_THAT(Calls(),
              ElementsAre("mkdir /var/services/x 0700", "chmod /var/services/x 0750", "chown /var/services/x 1024 0"));
}

}  // namespace
}  // namespace tarvel_test
