// Groups stored, renamed and listed, with their members and descriptions.
#include <unistd.h>

#include "directory_fixture.h"
#include "full_disk.h"

namespace {

using Names = std::vector<std::string>;

constexpr int kNoSpace = 0x2900;
constexpr int kDenied = 0x300, kNoSuchObject = 0x600, kTaken = 0x700, kBadParameter = 0xd00;
const char kHostile[] = "'); DROP TABLE groups; -- \" % _ \\ \xc3\xa4\xf0\x9f\x98\x80";

class DirectoryGroup : public DirectoryTest {};

TEST_F(DirectoryGroup, ANewDirectoryHasEverybodyAndTheAdministrators) {
  EXPECT_EQ((Names{"administrators", "users"}), GroupNames());
  GroupSlot group;
  ASSERT_EQ(0, KESTGroupGet("USERS", &group));
  EXPECT_STREQ("users", group->name);
  EXPECT_EQ(100, group->gid);
  EXPECT_EQ(AUTH_TYPE_LOCAL, group->source);
  EXPECT_EQ(nullptr, group->members[0]) << "everybody is in it without being listed";
  ASSERT_EQ(0, KESTGroupGet("administrators", &group));
  EXPECT_EQ(101, group->gid);
}

TEST_F(DirectoryGroup, ANewOneIsStoredWithItsMembers) {
  ASSERT_EQ(0, NewGroup("Family", {"BERND", "anna", "Anna"}).Save());
  GroupSlot group;
  ASSERT_EQ(0, KESTGroupGet("family", &group));
  EXPECT_STREQ("Family", group->name);
  EXPECT_EQ(1024, group->gid);
  EXPECT_EQ(AUTH_TYPE_LOCAL, group->source);
  EXPECT_EQ((Names{"anna", "bernd"}), Members("FAMILY")) << "each once, as the accounts are spelled";
  EXPECT_EQ("", Description("family"));
}

TEST_F(DirectoryGroup, ASaveReplacesTheMembers) {
  ASSERT_EQ(0, NewGroup("family", {"anna", "bernd"}).Save());
  ASSERT_EQ(0, NewGroup("family", {"bernd", "clara"}).Save("family"));
  EXPECT_EQ((Names{"bernd", "Clara"}), Members("family"));
  ASSERT_EQ(0, NewGroup("family").Save("family"));
  EXPECT_EQ(Names{}, Members("family"));
  char name[] = "family";
  KESTGROUP without = {name, -1, nullptr, 0, 0};
  EXPECT_EQ(0, KESTGroupSet("family", &without)) << "no array is no members";
}

TEST_F(DirectoryGroup, AnUnknownMemberFailsTheSaveAndNothingHasChanged) {
  ASSERT_EQ(0, NewGroup("family", {"anna"}).Save());
  for (const char* stranger : {"dora", "", "DOM\\anna", "\xff", "@users", "' OR 1=1 --"}) {
    IsRefused(kNoSuchObject, NewGroup("clan", {"bernd", stranger}).Save("family"));
    IsRefused(kNoSuchObject, NewGroup("clan", {"bernd", stranger}).Save());
  }
  EXPECT_EQ((Names{"anna"}), Members("family"));
  EXPECT_EQ((Names{"administrators", "family", "users"}), GroupNames());
}

TEST_F(DirectoryGroup, ARenameCarriesMembersAndDescriptionAlong) {
  ASSERT_EQ(0, NewGroup("family", {"anna"}).Save());
  ASSERT_EQ(0, KESTGroupDescSet("family", "us"));
  NewGroup renamed("Clan", {"anna"});
  renamed.gid = 1024;
  ASSERT_EQ(0, renamed.Save("FAMILY"));
  EXPECT_EQ((Names{"anna"}), Members("clan"));
  EXPECT_EQ("us", Description("clan"));
  EXPECT_EQ((Names{"?"}), Members("family"));
}

TEST_F(DirectoryGroup, TakenNamesAndMissingOnesAreRefused) {
  ASSERT_EQ(0, NewGroup("family").Save());
  IsRefused(kTaken, NewGroup("FAMILY").Save());
  IsRefused(kTaken, NewGroup("Users").Save());
  IsRefused(kTaken, NewGroup("administrators").Save("family"));
  IsRefused(kNoSuchObject, NewGroup("clan").Save("clan"));
  IsRefused(kNoSuchObject, NewGroup("clan").Save(""));
  NewGroup stale("family");
  stale.gid = 4711;
  IsRefused(kNoSuchObject, stale.Save("family"));
  IsRefused(kBadParameter, stale.Save());
  IsRefused(kBadParameter, KESTGroupSet("family", nullptr));
  KESTGROUP nameless = {nullptr, -1, nullptr, 0, 0};
  IsRefused(kBadParameter, KESTGroupSet(nullptr, &nameless));
  EXPECT_EQ(0, NewGroup("anna").Save()) << "accounts and groups do not share their names";
}

TEST_F(DirectoryGroup, BuiltInOnesKeepTheirNamesAndEverybodyItsMembers) {
  IsRefused(kDenied, NewGroup("everybody").Save("users"));
  IsRefused(kDenied, NewGroup("Users").Save("users"));
  IsRefused(kDenied, NewGroup("bosses").Save("administrators"));
  IsRefused(kBadParameter, NewGroup("users", {"anna"}).Save("users"));
  EXPECT_EQ(0, NewGroup("users").Save("users"));
  EXPECT_EQ(0, NewGroup("administrators", {"anna"}).Save("administrators"));
  EXPECT_EQ((Names{"anna"}), Members("administrators"));
}

TEST_F(DirectoryGroup, AdministratorsAreItsMembers) {
  ASSERT_EQ(0, NewAccount("dora", "secret 1").Save());
  Client dora;
  dora.cookie = std::string("id=") + Login(dora, "dora", "secret 1").id;
  EXPECT_EQ(-2, Check(dora, KEST_CGI_POSITION_ADMINISTRATION).result);
  ASSERT_EQ(0, NewGroup("administrators", {"dora"}).Save("administrators"));
  EXPECT_EQ(2, Check(dora, KEST_CGI_POSITION_ADMINISTRATION).result);
  ASSERT_EQ(0, NewGroup("administrators").Save("administrators"));
  EXPECT_EQ(-2, Check(dora, KEST_CGI_POSITION_ADMINISTRATION).result);
}

TEST_F(DirectoryGroup, ADescriptionIsKeptApartAndMayBeRemoved) {
  ASSERT_EQ(0, KESTGroupDescSet("USERS", kHostile));
  char* text = nullptr;
  int second = 0;
  ASSERT_EQ(0, KESTGroupDescGet("users", &text, &second));
  EXPECT_STREQ(kHostile, text);
  EXPECT_EQ(100, second);
  free(text);
  ASSERT_EQ(0, KESTGroupDescSet("users", nullptr));
  EXPECT_EQ("", Description("users"));
  for (const char* name : {"", "clan", "\xff"}) {
    IsRefused(kNoSuchObject, KESTGroupDescSet(name, "x"));
    IsRefused(kNoSuchObject, KESTGroupDescSet(name, nullptr));
    text = nullptr;
    IsRefused(kNoSuchObject, KESTGroupDescGet(name, &text, &second));
    EXPECT_EQ(nullptr, text);
  }
  IsRefused(kBadParameter, KESTGroupDescSet("users", "\xff"));
  IsRefused(kBadParameter, KESTGroupDescSet("users", std::string(4097, 'x').c_str()));
  IsRefused(kBadParameter, KESTGroupDescSet(nullptr, "x"));
  IsRefused(kBadParameter, KESTGroupDescGet(nullptr, &text, &second));
  IsRefused(kBadParameter, KESTGroupDescGet("users", nullptr, &second));
  EXPECT_EQ("", Description("users"));
}

TEST_F(DirectoryGroup, TheyAreListedByPrefixAndByCursor) {
  for (const char* name : {"Family", "office", "fans", "\xc3\x84rzte"}) ASSERT_EQ(0, NewGroup(name, {"anna"}).Save());
  EXPECT_EQ((Names{"administrators", "Family", "fans", "office", "users", "\xc3\x84rzte"}), GroupNames());
  TextList list;
  EXPECT_EQ(2, KESTGroupEnumByPrefix(list.Slot(), AUTH_TYPE_LOCAL, "FA", 1));
  EXPECT_EQ((Names{"Family", "fans"}), list.Texts());
  EXPECT_EQ(1, KESTGroupEnumByPrefix(list.Slot(), AUTH_TYPE_LOCAL, "\xc3\xa4R", 1));
  EXPECT_EQ(0, KESTGroupEnumByPrefix(list.Slot(), AUTH_TYPE_LOCAL, "x", 1));
  EXPECT_EQ(0, KESTGroupEnumByPrefix(list.Slot(), AUTH_TYPE_DOMAIN, "", 1));
  EXPECT_GT(0, KESTGroupEnumByPrefix(list.Slot(), static_cast<AUTH_TYPE>(0), "", 1));
  EXPECT_GT(0, KESTGroupEnumByPrefix(list.Slot(), AUTH_TYPE_LOCAL, nullptr, 1));
}

TEST_F(DirectoryGroup, AWalkSeesOneStateWithItsMembers) {
  ASSERT_EQ(0, NewGroup("family", {"anna", "bernd"}).Save());
  KESTGROUPDB* const cursor = KESTGroupDBOpen();
  GroupSlot group;
  ASSERT_EQ(0, KESTGroupDBGetByCursor(cursor, &group, AUTH_TYPE_LOCAL, 0));
  EXPECT_STREQ("administrators", group->name);
  ASSERT_EQ(0, NewGroup("clan", {"clara"}).Save("family"));
  ASSERT_EQ(0, NewGroup("later").Save());
  ASSERT_EQ(0, KESTGroupDBGetByCursor(cursor, &group, AUTH_TYPE_LOCAL, 0));
  EXPECT_STREQ("family", group->name);
  EXPECT_STREQ("anna", group->members[0]);
  EXPECT_STREQ("bernd", group->members[1]);
  EXPECT_EQ(nullptr, group->members[2]);
  ASSERT_EQ(0, KESTGroupDBGetByCursor(cursor, &group, AUTH_TYPE_LOCAL, 0));
  EXPECT_EQ(1, KESTGroupDBGetByCursor(cursor, &group, AUTH_TYPE_LOCAL, 0));
  EXPECT_EQ(1, KESTGroupDBGetByCursor(cursor, &group, AUTH_TYPE_LOCAL, 0));
  EXPECT_EQ(0, KESTGroupDBClose(cursor));
  EXPECT_STREQ("users", group->name);
  EXPECT_GT(0, KESTGroupDBGetByCursor(nullptr, &group, AUTH_TYPE_LOCAL, 0));
  EXPECT_EQ(0, KESTGroupDBClose(nullptr));
}

TEST_F(DirectoryGroup, ASlotIsReplacedOnSuccessAndKeptOnFailure) {
  GroupSlot group;
  ASSERT_EQ(0, KESTGroupGet("users", &group));
  ASSERT_EQ(0, KESTGroupGet("administrators", &group));
  IsRefused(kNoSuchObject, KESTGroupGet("clan", &group));
  EXPECT_STREQ("administrators", group->name);
  IsRefused(kBadParameter, KESTGroupGet(nullptr, &group));
  IsRefused(kBadParameter, KESTGroupGet("users", nullptr));
  KESTGroupFree(nullptr);
}

TEST_F(DirectoryGroup, ThousandsOfMembersAreLoadedAndSaved) {
  std::string lines;
  NewGroup crowd("crowd");
  for (int i = 0; i < 3000; ++i) {
    crowd.members.push_back("user" + std::to_string(i));
    lines += crowd.members.back() + "\n";
  }
  lines.pop_back();
  ASSERT_EQ(0, Load(lines));
  ASSERT_EQ(0, crowd.Save());
  EXPECT_EQ(3000u, Members("crowd").size());
  crowd.members.erase(crowd.members.begin() + 1499);
  ASSERT_EQ(0, crowd.Save("crowd"));
  EXPECT_EQ(crowd.members, Members("crowd"));
}

TEST_F(DirectoryGroup, OnAFullDiskNothingIsHalfDone) {
  ASSERT_EQ(0, NewGroup("family", {"anna"}).Save());
  std::filesystem::create_directories("/var/services/homes/anna/letters");
  {
    const FullDisk full("/usr/kest/etc");
    IsRefused(kNoSpace, NewGroup("clan", {"bernd", "clara"}).Save("family"));
    IsRefused(kNoSpace, NewGroup("office").Save());
    IsRefused(kNoSpace, NewAccount("dora").Save());
    NewAccount renamed("zora");
    renamed.home = "/var/services/homes/anna";
    IsRefused(kNoSpace, renamed.Save("anna"));
    EXPECT_TRUE(std::filesystem::exists("/var/services/homes/anna/letters")) << "the home is back";
    EXPECT_FALSE(std::filesystem::exists("/var/services/homes/zora"));
    IsRefused(kNoSpace, KESTGroupDescSet("family", "us"));
    EXPECT_EQ((Names{"anna"}), Members("family")) << "and it can still be read";
    EXPECT_EQ((Names{"anna", "bernd", "Clara"}), AccountNames());
  }
  EXPECT_EQ("", Description("family"));
  EXPECT_EQ(0, NewGroup("clan", {"bernd", "clara"}).Save("family"));
  EXPECT_EQ((Names{"bernd", "Clara"}), Members("clan"));
}

}  // namespace
