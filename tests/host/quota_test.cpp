// Quotas, on a kernel of the test's own: not every machine's has them.
#include "host/storage/quota.h"

#include <sys/quota.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "folder.h"
#include "host/accounts/accounts_module.h"
#include "host/klib/error_code.h"
#include "platform/klib.h"

namespace {

struct Kernel {
  int result = 0;
  int error = 0;
  int calls = 0;
  int command = 0;
  std::string device;
  int id = 0;
  struct dqblk block = {};
} kernel;

int Find(const char* name, KestAccountState* out) {
  if (strcmp(name, "broken") == 0) return -1;
  if (strcmp(name, "anna") != 0) return 0;
  out->uid = 1025;
  return 1;
}

}  // namespace

const KestAccountsModule* KestAccountsModuleTable(void) {
  static const KestAccountsModule table = [] {
    KestAccountsModule made = {};
    made.find = Find;
    return made;
  }();
  return &table;
}

extern "C" int __wrap_quotactl(int command, const char* device, int id, caddr_t address) {
  ++kernel.calls;
  kernel.command = command;
  kernel.device = device;
  kernel.id = id;
  errno = kernel.error;
  auto* const block = reinterpret_cast<struct dqblk*>(address);
  if (command == static_cast<int>(QCMD(Q_SETQUOTA, USRQUOTA))) {
    kernel.block = *block;
  } else if (kernel.result == 0) {
    *block = kernel.block;
  }
  return kernel.result;
}

namespace kest {
namespace {

constexpr uint64_t kGiB = 1024 * 1024 * 1024;

class QuotaTest : public testing::Test {
 protected:
  QuotaTest() {
    kernel = Kernel();
    KLIBErrSet(0);
    table_ = folder_.Put("mounts",
                         "1 1 8:3 / /volume1 rw - ext4 /dev/old rw\n2 1 8:4 / /volume1 rw - ext4 /dev/sda4 rw\n"
                         "3 1 0:9 / /volume2 rw - tmpfs none rw\n");
  }
  int Get(const char* path, const char* name) { return GetQuota(table_.c_str(), path, name, &quota_); }
  int Set(uint64_t limit) {
    quota_ = {limit, 99};
    return SetQuota(table_.c_str(), "/volume1/share", "anna", &quota_);
  }

  const Folder folder_;
  std::string table_;
  _tag_KEST_QUOTA_ quota_ = {7, 8};
};

TEST_F(QuotaTest, AQuotaIsTheUsersOnTheVolumesDevice) {
  kernel.block.dqb_bhardlimit = 2 * 1024 * 1024;
  kernel.block.dqb_curspace = 12345;
  ASSERT_EQ(0, Get("/volume1/share", "anna"));
  EXPECT_EQ("/dev/sda4", kernel.device);
  EXPECT_EQ(static_cast<int>(QCMD(Q_GETQUOTA, USRQUOTA)), kernel.command);
  EXPECT_EQ(1025, kernel.id);
  EXPECT_EQ(2 * kGiB, quota_.limitBytes);
  EXPECT_EQ(12345u, quota_.usedBytes);
}

TEST_F(QuotaTest, ALimitIsSetInWholeKibibytes) {
  ASSERT_EQ(0, Set(3 * kGiB));
  EXPECT_EQ(static_cast<int>(QCMD(Q_SETQUOTA, USRQUOTA)), kernel.command);
  EXPECT_EQ(static_cast<uint32_t>(QIF_BLIMITS), kernel.block.dqb_valid);
  EXPECT_EQ(3u * 1024 * 1024, kernel.block.dqb_bhardlimit);
  EXPECT_EQ(3u * 1024 * 1024, kernel.block.dqb_bsoftlimit);
  ASSERT_EQ(0, Set(1));
  EXPECT_EQ(1u, kernel.block.dqb_bhardlimit);
  ASSERT_EQ(0, Set(1025));
  EXPECT_EQ(2u, kernel.block.dqb_bhardlimit);
  ASSERT_EQ(0, Set(0));
  EXPECT_EQ(0u, kernel.block.dqb_bhardlimit);
  ASSERT_EQ(0, Set(UINT64_MAX));
  EXPECT_EQ(uint64_t{1} << 54, kernel.block.dqb_bhardlimit);
}

TEST_F(QuotaTest, AKernelThatRefusesIsAFailureAndLeavesTheRecord) {
  kernel.result = -1;
  kernel.error = EPERM;
  EXPECT_GT(0, Get("/volume1", "anna"));
  EXPECT_EQ(kErrorDenied, KLIBErrGet());
  kernel.error = ESRCH;  // no quotas on this file system
  EXPECT_GT(0, Get("/volume1", "anna"));
  EXPECT_EQ(kErrorSystem, KLIBErrGet());
  EXPECT_EQ(7u, quota_.limitBytes);
  EXPECT_EQ(8u, quota_.usedBytes);
  EXPECT_GT(0, Set(1));
}

TEST_F(QuotaTest, WithoutVolumeDeviceOrAccountTheKernelIsNotAsked) {
  EXPECT_GT(0, Get("/volume2", "anna"));  // a memory disk
  EXPECT_EQ(kErrorNoSuchObject, KLIBErrGet());
  EXPECT_GT(0, Get("/volume3", "anna"));
  EXPECT_GT(0, Get("/etc", "anna"));
  EXPECT_GT(0, Get("", "anna"));
  EXPECT_GT(0, Get(nullptr, "anna"));
  EXPECT_GT(0, Get("/volume1", nullptr));
  EXPECT_GT(0, Get("/volume1", ""));
  EXPECT_GT(0, Get("/volume1", "nobody"));
  EXPECT_EQ(kErrorNoSuchObject, KLIBErrGet());
  EXPECT_GT(0, Get("/volume1", "broken"));
  EXPECT_EQ(kErrorSystem, KLIBErrGet());
  EXPECT_GT(0, GetQuota(table_.c_str(), "/volume1", "anna", nullptr));
  EXPECT_GT(0, SetQuota(table_.c_str(), "/volume1", "anna", nullptr));
  EXPECT_EQ(0, kernel.calls);
}

TEST_F(QuotaTest, APathHasAtMost491Bytes) {
  const std::string longest = "/volume1/" + std::string(482, 'x');
  ASSERT_EQ(491u, longest.size());
  EXPECT_EQ(0, Get(longest.c_str(), "anna"));
  EXPECT_GT(0, Get((longest + "x").c_str(), "anna"));
}

}  // namespace
}  // namespace kest
