#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <random>
#include <string>

#include "platform/klib.h"
#include "scratch_directory.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

constexpr char kQuoted[] = "%s=\"%s\"\n";

class KlibKeyValueWriteTest : public testing::Test {
 protected:
  int Set(const char* key, const char* value, const char* format = kQuoted) {
    return KLIBFileSetKeyValue(scratch_.Path("conf").c_str(), key, value, format);
  }

  // What the file holds after one setting, when it held `before`.
  std::string After(const std::string& before, const char* key, const char* value, const char* format = kQuoted) {
    scratch_.Write("conf", before);
    EXPECT_EQ(0, Set(key, value, format)) << before;
    return scratch_.Read("conf");
  }

  std::string Get(const char* key) {
    char buffer[512];
    KLIBFileGetKeyValue(scratch_.Path("conf").c_str(), key, buffer, sizeof(buffer), 0);
    return buffer;
  }

  ScratchDirectory scratch_;
};

TEST_F(KlibKeyValueWriteTest, AMissingFileIsMade) {
  const mode_t mask = umask(022);
  EXPECT_EQ(0, Set("sdq1", "success"));
  umask(mask);
  EXPECT_EQ("sdq1=\"success\"\n", scratch_.Read("conf"));
  struct stat status;
  ASSERT_EQ(0, stat(scratch_.Path("conf").c_str(), &status));
  EXPECT_EQ(0100644U, status.st_mode);
}

TEST_F(KlibKeyValueWriteTest, OnlyTheKeysLineChanges) {
  EXPECT_EQ("# c\n\na=\"9\"\n odd line\nb=2\r\n", After("# c\n\na=\"1\"\n odd line\nb=2\r\n", "a", "9"));
  EXPECT_EQ("a=\"1\"\nb=\"9\"\n", After("a=\"1\"\nb=2\r\n", "b", "9"));
  EXPECT_EQ("a=\"9\"\nb=2", After("a=1\nb=2", "a", "9"));
  EXPECT_EQ("a=\"9\"\n", After("a=1", "a", "9"));
  EXPECT_EQ("a=\"9\"\n", After("  a =  1\n", "a", "9"));
  EXPECT_EQ("ab=1\nba=2\nA=3\na=\"9\"\n", After("ab=1\nba=2\nA=3\n", "a", "9"));
  EXPECT_EQ(
      "\xEF\xBB\xBF"
      "a=\"9\"\n",
      After("\xEF\xBB\xBF"
            "a=1\n",
            "a", "9"));
}

TEST_F(KlibKeyValueWriteTest, AnAbsentKeyIsAppended) {
  EXPECT_EQ("a=\"1\"\n", After("", "a", "1"));
  EXPECT_EQ("a=1\nb=\"2\"\n", After("a=1\n", "b", "2"));
  EXPECT_EQ("a=1\nb=\"2\"\n", After("a=1", "b", "2")) << "behind a newline";
  EXPECT_EQ("#a=1\na=\"2\"\n", After("#a=1\n", "a", "2")) << "a comment is no setting";
}

TEST_F(KlibKeyValueWriteTest, FurtherLinesOfTheKeyAreRemoved) {
  EXPECT_EQ("x=1\na=\"9\"\ny=2\n", After("x=1\na=1\ny=2\na=2\na=3", "a", "9"));
}

TEST_F(KlibKeyValueWriteTest, BytesOfOtherLinesStayWhateverTheyAre) {
  const std::string odd("one\0two=3\n\xFF\xFE\n\x01=\x02\n", 17);
  EXPECT_EQ(odd + "a=\"1\"\n", After(odd, "a", "1"));
}

TEST_F(KlibKeyValueWriteTest, TheFormatSaysWhatTheLineLooksLike) {
  EXPECT_EQ("a=1\n", After("", "a", "1", "%s=%s\n"));
  EXPECT_EQ("a = \"1\"  # 100%\n", After("", "a", "1", "%s = \"%s\"  # 100%%\n"));
}

TEST_F(KlibKeyValueWriteTest, ARefusedArgumentLeavesTheFileAlone) {
  const struct {
    const char* key;
    const char* value;
    const char* format;
  } rows[] = {
      {nullptr, "v", kQuoted},
      {"k", nullptr, kQuoted},
      {"k", "v", nullptr},
      {"", "v", kQuoted},
      {"a=b", "v", kQuoted},
      {"#k", "v", kQuoted},
      {"a b", "v", kQuoted},
      {"a\tb", "v", kQuoted},
      {"k\n", "v", kQuoted},
      {"k\x7f", "v", kQuoted},
      {"\"k\"", "v", kQuoted},
      {"k", "two\nlines", kQuoted},
      {"k", "v\"\nadmin=\"yes", kQuoted},
      {"k", "carriage\rreturn", kQuoted},
      {"k", "v", ""},
      {"k", "v", "\n"},
      {"k", "v", "%s\n"},
      {"k", "v", "%s=%s"},
      {"k", "v", "%s=%s\nx=1\n"},
      {"k", "v", "%s=%s%s\n"},
      {"k", "v", "%s=%d\n"},
      {"k", "v", "%s=%n\n"},
      {"k", "v", "%s=%10s\n"},
      {"k", "v", "%s=%s%"},
      {"k", "v", "x\n"},
      {"k", "blank at the end ", "%s=%s\n"},
      {"k", "\"half quoted", "%s=%s\n"},
      {"k", "v", "#%s=%s\n"},
      {"k", "v", "%s %s\n"},
      {"k", "v", "%s=\"%s%%\"\n"},  // another value would come back
  };
  scratch_.Write("conf", "k=\"before\"\n");
  for (const auto& row : rows) {
    EXPECT_LT(Set(row.key, row.value, row.format), 0)
        << (row.key ? row.key : "NULL") << " | " << (row.value ? row.value : "NULL") << " | "
        << (row.format ? row.format : "NULL");
  }
  EXPECT_LT(KLIBFileSetKeyValue(nullptr, "k", "v", kQuoted), 0);
  EXPECT_LT(KLIBFileSetKeyValue("", "k", "v", kQuoted), 0);
  EXPECT_EQ("k=\"before\"\n", scratch_.Read("conf"));
  EXPECT_THAT(scratch_.Names(), ElementsAre("conf"));
}

TEST_F(KlibKeyValueWriteTest, EveryValueComesBackUnchanged) {
  std::mt19937 random(11);
  scratch_.Write("conf", "first=\"1\"\nk=\"\"\nlast=\"2\"\n");
  for (int round = 0; round < 100; ++round) {
    std::string value;
    for (size_t length = random() % 12; length > 0; --length) {
      const char odd = "\"\\%s=# \t'\x7f\xFF\x01"[random() % 12];
      const char c = random() % 3 != 0 ? odd : static_cast<char>(1 + random() % 255);
      value += c == '\r' || c == '\n' ? 'x' : c;
    }
    ASSERT_EQ(0, Set("k", value.c_str())) << value;
    ASSERT_EQ(value, Get("k"));
    ASSERT_EQ("1", Get("first"));
    ASSERT_EQ("2", Get("last"));
  }
}

TEST_F(KlibKeyValueWriteTest, ModeAndOwnerAreKept) {
  scratch_.Write("conf", "a=1\n");
  ASSERT_EQ(0, chmod(scratch_.Path("conf").c_str(), 0640));
  if (geteuid() == 0) {
    ASSERT_EQ(0, chown(scratch_.Path("conf").c_str(), 4711, 4712));
  }
  struct stat before, after;
  ASSERT_EQ(0, stat(scratch_.Path("conf").c_str(), &before));
  ASSERT_EQ(0, Set("a", "2"));
  ASSERT_EQ(0, stat(scratch_.Path("conf").c_str(), &after));
  EXPECT_EQ(before.st_mode, after.st_mode);
  EXPECT_EQ(before.st_uid, after.st_uid);
  EXPECT_EQ(before.st_gid, after.st_gid);
  EXPECT_EQ("2", Get("a"));
}

TEST_F(KlibKeyValueWriteTest, NothingIsLeftBeside) {
  ASSERT_EQ(0, Set("a", "1"));
  ASSERT_EQ(0, Set("a", "2"));
  EXPECT_THAT(scratch_.Names(), ElementsAre("conf"));
}

TEST_F(KlibKeyValueWriteTest, WhatIsNoFileIsNotReplaced) {
  ASSERT_EQ(0, mkdir(scratch_.Path("conf").c_str(), 0755));
  EXPECT_LT(Set("a", "1"), 0);
  EXPECT_LT(KLIBFileSetKeyValue(scratch_.Path("no/such/directory").c_str(), "a", "1", kQuoted), 0);
  ASSERT_EQ(0, mkfifo(scratch_.Path("pipe").c_str(), 0644));
  alarm(20);
  EXPECT_LT(KLIBFileSetKeyValue(scratch_.Path("pipe").c_str(), "a", "1", kQuoted), 0);
  alarm(0);
  EXPECT_THAT(scratch_.Names(), UnorderedElementsAre("conf", "pipe"));
}

TEST_F(KlibKeyValueWriteTest, AFileOfAMegabyteDoesNotGrow) {
  std::string full = "a=\"1\"\n";
  full.resize(1 << 20, '#');
  scratch_.Write("conf", full);
  EXPECT_LT(Set("a", "22"), 0);
  EXPECT_TRUE(full == scratch_.Read("conf"));
  EXPECT_EQ(0, Set("a", "2"));
  EXPECT_EQ("2", Get("a"));
}

// The process may write 64 bytes to a file; the disk is full behind them.
TEST_F(KlibKeyValueWriteTest, AFullDiskLeavesTheOldFile) {
  const std::string before = "a=\"1\"\n" + std::string(100, '#') + "\n";
  scratch_.Write("conf", before);
  struct rlimit old_limit;
  ASSERT_EQ(0, getrlimit(RLIMIT_FSIZE, &old_limit));
  signal(SIGXFSZ, SIG_IGN);
  const struct rlimit limit = {64, old_limit.rlim_max};
  ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &limit));
  const int result = Set("a", "2");
  ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &old_limit));
  signal(SIGXFSZ, SIG_DFL);
  EXPECT_LT(result, 0);
  EXPECT_EQ(before, scratch_.Read("conf"));
  EXPECT_THAT(scratch_.Names(), ElementsAre("conf"));
}

// Each writer has keys of its own; a reader looks on and must never see a file in which the first key is missing.
TEST_F(KlibKeyValueWriteTest, WritersAtTheSameTimeLoseNothing) {
  constexpr int kWriters = 4, kKeys = 15;
  scratch_.Write("conf", "always=\"there\"\n");
  pid_t writers[kWriters];
  for (int writer = 0; writer < kWriters; ++writer) {
    writers[writer] = fork();
    ASSERT_GE(writers[writer], 0);
    if (writers[writer] != 0) continue;
    for (int key = 0; key < kKeys; ++key) {
      const std::string name = "w" + std::to_string(writer) + "_" + std::to_string(key);
      if (Set(name.c_str(), "written") != 0) _exit(1);
    }
    _exit(0);
  }
  for (const pid_t writer : writers) {
    int status = 0;
    while (waitpid(writer, &status, WNOHANG) == 0) ASSERT_EQ("there", Get("always"));
    EXPECT_EQ(0, status);
  }
  for (int writer = 0; writer < kWriters; ++writer) {
    for (int key = 0; key < kKeys; ++key) {
      const std::string name = "w" + std::to_string(writer) + "_" + std::to_string(key);
      EXPECT_EQ("written", Get(name.c_str())) << name;
    }
  }
}

}  // namespace
