// The tool that makes and changes accounts on this platform: what it refuses, and with which exit status.
#include <fstream>

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

}  // namespace
