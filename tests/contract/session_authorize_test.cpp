// Every answer of KestCgiIsAuthorized().
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <fstream>

#include "session_fixture.h"

namespace fs = std::filesystem;

namespace {

using SessionAuthorize = SessionTest;

constexpr auto kAdministration = KEST_CGI_POSITION_ADMINISTRATION;
constexpr int kTimeout_s = 900;

TEST_F(SessionAuthorize, AnOrdinaryAccountMayUseAnOrdinaryPage) {
  const Client anna = LoggedIn("anna");
  const Answer answer = Check(anna);
  EXPECT_EQ(1, answer.result);
  EXPECT_STREQ("anna", answer.user);
  EXPECT_EQ(1027, answer.request.uid);
  EXPECT_EQ(kTimeout_s, answer.request.secondsLeft);
}

TEST_F(SessionAuthorize, AnAdministratorIsToldApart) {
  const Client admin = LoggedIn("admin");
  EXPECT_EQ(2, Check(admin).result);
  EXPECT_EQ(2, Check(admin, kAdministration).result);
}

TEST_F(SessionAuthorize, AnOrdinaryAccountMayNotUseAdministration) {
  const Client anna = LoggedIn("anna");
  const Answer answer = Check(anna, kAdministration);
  EXPECT_EQ(-2, answer.result);
  EXPECT_STREQ("anna", answer.user);
  EXPECT_EQ(1, Check(anna).result) << "the session goes on";
}

TEST_F(SessionAuthorize, BadArgumentsAreAnsweredWithZero) {
  const Client anna = LoggedIn("anna");
  Request(anna, [](KESTCGI* context, Answer*) {
    char user[493] = "";
    CgiAuthRequest request = {};
    const auto page = KEST_CGI_POSITION_ACCOUNT;
    KESTCGI released = {};
    EXPECT_EQ(0, KestCgiIsAuthorized(nullptr, user, sizeof(user), &request, page));
    EXPECT_EQ(0, KestCgiIsAuthorized(&released, user, sizeof(user), &request, page));
    EXPECT_EQ(0, KestCgiIsAuthorized(context, nullptr, sizeof(user), &request, page));
    EXPECT_EQ(0, KestCgiIsAuthorized(context, user, 0, &request, page));
    EXPECT_EQ(0, KestCgiIsAuthorized(context, user, -1, &request, page));
    EXPECT_EQ(0, KestCgiIsAuthorized(context, user, sizeof(user), nullptr, page));
    EXPECT_EQ(0, KestCgiIsAuthorized(context, user, sizeof(user), &request, static_cast<_tag_cgi_position>(2)));
    EXPECT_EQ(0, KestCgiIsAuthorized(context, user, sizeof(user), &request, KEST_CGI_POSITION_FILLER_));
    EXPECT_STREQ("", user);
    if (::testing::Test::HasFailure()) _exit(1);
  });
}

TEST_F(SessionAuthorize, ANameIsNeverCutOff) {
  const Answer answer = Request(LoggedIn("anna"), [](KESTCGI* context, Answer* out) {
    char user[5] = "";
    CgiAuthRequest request = {};
    out->result = KestCgiIsAuthorized(context, user, 4, &request, KEST_CGI_POSITION_ACCOUNT);
    out->delay_s = KestCgiIsAuthorized(context, user, 5, &request, KEST_CGI_POSITION_ACCOUNT);
  });
  EXPECT_EQ(0, answer.result);
  EXPECT_EQ(1, answer.delay_s);
}

TEST_F(SessionAuthorize, ARefusedRequestIsNeverAllowed) {
  const Answer answer = Request(LoggedIn("anna"), [](KESTCGI* context, Answer* out) {
    setenv("REQUEST_METHOD", "POST", 1);
    setenv("CONTENT_LENGTH", "x", 1);
    free(KestCgiGetParamLine());
    out->result = KestCgiIsAuthorized(context, out->user, sizeof(out->user), &out->request, KEST_CGI_POSITION_ACCOUNT);
  });
  EXPECT_EQ(0, answer.result);
  EXPECT_STREQ("", answer.user);
}

TEST_F(SessionAuthorize, NoCookieIsNoSession) {
  const Answer answer = Check(Client());
  EXPECT_EQ(-1, answer.result);
  EXPECT_STREQ("", answer.user);
  EXPECT_EQ(0, answer.request.uid);
}

TEST_F(SessionAuthorize, AnIdOfAnotherFormIsNoSession) {
  const Client anna = LoggedIn("anna");
  const std::string id = anna.Id();
  std::string upper = id;
  std::transform(upper.begin(), upper.end(), upper.begin(), [](char c) { return static_cast<char>(toupper(c)); });
  const std::string cookies[] = {"id=",
                                 "id=" + id.substr(1),
                                 "id=" + id + "0",
                                 "id=g" + id.substr(1),
                                 "id=../session/" + id,
                                 "id=" + id + "/",
                                 "id=%00" + id,
                                 "id=../../../../etc/passwd",
                                 "id=.",
                                 "id=..",
                                 "xid=" + id,
                                 "idx=" + id,
                                 "id",
                                 ";;;",
                                 "id=\x80" + id.substr(1),
                                 "id= " + id.substr(1),
                                 "ID=" + id,
                                 "id=" + std::string(4000, 'a')};
  for (const std::string& cookie : cookies) EXPECT_EQ(-1, Check(Client::With(cookie)).result) << cookie;
  if (upper != id) {
    EXPECT_EQ(-1, Check(Client::With("id=" + upper)).result);
  }
  EXPECT_EQ(1u, SessionCount());
  EXPECT_EQ(1, Check(anna).result);
}

TEST_F(SessionAuthorize, TheIdIsFoundAmongOtherCookies) {
  const Client anna = LoggedIn("anna");
  EXPECT_EQ(1, Check(Client::With("idx=1; " + anna.cookie + "; lang=de")).result);
  EXPECT_EQ(1, Check(Client::With("id=\"" + anna.Id() + "\"")).result);
  EXPECT_EQ(1, Check(Client::With(anna.cookie + "; id=0123456789abcdef0123456789abcdef")).result) << "the first counts";
}

TEST_F(SessionAuthorize, AnUnknownIdIsNeverAdopted) {
  const Client chosen = Client::With("id=0123456789abcdef0123456789abcdef");
  EXPECT_EQ(-1, Check(chosen).result);
  const Answer login = Login(chosen, "anna", "pw-anna");
  EXPECT_EQ(1, login.result);
  EXPECT_STRNE("0123456789abcdef0123456789abcdef", login.id);
  EXPECT_EQ(-1, Check(chosen).result);
  EXPECT_EQ(1u, SessionCount());
}

TEST_F(SessionAuthorize, AnIdleSessionRunsOut) {
  const Client anna = LoggedIn("anna");
  Age(anna, kTimeout_s - 100);
  const Answer poll = Check(anna, KEST_CGI_POSITION_ACCOUNT, 0);
  EXPECT_EQ(1, poll.result);
  EXPECT_TRUE(IsAbout(100, poll.request.secondsLeft));
  Age(anna, kTimeout_s);
  EXPECT_EQ(-1, Check(anna).result);
  EXPECT_EQ(0u, SessionCount()) << "a session that ran out leaves no file";
  EXPECT_EQ(-1, Check(anna).result);
}

TEST_F(SessionAuthorize, TheTimeoutIsASetting) {
  Settings("session_timeout=\"2\"\n");
  const Client anna = LoggedIn("anna");
  EXPECT_EQ(120, Check(anna).request.secondsLeft);
  Age(anna, 120);
  EXPECT_EQ(-1, Check(anna).result);
}

TEST_F(SessionAuthorize, AnOddTimeoutCountsAsTheUsualOne) {
  const Client anna = LoggedIn("anna");
  for (const char* value : {"0", "-5", "x", "", "99999999999999999999", "10081", "5m"}) {
    Settings(std::string("session_timeout=\"") + value + "\"\n");
    EXPECT_EQ(kTimeout_s, Check(anna).request.secondsLeft) << value;
  }
  Settings("session_timeout=\"10080\"\n");
  EXPECT_EQ(604800, Check(anna).request.secondsLeft);
}

TEST_F(SessionAuthorize, ActivityRenewsTheTimerAndAPollDoesNot) {
  const Client anna = LoggedIn("anna");
  Age(anna, 500);
  for (int poll = 0; poll < 2; ++poll) {
    EXPECT_TRUE(IsAbout(400, Check(anna, KEST_CGI_POSITION_ACCOUNT, 0).request.secondsLeft));
  }
  EXPECT_EQ(kTimeout_s, Check(anna, KEST_CGI_POSITION_ACCOUNT, 1).request.secondsLeft);
  EXPECT_TRUE(IsAbout(kTimeout_s, Check(anna, KEST_CGI_POSITION_ACCOUNT, 0).request.secondsLeft));
}

TEST_F(SessionAuthorize, ActivityIsWrittenAtMostOnceAMinute) {
  const Client anna = LoggedIn("anna");
  Age(anna, 50);
  const int64_t before = LastActivity(anna);
  Check(anna);
  EXPECT_EQ(before, LastActivity(anna));
  Age(anna, 61);
  Check(anna);
  EXPECT_LT(before, LastActivity(anna));
}

TEST_F(SessionAuthorize, AClockSetBackALittleRestartsTheTimer) {
  const Client anna = LoggedIn("anna");
  for (const int mode : {0, 1}) {
    Age(anna, -600);
    const int64_t before = time(nullptr);
    const Answer answer = Check(anna, KEST_CGI_POSITION_ACCOUNT, mode);
    EXPECT_EQ(1, answer.result);
    EXPECT_EQ(kTimeout_s, answer.request.secondsLeft);
    EXPECT_LE(before - 1, LastActivity(anna)) << "times of files are those of the clock's last tick";
    EXPECT_GE(time(nullptr), LastActivity(anna));
  }
}

TEST_F(SessionAuthorize, AClockSetBackByMoreThanATimeoutEndsTheSession) {
  const Client anna = LoggedIn("anna");
  Age(anna, -kTimeout_s - 5);
  EXPECT_EQ(-1, Check(anna).result);
  EXPECT_EQ(0u, SessionCount());
}

TEST_F(SessionAuthorize, ANewPasswordInterruptsTheSessionsOpenedWithTheOld) {
  const Client anna = LoggedIn("anna"), bernd = LoggedIn("bernd");
  ASSERT_EQ(0, Account({"passwd", "anna"}, "other"));
  EXPECT_EQ(-3, Check(anna).result);
  EXPECT_EQ(-3, Check(anna).result) << "told again";
  EXPECT_STREQ("", Check(anna).user);
  EXPECT_EQ(1, Check(bernd).result);
  EXPECT_EQ(-1, Login(Client(), "anna", "pw-anna").result);
  EXPECT_EQ(1, Login(Client(), "anna", "other").result);
}

TEST_F(SessionAuthorize, AnotherAddressInterruptsWithoutEndingTheSession) {
  const Client anna = LoggedIn("anna");
  Client elsewhere = anna;
  elsewhere.address = "192.0.2.70";
  EXPECT_EQ(-3, Check(elsewhere).result);
  elsewhere.address = "2001:db8::1";
  EXPECT_EQ(-3, Check(elsewhere).result);
  EXPECT_EQ(1, Check(anna).result);
}

TEST_F(SessionAuthorize, TwoSessionsOfOneAccountStandSideBySide) {
  const Client first = LoggedIn("anna"), second = LoggedIn("anna");
  EXPECT_NE(first.Id(), second.Id());
  EXPECT_EQ(1, Check(first).result);
  EXPECT_EQ(1, Check(second).result);
  EXPECT_NE(0, Logout(first, "anna").result);
  EXPECT_EQ(1, Check(second).result);
}

TEST_F(SessionAuthorize, ANewerLoginInterruptsWhereOneSessionIsAllowed) {
  Settings("session_single=\"yes\"\n");
  const Client first = LoggedIn("anna"), other = LoggedIn("bernd");
  EXPECT_EQ(1, Check(first).result);
  const Client second = LoggedIn("anna");
  EXPECT_EQ(-3, Check(first).result);
  EXPECT_EQ(1, Check(second).result);
  EXPECT_EQ(1, Check(other).result);
  Settings("session_single=\"no\"\n");
  EXPECT_EQ(1, Check(first).result) << "it was only interrupted";
}

TEST_F(SessionAuthorize, ADisabledAccountIsRefused) {
  const Client anna = LoggedIn("anna");
  ASSERT_EQ(0, Account({"disable", "anna"}));
  EXPECT_EQ(-5, Check(anna).result);
  EXPECT_STREQ("", Check(anna).user);
  ASSERT_EQ(0, Account({"enable", "anna"}));
  EXPECT_EQ(1, Check(anna).result);
}

TEST_F(SessionAuthorize, AnExpiredAccountIsRefused) {
  const Client anna = LoggedIn("anna");
  ASSERT_EQ(0, Account({"expire", "anna", "2001/09/09"}));
  EXPECT_EQ(-5, Check(anna).result);
  ASSERT_EQ(0, Account({"expire", "anna", "2099/12/31"}));
  EXPECT_EQ(1, Check(anna).result);
}

TEST_F(SessionAuthorize, ARemovedAccountIsRefusedEvenWhenItsNameIsGivenAgain) {
  const Client bernd = LoggedIn("bernd");
  ASSERT_EQ(0, Account({"remove", "bernd"}));
  EXPECT_EQ(-5, Check(bernd).result);
  ASSERT_EQ(0, Account({"add", "bernd"}, "pw-bernd"));
  EXPECT_EQ(-5, Check(bernd).result);
}

TEST_F(SessionAuthorize, AdministrationIsTakenAwayAndGivenDuringASession) {
  const Client admin = LoggedIn("admin"), anna = LoggedIn("anna");
  ASSERT_EQ(0, Account({"admin", "admin", "off"}));
  ASSERT_EQ(0, Account({"admin", "anna", "on"}));
  EXPECT_EQ(1, Check(admin).result);
  EXPECT_EQ(-2, Check(admin, kAdministration).result);
  EXPECT_EQ(2, Check(anna, kAdministration).result);
}

TEST_F(SessionAuthorize, AnUnreadableStoreIsAnError) {
  const Client anna = LoggedIn("anna");
  fs::permissions(SessionPath(anna), fs::perms::none);
  EXPECT_EQ(-4, Check(anna).result);
  fs::permissions(SessionPath(anna), fs::perms::owner_read | fs::perms::owner_write);
  fs::permissions(kSessions, fs::perms::none);
  EXPECT_EQ(-4, Check(anna).result);
  fs::permissions(kSessions, fs::perms::owner_all);
  EXPECT_EQ(1, Check(anna).result);
  EXPECT_NE("", log_.Take());
}

TEST_F(SessionAuthorize, AMissingStoreHoldsNoSession) {
  const Client anna = LoggedIn("anna");
  fs::remove_all(kSessions);
  EXPECT_EQ(-1, Check(anna).result);
}

TEST_F(SessionAuthorize, AccountsThatCannotBeReadAreAnError) {
  const Client anna = LoggedIn("anna");
  std::ofstream(kAccounts, std::ios::binary | std::ios::trunc) << std::string(8192, 'x');
  EXPECT_EQ(-4, Check(anna).result);
  fs::remove(kAccounts);
  EXPECT_EQ(-4, Check(anna).result);
  EXPECT_FALSE(fs::exists(kAccounts)) << "a check makes no database";
}

TEST_F(SessionAuthorize, AFileThatIsNoWholeSessionIsNone) {
  const Client anna = LoggedIn("anna");
  std::ifstream file(SessionPath(anna), std::ios::binary);
  const std::string whole(std::istreambuf_iterator<char>(file), {});
  const auto write = [&](const std::string& bytes) {
    std::ofstream(SessionPath(anna), std::ios::binary | std::ios::trunc) << bytes;
  };
  for (size_t length = 0; length < whole.size(); ++length) {
    write(whole.substr(0, length));
    ASSERT_EQ(-1, Check(anna).result) << "cut after " << length << " bytes";
  }
  for (const std::string& bytes : {whole + "x", whole + whole, std::string(1 << 20, 'a'), "\n" + whole,
                                   std::string("\0\0\0\0", 4), std::string(whole.size(), '\0')}) {
    write(bytes);
    EXPECT_EQ(-1, Check(anna).result) << bytes.substr(0, 40);
  }
  write(whole);
  EXPECT_EQ(1, Check(anna).result);
}

TEST_F(SessionAuthorize, WhatIsNoPrivateFileIsNoSession) {
  const Client anna = LoggedIn("anna"), bernd = LoggedIn("bernd");
  fs::permissions(SessionPath(anna), fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
  EXPECT_EQ(-1, Check(anna).result) << "others may read it";
  fs::remove(SessionPath(anna));
  fs::create_symlink(SessionPath(bernd), SessionPath(anna));
  EXPECT_EQ(-1, Check(anna).result) << "a link";
  fs::remove(SessionPath(anna));
  fs::create_directory(SessionPath(anna));
  EXPECT_EQ(-1, Check(anna).result) << "a directory";
  fs::remove(SessionPath(anna));
  ASSERT_EQ(0, mkfifo(SessionPath(anna).c_str(), 0600));
  EXPECT_EQ(-1, Check(anna).result) << "a pipe";
}

TEST_F(SessionAuthorize, TheDatabaseIsOpenedOnlyAfterAChange) {
  Client anna;
  bool opened = false;
  // A machine may be too busy to log somebody in while the change is fresh.
  for (int tries = 0; tries < 20 && !opened; ++tries) {
    ASSERT_EQ(0, Account({"admin", "anna", "off"}));
    anna = LoggedIn("anna");
    opened = Check(anna).opened_accounts;
  }
  EXPECT_TRUE(opened) << "the accounts have only just been changed";
  sleep(3);  // until their file's time lies behind the clock's tick
  EXPECT_EQ(1, Check(anna).result);
  EXPECT_FALSE(Check(anna).opened_accounts);
  ASSERT_EQ(0, Account({"admin", "anna", "on"}));
  const Answer changed = Check(anna);
  EXPECT_TRUE(changed.opened_accounts);
  EXPECT_EQ(2, changed.result);
}

TEST_F(SessionAuthorize, AFailedLoginChangesNothingForOtherSessions) {
  const Client anna = LoggedIn("anna");
  sleep(3);
  Check(anna);
  EXPECT_EQ(-1, Login(Client(), "bernd", "wrong").result);
  EXPECT_FALSE(Check(anna).opened_accounts);
}

TEST_F(SessionAuthorize, AnExpiryDayThatComesDuringASessionNeedsNoDatabase) {
  const Client anna = LoggedIn("anna");
  sleep(3);
  Check(anna);
  std::ifstream file(SessionPath(anna));
  std::string text(std::istreambuf_iterator<char>(file), {});
  const size_t at = text.find("expire_day=-1");
  ASSERT_NE(std::string::npos, at);
  std::ofstream(SessionPath(anna), std::ios::trunc) << text.replace(at, 13, "expire_day=20");
  const Answer answer = Check(anna);
  EXPECT_EQ(-5, answer.result);
  EXPECT_FALSE(answer.opened_accounts);
}

}  // namespace
