// The handler of a form: dispatch, what it records, the three replies.

#include "form_handler.h"

#include <cstring>
#include <string>

#include "form_fixture.h"

namespace tarvel_test {
namespace {

using ::testing::_;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::IsNull;
using ::testing::Return;
using ::testing::StrEq;

class FormHandlerTest : public FormTest {};

TEST_F(FormHandlerTest, LoadAndApplyAreDispatchedAndTheirResultsPassedOn) {
  HasForm({{"action", "load"}});
  EXPECT_EQ(31, form().Process());
  HasForm({{"action", "apply"}});
  EXPECT_EQ(32, form().Process());
  EXPECT_EQ("load apply ", form().done);
}

TEST_F(FormHandlerTest, ARefusedCallerIsNotServedAndTheActionNotRead) {
  form().authentication = 0;
  EXPECT_EQ(0, form().Process());
  EXPECT_EQ("", form().done);
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(FormHandlerTest, EveryAnswerOfAuthenticateButZeroIsServed) {
  for (const int answer : {-1, 2}) {
    form().authentication = answer;
    HasForm({{"action", "load"}});
    EXPECT_EQ(31, form().Process()) << answer;
  }
}

TEST_F(FormHandlerTest, WithoutAnActionNothingRunsAndTheResultIsZero) {
  HasForm({});
  EXPECT_EQ(0, form().Process());
  EXPECT_EQ("", form().done);
}

TEST_F(FormHandlerTest, AnUnknownActionRunsNeitherAndIsNotZero) {
  for (const char* action : {"Load", "APPLY", "", "loads", "loa", " load", "save"}) {
    SCOPED_TRACE(action);
    HasForm({{"action", action}});
    EXPECT_EQ(-1, form().Process());
    EXPECT_EQ("", form().done);
  }
}

// A form with the base class's own authentication.
class PlainForm : public ServerFormHandler {
 public:
  using ServerFormHandler::ServerFormHandler;
  int Load() override { return 5; }
  int Apply() override { return 6; }
};

class PlainFormTest : public PlatformTest {};

TEST_F(PlainFormTest, ReadsTheParametersUnlessToldNotTo) {
  ExpectRequest();
  EXPECT_CALL(cgi(), KestCgiGetParamLine()).WillOnce(Return("{}"));
  { PlainForm form; }
  ExpectRequest();
  EXPECT_CALL(cgi(), KestCgiGetParamLine()).WillOnce(Return("{}"));
  { PlainForm form(true); }
  ExpectRequest();
  { PlainForm form(false); }
}

TEST_F(PlainFormTest, AsksForModeOneAtPositionOneWithoutARedirect) {
  ExpectRequest();
  EXPECT_CALL(cgi(), KestCgiIsAuthorized(_, _, 493, _, static_cast<_tag_cgi_position>(1)))
      .WillOnce([](KESTCGI*, char*, int, CgiAuthRequest* record, _tag_cgi_position) {
        EXPECT_EQ(1, record->mode);
        return 1;
      });
  HasForm({{"action", "load"}});
  PlainForm form(false);
  EXPECT_EQ(5, form.Process());
}

TEST_F(PlainFormTest, ARefusalIsAnsweredOnceByTheRequest) {
  ExpectRequest();
  EXPECT_CALL(cgi(), KestCgiIsAuthorized(_, _, _, _, _)).WillOnce(Return(-1));
  EXPECT_CALL(cgi(), KestCgiSetHTTPHeader(_, StrEq("x-request-error"), StrEq("timeout"))).WillOnce(Return(1));
  EXPECT_CALL(cgi(), KestCgiIsUploadRequest()).WillOnce(Return(0));
  EXPECT_CALL(cgi(), KestCgiSetHTTPHeader(_, StrEq("Content-type"), _)).WillOnce(Return(1));
  EXPECT_CALL(cgi(), KestCgiPrintHTTPHeader(_)).WillOnce(Return(1));
  PlainForm form(false);
  EXPECT_EQ(0, form.Process());
  EXPECT_THAT(Printed(), ::testing::HasSubstr("error_timeout"));
}

class FormReplyTest : public FormTest {};

TEST_F(FormReplyTest, NothingRecordedReportsNothingAndDoesNotEvenFlush) {
  std::printf("held back");
  form().ReportError();
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_EQ("", Flushed());
  EXPECT_EQ("held back", Printed());
}

TEST_F(FormReplyTest, EachReplyIsHeadersThenBodyThenFlushed) {
  const std::string expected =
      "[headers]\n{\n   \"data\" : {\n      \"port\" : 5000\n   },\n   \"success\" : true\n}\n";
  ExpectReplyHeaders();
  form().ReportSuccess(Doc("{'port': 5000}"));
  EXPECT_EQ(expected, Flushed());
  EXPECT_EQ(expected, Printed());
  EXPECT_THAT(Calls(), ElementsAre("KestCgiSetHTTPHeader", "KestCgiPrintHTTPHeader"));
}

TEST_F(FormReplyTest, SuccessWithoutDataSaysNull) {
  ExpectReplyHeaders();
  form().ReportSuccess(Json::Value());
  EXPECT_EQ("[headers]\n{\n   \"data\" : null,\n   \"success\" : true\n}\n", Printed());
}

TEST_F(FormReplyTest, TheRequestsDefaultContentTypeDoesNotMatter) {
  form().Request().SetDefaultContentType("application/json");
  ExpectReplyHeaders();
  form().ReportSuccess(Json::Value());
  Printed();
}

TEST_F(FormReplyTest, TheBodyIsWrittenThoughTheHeadersFail) {
  EXPECT_CALL(cgi(), KestCgiSetHTTPHeader(_, _, _)).WillOnce(Return(0));
  form().ReportSuccess(Json::Value());
  EXPECT_EQ("{\n   \"data\" : null,\n   \"success\" : true\n}\n", Flushed());
  Printed();
}

TEST_F(FormReplyTest, AFormFailureHasSectionAndKeyAndNoLineWhenItIsZero) {
  form().SetFormErrInfo("a", "b", 0);
  form().SetFieldInvalid("x", "m");
  EXPECT_EQ(
      "[headers]\n{\n   \"errinfo\" : {\n      \"key\" : \"b\",\n      \"sec\" : \"a\"\n   },\n"
      "   \"success\" : false\n}\n",
      ErrorReply());
  EXPECT_EQ("", Flushed());
}

TEST_F(FormReplyTest, AFormFailureCarriesItsLine) {
  form().SetFormErrInfo("a", "b", 17);
  EXPECT_EQ(
      "[headers]\n{\n   \"errinfo\" : {\n      \"key\" : \"b\",\n      \"line\" : 17,\n      \"sec\" : \"a\"\n   },\n"
      "   \"success\" : false\n}\n",
      ErrorReply());
}

TEST_F(FormReplyTest, ANegativeLineIsSentAsUnsigned) {
  form().SetFormErrInfo("a", "b", -1);
  EXPECT_THAT(ErrorReply(), ::testing::HasSubstr("\"line\" : 4294967295,\n"));
}

TEST_F(FormReplyTest, NullSectionAndKeyCountAsEmpty) {
  form().SetFormErrInfo(nullptr, nullptr, 0);
  EXPECT_THAT(ErrorReply(), ::testing::HasSubstr("      \"key\" : \"\",\n      \"sec\" : \"\"\n"));
}

TEST_F(FormReplyTest, TheSecondFormFailureIsDropped) {
  form().SetFormErrInfo("first", "one", 1);
  form().SetFormErrInfo("second", "two", 2);
  EXPECT_THAT(ErrorReply(), ::testing::HasSubstr("\"key\" : \"one\",\n      \"line\" : 1,\n      \"sec\" : \"first\""));
}

TEST_F(FormReplyTest, AFormFailureAfterAFieldIsIgnored) {
  form().SetFieldInvalid("x", "m");
  form().SetFormErrInfo("a", "b", 3);
  form().SetFieldInvalid("y", "n");
  EXPECT_EQ(InvalidReply("      \"x\" : \"m\",\n      \"y\" : \"n\"\n"), ErrorReply());
}

TEST_F(FormReplyTest, AFieldWithoutAMessageIsRecordedEmpty) {
  form().SetFieldInvalid("x", nullptr);
  EXPECT_EQ(InvalidReply("      \"x\" : \"\"\n"), ErrorReply());
}

TEST_F(FormReplyTest, NoFieldIsRecordedWithoutAName) {
  form().SetFieldInvalid(nullptr, "m");
  form().ReportError();
  EXPECT_EQ("", Printed());
  form().SetFormErrInfo("a", "b", 0);  // still the first failure
  EXPECT_THAT(ErrorReply(), ::testing::HasSubstr("errinfo"));
}

TEST_F(FormReplyTest, TheLaterMessageOfAFieldReplacesTheEarlier) {
  form().SetFieldInvalid("x", "first");
  form().SetFieldInvalid("x", "second");
  EXPECT_EQ(InvalidReply("      \"x\" : \"second\"\n"), ErrorReply());
}

TEST_F(FormReplyTest, InvalidFieldsReportedWithoutAnyAreNull) {
  ExpectReplyHeaders();
  form().ReportInvalid();
  EXPECT_EQ("[headers]\n{\n   \"errors\" : null,\n   \"success\" : false\n}\n", Printed());
}

TEST_F(FormReplyTest, AFailMessageCanBeReportedDirectly) {
  ExpectReplyHeaders();
  form().ReportFailMessage("", "", 4294967295u);
  EXPECT_EQ(
      "[headers]\n{\n   \"errinfo\" : {\n      \"key\" : \"\",\n      \"line\" : 4294967295,\n      \"sec\" : \"\"\n"
      "   },\n   \"success\" : false\n}\n",
      Printed());
}

TEST_F(FormReplyTest, ReportingKeepsWhatWasRecorded) {
  form().SetFieldInvalid("x", "m");
  const std::string first = ErrorReply();
  EXPECT_EQ(first, ErrorReply());
}

class NullFieldsTest : public FormTest {};

TEST_F(NullFieldsTest, EveryMissingFieldIsRecordedAndAllAreAsked) {
  const char* fields[] = {"a", "b", "c"};
  HasForm({{"b", ""}});
  EXPECT_FALSE(form().ValidNullFields(fields, 3));
  EXPECT_THAT(Calls(), ElementsAre("KestCgiGetCGIParam", "KestCgiGetCGIParam", "KestCgiGetCGIParam"));
  EXPECT_EQ(InvalidReply("      \"a\" : \"The field is not present.\",\n      \"c\" : \"The field is not present.\"\n"),
            ErrorReply());
}

TEST_F(NullFieldsTest, AStandingFormFailureKeepsFieldsOutButTheResultIsFalse) {
  const char* fields[] = {"a"};
  HasForm({});
  form().SetFormErrInfo("s", "k", 0);
  EXPECT_FALSE(form().ValidNullFields(fields, 1));
  EXPECT_THAT(ErrorReply(), ::testing::Not(::testing::HasSubstr("errors")));
}

TEST_F(NullFieldsTest, PresentFieldsPassAlsoWhenEmpty) {
  const char* fields[] = {"a", "b"};
  HasForm({{"a", ""}, {"b", "x"}});
  EXPECT_TRUE(form().ValidNullFields(fields, 2));
  form().ReportError();
  EXPECT_EQ("", Printed());
}

TEST_F(NullFieldsTest, NoFieldsToCheckPass) {
  EXPECT_TRUE(form().ValidNullFields(nullptr, 0));
  EXPECT_TRUE(form().ValidNullFields(nullptr, -1));
}

}  // namespace
}  // namespace tarvel_test
