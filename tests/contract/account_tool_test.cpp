// The tool that makes and changes accounts on this platform: what it refuses, and with which exit status.
#include <fstream>

#include "platform/kestdir.h"
#include "session_fixture.h"

namespace {

using AccountTool = SessionTest;

enum Exit { kDone = 0, kRefused = 1, kWrongUsage = 2, kBroken = 3 };

TEST_F(AccountTool, WhatCannotBeDoneIsRefused) {
  const std::vector<std::vector<std::string>> rows = {
      {"add", "anna"},
      {"add", "ANNA"},
      {"add", ""},
      {"add", "a,b"},
      {"add", "DOM\\x"},
      {"add", " x"},
      {"add", "x", "boss"},
      {"passwd", "nobody"},
      {"disable", "nobody"},
      {"enable", "nobody"},
      {"remove", "nobody"},
      {"expire", "nobody", "2030/01/01"},
      {"admin", "nobody", "on"},
      {"admin", "anna", "maybe"},
      {"expire", "anna", "2030/02/30"},
      {"expire", "anna", "tomorrow"},
      {"applications", "nobody", "file"},
      {"applications", "anna", "mail"},
      {"applications", "anna", "file,,audio"},
      {"applications", "anna", "FILE"},
      {"add", "root"},
      {"add", "-x"},
      {"groupadd", "users"},
      {"groupadd", "Administrators"},
      {"groupadd", ""},
      {"groupadd", "a:b"},
      {"groupadd", "clan", "\xff"},
      {"groupdel", "users"},
      {"groupdel", "administrators"},
      {"groupdel", "clan"},
      {"join", "anna", "users"},
      {"join", "anna", "clan"},
      {"join", "nobody", "administrators"},
      {"leave", "nobody", "administrators"},
  };
  for (const auto& row : rows) EXPECT_EQ(kRefused, Account(row, "pw")) << row[0] << " " << row[1];
}

TEST_F(AccountTool, APasswordHasALengthAndNoNul) {
  EXPECT_EQ(kRefused, Account({"add", "x"}, ""));
  EXPECT_EQ(kRefused, Account({"add", "x"}, std::string(512, 'p')));
  EXPECT_EQ(kRefused, Account({"add", "x"}, std::string("a\0b", 3)));
  EXPECT_EQ(kRefused, Account({"passwd", "anna"}, ""));
  EXPECT_EQ(kDone, Account({"add", "x"}, std::string(511, 'p')));
  EXPECT_EQ(1, Login(Client(), "x", std::string(511, 'p').c_str()).result);
  EXPECT_EQ(1, Login(Client(), "anna", "pw-anna").result) << "a refused password changes nothing";
}

TEST_F(AccountTool, WrongUsageIsToldApart) {
  for (const std::vector<std::string>& row : {std::vector<std::string>{},
                                              {"add"},
                                              {"list", "x"},
                                              {"passwd", "anna", "secret"},
                                              {"expire", "anna"},
                                              {"applications", "anna"},
                                              {"load", "x"},
                                              {"groupadd"},
                                              {"join", "anna"},
                                              {"groups", "x"},
                                              {"frob"}}) {
    EXPECT_EQ(kWrongUsage, Account(row, "pw"));
  }
}

TEST_F(AccountTool, ADamagedDatabaseIsNeitherReadNorReplaced) {
  const std::string bytes(9000, 'x');
  std::ofstream(kAccounts, std::ios::binary | std::ios::trunc) << bytes;
  for (const std::vector<std::string>& row :
       {std::vector<std::string>{"list"}, {"add", "x"}, {"passwd", "anna"}, {"remove", "anna"}}) {
    EXPECT_EQ(kBroken, Account(row, "pw")) << row[0];
  }
  std::ifstream file(kAccounts, std::ios::binary);
  EXPECT_EQ(bytes, std::string(std::istreambuf_iterator<char>(file), {}));
}

TEST_F(AccountTool, GroupsAreMadeJoinedLeftAndRemoved) {
  EXPECT_EQ(kDone, Account({"groupadd", "Family", "us'; --"}));
  EXPECT_EQ(kRefused, Account({"groupadd", "FAMILY"}));
  EXPECT_EQ(kDone, Account({"join", "ANNA", "family"}));
  EXPECT_EQ(kDone, Account({"join", "anna", "family"})) << "who is in it stays in it";
  EXPECT_EQ(kDone, Account({"join", "bernd", "family"}));
  EXPECT_EQ(kDone, Account({"leave", "bernd", "FAMILY"}));
  EXPECT_EQ(kDone, Account({"groups"}));
  KESTGROUP* group = nullptr;
  ASSERT_EQ(0, KESTGroupGet("family", &group));
  EXPECT_STREQ("Family", group->name);
  EXPECT_STREQ("anna", group->members[0]);
  EXPECT_EQ(nullptr, group->members[1]);
  char* text = nullptr;
  EXPECT_EQ(0, KESTGroupDescGet("family", &text, nullptr));
  EXPECT_STREQ("us'; --", text);
  free(text);
  EXPECT_EQ(kDone, Account({"groupdel", "family"}));
  EXPECT_GT(0, KESTGroupGet("family", &group));
  KESTGroupFree(group);
}

TEST_F(AccountTool, ManyAreLoadedTogetherOrNotAtAll) {
  EXPECT_EQ(kDone, Account({"load"}, "dora\tworks here\tdora@example.org\nemil\n\xc3\x84nne\t\t"));
  KESTUSER* user = nullptr;
  ASSERT_EQ(0, KESTUserGet("dora", &user));
  EXPECT_STREQ("works here", user->desc);
  EXPECT_STREQ("dora@example.org", user->email);
  EXPECT_STREQ("/var/services/homes/dora", user->home);
  EXPECT_EQ(-1, Login(Client(), "dora", "").result) << "no password is no login";
  const int before = KESTUserTotalNum(AUTH_TYPE_LOCAL);
  for (const char* lines : {"fritz\nANNA", "fritz\n\nx", "fritz\nx\ty\tz\tmore", "fritz\na:b", "fritz\nx\ty\ta@b\xff",
                            "fritz\nFRITZ", "fritz\nroot"}) {
    EXPECT_EQ(kRefused, Account({"load"}, lines)) << lines;
  }
  EXPECT_EQ(before, KESTUserTotalNum(AUTH_TYPE_LOCAL));
  EXPECT_GT(0, KESTUserGet("fritz", &user));
  KESTUserFree(user);
}

}  // namespace
