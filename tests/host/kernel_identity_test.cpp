// The switch of the ids where the kernel does not do what it is told, and groups in numbers that no test account has.
#include "host/identity/kernel_identity.h"

#include <grp.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

#include "folder.h"
#include "host/identity/one_id.h"

extern "C" {
int __real_setresuid(uid_t real, uid_t effective, uid_t saved);
int __wrap_setresuid(uid_t real, uid_t effective, uid_t saved);
int __wrap_getresuid(uid_t* real, uid_t* effective, uid_t* saved);
int __wrap_getgroups(int size, gid_t* list);
int __wrap_setgroups(size_t size, const gid_t* list);
int __wrap_getgrouplist(const char* user, gid_t group, gid_t* list, int* count);
}

namespace {

enum class SetUser { kReally, kLies, kAlwaysWorks };
SetUser set_user = SetUser::kReally;
uid_t user_told = 0;
std::vector<gid_t> present, of_account;
bool groups_set = false;

TEST(KernelIdentityDeathTest, ASwitchThatDidNotHappenEndsTheProgram) {
  set_user = SetUser::kLies;
  EXPECT_EXIT(kest::TakeUser(getuid() + 5000), ::testing::KilledBySignal(SIGABRT), "");
  set_user = SetUser::kReally;
}

TEST(KernelIdentityDeathTest, ASwitchThatCanBeUndoneEndsTheProgram) {
  set_user = SetUser::kAlwaysWorks;
  EXPECT_EXIT(kest::TakeUser(getuid() + 5000), ::testing::KilledBySignal(SIGABRT), "");
  set_user = SetUser::kReally;
}

TEST(KernelIdentity, AllOfManyGroupsAreKept) {
  of_account.clear();
  for (gid_t gid = 2000; gid < 2300; ++gid) of_account.push_back(gid);
  present = of_account;
  groups_set = false;
  EXPECT_TRUE(kest::KeepOnlyGroupsOf("anna", 100));
  EXPECT_FALSE(groups_set);

  present.push_back(33);
  EXPECT_TRUE(kest::KeepOnlyGroupsOf("anna", 100));
  EXPECT_TRUE(groups_set);
  EXPECT_EQ(of_account, present);
}

TEST(KernelIdentity, AnAccountWithoutGroupsIsNotLookedUp) {
  present = {100};
  of_account = {100, 7};
  groups_set = false;
  EXPECT_TRUE(kest::KeepOnlyGroupsOf("anna", 100));
  EXPECT_FALSE(groups_set);
}

TEST(OneId, IsReadFromTheMapOfTheNamespace) {
  const Folder folder;
  const auto maps_one = [&folder](const char* text) { return kest::MapsOneId(folder.Put("map", text).c_str()); };
  EXPECT_TRUE(maps_one("        33       1000          1\n"));
  EXPECT_FALSE(maps_one("         0          0 4294967295\n"));
  EXPECT_FALSE(maps_one("33 33 1\n1024 1024 63977\n"));
  EXPECT_FALSE(maps_one("33 33 2\n"));
  EXPECT_FALSE(maps_one(""));
  EXPECT_FALSE(maps_one("33 33\n"));
  EXPECT_FALSE(kest::MapsOneId(folder.File("none").c_str()));
}

}  // namespace

int __wrap_setresuid(uid_t real, uid_t effective, uid_t saved) {
  if (set_user == SetUser::kReally) return __real_setresuid(real, effective, saved);
  user_told = effective;
  return 0;
}

int __wrap_getresuid(uid_t* real, uid_t* effective, uid_t* saved) {
  *real = *effective = *saved = set_user == SetUser::kAlwaysWorks ? user_told : getuid();
  return 0;
}

int __wrap_getgroups(int size, gid_t* list) {
  if (size > 0) std::copy(present.begin(), present.end(), list);
  return static_cast<int>(present.size());
}

int __wrap_setgroups(size_t size, const gid_t* list) {
  groups_set = true;
  present.assign(list, list + size);
  return 0;
}

int __wrap_getgrouplist(const char*, gid_t, gid_t* list, int* count) {
  const bool fits = static_cast<size_t>(*count) >= of_account.size();
  if (fits) std::copy(of_account.begin(), of_account.end(), list);
  *count = static_cast<int>(of_account.size());
  return fits ? *count : -1;
}
