// What shares ask of storage: quotas, NFS exports, and that the file services read their configuration again.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <string>

#include "platform/keststorage.h"
#include "platform/klib.h"
#include "session_fixture.h"
#include "system_file.h"

namespace {

using StorageQuota = SessionTest;

TEST_F(StorageQuota, AVolumeWithoutQuotasIsAFailureAndLeavesTheRecord) {
  _tag_KEST_QUOTA_ quota = {7, 8};
  KLIBErrSet(0);
  EXPECT_NE(0, KESTQuotaGet("/volume3/a", "anna", &quota));  // a memory disk
  EXPECT_NE(0, KLIBErrGet());
  EXPECT_NE(0, KESTQuotaSet("/volume3/a", "anna", &quota));
  EXPECT_EQ(7u, quota.limitBytes);
  EXPECT_EQ(8u, quota.usedBytes);
}

TEST_F(StorageQuota, WithoutVolumeOrAccountThereIsNoQuota) {
  _tag_KEST_QUOTA_ quota = {7, 8};
  const std::string too_long = "/volume1/" + std::string(483, 'x');
  for (const char* path : {"", "/etc", "/volume9", "volume1", "/volume1/../etc", too_long.c_str()}) {
    EXPECT_NE(0, KESTQuotaGet(path, "anna", &quota)) << path;
    EXPECT_NE(0, KESTQuotaSet(path, "anna", &quota)) << path;
  }
  for (const char* name : {"", "nobody", "@users"}) {
    EXPECT_NE(0, KESTQuotaGet("/volume1", name, &quota)) << name;
    EXPECT_NE(0, KESTQuotaSet("/volume1", name, &quota)) << name;
  }
  EXPECT_NE(0, KESTQuotaGet(nullptr, "anna", &quota));
  EXPECT_NE(0, KESTQuotaGet("/volume1", nullptr, &quota));
  EXPECT_NE(0, KESTQuotaGet("/volume1", "anna", nullptr));
  EXPECT_NE(0, KESTQuotaSet(nullptr, "anna", &quota));
  EXPECT_NE(0, KESTQuotaSet("/volume1", nullptr, &quota));
  EXPECT_NE(0, KESTQuotaSet("/volume1", "anna", nullptr));
  EXPECT_EQ(7u, quota.limitBytes);
}

class StorageNfs : public testing::Test {
 protected:
  // A machine with an NFS server asks it, and it answers to root alone.
  void SetUp() override {
    if (access("/usr/sbin/exportfs", F_OK) == 0) GTEST_SKIP() << "there is an NFS server";
  }

  std::string Exports() const {
    std::ifstream file("/etc/exports.d/kest.exports");
    return std::string(std::istreambuf_iterator<char>(file), {});
  }

  const SystemFile rules_{"/usr/kest/etc/nfs.conf"};
  const SystemFile exports_{"/etc/exports.d/kest.exports"};
};

TEST_F(StorageNfs, AFoldersRuleIsExportedAndTakenBack) {
  rules_.Write("/volume1/photo=\"192.168.1.0/24(rw)\"\n/volume1/music=\"*(ro)\"\n");
  ASSERT_EQ(0, KESTNFSRuleSetAll("/volume1/photo", 0));
  ASSERT_EQ(0, KESTNFSRuleSetAll("/volume1/music", 0));
  EXPECT_EQ("/volume1/photo 192.168.1.0/24(rw)\n/volume1/music *(ro)\n", Exports());
  rules_.Write("/volume1/music=\"*(ro)\"\n");
  ASSERT_EQ(0, KESTNFSRuleSetAll("/volume1/photo", 0));
  EXPECT_EQ("/volume1/music *(ro)\n", Exports());
}

TEST_F(StorageNfs, AFolderWithoutRuleIsDoneAtOnce) { EXPECT_EQ(0, KESTNFSRuleSetAll("/volume1/photo", 0)); }

TEST_F(StorageNfs, AFolderOnNoVolumeIsAFailure) {
  for (const char* path : {"", "/", "/etc", "photo", "/volume1/../etc"}) {
    KLIBErrSet(0);
    EXPECT_NE(0, KESTNFSRuleSetAll(path, 0)) << path;
    EXPECT_NE(0, KLIBErrGet()) << path;
  }
  EXPECT_NE(0, KESTNFSRuleSetAll(nullptr, 0));
}

TEST_F(StorageNfs, ExportsThatCannotBeWrittenAreAFailure) {
  rules_.Write("/volume1/photo=\"*(ro)\"\n");
  exports_.MakeDirectory();
  EXPECT_NE(0, KESTNFSRuleSetAll("/volume1/photo", 0));
}

// A process of this name that waits for SIGHUP: status 1 when it came, 0 when not.
pid_t StartService(const char* name, long seconds) {
  int ready[2];
  if (pipe(ready) != 0) return -1;
  const pid_t pid = fork();
  if (pid == 0) {
    sigset_t hangup;
    sigemptyset(&hangup);
    sigaddset(&hangup, SIGHUP);
    sigprocmask(SIG_BLOCK, &hangup, nullptr);
    prctl(PR_SET_NAME, name);
    if (write(ready[1], "x", 1) != 1) _exit(2);
    const timespec limit = {seconds, 0};
    _exit(sigtimedwait(&hangup, nullptr, &limit) == SIGHUP ? 1 : 0);
  }
  char byte = 0;
  const bool started = read(ready[0], &byte, 1) == 1;
  close(ready[0]);
  close(ready[1]);
  return started ? pid : -1;
}

int StatusOf(pid_t pid) {
  int status = -1;
  return waitpid(pid, &status, 0) == pid && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(StorageFileServices, AServiceThatRunsReadsItsConfigurationAgain) {
  const SystemFile file("/run/samba/smbd.pid");
  const pid_t pid = StartService("smbd", 20);
  ASSERT_LT(0, pid);
  file.Write(std::to_string(pid) + "\n");
  ErrServicesHup();
  EXPECT_EQ(1, StatusOf(pid));
}

TEST(StorageFileServices, AnotherProcessOfThatNumberIsLeftAlone) {
  const SystemFile file("/run/samba/smbd.pid");
  const pid_t pid = StartService("smbd2", 1);
  ASSERT_LT(0, pid);
  file.Write(std::to_string(pid) + "\n");
  ErrServicesHup();
  EXPECT_EQ(0, StatusOf(pid));
}

TEST(StorageFileServices, WithoutServicesNothingHappens) {
  const SystemFile file("/run/samba/smbd.pid");
  for (const char* text : {"", "0", "-1", "1", "x", "99999999999999999999", "4294967297"}) {
    file.Write(text);
    ErrServicesHup();
  }
  file.Remove();
  ErrServicesHup();
}

}  // namespace
