// The name service's own work: what it hands on of the directory's answers, and in how much memory.
#include <grp.h>
#include <gtest/gtest.h>
#include <nss.h>
#include <pwd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "fake_directory.h"

extern "C" {
nss_status _nss_kest_getpwnam_r(const char* name, passwd* out, char* memory, size_t size, int* error);
nss_status _nss_kest_getpwuid_r(uid_t uid, passwd* out, char* memory, size_t size, int* error);
nss_status _nss_kest_getgrnam_r(const char* name, group* out, char* memory, size_t size, int* error);
nss_status _nss_kest_getgrgid_r(gid_t gid, group* out, char* memory, size_t size, int* error);
nss_status _nss_kest_initgroups_dyn(const char* name, gid_t primary, long* used, long* room, gid_t** groups, long limit,
                                    int* error);
int __wrap_faccessat(int directory, const char* path, int mode, int flags);
}

namespace {

class NameServiceHost : public ::testing::Test {
 protected:
  void SetUp() override { TheDirectory() = FakeDirectory(); }

  // Memory of exactly this size: the sanitizers see a byte beyond it.
  char* Memory(size_t size) {
    memory_ = std::make_unique<char[]>(size);
    return memory_.get();
  }

  nss_status GroupIn(size_t size, group* out) {
    error_ = 0;
    return _nss_kest_getgrgid_r(1024, out, Memory(size), size, &error_);
  }

  nss_status AccountIn(size_t size, passwd* out) {
    error_ = 0;
    return _nss_kest_getpwnam_r("anna", out, Memory(size), size, &error_);
  }

  std::unique_ptr<char[]> memory_;
  int error_ = 0;
};

TEST_F(NameServiceHost, AnAnswerThatDoesNotFitIsAskedForAgain) {
  passwd account = {};
  size_t size = 0;
  while (AccountIn(size, &account) == NSS_STATUS_TRYAGAIN) {
    ASSERT_EQ(ERANGE, error_) << size;
    ASSERT_GT(4096u, ++size);
  }
  EXPECT_EQ(sizeof("anna*Anna, of the meadow/var/services/homes/anna/sbin/nologin") + 4, size);
  EXPECT_STREQ("anna", account.pw_name);
  EXPECT_STREQ("Anna, of the meadow", account.pw_gecos);
  EXPECT_STREQ("/sbin/nologin", account.pw_shell);
}

TEST_F(NameServiceHost, ADescriptionIsOneFieldOfOneLine) {
  TheDirectory().description = "Anna\nroot2:x:0:0\t\xc3\xa4";
  passwd account = {};
  ASSERT_EQ(NSS_STATUS_SUCCESS, AccountIn(4096, &account));
  EXPECT_STREQ("Anna root2 x 0 0 \xc3\xa4", account.pw_gecos);
}

TEST_F(NameServiceHost, AGroupThatDoesNotFitIsAskedForAgain) {
  TheDirectory().members = {"anna", "bernd", "c"};
  group found = {};
  size_t size = 0;
  while (GroupIn(size, &found) == NSS_STATUS_TRYAGAIN) {
    ASSERT_EQ(ERANGE, error_) << size;
    ASSERT_GT(4096u, ++size);
  }
  EXPECT_STREQ("gardeners", found.gr_name);
  EXPECT_STREQ("anna", found.gr_mem[0]);
  EXPECT_STREQ("c", found.gr_mem[2]);
  EXPECT_EQ(nullptr, found.gr_mem[3]);
}

TEST_F(NameServiceHost, AnIdOfTheSystemIsNobodys) {
  passwd account = {};
  for (const int uid : {0, 33, 1023}) {
    TheDirectory().uid = uid;
    EXPECT_EQ(NSS_STATUS_NOTFOUND, AccountIn(4096, &account)) << uid;
    EXPECT_EQ(NSS_STATUS_NOTFOUND,
              _nss_kest_getpwuid_r(static_cast<uid_t>(uid), &account, Memory(4096), 4096, &error_));
  }
  TheDirectory().uid = 1024;
  EXPECT_EQ(NSS_STATUS_SUCCESS, AccountIn(4096, &account));
  TheDirectory().gid = 0;
  EXPECT_EQ(NSS_STATUS_NOTFOUND, AccountIn(4096, &account));

  group found = {};
  TheDirectory().group = 0;
  EXPECT_EQ(NSS_STATUS_NOTFOUND, _nss_kest_getgrnam_r("gardeners", &found, Memory(4096), 4096, &error_));
}

TEST_F(NameServiceHost, WhatIsNotThereAndWhatCannotBeAskedAreToldApart) {
  passwd account = {};
  EXPECT_EQ(NSS_STATUS_NOTFOUND, _nss_kest_getpwnam_r("bernd", &account, Memory(512), 512, &error_));
  EXPECT_EQ(ENOENT, error_);
  group found = {};
  EXPECT_EQ(NSS_STATUS_NOTFOUND, _nss_kest_getgrgid_r(7, &found, Memory(512), 512, &error_));
  TheDirectory().broken = true;
  EXPECT_EQ(NSS_STATUS_UNAVAIL, AccountIn(512, &account));
  EXPECT_EQ(NSS_STATUS_UNAVAIL, GroupIn(512, &found));
}

TEST_F(NameServiceHost, GroupsAreAddedToThoseOfOtherServices) {
  TheDirectory().groups_of = {0, 99, 101, 1024, 1025, 1026};
  long used = 1, room = 2;
  auto* groups = static_cast<gid_t*>(calloc(2, sizeof(gid_t)));
  groups[0] = 1024;
  EXPECT_EQ(NSS_STATUS_SUCCESS, _nss_kest_initgroups_dyn("anna", 1024, &used, &room, &groups, 100, &error_));
  ASSERT_EQ(4, used) << "the primary group stands there already, and none of the system's is added";
  EXPECT_LE(4, room);
  EXPECT_EQ(101u, groups[1]);
  EXPECT_EQ(1025u, groups[2]);
  EXPECT_EQ(1026u, groups[3]);
  free(groups);
}

TEST_F(NameServiceHost, GroupsAboveTheLimitAreLeftOut) {
  for (uint32_t gid = 2000; gid < 2100; ++gid) TheDirectory().groups_of.push_back(gid);
  long used = 1, room = 2;
  auto* groups = static_cast<gid_t*>(calloc(2, sizeof(gid_t)));
  EXPECT_EQ(NSS_STATUS_SUCCESS, _nss_kest_initgroups_dyn("anna", 100, &used, &room, &groups, 7, &error_));
  EXPECT_EQ(7, used);
  EXPECT_EQ(7, room);
  EXPECT_EQ(2005u, groups[6]);
  free(groups);
}

}  // namespace

extern "C" int __wrap_faccessat(int, const char*, int, int) { return 0; }
