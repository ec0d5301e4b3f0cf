// Request context: construction, parameters, uploads, cookies.

#include "tarvel.h"

#include <cstdint>
#include <new>
#include <string>

#include "support/allocations.h"
#include "support/mock_kestcgi.h"
#include "tarvel_fixture.h"

namespace tarvel_test {
namespace {

using ::testing::_;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::IsNull;
using ::testing::Return;
using ::testing::StrEq;

TEST_F(TarvelTest, LeavesTheWebServersSessionThenOpensItsContextThenReadsTheCookies) {
  ExpectRequest();
  { Tarvel request(false); }
  EXPECT_THAT(Calls(), ElementsAre("setsid", "KestCgiInit", "KestCgiLoadInCookies", "KestCgiFree"));
}

TEST_F(TarvelTest, NoFailureDuringConstructionStopsTheFollowingCalls) {
  machine().FailNext("setsid", 1);
  EXPECT_CALL(cgi(), KestCgiInit(StrEq(""), _)).WillOnce(Return(-1));
  EXPECT_CALL(cgi(), KestCgiLoadInCookies(_)).WillOnce(Return(-1));
  EXPECT_CALL(cgi(), KestCgiGetParamLine()).WillOnce(Return(nullptr));
  { Tarvel request(true); }
  EXPECT_THAT(Calls(),
              ElementsAre("setsid", "KestCgiInit", "KestCgiLoadInCookies", "KestCgiGetParamLine", "KestCgiFree"));
}

TEST_F(TarvelTest, ReadsTheParametersAtOnceWhenAskedTo) {
  ExpectRequest();
  EXPECT_CALL(cgi(), KestCgiGetParamLine()).WillOnce(Return("a=1"));
  EXPECT_CALL(cgi(), KestCgiParseCGIParam(_, StrEq("a=1")));
  Tarvel request(true);
  EXPECT_THAT(Calls(), ElementsAre("setsid", "KestCgiInit", "KestCgiLoadInCookies", "KestCgiGetParamLine",
                                   "KestCgiParseCGIParam", "free"));
  EXPECT_FALSE(request.LoadIn()) << "the parameters are loaded already";
}

TEST_F(TarvelTest, KeepsItsFieldsInTheOrderFlagContextDocumentName) {
  uintptr_t context = 0, name = 0;
  EXPECT_CALL(cgi(), KestCgiInit(_, _)).WillOnce([&](const char*, KESTCGI* ctx) {
    context = reinterpret_cast<uintptr_t>(ctx);
    return 0;
  });
  EXPECT_CALL(cgi(), KestCgiLoadInCookies(_));
  EXPECT_CALL(cgi(), KestCgiLogout(_, _)).WillOnce([&](KESTCGI*, const char* user) {
    name = reinterpret_cast<uintptr_t>(user);
    return 1;
  });
  Tarvel request(false);
  request.Logout();
  const auto object = reinterpret_cast<uintptr_t>(&request);
  const uintptr_t mask = alignof(Json::Value) - 1;
  const uintptr_t document = (context + sizeof(KESTCGI) + mask) & ~mask;
  EXPECT_EQ(object + alignof(KESTCGI), context);
  EXPECT_EQ(document + sizeof(Json::Value), name);
}

TEST_F(TarvelTest, AnEmptyJsonObjectIsJsonWithoutParameters) {
  EXPECT_CALL(cgi(), KestCgiGetParamLine()).WillOnce(Return("{}"));
  EXPECT_TRUE(Request().LoadIn());
  EXPECT_EQ(nullptr, Request().In());
}

TEST_F(TarvelTest, AFormBodyIsDecodedAndGivesNoDocument) {
  EXPECT_CALL(cgi(), KestCgiGetParamLine()).WillOnce(Return("a=1&b=2"));
  EXPECT_CALL(cgi(), KestCgiParseCGIParam(_, StrEq("a=1&b=2")));
  EXPECT_CALL(cgi(), KestCgiGetCGIParam(_, StrEq("a"), StrEq("x"))).WillOnce(Return("1"));
  EXPECT_TRUE(Request().LoadIn());
  EXPECT_EQ(nullptr, Request().In());
  EXPECT_STREQ("1", Request().In("a", "x"));
}

TEST_F(TarvelTest, AJsonBodyIsSeenThroughTheDocumentOnly) {
  EXPECT_CALL(cgi(), KestCgiGetParamLine()).WillOnce(Return("/* note */ {\"a\": 1}"));
  const char fallback[] = "x";
  EXPECT_CALL(cgi(), KestCgiGetCGIParam(_, StrEq("a"), fallback)).WillOnce(Return(fallback));
  EXPECT_TRUE(Request().LoadIn());
  ASSERT_NE(nullptr, Request().In());
  EXPECT_EQ(Doc("{'a': 1}"), *Request().In());
  EXPECT_TRUE((*Request().In()).hasComment(Json::commentBefore));
  EXPECT_EQ(fallback, Request().In("a", fallback));
}

TEST_F(TarvelTest, AJsonArrayIsADocumentToo) {
  EXPECT_CALL(cgi(), KestCgiGetParamLine()).WillOnce(Return("[7]"));
  EXPECT_TRUE(Request().LoadIn());
  ASSERT_NE(nullptr, Request().In());
  EXPECT_EQ(Doc("[7]"), *Request().In());
}

struct BodyRow {
  int line;
  const char* body;
};

// The reader accepts text behind a complete value, so these count as JSON though they look like forms.
constexpr BodyRow kScalarRows[] = {
    {__LINE__, "[]"},     {__LINE__, "5"},      {__LINE__, "1a=2&b=3"},     {__LINE__, "-1=x"},
    {__LINE__, "true=1"}, {__LINE__, "null=1"}, {__LINE__, "false&x=true"}, {__LINE__, "\"text\""},
};

TEST_F(TarvelTest, BodiesThatBeginWithAScalarAreJsonAndAreNotFormDecoded) {
  Tarvel& request = Request();
  for (const BodyRow& row : kScalarRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line << ": " << row.body);
    std::string body = row.body;
    EXPECT_TRUE(request.LoadJSONParam(body.data()));
    EXPECT_EQ(nullptr, request.In());
    EXPECT_EQ(row.body, body) << "the text is not changed";
  }
  EXPECT_CALL(cgi(), KestCgiGetParamLine()).WillOnce(Return("1a=2&b=3"));
  EXPECT_TRUE(request.LoadIn());
}

TEST_F(TarvelTest, AFailedParseMayLeaveMembersBesideTheFormParameters) {
  EXPECT_CALL(cgi(), KestCgiGetParamLine()).WillOnce(Return("{\"a\": 1, b"));
  EXPECT_CALL(cgi(), KestCgiParseCGIParam(_, StrEq("{\"a\": 1, b")));
  EXPECT_TRUE(Request().LoadIn());
  ASSERT_NE(nullptr, Request().In());
  EXPECT_TRUE(Request().In()->isMember("a"));
}

TEST_F(TarvelTest, ADocumentBeyondTheReadersDepthIsNotJson) {
  const std::string deep(1500, '[');
  EXPECT_CALL(cgi(), KestCgiGetParamLine()).WillOnce(Return(deep.c_str()));
  EXPECT_CALL(cgi(), KestCgiParseCGIParam(_, StrEq(deep)));
  EXPECT_TRUE(Request().LoadIn());
}

TEST_F(TarvelTest, ShortMemoryWhileParsingPassesToTheProgram) {
  char text[] = "{\"a\": \"a text of some length, too long to be kept in place\"}";
  Tarvel& request = Request();
  int failures = 0;
  for (bool parsed = false; !parsed && failures < 100;) {
    try {
      FailingNew failing(failures);
      parsed = request.LoadJSONParam(text);
      EXPECT_TRUE(parsed) << "allocation " << failures << " failed unseen";
    } catch (const std::bad_alloc&) {
    }
    ++failures;
  }
  EXPECT_GT(failures, 3) << "the reader and the document allocate more than once";
}

TEST_F(TarvelTest, LoadJSONParamTellsWhetherTheTextIsJson) {
  char good[] = "{\"a\": [1, 2]}", bad[] = "a=1", empty[] = "";
  EXPECT_TRUE(Request().LoadJSONParam(good));
  EXPECT_EQ(Doc("{'a': [1, 2]}"), *Request().In());
  EXPECT_FALSE(Request().LoadJSONParam(bad));
  EXPECT_FALSE(Request().LoadJSONParam(empty));
}

TEST_F(TarvelTest, TheSecondReadingMakesNoPlatformCall) {
  EXPECT_CALL(cgi(), KestCgiGetParamLine()).WillOnce(Return("{\"a\": 1}"));
  EXPECT_TRUE(Request().LoadIn());
  Calls();
  EXPECT_FALSE(Request().LoadIn());
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_EQ(Doc("{'a': 1}"), *Request().In());
}

TEST_F(TarvelTest, WithoutAParameterLineTheNextReadingAsksAgain) {
  EXPECT_CALL(cgi(), KestCgiGetParamLine()).WillOnce(Return(nullptr)).WillOnce(Return("{}"));
  EXPECT_FALSE(Request().LoadIn());
  EXPECT_TRUE(Request().LoadIn());
}

TEST_F(TarvelTest, AFormThatThePlatformCannotDecodeStillCountsAsRead) {
  EXPECT_CALL(cgi(), KestCgiGetParamLine()).WillOnce(Return("a=%"));
  EXPECT_CALL(cgi(), KestCgiParseCGIParam(_, _)).WillOnce(Return(-1));
  EXPECT_TRUE(Request().LoadIn());
  EXPECT_FALSE(Request().LoadIn());
}

TEST_F(TarvelTest, AnAbsentParameterGivesTheCallersDefault) {
  EXPECT_CALL(cgi(), KestCgiGetCGIParam(_, StrEq("a"), IsNull())).WillOnce(Return(nullptr));
  EXPECT_EQ(nullptr, Request().In("a", nullptr));
}

TEST_F(TarvelTest, OnlyTheAnswerOneIsAnUpload) {
  EXPECT_CALL(cgi(), KestCgiIsUploadRequest())
      .WillOnce(Return(1))
      .WillOnce(Return(0))
      .WillOnce(Return(2))
      .WillOnce(Return(-1));
  EXPECT_TRUE(Request().IsUploadRequest());
  EXPECT_FALSE(Request().IsUploadRequest());
  EXPECT_FALSE(Request().IsUploadRequest());
  EXPECT_FALSE(Request().IsUploadRequest());
}

TEST_F(TarvelTest, CookiesAreLookedUpByName) {
  const char fallback[] = "none";
  EXPECT_CALL(cgi(), KestCgiGetInCookies(_, StrEq("lang"), fallback)).WillOnce(Return("de"));
  EXPECT_STREQ("de", Request().GetCookie("lang", fallback));
}

TEST_F(TarvelTest, TheSessionIdIsTheCookieId) {
  EXPECT_CALL(cgi(), KestCgiGetInCookies(_, StrEq("id"), IsNull())).WillOnce(Return("f00d")).WillOnce(Return(nullptr));
  EXPECT_STREQ("f00d", Request().GetSessionID());
  EXPECT_EQ(nullptr, Request().GetSessionID());
}

TEST_F(TarvelTest, TheSessionFilePathIsThePlatforms) {
  char path[40];
  EXPECT_CALL(cgi(), KestCgiGetSessPath(_, path, 40)).WillOnce(Return(-3));
  EXPECT_EQ(-3, Request().GetSessionFilePath(path, 40));
}

TEST_F(TarvelTest, TheLanguageIsThePlatforms) {
  EXPECT_CALL(cgi(), KestCgiGetLang(_)).WillOnce(Return("de"));
  EXPECT_STREQ("de", Request().GetUILanguage());
}

TEST_F(TarvelTest, UpdatingTheCookiesReadsThemAgain) {
  Tarvel& request = Request();
  EXPECT_CALL(cgi(), KestCgiLoadInCookies(_)).WillOnce(Return(4));
  EXPECT_EQ(4, request.UpdateCookiesHash());
  EXPECT_THAT(Calls(), ElementsAre("KestCgiLoadInCookies"));
}

TEST_F(TarvelTest, ACookieIsGivenAsPathNameAndValueAndIsQueuedOnlyWithTheAnswerOne) {
  char path[] = "/", name[] = "lang", value[] = "de";
  EXPECT_CALL(cgi(), KestCgiSetCookies(_, name, value, IsNull(), path, IsNull(), IsNull()))
      .WillOnce(Return(1))
      .WillOnce(Return(0))
      .WillOnce(Return(2));
  EXPECT_TRUE(Request().AddCookieToHeader(path, name, value));
  EXPECT_FALSE(Request().AddCookieToHeader(path, name, value));
  EXPECT_FALSE(Request().AddCookieToHeader(path, name, value));
}

TEST_F(TarvelTest, TheDestructorFreesTheContextAndWritesNothing) {
  Request();
  EndRequest();
  EXPECT_THAT(Calls(), ElementsAre("KestCgiFree"));
  EXPECT_EQ("", Printed());
}

}  // namespace
}  // namespace tarvel_test
