#ifndef TESTS_UNIT_GROUP_FIXTURE_H
#define TESTS_UNIT_GROUP_FIXTURE_H

#include <cstring>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "group.h"
#include "user_fixture.h"

namespace tarvel_test {

/// A group as the platform keeps it; the texts are borrowed from the object.
struct KeptGroup {
  KeptGroup(std::string given_name, std::vector<std::string> given_members)
      : name(std::move(given_name)), members(std::move(given_members)) {
    for (auto& member : members) pointers.push_back(member.data());
    pointers.push_back(nullptr);
    record.name = name.data();
    record.gid = 65540;
    record.members = pointers.data();
    record.source = AUTH_TYPE_DIRECTORY;
    record.zero = 7;
  }
  KeptGroup(const KeptGroup&) = delete;
  KeptGroup& operator=(const KeptGroup&) = delete;

  std::string name;
  std::vector<std::string> members;
  std::vector<char*> pointers;
  KESTGROUP record = {};
};

/// A platform with groups, whose names compare without regard to case.
class GroupTest : public UserTest {
 protected:
  struct GivesBack {
    void operator()(SDK::Group* group) const { SDK::Group::Release(group); }
  };
  using OwnedGroup = std::unique_ptr<SDK::Group, GivesBack>;

  GroupTest() { ComparesNames(); }

  /// A record that lives as long as the test.
  KESTGROUP* GroupRecord(const std::string& name, const std::vector<std::string>& members = {}) {
    groups_.emplace_back(name, members);
    return &groups_.back().record;
  }

  /// The next look-up of a name finds this record, or nothing, with this result.
  void FindsGroup(const std::string& name, KESTGROUP* record, int result = 0) {
    EXPECT_CALL(dir(), KESTGroupGet(::testing::StrEq(name), ::testing::NotNull()))
        .WillOnce([=](const char*, KESTGROUP** slot) {
          EXPECT_EQ(nullptr, *slot);
          if (record != nullptr) *slot = record;
          return result;
        })
        .RetiresOnSaturation();
  }

  /// A group's description is asked for; null: the platform has none.
  void Describes(const std::string& name, const char* text, int result = 0, int times = 1) {
    EXPECT_CALL(dir(), KESTGroupDescGet(::testing::StrEq(name), ::testing::NotNull(), ::testing::NotNull()))
        .Times(times)
        .WillRepeatedly([=](const char*, char** out, int* second) {
          EXPECT_EQ(nullptr, *out);
          if (text != nullptr) *out = strdup(text);
          *second = 5;
          return result;
        })
        .RetiresOnSaturation();
  }

  /// A group as it is loaded.
  OwnedGroup LoadedGroup(KESTGROUP* record, const char* desc = "as it was") {
    FindsGroup(record->name, record);
    Describes(record->name, desc);
    OwnedGroup group(SDK::Group::LoadGroup(record->name));
    Calls();
    return group;
  }

 private:
  std::list<KeptGroup> groups_;
};

}  // namespace tarvel_test

#endif  // TESTS_UNIT_GROUP_FIXTURE_H
