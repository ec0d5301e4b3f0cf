// One group: how it is made, loaded, changed and stored, and who is in it.

#include "group.h"

#include <cerrno>
#include <climits>
#include <set>
#include <string>
#include <vector>

#include "group_fixture.h"
#include "support/allocations.h"

namespace tarvel_test {
namespace {

using ::testing::_;
using ::testing::ElementsAre;
using ::testing::InSequence;
using ::testing::IsEmpty;
using ::testing::IsNull;
using ::testing::Return;
using ::testing::StrEq;

static_assert(sizeof(SDK::Group) == sizeof(void*));

TEST_F(GroupTest, AGroupMadeByNameHasTheDefaultsAndTouchesNothing) {
  SDK::Group group(std::string("editors"));
  EXPECT_EQ("editors", group.GetName());
  EXPECT_EQ("", group.GetDesc());
  EXPECT_EQ(-1, group.GetGID());
  EXPECT_EQ(AUTH_TYPE_LOCAL, group.GetAuthType());
  EXPECT_THAT(group.GetMembers(), IsEmpty());
  EXPECT_EQ(0, group.GetMemberCount());
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(GroupTest, AGroupMadeFromARecordHasItsFieldsAndItsDescription) {
  Describes("editors", "who may edit");
  SDK::Group group(GroupRecord("editors", {"bob", "Anna"}));
  EXPECT_EQ("editors", group.GetName());
  EXPECT_EQ("who may edit", group.GetDesc());
  EXPECT_EQ(65540, group.GetGID());
  EXPECT_EQ(AUTH_TYPE_DIRECTORY, group.GetAuthType());
  EXPECT_THAT(group.GetMembers(), ElementsAre("Anna", "bob"));
  EXPECT_THAT(Calls(), ElementsAre("KESTGroupDescGet", "strdup who may edit", "free"));
}

TEST_F(GroupTest, MembersThatDifferInCaseOnlyAreOneInTheFirstSpelling) {
  Describes("editors", nullptr);
  SDK::Group group(GroupRecord("editors", {"Alice", "alice", "ALICE", "bob"}));
  EXPECT_THAT(group.GetMembers(), ElementsAre("Alice", "bob"));
}

TEST_F(GroupTest, WithoutADescriptionOrMembersThePlatformsNullsAreEmpty) {
  KESTGROUP record = {};
  Describes("", nullptr, 1);
  SDK::Group group(&record);
  EXPECT_EQ("", group.GetName());
  EXPECT_EQ("", group.GetDesc());
  EXPECT_EQ(0, group.GetMemberCount());
}

TEST_F(GroupTest, ADescriptionThatCannotBeReadIsLoggedAndEmpty) {
  for (const int result : {-1, INT_MIN}) {
    Describes("e%sditors", nullptr, result);
    const SDK::Group group(GroupRecord("e%sditors"));
    ExpectLogged("group:#: Failed to get group info for e%sditors");
    EXPECT_EQ("", group.GetDesc());
  }
}

TEST_F(GroupTest, IsLoadedOnlyWhenThePlatformAnswersZero) {
  FindsGroup("EDITORS", GroupRecord("editors"));
  Describes("editors", "who may edit");
  const OwnedGroup group(SDK::Group::LoadGroup("EDITORS"));
  EXPECT_EQ("who may edit", group->GetDesc());
  EXPECT_EQ("KESTGroupFree", Calls().back());
  for (const int result : {1, -1}) {
    for (KESTGROUP* record : {GroupRecord("editors"), static_cast<KESTGROUP*>(nullptr)}) {
      FindsGroup("editors", record, result);
      EXPECT_EQ(nullptr, SDK::Group::LoadGroup("editors"));
    }
  }
}

TEST_F(GroupTest, ExistsUnlessThePlatformAnswersNegatively) {
  for (const int result : {0, 1}) {
    FindsGroup("editors", GroupRecord("editors"), result);
    EXPECT_TRUE(SDK::Group::IsGroupExist("editors"));
    EXPECT_THAT(Calls(), ElementsAre("KESTGroupGet", "KESTGroupFree"));
  }
  FindsGroup("editors", nullptr, -1);
  EXPECT_FALSE(SDK::Group::IsGroupExist("editors"));
}

TEST_F(GroupTest, AnExistingNameIsNotCreatedAgain) {
  FindsGroup("editors", GroupRecord("editors"), 1);
  EXPECT_EQ(nullptr, SDK::Group::CreateGroup("editors"));
}

TEST_F(GroupTest, ACreatedGroupIsNewAndNotStoredYet) {
  FindsGroup("editors", nullptr, -1);
  const OwnedGroup group(SDK::Group::CreateGroup("editors"));
  EXPECT_EQ("editors", group->GetName());
  EXPECT_EQ(-1, group->GetGID());
  EXPECT_THAT(Calls(), ElementsAre("KESTGroupGet"));
}

TEST_F(GroupTest, ReleasingNothingIsAllowed) {
  const long before = LiveAllocations();
  SDK::Group::Release(nullptr);
  SDK::Group::Release(new SDK::Group(std::string("editors")));
  EXPECT_EQ(before, LiveAllocations());
}

TEST_F(GroupTest, AMemberIsFoundInAnyCaseAndAddedOnce) {
  SDK::Group group(std::string("editors"));
  group.AddMember("bob");
  group.AddMember("Bob");
  group.AddMember("carl");
  group.AddMember("Anna");
  EXPECT_THAT(group.GetMembers(), ElementsAre("Anna", "bob", "carl"));
  EXPECT_EQ(3, group.GetMemberCount());
  EXPECT_TRUE(group.IsMember("BOB"));
  EXPECT_FALSE(group.IsMember("bo"));
  EXPECT_EQ(0, group.GetMemberPos("anna"));
  EXPECT_EQ(1, group.GetMemberPos("BOB"));
  EXPECT_EQ(2, group.GetMemberPos("carl"));
  EXPECT_EQ(-1, group.GetMemberPos("dora"));
  group.RemoveMember("BOB");
  group.RemoveMember("dora");
  EXPECT_THAT(group.GetMembers(), ElementsAre("Anna", "carl"));
  EXPECT_EQ(1, group.GetMemberPos("carl"));
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(GroupTest, TheOrderOfNamesIsThePlatforms) {
  const SDK::LTOBJ less;
  EXPECT_CALL(klib(), KLIBUnicodeUTF8StrCaseCmp(StrEq("a"), StrEq("b")))
      .WillOnce(Return(-1))
      .WillOnce(Return(0))
      .WillOnce(Return(1));
  EXPECT_TRUE(less("a", "b"));
  EXPECT_FALSE(less("a", "b"));
  EXPECT_FALSE(less("a", "b"));
}

TEST_F(GroupTest, ThePositionOfAMemberIsAskedOfThePlatformInOrder) {
  SDK::Group group(std::string("editors"));
  group.AddMember("anna");
  group.AddMember("bob");
  const InSequence in_order;
  EXPECT_CALL(klib(), KLIBUnicodeUTF8StrCaseCmp(StrEq("anna"), StrEq("x"))).WillOnce(Return(1));
  EXPECT_CALL(klib(), KLIBUnicodeUTF8StrCaseCmp(StrEq("bob"), StrEq("x"))).WillOnce(Return(0));
  EXPECT_EQ(1, group.GetMemberPos("x"));
}

TEST_F(GroupTest, EveryAccountIsAMemberOfUsers) {
  SDK::Group users(std::string("users"));
  Finds("anna", Record("anna"));
  EXPECT_TRUE(users.IsMember("anna"));
  Finds("nobody", nullptr, -1);
  EXPECT_FALSE(users.IsMember("nobody"));
  EXPECT_EQ(-1, users.GetMemberPos("anna"));
  EXPECT_CALL(dir(), KESTUserTotalNum(AUTH_TYPE_LOCAL)).WillOnce(Return(100000));
  EXPECT_EQ(100000, users.GetMemberCount());
}

TEST_F(GroupTest, TheAccountsOfUsersAreCountedInItsOwnSource) {
  Describes("users", nullptr);
  SDK::Group users(GroupRecord("users"));
  EXPECT_CALL(dir(), KESTUserTotalNum(AUTH_TYPE_DIRECTORY)).WillOnce(Return(3));
  EXPECT_EQ(3, users.GetMemberCount());
}

TEST_F(GroupTest, UsersTakesNeitherMembersNorAnotherName) {
  Describes("users", nullptr);
  SDK::Group users(GroupRecord("users", {"anna"}));
  std::string name = "others";
  users.AddMember("bob");
  users.RemoveMember("anna");
  users.SetName(name);
  EXPECT_EQ("users", users.GetName());
  EXPECT_EQ(-1, users.GetMemberPos("anna"));
  EXPECT_THAT(users.GetMembers(), ElementsAre("anna"));
  EXPECT_THAT(SDK::Group(std::string("users")).GetMembers(), IsEmpty());
}

TEST_F(GroupTest, OnlyTheExactSpellingIsTheBuiltInGroup) {
  for (const char* name : {"Users", "USERS", "users ", "user"}) {
    SDK::Group group{std::string(name)};
    group.AddMember("anna");
    EXPECT_EQ(1, group.GetMemberCount());
    EXPECT_TRUE(group.IsMember("anna"));
  }
}

TEST_F(GroupTest, AGroupMayBecomeUsersAndThenStaysIt) {
  SDK::Group group(std::string("editors"));
  std::string users = "users", other = "other";
  group.SetName(users);
  group.SetName(other);
  EXPECT_EQ("users", group.GetName());
}

class GroupSaveTest : public GroupTest {
 protected:
  void ExpectStored(const char* before, const char* name, int gid, const std::vector<std::string>& members,
                    int result = 0) {
    EXPECT_CALL(dir(), KESTGroupSet(_, _)).WillOnce([=](const char* existing, KESTGROUP* group) {
      EXPECT_STREQ(before, existing);
      EXPECT_STREQ(name, group->name);
      EXPECT_EQ(gid, group->gid);
      std::vector<std::string> given;
      for (char** member = group->members; *member != nullptr; ++member) given.emplace_back(*member);
      EXPECT_EQ(members, given);
      EXPECT_EQ(0, group->source);
      EXPECT_EQ(0, group->zero);
      return result;
    });
  }
  void ExpectDescriptionRemoved(const char* name, int result = 0) {
    EXPECT_CALL(dir(), KESTGroupDescSet(StrEq(name), IsNull())).WillOnce(Return(result));
  }
  void ExpectDescriptionWritten(const char* name, const char* text, int result = 0) {
    EXPECT_CALL(dir(), KESTGroupDescSet(StrEq(name), StrEq(text))).WillOnce(Return(result));
  }
};

TEST_F(GroupSaveTest, ANewGroupIsMadeAndAlwaysGetsADescription) {
  SDK::Group group(std::string("editors"));
  group.AddMember("bob");
  group.AddMember("Anna");
  for (int i = 0; i < 2; ++i) {
    const InSequence in_order;
    ExpectStored(nullptr, "editors", -1, {"Anna", "bob"});
    ExpectDescriptionRemoved("");
    ExpectDescriptionWritten("editors", "");
    EXPECT_TRUE(group.Save());
    EXPECT_EQ(-1, group.GetGID());
  }
}

TEST_F(GroupSaveTest, AStoredGroupIsChangedUnderItsNameAndKeepsItsDescription) {
  const OwnedGroup group = LoadedGroup(GroupRecord("editors", {"anna"}));
  group->AddMember("bob");
  ExpectStored("editors", "editors", 65540, {"anna", "bob"});
  EXPECT_TRUE(group->Save());
  EXPECT_THAT(Calls(), ElementsAre("KESTGroupSet"));
}

TEST_F(GroupSaveTest, AGroupWithoutMembersHasAnEmptyArray) {
  const OwnedGroup group = LoadedGroup(GroupRecord("editors"));
  ExpectStored("editors", "editors", 65540, {});
  EXPECT_TRUE(group->Save());
}

TEST_F(GroupSaveTest, ARenamedGroupTakesItsDescriptionAlongEachTime) {
  const OwnedGroup group = LoadedGroup(GroupRecord("editors"));
  std::string name = "authors";
  group->SetName(name);
  for (int i = 0; i < 2; ++i) {
    const InSequence in_order;
    ExpectStored("editors", "authors", 65540, {});
    ExpectDescriptionRemoved("editors");
    ExpectDescriptionWritten("authors", "as it was");
    EXPECT_TRUE(group->Save());
  }
}

TEST_F(GroupSaveTest, AnotherDescriptionIsWrittenEachTime) {
  const OwnedGroup group = LoadedGroup(GroupRecord("editors"));
  group->SetDesc("another");
  EXPECT_EQ("another", group->GetDesc());
  for (int i = 0; i < 2; ++i) {
    ExpectStored("editors", "editors", 65540, {});
    ExpectDescriptionWritten("editors", "another");
    EXPECT_TRUE(group->Save());
  }
}

TEST_F(GroupSaveTest, TheSameDescriptionIsNoChange) {
  const OwnedGroup group = LoadedGroup(GroupRecord("editors"));
  group->SetDesc("as it was");
  ExpectStored("editors", "editors", 65540, {});
  EXPECT_TRUE(group->Save());
}

TEST_F(GroupSaveTest, ADescriptionChangedBackIsStillWritten) {
  const OwnedGroup group = LoadedGroup(GroupRecord("editors"));
  group->SetDesc("As it was");
  group->SetDesc("as it was");
  ExpectStored("editors", "editors", 65540, {});
  ExpectDescriptionWritten("editors", "as it was");
  EXPECT_TRUE(group->Save());
}

TEST_F(GroupSaveTest, WhetherTheDescriptionCouldBeWrittenIsNotTold) {
  SDK::Group group(std::string("editors"));
  ExpectStored(nullptr, "editors", -1, {}, 1);
  ExpectDescriptionRemoved("", -1);
  ExpectDescriptionWritten("editors", "", -1);
  EXPECT_TRUE(group.Save());
}

TEST_F(GroupSaveTest, AGroupThatIsRefusedIsLoggedAndItsDescriptionStays) {
  const OwnedGroup group = LoadedGroup(GroupRecord("editors", {"anna"}));
  group->SetDesc("another");
  for (const int result : {-1, INT_MIN}) {
    ExpectStored("editors", "editors", 65540, {"anna"}, result);
    EXPECT_FALSE(group->Save());
    ExpectLogged("group:# KESTGroupSet failed");
    EXPECT_THAT(Calls(), ElementsAre("KESTGroupSet"));
  }
}

TEST_F(GroupSaveTest, WithoutMemoryForTheMembersNothingIsStored) {
  const OwnedGroup group = LoadedGroup(GroupRecord("editors", {"anna"}));
  group->SetDesc("another");
  {
    const FailingNew failing(0);
    EXPECT_FALSE(group->Save());
  }
  ExpectLogged("group:# Failed to allocate memory");
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(GroupSaveTest, OfUsersOnlyTheDescriptionIsStored) {
  const OwnedGroup users = LoadedGroup(GroupRecord("users", {"anna"}));
  EXPECT_TRUE(users->Save());
  EXPECT_THAT(Calls(), IsEmpty());
  users->SetDesc("everybody");
  ExpectDescriptionWritten("users", "everybody");
  EXPECT_TRUE(users->Save());
  SDK::Group made(std::string("users"));
  const InSequence in_order;
  ExpectDescriptionRemoved("");
  ExpectDescriptionWritten("users", "");
  EXPECT_TRUE(made.Save());
}

TEST_F(GroupTest, LackOfMemoryPassesAndLeaksNothing) {
  const std::string member(100, 'm');
  KESTGROUP* record = GroupRecord(std::string(100, 'g'), {member, "a" + member});
  EXPECT_CALL(dir(), KESTGroupGet(_, _)).WillRepeatedly([=](const char*, KESTGROUP** slot) {
    *slot = record;
    return 0;
  });
  EXPECT_CALL(dir(), KESTGroupDescGet(_, _, _)).WillRepeatedly([](const char*, char** text, int*) {
    *text = strdup("a description that is longer than a short text");
    return 0;
  });
  const std::string name = record->name;
  EXPECT_LE(8, FailuresUntilItSucceeds([&] { const OwnedGroup group(SDK::Group::LoadGroup(name)); }));
  SDK::Group group(std::string("editors"));
  group.AddMember("anna");
  {
    const FailingNew failing(0);
    EXPECT_THROW(group.AddMember(member), std::bad_alloc);
  }
  EXPECT_THAT(group.GetMembers(), ElementsAre("anna"));
}

}  // namespace
}  // namespace tarvel_test
