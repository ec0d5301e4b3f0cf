// Windows networking on this platform, which is Samba's where it is installed.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/kestnet.h"
#include "platform/klib.h"
#include "system_file.h"

namespace {

struct Seen {
  int result = 0, flag_a = 7, flag_b = 7, code = 0, joined = 0;
  char name[64] = "as before";
};

// As one request: the configuration is read once by a process.
Seen Look(int size = 64) {
  int ends[2];
  Seen seen;
  if (pipe(ends) != 0) return seen;
  const pid_t pid = fork();
  if (pid == 0) {
    seen.result = WINIQuery1(seen.name, size, &seen.flag_a, &seen.flag_b);
    seen.code = KLIBErrGet();
    seen.joined = KESTWinTestJoin(KESTWinADSJoined());
    _exit(write(ends[1], &seen, sizeof(seen)) == sizeof(seen) ? 0 : 1);
  }
  close(ends[1]);
  EXPECT_EQ(static_cast<ssize_t>(sizeof(seen)), read(ends[0], &seen, sizeof(seen)));
  close(ends[0]);
  waitpid(pid, nullptr, 0);
  return seen;
}

class NetDomain : public testing::Test {
 protected:
  void SetUp() override {
    if (access("/usr/bin/testparm", X_OK) != 0) GTEST_SKIP() << "needs Samba (package samba-common-bin)";
  }
  const SystemFile configuration_{"/etc/samba/smb.conf"};
};

TEST_F(NetDomain, IsReadAsSambaReadsIt) {
  configuration_.Write("[global]\n Work Group = Example ; x\n security = \\\n  ads\n realm = example.org\n");
  const Seen seen = Look();
  EXPECT_EQ(0, seen.result);
  EXPECT_STREQ("EXAMPLE ; X", seen.name) << "a comment is a line of its own, and a domain has capital letters";
  EXPECT_NE(0, seen.flag_a);
  EXPECT_NE(0, seen.flag_b);
  EXPECT_NE(0, seen.joined) << "no domain knows this machine";
}

TEST_F(NetDomain, OfAWorkgroupIsNone) {
  configuration_.Write("[global]\nworkgroup = HOME\n");
  const Seen seen = Look();
  EXPECT_EQ(0, seen.result);
  EXPECT_STREQ("HOME", seen.name);
  EXPECT_EQ(0, seen.flag_a);
  EXPECT_EQ(0, seen.flag_b);
  EXPECT_GT(0, seen.joined);
}

TEST_F(NetDomain, WithoutItsRealmCannotBeJoined) {
  configuration_.Write("[global]\nworkgroup = EXAMPLE\nsecurity = ads\n");
  const Seen seen = Look();
  EXPECT_EQ(0, seen.result);
  EXPECT_NE(0, seen.flag_a);
  EXPECT_EQ(0, seen.flag_b);
}

TEST_F(NetDomain, ThatCannotBeReadLeavesTheOutputs) {
  configuration_.Write("[global]\nsecurity = nonsense\n");
  for (const bool missing : {false, true}) {
    if (missing) configuration_.Remove();
    const Seen seen = Look();
    EXPECT_GT(0, seen.result) << missing;
    EXPECT_NE(0, seen.code) << missing;
    EXPECT_STREQ("as before", seen.name) << missing;
    EXPECT_EQ(14, seen.flag_a + seen.flag_b) << missing;
  }
}

TEST_F(NetDomain, OfALongerNameThanTheBufferIsAFailure) {
  configuration_.Write("[global]\nworkgroup = EXAMPLE\n");
  EXPECT_EQ(0, Look(8).result);
  const Seen seen = Look(7);
  EXPECT_GT(0, seen.result);
  EXPECT_STREQ("as before", seen.name);
}

TEST(NetDomainArguments, AreChecked) {
  char name[64] = "as before";
  int flag = 7;
  EXPECT_GT(0, WINIQuery1(nullptr, 64, &flag, &flag));
  EXPECT_GT(0, WINIQuery1(name, 0, &flag, &flag));
  EXPECT_GT(0, WINIQuery1(name, 64, nullptr, &flag));
  EXPECT_GT(0, KESTWinTestJoin(77));
  EXPECT_STREQ("as before", name);
  EXPECT_EQ(7, flag);
}

}  // namespace
