// Request context: headers, bodies, redirects.

#include <string>

#include "support/mock_kestcgi.h"
#include "tarvel.h"
#include "tarvel_fixture.h"

namespace tarvel_test {
namespace {

using ::testing::_;
using ::testing::ElementsAre;
using ::testing::Return;
using ::testing::StrEq;

class TarvelReplyTest : public TarvelTest {
 protected:
  char type_[11] = "text/plain";
};

TEST_F(TarvelReplyTest, AHeaderIsQueuedAndThePlatformsResultPassedOn) {
  EXPECT_CALL(cgi(), KestCgiSetHTTPHeader(_, StrEq("Cache-Control"), StrEq("no-store"))).WillOnce(Return(-7));
  EXPECT_EQ(-7, Request().AddHeader("Cache-Control", "no-store"));
}

TEST_F(TarvelReplyTest, TheContentTypeIsQueuedThenAllHeadersArePrinted) {
  EXPECT_CALL(cgi(), KestCgiSetHTTPHeader(_, StrEq("Content-type"), type_)).WillOnce(Return(1));
  EXPECT_CALL(cgi(), KestCgiPrintHTTPHeader(_)).WillOnce(Return(1));
  EXPECT_TRUE(Request().WriteHeader(type_));
  EXPECT_THAT(Calls(), ElementsAre("KestCgiSetHTTPHeader", "KestCgiPrintHTTPHeader"));
}

TEST_F(TarvelReplyTest, NegativeResultsOfBothHeaderCallsAreASuccess) {
  EXPECT_CALL(cgi(), KestCgiSetHTTPHeader(_, _, _)).WillOnce(Return(-1));
  EXPECT_CALL(cgi(), KestCgiPrintHTTPHeader(_)).WillOnce(Return(-1));
  EXPECT_TRUE(Request().WriteHeader(type_));
}

TEST_F(TarvelReplyTest, WithoutAContentTypeInTheQueueNothingIsPrinted) {
  EXPECT_CALL(cgi(), KestCgiSetHTTPHeader(_, _, _)).WillOnce(Return(0));
  EXPECT_FALSE(Request().WriteHeader(type_));
  EXPECT_THAT(Calls(), ElementsAre("KestCgiSetHTTPHeader"));
}

TEST_F(TarvelReplyTest, FailingToPrintTheHeadersIsAFailure) {
  EXPECT_CALL(cgi(), KestCgiSetHTTPHeader(_, _, _)).WillOnce(Return(1));
  EXPECT_CALL(cgi(), KestCgiPrintHTTPHeader(_)).WillOnce(Return(0));
  EXPECT_FALSE(Request().WriteHeader(type_));
}

TEST_F(TarvelReplyTest, ANullBodyIsTheWordNullAndANewline) {
  Json::Value reply;
  EXPECT_TRUE(Request().WriteBody(reply));
  EXPECT_EQ("null\n", Printed());
}

TEST_F(TarvelReplyTest, ABodyIsIndentedWithItsMembersInTheOrderOfTheirKeys) {
  Json::Value reply =
      Doc("{'total': 2, 'success': true, 'items': [{'name': 'a % b'}, 'long enough to break'], 'x': {}}");
  EXPECT_TRUE(Request().WriteBody(reply));
  EXPECT_EQ(
      "{\n"
      "   \"items\" : [\n"
      "      {\n"
      "         \"name\" : \"a % b\"\n"
      "      },\n"
      "      \"long enough to break\"\n"
      "   ],\n"
      "   \"success\" : true,\n"
      "   \"total\" : 2,\n"
      "   \"x\" : {}\n"
      "}\n",
      Printed());
}

TEST_F(TarvelReplyTest, ABodyComesWithoutHeadersAndIsNotFlushed) {
  Json::Value reply = Doc("[1]");
  Request().WriteBody(reply);
  EXPECT_EQ("", Flushed());
  EXPECT_THAT(Calls(), ElementsAre());
  EndRequest();
  EXPECT_EQ("", Flushed()) << "the destructor does not flush either";
  EXPECT_EQ("[ 1 ]\n", Printed());
}

TEST_F(TarvelReplyTest, ARedirectIsThePlatformsReply) {
  EXPECT_CALL(cgi(), KestCgiRedirect(_, StrEq("/next"))).WillOnce(Return(6));
  EXPECT_EQ(6, Request().Redirect("/next"));
  EXPECT_THAT(Calls(), ElementsAre("KestCgiRedirect"));
}

}  // namespace
}  // namespace tarvel_test
