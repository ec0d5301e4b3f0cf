#include "host/session/session_text.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

namespace kest {
namespace {

// The content of a session with one line of it exchanged.
std::string With(const std::string& line, const std::string& other) {
  Session session;
  session.uid = 1000;
  session.administrator = true;
  session.privilege = -18;
  snprintf(session.user, sizeof(session.user), "anna");
  snprintf(session.remote, sizeof(session.remote), "127.0.0.1");
  char text[kSessionTextBytes];
  EXPECT_GT(FormatSession(session, text), 0u);
  std::string out = text;
  const size_t at = out.find(line);
  EXPECT_NE(std::string::npos, at) << line;
  return out.replace(at, line.size(), other);
}

bool IsRead(const std::string& text) {
  Session session;
  return ParseSession(text.c_str(), &session);
}

TEST(SessionTextTest, WhatWasWrittenIsRead) {
  Session session;
  ASSERT_TRUE(ParseSession(With("uid=1000\n", "uid=1000\n").c_str(), &session));
  EXPECT_EQ(1000, session.uid);
  EXPECT_TRUE(session.administrator);
  EXPECT_EQ(-18, session.privilege);
  EXPECT_STREQ("anna", session.user);
  EXPECT_STREQ("127.0.0.1", session.remote);
}

TEST(SessionTextTest, AUserIdThatFitsNoUserIdIsRefused) {
  EXPECT_TRUE(IsRead(With("uid=1000\n", "uid=" + std::to_string(INT_MAX) + "\n")));
  EXPECT_TRUE(IsRead(With("uid=1000\n", "uid=0\n")));
  for (const char* uid : {"4294967296", "2147483648", "-2147483649", "99999999999999999999"}) {
    EXPECT_FALSE(IsRead(With("uid=1000\n", "uid=" + std::string(uid) + "\n"))) << uid;
  }
}

TEST(SessionTextTest, NumbersAreReadAsTheyAreWrittenOnly) {
  for (const char* uid : {"", " 5", "+5", "005", "-0", "00", "0x10", "5 ", "5x", "-", "5\r"}) {
    EXPECT_FALSE(IsRead(With("uid=1000\n", "uid=" + std::string(uid) + "\n"))) << uid;
  }
  for (const char* flag : {"2", "-1", "3", "yes"}) {
    EXPECT_FALSE(IsRead(With("administrator=1\n", "administrator=" + std::string(flag) + "\n"))) << flag;
  }
}

TEST(SessionTextTest, HalfAFileAndOneWithMoreBehindItAreRefused) {
  const std::string whole = With("uid=1000\n", "uid=1000\n");
  for (size_t length = 0; length < whole.size(); ++length) EXPECT_FALSE(IsRead(whole.substr(0, length))) << length;
  EXPECT_FALSE(IsRead(whole + "x"));
  EXPECT_FALSE(IsRead(whole + "\n"));
}

TEST(SessionTextTest, NamesThatDoNotFitAreRefused) {
  EXPECT_TRUE(IsRead(With("user=anna\n", "user=" + std::string(492, 'u') + "\n")));
  EXPECT_FALSE(IsRead(With("user=anna\n", "user=" + std::string(493, 'u') + "\n")));
  EXPECT_FALSE(IsRead(With("user=anna\n", "user=\n")));
  EXPECT_FALSE(IsRead(With("remote=127.0.0.1\n", "remote=" + std::string(64, '1') + "\n")));
}

}  // namespace
}  // namespace kest
