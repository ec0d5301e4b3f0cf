#ifndef TESTS_HOST_FAKE_DIRECTORY_H_
#define TESTS_HOST_FAKE_DIRECTORY_H_

#include <cstdint>
#include <string>
#include <vector>

/// What the module of the accounts answers: one account, one group, the groups of the account.
struct FakeDirectory {
  bool broken = false;
  int uid = 1026;
  int gid = 100;
  std::string name = "anna", description = "Anna, of the meadow";
  int group = 1024;
  std::vector<std::string> members;
  std::vector<uint32_t> groups_of;
};

/// The one that is asked; each test begins with a new one.
FakeDirectory& TheDirectory();

#endif  // TESTS_HOST_FAKE_DIRECTORY_H_
