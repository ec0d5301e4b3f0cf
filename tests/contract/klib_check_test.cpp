#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <string>

#include "guarded_text.h"
#include "platform/klib.h"

namespace {

bool IsMask(const std::string& text) { return BlKLIBIsIpMask(GuardedText(text).get()) != 0; }

bool IsShareName(const std::string& name) { return BlKLIBIsShareName(GuardedText(name).get()) != 0; }

TEST(KlibCheckTest, EveryContiguousMaskIsOne) {
  for (int ones = 1; ones <= 32; ++ones) {
    const unsigned mask = 0xffffffffU << (32 - ones);
    const std::string text = std::to_string(mask >> 24) + "." + std::to_string(mask >> 16 & 255) + "." +
                             std::to_string(mask >> 8 & 255) + "." + std::to_string(mask & 255);
    EXPECT_TRUE(IsMask(text)) << text;
  }
}

TEST(KlibCheckTest, EverythingElseIsNoMask) {
  for (const char* text : {"",
                           "0.0.0.0",
                           "255.0.255.0",
                           "0.0.0.255",
                           "255.255.255.1",
                           "255.255.253.0",
                           "127.0.0.0",
                           "255.255.255",
                           "255.255.255.0.0",
                           "255.255.255.",
                           ".255.255.0",
                           "255..255.0",
                           "255.255.255.256",
                           "1255.255.255.0",
                           "-1.0.0.0",
                           "+255.0.0.0",
                           " 255.0.0.0",
                           "255.0.0.0 ",
                           "255.0.0.0\n",
                           "255.0.0.0/8",
                           "0xff.0.0.0",
                           "ff.0.0.0",
                           "255,0,0,0",
                           "4294967040",
                           "255.255",
                           "24",
                           "255.255.255.0x",
                           "/24",
                           "255.255.255.0000"}) {
    EXPECT_FALSE(IsMask(text)) << '"' << text << '"';
  }
  EXPECT_EQ(0, BlKLIBIsIpMask(nullptr));
}

TEST(KlibCheckTest, OrdinaryNamesMayNameAShare) {
  for (const char* name : {"a", "photo", "My Files 2026", "NetBackup", "a.b", "a-b", "a_b", "(x)", "it's", "#1", "写真",
                           "Müllers Fotos", "\xF0\x9F\x93\xB7", "x."}) {
    EXPECT_TRUE(IsShareName(name)) << name;
  }
}

TEST(KlibCheckTest, NamesThatWouldMeanSomethingElseMayNot) {
  for (const char* name : {"", ".", "..", ".hidden", "-rf", " a", "a ", " ", "a\tb", "a\nb", "a\x7f", "\xC2\x85",
                           "\xFF", "a\xC3", "\xC0\xAF", "\xED\xA0\x80"}) {
    EXPECT_FALSE(IsShareName(name)) << '"' << name << '"';
  }
  EXPECT_EQ(0, BlKLIBIsShareName(nullptr));
}

TEST(KlibCheckTest, EachForbiddenCharacterIsRefusedAnywhereInAName) {
  for (const char c : std::string("\"/\\[]:;|<>+=,*?@%")) {
    EXPECT_FALSE(IsShareName(std::string(1, c))) << c;
    EXPECT_FALSE(IsShareName(std::string("a") + c)) << c;
    EXPECT_FALSE(IsShareName(std::string("a") + c + "b")) << c;
  }
}

TEST(KlibCheckTest, AShareNameHasAtMostThirtyTwoCharacters) {
  std::string accented;
  for (int i = 0; i < 32; ++i) accented += "ä";
  EXPECT_TRUE(IsShareName(std::string(32, 'a')));
  EXPECT_FALSE(IsShareName(std::string(33, 'a')));
  EXPECT_TRUE(IsShareName(accented)) << "characters count, not bytes";
  EXPECT_FALSE(IsShareName(accented + "a"));
}

TEST(KlibCheckTest, ThisProcessIsAlive) { EXPECT_NE(0, BlKLIBProcAlive(static_cast<unsigned>(getpid()))); }

TEST(KlibCheckTest, AProcessOfAnotherUserIsAlive) {
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    // Nobody may send root a signal, whoever runs the tests.
    if (geteuid() == 0 && setresuid(65534, 65534, 65534) != 0) _exit(2);
    _exit(BlKLIBProcAlive(1) != 0 ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(child, waitpid(child, &status, 0));
  EXPECT_EQ(0, WEXITSTATUS(status));
}

TEST(KlibCheckTest, AProcessThatWasCollectedIsNotAlive) {
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) _exit(0);
  ASSERT_EQ(child, waitpid(child, nullptr, 0));
  EXPECT_EQ(0, BlKLIBProcAlive(static_cast<unsigned>(child)));
}

// As a signed number these would mean process groups, all processes, or nobody.
TEST(KlibCheckTest, NumbersThatAreNoProcessAreNotAlive) {
  for (const unsigned pid : {0U, 0x80000000U, UINT_MAX, UINT_MAX - 1, static_cast<unsigned>(INT_MAX)}) {
    EXPECT_EQ(0, BlKLIBProcAlive(pid)) << pid;
  }
}

}  // namespace
