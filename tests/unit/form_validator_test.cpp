// The rules of a form, against a handler and against a bare request.

#include <new>
#include <string>
#include <vector>

#include "form_fixture.h"
#include "support/allocations.h"
#include "support/mock_klib.h"

namespace tarvel_test {
namespace {

using ::testing::_;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::IsNull;
using ::testing::Return;
using ::testing::StrEq;

class FormValidatorTest : public FormTest {
 protected:
  bool HandlerAccepts(FormValidator& rules) { return rules.Validate(form()); }
  bool RequestAccepts(FormValidator& rules) { return rules.Validate(form().Request()); }

  // Both ways of checking agree on this value of the field f.
  bool Accepts(FormValidator& rules, const char* value) {
    HasForm({{"f", value}});
    const bool accepted = RequestAccepts(rules);
    EXPECT_EQ(accepted, HandlerAccepts(rules));
    return accepted;
  }

  void ExpectText(const char* key, const char* text) {
    EXPECT_CALL(cgi(), KestCgiInit(StrEq("/usr/kest/kestman/tarvel"), _));
    EXPECT_CALL(cgi(), KestCgiLoadText(
                           _, ElementsAre(StrEq("error"), IsNull(), IsNull(), IsNull(), IsNull(), IsNull(), IsNull())));
    EXPECT_CALL(cgi(), KestCgiGetText(_, StrEq(key), StrEq(""))).WillOnce(Return(text));
  }
};

TEST_F(FormValidatorTest, WithoutRulesEverythingIsValidAndNothingIsAsked) {
  FormValidator rules;
  EXPECT_TRUE(HandlerAccepts(rules));
  EXPECT_TRUE(RequestAccepts(rules));
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(FormValidatorTest, TheHandlerCollectsEveryBadField) {
  FormValidator rules;
  rules.AddTextField("a", false);
  rules.AddNumberField("b", 1, 10);
  HasForm({{"a", ""}, {"b", "20"}});
  EXPECT_FALSE(HandlerAccepts(rules));
  EXPECT_EQ(InvalidReply("      \"a\" : \"The field is not valid.\",\n      \"b\" : \"The field is not valid.\"\n"),
            ErrorReply());
}

TEST_F(FormValidatorTest, TheRequestIsCheckedUpToTheFirstBadField) {
  FormValidator rules;
  rules.AddTextField("a", false);
  rules.AddNumberField("b", 1, 10);
  EXPECT_CALL(cgi(), KestCgiGetCGIParam(_, StrEq("a"), IsNull())).WillOnce(Return(""));
  EXPECT_FALSE(RequestAccepts(rules));
  EXPECT_THAT(Calls(), ElementsAre("KestCgiGetCGIParam"));
}

TEST_F(FormValidatorTest, RulesAreCheckedInTheOrderOfAdding) {
  FormValidator rules;
  rules.AddTextField("z", true);
  rules.AddTextField("a", true);
  ::testing::InSequence in_order;
  for (int run = 0; run < 2; ++run) {
    EXPECT_CALL(cgi(), KestCgiGetCGIParam(_, StrEq("z"), IsNull())).WillOnce(Return(""));
    EXPECT_CALL(cgi(), KestCgiGetCGIParam(_, StrEq("a"), IsNull())).WillOnce(Return(""));
  }
  EXPECT_TRUE(HandlerAccepts(rules));
  EXPECT_TRUE(RequestAccepts(rules));
}

TEST_F(FormValidatorTest, ATooLongTextHasTheLocalisedMessage) {
  FormValidator rules;
  rules.AddTextField("a", 3, false);
  HasForm({{"a", "four"}});
  ExpectText("error_field_too_long", "Too long.");
  EXPECT_FALSE(HandlerAccepts(rules));
  EXPECT_EQ(InvalidReply("      \"a\" : \"Too long.\"\n"), ErrorReply());
}

TEST_F(FormValidatorTest, AMessageThatNobodyTranslatedIsRecordedEmpty) {
  FormValidator rules;
  rules.AddTextField("a", 3, false);
  HasForm({{"a", "four"}});
  ExpectText("error_field_too_long", "");
  EXPECT_FALSE(HandlerAccepts(rules));
  EXPECT_EQ(InvalidReply("      \"a\" : \"\"\n"), ErrorReply());
}

TEST_F(FormValidatorTest, EachFieldWithAKeyOfItsOwnOpensItsOwnTexts) {
  FormValidator rules;
  rules.AddTextField("a", 3, false);
  rules.AddTextField("b", 3, false);
  HasForm({{"a", "four"}, {"b", "five"}});
  ::testing::InSequence in_order;
  ExpectText("error_field_too_long", "1");
  ExpectText("error_field_too_long", "2");
  EXPECT_FALSE(HandlerAccepts(rules));
  EXPECT_THAT(Calls(),
              ElementsAre("KestCgiGetCGIParam", "KestCgiInit", "KestCgiLoadText", "KestCgiGetText", "KestCgiFree",
                          "KestCgiGetCGIParam", "KestCgiInit", "KestCgiLoadText", "KestCgiGetText", "KestCgiFree"));
}

TEST_F(FormValidatorTest, ATooLongTextSeenByTheRequestChangesTheLaterMessage) {
  FormValidator rules;
  rules.AddTextField("a", 3, false);
  HasForm({{"a", "four"}});
  EXPECT_FALSE(RequestAccepts(rules));
  HasForm({{"a", ""}});
  ExpectText("error_field_too_long", "Too long.");
  EXPECT_FALSE(HandlerAccepts(rules));
  EXPECT_EQ(InvalidReply("      \"a\" : \"Too long.\"\n"), ErrorReply());
}

TEST_F(FormValidatorTest, AnAbsentFieldIsAFailureAndItsRuleIsNotRun) {
  FormValidator rules;
  rules.AddIPV4Mask("a");  // would ask the platform
  rules.AddTextField("b", true);
  HasForm({{"b", ""}});
  EXPECT_FALSE(HandlerAccepts(rules));
  EXPECT_FALSE(RequestAccepts(rules));
  EXPECT_EQ(InvalidReply("      \"a\" : \"The field is not present.\"\n"), ErrorReply());
}

TEST_F(FormValidatorTest, AbsentFieldsAreIgnoredWhenAskedTo) {
  FormValidator rules(true);
  rules.AddTextField("a", false);
  rules.AddNumberField("b", 1, 10);
  HasForm({});
  EXPECT_TRUE(HandlerAccepts(rules));
  EXPECT_TRUE(RequestAccepts(rules));
}

TEST_F(FormValidatorTest, PresentFieldsAreCheckedThoughAbsentOnesAreIgnored) {
  FormValidator rules(true);
  rules.AddTextField("a", false);
  rules.AddNumberField("b", 1, 10);
  HasForm({{"b", "0"}});
  EXPECT_FALSE(HandlerAccepts(rules));
  EXPECT_FALSE(RequestAccepts(rules));
}

TEST_F(FormValidatorTest, APresentButEmptyFieldIsHandedToItsRule) {
  FormValidator rules;
  rules.AddNumberField("n", 0, 10);
  HasForm({{"n", ""}});
  EXPECT_TRUE(HandlerAccepts(rules));
  EXPECT_TRUE(RequestAccepts(rules));
}

TEST_F(FormValidatorTest, AStandingFormFailureKeepsFieldsOutButTheResultIsFalse) {
  FormValidator rules;
  rules.AddNumberField("n", 1, 10);
  HasForm({{"n", "0"}});
  form().SetFormErrInfo("s", "k", 0);
  EXPECT_FALSE(HandlerAccepts(rules));
  EXPECT_THAT(ErrorReply(), ::testing::Not(::testing::HasSubstr("errors")));
}

TEST_F(FormValidatorTest, OfTwoBadRulesForOneFieldTheLaterMessageStays) {
  FormValidator rules;
  rules.AddTextField("a", 3, false);
  rules.AddNumberField("a", 1, 10);
  HasForm({{"a", "four"}});
  ExpectText("error_field_too_long", "Too long.");
  EXPECT_FALSE(HandlerAccepts(rules));
  EXPECT_EQ(InvalidReply("      \"a\" : \"The field is not valid.\"\n"), ErrorReply());
}

TEST_F(FormValidatorTest, TextFieldsHaveALimitOnlyWithThreeArguments) {
  FormValidator limited, unlimited, five;
  limited.AddTextField("f", 3, true);
  unlimited.AddTextField("f", false);
  five.AddTextField("f", 5);  // two arguments: 5 becomes "may be empty"
  HasForm({{"f", "four"}});
  EXPECT_FALSE(RequestAccepts(limited));
  EXPECT_TRUE(RequestAccepts(unlimited));
  EXPECT_TRUE(Accepts(five, "sixsix"));
  EXPECT_TRUE(Accepts(five, ""));
  EXPECT_FALSE(Accepts(unlimited, ""));
}

TEST_F(FormValidatorTest, NumbersAndAddresses) {
  FormValidator number, address;
  number.AddNumberField("f", 1, 65535);
  address.AddIPV4("f");
  EXPECT_TRUE(Accepts(number, "65535"));
  EXPECT_FALSE(Accepts(number, "65536"));
  EXPECT_TRUE(Accepts(address, "192.168.1.1"));
  EXPECT_FALSE(Accepts(address, "300.1.1.1"));
}

TEST_F(FormValidatorTest, NetmasksAreThePlatforms) {
  EXPECT_CALL(klib(), BlKLIBIsIpMask(StrEq("255.0.0.0"))).Times(2).WillRepeatedly(Return(1));
  FormValidator mask;
  mask.AddIPV4Mask("f");
  EXPECT_TRUE(Accepts(mask, "255.0.0.0"));
}

TEST_F(FormValidatorTest, DatesHaveAFormatOrTheUsualOne) {
  FormValidator usual, own;
  usual.AddDateTimeField("f", nullptr);
  own.AddDateTimeField("f", "%d.%m.%Y");
  EXPECT_TRUE(Accepts(usual, "2012/03/04"));
  EXPECT_FALSE(Accepts(usual, "04.03.2012"));
  EXPECT_TRUE(Accepts(own, "04.03.2012"));
}

TEST_F(FormValidatorTest, IntegerListsAreCopied) {
  int values[] = {1, 2, 4};
  FormValidator list, none;
  list.AddIntegerList("f", values, 2);
  none.AddIntegerList("f", values, 0);
  values[1] = 9;
  EXPECT_TRUE(Accepts(list, "2"));
  EXPECT_FALSE(Accepts(list, "4"));
  EXPECT_FALSE(Accepts(none, "1"));
}

TEST_F(FormValidatorTest, StringListsAreCopiedFromEitherForm) {
  std::vector<std::string> strings = {"on", "off"};
  char on[] = "on", off[] = "off";
  const char* texts[] = {on, off};
  FormValidator from_vector, from_array, none, negative;
  from_vector.AddStringList("f", strings);
  from_array.AddStringList("f", texts, 1);
  none.AddStringList("f", texts, 0);
  negative.AddStringList("f", texts, -1);
  strings.clear();
  on[0] = 'x';
  EXPECT_TRUE(Accepts(from_vector, "off"));
  EXPECT_TRUE(Accepts(from_array, "on"));
  EXPECT_FALSE(Accepts(from_array, "off"));
  EXPECT_FALSE(Accepts(none, "on"));
  EXPECT_FALSE(Accepts(negative, "on"));
}

TEST_F(FormValidatorTest, AFailedAllocationWhileAddingLeavesTheRulesAndLosesNothing) {
  const std::string long_text(100, 'x');
  const std::vector<std::string> strings = {long_text, "b", long_text};
  const char* texts[] = {long_text.c_str(), "b", long_text.c_str()};
  int numbers[] = {1, 2, 3};
  HasForm({{"f", "1"}});
  for (const int kind : {0, 1, 2, 3}) {
    FormValidator rules;
    rules.AddNumberField("f", 1, 1);
    const auto add = [&] {
      if (kind == 0) rules.AddTextField(long_text.c_str(), 5, false);
      if (kind == 1) rules.AddIntegerList(long_text.c_str(), numbers, 3);
      if (kind == 2) rules.AddStringList(long_text.c_str(), strings);
      if (kind == 3) rules.AddStringList(long_text.c_str(), texts, 3);
    };
    int failures = 0;
    for (bool added = false; !added && failures < 100;) {
      const long live = LiveAllocations();
      try {
        FailingNew failing(failures);
        add();
        added = true;
      } catch (const std::bad_alloc&) {
        ++failures;
        EXPECT_EQ(live, LiveAllocations()) << "kind " << kind << ", allocation " << failures;
        EXPECT_TRUE(RequestAccepts(rules)) << "kind " << kind << ", allocation " << failures;
      }
    }
    EXPECT_GE(failures, 3) << "kind " << kind;
    EXPECT_FALSE(RequestAccepts(rules)) << "the rule is there now";
  }
}

// What every kind without a key of its own inherits.
class RejectingValidator : public FieldValidator {
 public:
  using FieldValidator::FieldValidator;
  bool Validate(const std::string&) override { return false; }
};

TEST_F(FormValidatorTest, TheBaseReportsTheDefaultKey) {
  RejectingValidator base("f");
  EXPECT_EQ("_kest_invalid_defalut_key", base.GetInvalidErrKey());
  EXPECT_EQ(25u, base.GetInvalidErrKey().size());
}

}  // namespace
}  // namespace tarvel_test
