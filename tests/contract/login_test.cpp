// KestCgiLogin() and KestCgiLoginNoAuth().
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <functional>

#include "session_fixture.h"

namespace fs = std::filesystem;

namespace {

using SessionLogin = SessionTest;

bool IsId(const std::string& text) {
  return text.size() == 32 && text.find_first_not_of("0123456789abcdef") == std::string::npos;
}

// The Set-Cookie line of a header block, without its end.
std::string CookieLine(const Answer& answer) {
  const std::string headers = answer.headers;
  const size_t at = headers.find("Set-Cookie:");
  return at == std::string::npos ? "" : headers.substr(at, headers.find_first_of("\r\n", at) - at);
}

TEST_F(SessionLogin, TheRightPasswordOpensASession) {
  const Answer answer = Login(Client(), "anna", "pw-anna");
  EXPECT_EQ(1, answer.result);
  EXPECT_EQ(0, answer.delay_s);
  EXPECT_TRUE(IsId(answer.id)) << answer.id;
  EXPECT_EQ(std::string("Set-Cookie: id=") + answer.id + "; Path=/; HttpOnly; SameSite=Strict", CookieLine(answer));
}

TEST_F(SessionLogin, OverHttpsTheCookieIsSecure) {
  Client client;
  client.https = true;
  EXPECT_NE(std::string::npos, CookieLine(Login(client, "anna", "pw-anna")).find("; Secure"));
}

TEST_F(SessionLogin, OnlyTheApplianceMayReadTheSession) {
  const Client anna = LoggedIn("anna");
  struct stat directory, file;
  ASSERT_EQ(0, stat(kSessions, &directory));
  ASSERT_EQ(0, stat(SessionPath(anna).c_str(), &file));
  EXPECT_EQ(0700u, directory.st_mode & 07777);
  EXPECT_EQ(0600u, file.st_mode & 07777);
}

TEST_F(SessionLogin, TheNameMayBeWrittenInAnotherCase) {
  ASSERT_EQ(0, Account({"add", "\xc3\x9cnsal"}, "pw"));  // U-umlaut
  for (const char* name : {"ANNA", "Anna", "anna"}) {
    const Answer login = Login(Client(), name, "pw-anna");
    ASSERT_EQ(1, login.result) << name;
    EXPECT_STREQ("anna", Check(Client::With(std::string("id=") + login.id)).user);
  }
  const Answer login = Login(Client(), "\xc3\xbcNSAL", "pw");
  ASSERT_EQ(1, login.result);
  EXPECT_STREQ("\xc3\x9cnsal", Check(Client::With(std::string("id=") + login.id)).user);
}

TEST_F(SessionLogin, WrongNamesAndPasswordsGetOneAnswer) {
  const std::string long_name(493, 'n'), long_password(600, 'p'), huge(1 << 20, 'h');
  const struct {
    const char* user;
    const char* passwd;
  } rows[] = {
      {"anna", "wrong"},
      {"anna", ""},
      {"anna", "PW-ANNA"},
      {"anna", "pw-anna "},
      {"nobody", "pw-anna"},
      {"nobody", ""},
      {"", ""},
      {"", "pw-anna"},
      {"anna ", "pw-anna"},
      {"ann", "pw-anna"},
      {"anna'--", "x"},
      {"' OR 1=1 --", "' OR 1=1 --"},
      {"%", "pw-anna"},
      {"DOM\\anna", "pw-anna"},
      {"anna\n", "pw-anna"},
      {"\xff\xfe", "pw-anna"},
      {long_name.c_str(), "x"},
      {"bernd", long_password.c_str()},
      {huge.c_str(), huge.c_str()},
  };
  for (const auto& row : rows) {
    fs::remove(kFailures);  // so that no row has to wait for another
    const Answer answer = Login(Client(), row.user, row.passwd);
    EXPECT_EQ(-1, answer.result) << std::string(row.user).substr(0, 40);
    EXPECT_STREQ("", answer.id);
    EXPECT_EQ("", CookieLine(answer));
    EXPECT_EQ(0, answer.delay_s);
  }
  EXPECT_EQ(0u, SessionCount());
}

TEST_F(SessionLogin, ADisabledAccountIsToldOnlyAfterTheRightPassword) {
  ASSERT_EQ(0, Account({"disable", "anna"}));
  EXPECT_EQ(-1, Login(Client(), "anna", "wrong").result);
  EXPECT_EQ(-2, Login(Client(), "anna", "pw-anna").result);
  EXPECT_EQ(0u, SessionCount());
}

TEST_F(SessionLogin, AnExpiredAccountIsToldOnlyAfterTheRightPassword) {
  ASSERT_EQ(0, Account({"expire", "anna", "2001/09/09"}));
  EXPECT_EQ(-1, Login(Client(), "anna", "wrong").result);
  EXPECT_EQ(-2, Login(Client(), "anna", "pw-anna").result);
  ASSERT_EQ(0, Account({"expire", "anna", "2099/01/01"}));
  EXPECT_EQ(1, Login(Client(), "anna", "pw-anna").result);
}

// Waits are counted in whole seconds of the clock: what is to be seen of a short one begins with a new second.
void AwaitNextSecond() {
  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  const timespec rest = {0, 999999999 - now.tv_nsec};
  nanosleep(&rest, nullptr);
  while (time(nullptr) == now.tv_sec) usleep(1000);
}

// What requests come to that all fall into one second. A machine that is too busy for that begins anew, with `begin`.
void WithinOneSecond(const std::function<void()>& begin, const std::function<void()>& act) {
  constexpr int kTries = 60;
  for (int tries = 0; tries < kTries; ++tries) {
    begin();
    AwaitNextSecond();
    const time_t second = time(nullptr);
    act();
    if (time(nullptr) == second) return;
  }
  FAIL() << "three requests never fall into one second";
}

TEST_F(SessionLogin, RepeatedFailuresMakeANameWaitLongerAndLonger) {
  const auto fail = [](int times) {
    ForgetFailures();
    for (int i = 0; i < times; ++i) {
      while (Login(Client(), "anna", "wrong").result == -3) usleep(1000);
    }
  };
  Answer third = {}, waits = {}, in_capitals = {};
  WithinOneSecond([&] { fail(2); },
                  [&] {
                    third = Login(Client(), "anna", "wrong");
                    waits = Login(Client(), "anna", "pw-anna");
                    in_capitals = Login(Client(), "ANNA", "pw-anna");
                  });
  EXPECT_EQ(-1, third.result);
  EXPECT_EQ(-3, waits.result) << "even with the right password";
  EXPECT_EQ(1, waits.delay_s);
  EXPECT_EQ("", CookieLine(waits));
  EXPECT_EQ(-3, in_capitals.result) << "the case of the name is no way around";
  EXPECT_EQ(1, Login(Client(), "bernd", "pw-bernd").result) << "nobody else has to wait";
  Answer fourth = {};
  WithinOneSecond([&] { fail(3); },
                  [&] {
                    fourth = Login(Client(), "anna", "wrong");
                    waits = Login(Client(), "anna", "wrong");
                  });
  EXPECT_EQ(-1, fourth.result);
  EXPECT_EQ(2, waits.delay_s);
  sleep(2);
  EXPECT_EQ(1, Login(Client(), "anna", "pw-anna").result);
  EXPECT_EQ(-1, Login(Client(), "anna", "wrong").result) << "a login makes them forgotten";
  EXPECT_EQ(1, Login(Client(), "anna", "pw-anna").result);
}

TEST_F(SessionLogin, UnknownNamesWaitAsWell) {
  Answer third = {}, waits = {};
  WithinOneSecond(
      [] {
        ForgetFailures();
        for (int i = 0; i < 2; ++i) EXPECT_EQ(-1, Login(Client(), "nobody", "x").result);
      },
      [&] {
        third = Login(Client(), "nobody", "x");
        waits = Login(Client(), "nobody", "x");
      });
  EXPECT_EQ(-1, third.result);
  EXPECT_EQ(-3, waits.result);
  EXPECT_EQ(1, waits.delay_s);
}

TEST_F(SessionLogin, TheSessionOfTheRequestEndsWhenANewOneOpens) {
  const Client before = LoggedIn("anna");
  const Answer answer = Login(before, "bernd", "pw-bernd");
  EXPECT_EQ(1, answer.result);
  EXPECT_NE(before.Id(), answer.id);
  EXPECT_EQ(-1, Check(before).result);
  EXPECT_EQ(1u, SessionCount());
}

TEST_F(SessionLogin, AFailedLoginLeavesTheSessionOfTheRequestAlone) {
  const Client anna = LoggedIn("anna");
  EXPECT_EQ(-1, Login(anna, "bernd", "wrong").result);
  EXPECT_EQ(1, Check(anna).result);
}

TEST_F(SessionLogin, TheNewSessionIsKnownInTheSameProcessOnceCookiesAreReadAgain) {
  const Client anna = LoggedIn("anna");
  const Answer answer = Request(anna, [&](KESTCGI* context, Answer* out) {
    _tag_login_params params = {};
    params.user = "bernd";
    params.passwd = "pw-bernd";
    KestCgiLogin(context, out->id, sizeof(out->id), &params);
    KestCgiLoadInCookies(context);
    if (strcmp(out->id, KestCgiGetInCookies(context, "id", "")) != 0) _exit(1);
    out->result = KestCgiIsAuthorized(context, out->user, sizeof(out->user), &out->request, KEST_CGI_POSITION_ACCOUNT);
  });
  EXPECT_EQ(1, answer.result);
  EXPECT_STREQ("bernd", answer.user);
}

TEST_F(SessionLogin, BadArgumentsAreAnsweredWithZero) {
  Request(Client(), [](KESTCGI* context, Answer*) {
    char id[64] = "untouched";
    _tag_login_params params = {"anna", "pw-anna", nullptr, 0, 77};
    _tag_login_params nameless = {nullptr, "pw-anna", nullptr, 0, 77};
    _tag_login_params without_password = {"anna", nullptr, nullptr, 0, 77};
    EXPECT_EQ(0, KestCgiLogin(nullptr, id, sizeof(id), &params));
    EXPECT_EQ(0, KestCgiLogin(context, nullptr, sizeof(id), &params));
    EXPECT_EQ(0, KestCgiLogin(context, id, 32, &params));
    EXPECT_EQ(0, KestCgiLogin(context, id, sizeof(id), nullptr));
    EXPECT_EQ(0, KestCgiLogin(context, id, sizeof(id), &nameless));
    EXPECT_EQ(0, KestCgiLogin(context, id, sizeof(id), &without_password));
    EXPECT_EQ(0, KestCgiLoginNoAuth(nullptr, nullptr, nullptr, &params));
    EXPECT_EQ(0, KestCgiLoginNoAuth(context, nullptr, nullptr, nullptr));
    EXPECT_EQ(0, KestCgiLoginNoAuth(context, nullptr, nullptr, &nameless));
    EXPECT_STREQ("untouched", id);
    EXPECT_EQ(1, KestCgiLogin(context, id, 33, &params)) << "33 bytes suffice";
    EXPECT_EQ(0, params.delay_s);
    if (::testing::Test::HasFailure()) _exit(1);
  });
}

TEST_F(SessionLogin, ARefusedRequestLogsNobodyIn) {
  const Answer answer = Request(Client(), [](KESTCGI* context, Answer* out) {
    setenv("REQUEST_METHOD", "POST", 1);
    setenv("CONTENT_LENGTH", "-1", 1);
    free(KestCgiGetParamLine());
    _tag_login_params params = {"anna", "pw-anna", nullptr, 0, 0};
    out->result = KestCgiLogin(context, out->id, sizeof(out->id), &params);
    out->delay_s = KestCgiLoginNoAuth(context, nullptr, nullptr, &params);
  });
  EXPECT_EQ(0, answer.result);
  EXPECT_EQ(0, answer.delay_s);
  EXPECT_EQ(0u, SessionCount());
}

Answer LoginNoAuth(KESTCGI* context, const char* user, Answer* out) {
  _tag_login_params params = {user, nullptr, nullptr, 0, 0};
  out->result = KestCgiLoginNoAuth(context, nullptr, nullptr, &params);
  KestCgiLoadInCookies(context);
  snprintf(out->id, sizeof(out->id), "%s", KestCgiGetInCookies(context, "id", ""));
  return *out;
}

TEST_F(SessionLogin, WithoutAPasswordASessionOpensForAnAccountThatMayLogIn) {
  const auto log_in = [](const char* user) {
    return Request(Client(), [=](KESTCGI* context, Answer* out) { LoginNoAuth(context, user, out); });
  };
  const Answer anna = log_in("Anna");
  EXPECT_EQ(1, anna.result);
  EXPECT_STREQ("anna", Check(Client::With(std::string("id=") + anna.id)).user);
  EXPECT_EQ(-1, log_in("nobody").result);
  EXPECT_EQ(-1, log_in("").result);
  EXPECT_EQ(-1, log_in("DOM\\anna").result);
  ASSERT_EQ(0, Account({"disable", "bernd"}));
  EXPECT_EQ(-2, log_in("bernd").result);
  EXPECT_EQ(1u, SessionCount());
}

TEST_F(SessionLogin, TheLogTellsWhoAndWhenceButNeverThePassword) {
  Login(Client(), "anna", "pw-anna");
  Login(Client(), "anna", "secret-guess");
  Login(Client(), "evil\nanna login of root", "secret-guess");
  const std::string log = log_.Take();
  EXPECT_NE(std::string::npos, log.find("login of anna from 192.0.2.7\n")) << log;
  EXPECT_NE(std::string::npos, log.find("login of anna from 192.0.2.7 refused: wrong name or password\n")) << log;
  EXPECT_NE(std::string::npos, log.find("login of evil?anna login of root from")) << log;
  EXPECT_EQ(std::string::npos, log.find("secret-guess")) << log;
  EXPECT_EQ(std::string::npos, log.find("pw-anna")) << log;
}

TEST_F(SessionLogin, LeftOverSessionsAreSweptByLaterLogins) {
  const Client old = LoggedIn("anna"), fresh = LoggedIn("bernd");
  Age(old, 901);
  LoggedIn("admin");
  EXPECT_EQ(-1, LastActivity(old));
  EXPECT_EQ(1, Check(fresh).result);
}

TEST_F(SessionLogin, ADirectoryThatOthersMayEnterIsNotTrusted) {
  fs::create_directory(kSessions);
  fs::permissions(kSessions, fs::perms::owner_all | fs::perms::group_exec);
  EXPECT_EQ(-4, Login(Client(), "anna", "pw-anna").result);
}

}  // namespace
