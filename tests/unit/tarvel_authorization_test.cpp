// Request context: authorization with its refusals, login, logout.

#include <algorithm>
#include <cstring>
#include <string>

#include "support/mock_kestcgi.h"
#include "support/mock_kestdir.h"
#include "tarvel.h"
#include "tarvel_fixture.h"

namespace tarvel_test {
namespace {

using ::testing::_;
using ::testing::ElementsAre;
using ::testing::InSequence;
using ::testing::IsNull;
using ::testing::Return;
using ::testing::StrEq;

constexpr char kText[] = "text/plain; charset=\"UTF-8\"";
constexpr char kHtml[] = "text/html; charset=\"UTF-8\"";
constexpr auto kPosition = static_cast<_tag_cgi_position>(3);

std::string RefusalBody(const std::string& section, const std::string& key) {
  return "{\n   \"errno\" : {\n      \"key\" : \"" + key + "\",\n      \"section\" : \"" + section +
         "\"\n   },\n   \"items\" : [],\n   \"success\" : false,\n   \"total\" : 0\n}\n";
}

class TarvelAuthorizationTest : public TarvelTest {
 protected:
  // The platform finds this user and gives this answer.
  void PlatformAnswers(int answer, const char* user) {
    EXPECT_CALL(cgi(), KestCgiIsAuthorized(_, _, 493, _, _))
        .WillOnce([answer, user](KESTCGI*, char* name, int, CgiAuthRequest*, _tag_cgi_position) {
          std::strcpy(name, user);
          return answer;
        });
  }
  void ExpectRefusalHeaders(const char* reason, const char* type) {
    InSequence in_order;
    EXPECT_CALL(cgi(), KestCgiSetHTTPHeader(_, StrEq("x-request-error"), StrEq(reason))).WillOnce(Return(1));
    EXPECT_CALL(cgi(), KestCgiIsUploadRequest()).WillOnce(Return(type == kHtml ? 1 : 0));
    EXPECT_CALL(cgi(), KestCgiSetHTTPHeader(_, StrEq("Content-type"), StrEq(type))).WillOnce(Return(1));
    EXPECT_CALL(cgi(), KestCgiPrintHTTPHeader(_)).WillOnce([](KESTCGI*) {
      std::printf("[headers]\n");
      return 1;
    });
  }
  void LoggedInAs(const char* user) {
    PlatformAnswers(1, user);
    EXPECT_TRUE(Request().IsAuthorized(nullptr, 1, kPosition));
  }
};

TEST_F(TarvelAuthorizationTest, AnAllowedRequestHasItsUserAndWritesNothing) {
  PlatformAnswers(1, "anna");
  EXPECT_TRUE(Request().IsAuthorized("/login", 1, kPosition));
  EXPECT_EQ("anna", Request().GetLoginUserName());
  EXPECT_THAT(Calls(), ElementsAre("KestCgiIsAuthorized"));
}

TEST_F(TarvelAuthorizationTest, EveryPositiveAnswerAllows) {
  PlatformAnswers(2, "admin");
  EXPECT_TRUE(Request().IsAuthorized(nullptr, 1, kPosition));
}

TEST_F(TarvelAuthorizationTest, ThePlatformIsAskedWithAClearedNameTheModeAndThePosition) {
  LoggedInAs("somebody with a long name");
  EXPECT_CALL(cgi(), KestCgiIsAuthorized(_, _, 493, _, kPosition))
      .WillOnce([](KESTCGI*, char* name, int size, CgiAuthRequest* record, _tag_cgi_position) {
        EXPECT_EQ(493, std::count(name, name + size, '\0'));
        EXPECT_EQ(-77, record->mode);
        EXPECT_EQ(0, record->uid);
        EXPECT_EQ(0, record->secondsLeft);
        return 1;
      });
  EXPECT_TRUE(Request().IsAuthorized(nullptr, -77, kPosition));
  EXPECT_EQ("", Request().GetLoginUserName());
}

TEST_F(TarvelAuthorizationTest, AnyPositionValueReachesThePlatform) {
  EXPECT_CALL(cgi(), KestCgiIsAuthorized(_, _, _, _, static_cast<_tag_cgi_position>(1000))).WillOnce(Return(1));
  EXPECT_TRUE(Request().IsAuthorized(nullptr, 0, static_cast<_tag_cgi_position>(1000)));
}

TEST_F(TarvelAuthorizationTest, ANameThatFillsTheBufferIsKeptWhole) {
  const std::string longest(492, 'n');
  LoggedInAs(longest.c_str());
  EXPECT_EQ(longest, Request().GetLoginUserName());
}

struct RefusalRow {
  int line;
  int answer;
  const char* reason;
  const char* section;
  const char* key;
};

constexpr RefusalRow kRefusalRows[] = {
    {__LINE__, -1, "timeout", "login", "error_timeout"},    {__LINE__, -2, "unauth", "login", "error_noprivilege"},
    {__LINE__, -5, "unauth", "login", "error_noprivilege"}, {__LINE__, -3, "relogin", "login", "error_interrupt"},
    {__LINE__, 0, "system", "common", "error_system"},      {__LINE__, -4, "system", "common", "error_system"},
    {__LINE__, -6, "system", "common", "error_system"},     {__LINE__, -2147483647, "system", "common", "error_system"},
};

TEST_F(TarvelAuthorizationTest, EachRefusalHasItsHeaderItsBodyAndNoUser) {
  for (const RefusalRow& row : kRefusalRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line << ": answer " << row.answer);
    PlatformAnswers(row.answer, "anna");
    ExpectRefusalHeaders(row.reason, kText);
    EXPECT_FALSE(Request().IsAuthorized(nullptr, 1, kPosition));
    EXPECT_EQ("[headers]\n" + RefusalBody(row.section, row.key), Printed());
    EXPECT_EQ("", Request().GetLoginUserName());
    EXPECT_FALSE(Request().IsAdmin());
  }
}

TEST_F(TarvelAuthorizationTest, ARefusalMakesItsCallsInOrder) {
  PlatformAnswers(-1, "");
  ExpectRefusalHeaders("timeout", kText);
  EXPECT_FALSE(Request().IsAuthorized(nullptr, 1, kPosition));
  Printed();
  EXPECT_THAT(Calls(), ElementsAre("KestCgiIsAuthorized", "KestCgiSetHTTPHeader", "KestCgiIsUploadRequest",
                                   "KestCgiSetHTTPHeader", "KestCgiPrintHTTPHeader"));
}

TEST_F(TarvelAuthorizationTest, ARefusedUserLeavesAnEmptyNameAndIsNoAdministrator) {
  LoggedInAs("admin");
  PlatformAnswers(-2, "admin");
  ExpectRefusalHeaders("unauth", kText);
  EXPECT_FALSE(Request().IsAuthorized(nullptr, 1, kPosition));
  EXPECT_EQ("", Request().GetLoginUserName());
  EXPECT_FALSE(Request().IsAdmin());
  Printed();
}

TEST_F(TarvelAuthorizationTest, ATimedOutSessionWithARedirectAddressIsOnlyRedirected) {
  PlatformAnswers(-1, "anna");
  EXPECT_CALL(cgi(), KestCgiRedirect(_, StrEq("/login.html"))).WillOnce(Return(0));
  EXPECT_FALSE(Request().IsAuthorized("/login.html", 1, kPosition));
  EXPECT_THAT(Calls(), ElementsAre("KestCgiIsAuthorized", "KestCgiRedirect"));
  EXPECT_EQ("", Request().GetLoginUserName());
}

TEST_F(TarvelAuthorizationTest, AnEmptyRedirectAddressRedirectsToo) {
  PlatformAnswers(0, "");
  EXPECT_CALL(cgi(), KestCgiRedirect(_, StrEq("")));
  EXPECT_FALSE(Request().IsAuthorized("", 1, kPosition));
}

TEST_F(TarvelAuthorizationTest, ARefusalUsesTheDefaultContentType) {
  Request().SetDefaultContentType("application/json");
  PlatformAnswers(-1, "");
  ExpectRefusalHeaders("timeout", "application/json");
  EXPECT_FALSE(Request().IsAuthorized(nullptr, 1, kPosition));
  Printed();
}

TEST_F(TarvelAuthorizationTest, ARefusedUploadIsHtmlWhateverTheDefaultContentType) {
  Request().SetDefaultContentType("application/json");
  PlatformAnswers(-1, "");
  ExpectRefusalHeaders("timeout", kHtml);
  EXPECT_FALSE(Request().IsAuthorized(nullptr, 1, kPosition));
  EXPECT_EQ("[headers]\n" + RefusalBody("login", "error_timeout"), Printed());
}

TEST_F(TarvelAuthorizationTest, TheRefusalsBodyIsWrittenThoughNoHeaderCouldBeQueued) {
  PlatformAnswers(-3, "");
  EXPECT_CALL(cgi(), KestCgiSetHTTPHeader(_, _, _)).Times(2).WillRepeatedly(Return(0));
  EXPECT_CALL(cgi(), KestCgiIsUploadRequest()).WillOnce(Return(0));
  EXPECT_FALSE(Request().IsAuthorized(nullptr, 1, kPosition));
  EXPECT_EQ(RefusalBody("login", "error_interrupt"), Printed());
}

struct NameRow {
  int line;
  const char* name;
  bool admin;
};

constexpr NameRow kNameRows[] = {
    {__LINE__, "admin", true},          {__LINE__, "Admin", true}, {__LINE__, "ADMIN", true},
    {__LINE__, "administrator", false}, {__LINE__, "anna", false}, {__LINE__, "admi", false},
    {__LINE__, " admin", false},
};

TEST_F(TarvelAuthorizationTest, TheAdministratorIsTheAccountAdminWithoutRegardToCase) {
  EXPECT_FALSE(Request().IsAdmin()) << "nobody is logged in yet";
  for (const NameRow& row : kNameRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line << ": " << row.name);
    LoggedInAs(row.name);
    EXPECT_EQ(row.admin, Request().IsAdmin());
  }
}

class TarvelLoginTest : public TarvelTest {
 protected:
  TarvelLoginTest() { params_.user = "anna"; }
  void PlatformLogsIn(int result) {
    EXPECT_CALL(cgi(), KestCgiLogin(_, _, 64, &params_))
        .WillOnce([result](KESTCGI*, char* session, int, _tag_login_params*) {
          std::strcpy(session, "session-id");
          return result;
        });
  }

  _tag_login_params params_ = {};
};

TEST_F(TarvelLoginTest, AnOrdinaryUserIsLoggedIn) {
  PlatformLogsIn(1);
  EXPECT_CALL(dir(), IsDomainUG(StrEq("anna"))).WillOnce(Return(1));
  EXPECT_EQ(1, Request().Login(&params_));
  EXPECT_EQ("", Request().GetLoginUserName()) << "a login does not name the user";
}

TEST_F(TarvelLoginTest, EveryOtherResultIsPassedOnAndNothingElseIsCalled) {
  for (const int result : {0, -1, -2, -3, -4, 2}) {
    PlatformLogsIn(result);
    EXPECT_EQ(result, Request().Login(&params_));
    EXPECT_THAT(Calls(), ElementsAre("KestCgiLogin"));
  }
}

TEST_F(TarvelLoginTest, ADomainUsersShareAccessIsRegisteredWithTheNewSession) {
  PlatformLogsIn(1);
  EXPECT_CALL(dir(), IsDomainUG(StrEq("anna"))).WillOnce(Return(2));
  EXPECT_CALL(cgi(), KestCgiDomValidShareWrite(StrEq("anna"), StrEq("session-id"))).WillOnce(Return(0));
  EXPECT_EQ(1, Request().Login(&params_));
  EXPECT_THAT(Calls(), ElementsAre("KestCgiLogin", "IsDomainUG", "KestCgiDomValidShareWrite"));
}

TEST_F(TarvelLoginTest, FailingToRegisterIsLoggedAndDoesNotFailTheLogin) {
  PlatformLogsIn(1);
  EXPECT_CALL(dir(), IsDomainUG(_)).WillOnce(Return(2));
  EXPECT_CALL(cgi(), KestCgiDomValidShareWrite(_, _)).WillOnce(Return(-1));
  EXPECT_EQ(1, Request().Login(&params_));
  ExpectLogged("tarvel (#) KestCgiDomValidShareWrite failed.");
}

TEST_F(TarvelLoginTest, OnlyANegativeResultOfRegisteringIsAFailure) {
  PlatformLogsIn(1);
  EXPECT_CALL(dir(), IsDomainUG(_)).WillOnce(Return(2));
  EXPECT_CALL(cgi(), KestCgiDomValidShareWrite(_, _)).WillOnce(Return(1));
  EXPECT_EQ(1, Request().Login(&params_));
}

TEST_F(TarvelLoginTest, ALoginWithoutARecordIsThePlatformsToRefuse) {
  EXPECT_CALL(cgi(), KestCgiLogin(_, _, 64, IsNull())).WillOnce(Return(0));
  EXPECT_EQ(0, Request().Login(nullptr));
}

TEST_F(TarvelLoginTest, ALoginWithoutAPasswordCheckPassesOnlyTheRecord) {
  EXPECT_CALL(cgi(), KestCgiLoginNoAuth(_, IsNull(), IsNull(), &params_)).WillOnce(Return(-4)).WillOnce(Return(1));
  EXPECT_EQ(-4, Request().LoginNoAuth(&params_));
  EXPECT_EQ(1, Request().LoginNoAuth(&params_));
}

TEST_F(TarvelLoginTest, LogoutNamesTheUserAndKeepsTheName) {
  EXPECT_CALL(cgi(), KestCgiIsAuthorized(_, _, _, _, _))
      .WillOnce([](KESTCGI*, char* name, int, CgiAuthRequest*, _tag_cgi_position) {
        std::strcpy(name, "anna");
        return 1;
      });
  EXPECT_CALL(cgi(), KestCgiLogout(_, StrEq("anna"))).WillOnce(Return(-1)).WillOnce(Return(0));
  ASSERT_TRUE(Request().IsAuthorized(nullptr, 1, kPosition));
  EXPECT_TRUE(Request().Logout()) << "every answer but 0 is done";
  EXPECT_FALSE(Request().Logout());
  EXPECT_EQ("anna", Request().GetLoginUserName());
}

TEST_F(TarvelLoginTest, LogoutOfNobodyPassesAnEmptyName) {
  EXPECT_CALL(cgi(), KestCgiLogout(_, StrEq(""))).WillOnce(Return(1));
  EXPECT_TRUE(Request().Logout());
}

}  // namespace
}  // namespace tarvel_test
