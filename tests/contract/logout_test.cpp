// KestCgiLogout(), KestCgiGetSessPath() and KestCgiDomValidShareWrite().
#include <unistd.h>

#include <filesystem>

#include "session_fixture.h"

namespace fs = std::filesystem;

namespace {

using SessionLogout = SessionTest;

constexpr char kRemoval[] = "Set-Cookie: id=; Expires=Thu, 01 Jan 1970 00:00:00 GMT; Path=/; HttpOnly; SameSite=Strict";

TEST_F(SessionLogout, TheSessionEndsAndItsCookieGoes) {
  const Client anna = LoggedIn("anna");
  const Answer answer = Logout(anna, "anna");
  EXPECT_NE(0, answer.result);
  EXPECT_NE(std::string::npos, std::string(answer.headers).find(kRemoval)) << answer.headers;
  EXPECT_EQ(0u, SessionCount());
  EXPECT_EQ(-1, Check(anna).result);
}

TEST_F(SessionLogout, TwiceIsHarmless) {
  const Client anna = LoggedIn("anna");
  EXPECT_NE(0, Logout(anna, "anna").result);
  EXPECT_NE(0, Logout(anna, "anna").result);
  EXPECT_NE(0, Logout(Client(), "").result) << "without any session";
  EXPECT_NE(0, Logout(Client::With("id=../../etc/passwd"), "").result);
}

TEST_F(SessionLogout, AnEmptyNameMeansWhoeverOwnsTheSession) {
  EXPECT_NE(0, Logout(LoggedIn("anna"), "").result);
  EXPECT_NE(0, Logout(LoggedIn("anna"), nullptr).result);
  EXPECT_NE(0, Logout(LoggedIn("anna"), "ANNA").result);
  EXPECT_EQ(0u, SessionCount());
}

TEST_F(SessionLogout, TheSessionOfAnotherAccountIsLeftAlone) {
  const Client anna = LoggedIn("anna");
  const Answer answer = Logout(anna, "bernd");
  EXPECT_EQ(0, answer.result);
  EXPECT_EQ(std::string::npos, std::string(answer.headers).find("Set-Cookie"));
  EXPECT_EQ(1, Check(anna).result);
}

TEST_F(SessionLogout, ASessionThatCannotBeRemovedIsAFailure) {
  const Client anna = LoggedIn("anna");
  fs::permissions(kSessions, fs::perms::owner_read | fs::perms::owner_exec);
  EXPECT_EQ(0, Logout(anna, "anna").result);
  fs::permissions(kSessions, fs::perms::owner_all);
  EXPECT_EQ(1, Check(anna).result);
}

TEST_F(SessionLogout, AnUnusableContextIsAFailure) {
  KESTCGI released = {};
  EXPECT_EQ(0, KestCgiLogout(nullptr, ""));
  EXPECT_EQ(0, KestCgiLogout(&released, ""));
}

// The accounts have just been made, so every check looks its account up and replaces the session's file.
TEST_F(SessionLogout, ChecksUnderWayDoNotBringASessionBack) {
  for (int round = 0; round < 15; ++round) {
    const Client anna = LoggedIn("anna");
    pid_t checks[3];
    for (pid_t& pid : checks) {
      pid = fork();
      if (pid == 0) {
        for (int i = 0; i < 8; ++i) Check(anna);
        _exit(0);
      }
    }
    usleep(static_cast<useconds_t>(round * 1000));
    EXPECT_NE(0, Logout(anna, "anna").result);
    for (const pid_t pid : checks) waitpid(pid, nullptr, 0);
    ASSERT_EQ(0u, SessionCount()) << "round " << round;
  }
}

TEST_F(SessionLogout, ThePathOfTheSessionIsKnownWhileItsIdHasTheRightForm) {
  const Client anna = LoggedIn("anna");
  const auto path = [](const Client& client, int size) {
    return Request(client,
                   [=](KESTCGI* context, Answer* out) { out->result = KestCgiGetSessPath(context, out->user, size); });
  };
  const int length = static_cast<int>(SessionPath(anna).size());
  EXPECT_STREQ(SessionPath(anna).c_str(), path(anna, 493).user);
  EXPECT_EQ(length, path(anna, length + 1).result);
  EXPECT_LT(path(anna, length).result, 0);
  EXPECT_EQ(0, path(Client(), 493).result);
  EXPECT_EQ(0, path(Client::With("id=../../etc/passwd"), 493).result);
  EXPECT_STREQ("", path(Client::With("id=../../etc/passwd"), 493).user);
  EXPECT_LT(path(anna, 0).result, 0);
  EXPECT_LT(KestCgiGetSessPath(nullptr, nullptr, 0), 0);
}

TEST_F(SessionLogout, NoDomainMeansNoRightsOfADomainToRecord) {
  EXPECT_LT(KestCgiDomValidShareWrite("DOM\\anna", "0123456789abcdef0123456789abcdef"), 0);
  EXPECT_LT(KestCgiDomValidShareWrite("anna", ""), 0);
  EXPECT_LT(KestCgiDomValidShareWrite(nullptr, nullptr), 0);
}

}  // namespace
