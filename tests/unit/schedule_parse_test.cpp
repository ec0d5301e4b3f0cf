// Backup schedules: what a page submits.

#include <cerrno>
#include <cstring>

#include "schedule_fixture.h"

namespace tarvel_test {
namespace {

using ::testing::ElementsAre;

class ScheduleParseTest : public ScheduleTest {
 protected:
  // Fields that no document of these tests gives.
  static _tag_schedule_info_ Used() {
    _tag_schedule_info_ info;
    info.enable = info.advanced = true;
    info.days = info.startHour = info.startMinute = info.endHour = info.endMinute = info.freq = info.iteration = 77;
    std::strcpy(info.startTime, "7:7");
    std::strcpy(info.endTime, "8:8");
    return info;
  }

  _tag_schedule_info_ Parsed(const std::string& text) {
    Json::Value info = Doc(text);
    const Json::Value before = info;
    _tag_schedule_info_ out;
    EXPECT_TRUE(ParseScheduleInfo(info, out));
    EXPECT_EQ(before, info) << "the document gains no members";
    return out;
  }
};

std::string Told(const _tag_schedule_info_& info) {
  std::string text = std::string(info.enable ? "on" : "off") + (info.advanced ? " advanced" : " basic");
  for (const int number :
       {info.days, info.startHour, info.startMinute, info.endHour, info.endMinute, info.freq, info.iteration}) {
    text += " " + std::to_string(number);
  }
  return text + " [" + info.startTime + "] [" + info.endTime + "]";
}

TEST_F(ScheduleParseTest, AnAdvancedScheduleHasAllFields) {
  EXPECT_EQ("on advanced 62 8 15 20 45 3 9 [8:15] [20:45]",
            Told(Parsed("{'enable': true, 'type': 'advance', 'days': 62, 'starttime': '8:15', 'endtime': '20:45',"
                        " 'freq': 3, 'iteration': 9}")));
}

TEST_F(ScheduleParseTest, ABasicOneHasNoEndOfItsOwnAndNoInterval) {
  EXPECT_EQ("on basic 127 3 30 3 0 0 0 [3:30] []",
            Told(Parsed("{'enable': true, 'type': 'basic', 'days': 127, 'starttime': '3:30', 'endtime': '20:45',"
                        " 'freq': 3, 'iteration': 9}")));
}

TEST_F(ScheduleParseTest, OfABasicOneTheOtherFieldsAreNotEvenLookedAt) {
  EXPECT_EQ("on basic 1 3 30 3 0 0 0 [3:30] []",
            Told(Parsed("{'enable': true, 'type': 'basic', 'days': 1, 'starttime': '3:30', 'endtime': [],"
                        " 'freq': {}, 'iteration': 'x'}")));
}

TEST_F(ScheduleParseTest, EveryTypeButBasicIsAdvancedAMissingOneToo) {
  for (const char* type : {"'type': 'advance', ", "'type': '', ", "'type': 'Basic', ", "'type': 'basic ', ",
                           "'type': 'basic\\u0000', ", "'type': 0, ", "'type': null, ", ""}) {
    SCOPED_TRACE(type);
    EXPECT_TRUE(Parsed("{'enable': true, " + std::string(type) + "'starttime': '1:2'}").advanced);
  }
  EXPECT_FALSE(Parsed("{'enable': true, 'type': 'basic'}").advanced);
}

TEST_F(ScheduleParseTest, ADisabledOneLeavesEveryOtherFieldAsItWas) {
  for (const char* text : {"{'enable': false, 'type': 'basic', 'days': 1, 'starttime': '3:30'}", "{}", "null",
                           "{'enable': null, 'days': []}", "{'enable': 0}", "{'enable': 0.0}"}) {
    SCOPED_TRACE(text);
    Json::Value info = Doc(text);
    _tag_schedule_info_ out = Used();
    EXPECT_TRUE(ParseScheduleInfo(info, out));
    EXPECT_EQ("off advanced 77 77 77 77 77 77 77 [7:7] [8:8]", Told(out));
    EXPECT_EQ(Doc(text), info);
  }
}

TEST_F(ScheduleParseTest, MissingMembersAreZeroAndEmpty) {
  EXPECT_EQ("on advanced 0 0 0 0 0 0 0 [] []", Told(Parsed("{'enable': true}")));
  EXPECT_EQ("on advanced 0 0 0 0 0 0 0 [] []", Told(Parsed("{'enable': 1}")));
}

struct TimeRow {
  int line;
  const char* text;
  int hour;
  int minute;
};

constexpr TimeRow kTimeRows[] = {
    {__LINE__, "14:05", 14, 5},
    {__LINE__, "14", 14, 0},
    {__LINE__, "", 0, 0},
    {__LINE__, ":", 0, 0},
    {__LINE__, ":9", 0, 9},
    {__LINE__, "9:", 9, 0},
    {__LINE__, "1:2:3", 1, 2},
    {__LINE__, "::3", 0, 0},
    {__LINE__, " 1 : 2 ", 1, 2},
    {__LINE__, "a:b", 0, 0},
    {__LINE__, "1a:2b", 1, 2},
    {__LINE__, "0x1:010", 0, 10},
    {__LINE__, "-1:-2", -1, -2},
    {__LINE__, "99:99", 99, 99},
    {__LINE__, "1234:56", 1234, 56},
    {__LINE__, "1234:567", 1234, 56},
    {__LINE__, "1234567:1", 1234567, 0},
    {__LINE__, "12345678", 1234567, 0},
    {__LINE__, "99999999999999999999:1", 9999999, 0},
};

TEST_F(ScheduleParseTest, TimesAreCutTo7BytesAndSplitAtTheFirstColon) {
  for (const TimeRow& row : kTimeRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line);
    const std::string text = row.text;
    const _tag_schedule_info_ start = Parsed("{'enable': true, 'type': 'basic', 'starttime': '" + text + "'}");
    EXPECT_EQ(row.hour, start.startHour);
    EXPECT_EQ(row.minute, start.startMinute);
    EXPECT_EQ(text.substr(0, 7), start.startTime);
    const _tag_schedule_info_ end = Parsed("{'enable': true, 'starttime': '5:6', 'endtime': '" + text + "'}");
    EXPECT_EQ(row.hour == 0 ? 5 : row.hour, end.endHour);
    EXPECT_EQ(row.minute, end.endMinute);
    EXPECT_EQ(text.substr(0, 7), end.endTime);
    EXPECT_EQ(5, end.startHour);
    EXPECT_EQ(6, end.startMinute);
  }
}

TEST_F(ScheduleParseTest, AnEndAtMidnightBecomesTheStartsHour) {
  EXPECT_EQ(7, Parsed("{'enable': true, 'starttime': '7:00', 'endtime': '0:30'}").endHour);
  EXPECT_EQ(-1, Parsed("{'enable': true, 'starttime': '7:00', 'endtime': '-1:30'}").endHour);
}

TEST_F(ScheduleParseTest, FieldsThatAreNotGivenStayInARecordThatWasUsed) {
  Json::Value info = Doc("{'enable': true, 'type': 'basic', 'days': 1, 'starttime': '3'}");
  _tag_schedule_info_ out = Used();
  EXPECT_TRUE(ParseScheduleInfo(info, out));
  EXPECT_EQ("on basic 1 3 77 77 77 77 77 [3] [8:8]", Told(out)) << "without a colon the minute stays, too";
}

TEST_F(ScheduleParseTest, NumbersMayHaveAFractionAndTextsBeNumbers) {
  EXPECT_EQ("on advanced 5 14 0 6 0 2 -1 [14] [6.5]",
            Told(Parsed("{'enable': true, 'days': 5.9, 'starttime': 14, 'endtime': 6.5, 'freq': 2, 'iteration': -1}")));
}

TEST_F(ScheduleParseTest, ADocumentOfAnotherTypeIsRefusedWithoutAWordAndNothingIsWritten) {
  for (const char* text : {
           "[]",
           "[1]",
           "'text'",
           "1",
           "true",
           "{'enable': 'yes'}",
           "{'enable': []}",
           "{'enable': {}}",
           "{'enable': true, 'type': []}",
           "{'enable': true, 'type': {'a': 1}}",
           "{'enable': true, 'days': 'all'}",
           "{'enable': true, 'days': [1]}",
           "{'enable': true, 'days': 2147483648}",
           "{'enable': true, 'days': -2147483649}",
           "{'enable': true, 'days': 1e300}",
           "{'enable': true, 'starttime': ['1:2']}",
           "{'enable': true, 'endtime': {}}",
           "{'enable': true, 'freq': '1'}",
           "{'enable': true, 'iteration': 18446744073709551615}",
       }) {
    SCOPED_TRACE(text);
    Json::Value info = Doc(text);
    _tag_schedule_info_ out = Used();
    EXPECT_FALSE(ParseScheduleInfo(info, out));
    EXPECT_EQ("on advanced 77 77 77 77 77 77 77 [7:7] [8:8]", Told(out));
    EXPECT_EQ(Doc(text), info);
  }
}

TEST_F(ScheduleParseTest, TheGreatestNumbersAreRead) {
  EXPECT_EQ("on advanced 2147483647 0 0 0 0 -2147483648 0 [] []",
            Told(Parsed("{'enable': true, 'days': 2147483647, 'freq': -2147483648}")));
}

TEST_F(ScheduleParseTest, EachTextIsCopiedToBeSplitTheEndFirst) {
  Parsed("{'enable': true, 'starttime': '1:2', 'endtime': '3:4'}");
  EXPECT_THAT(Calls(), ElementsAre("strdup 3:4", "free", "strdup 1:2", "free"));
  Parsed("{'enable': true, 'type': 'basic', 'starttime': '1:2', 'endtime': '3:4'}");
  EXPECT_THAT(Calls(), ElementsAre("strdup 1:2", "free"));
}

TEST_F(ScheduleParseTest, ACopyThatFailsIsLoggedAndNothingIsWritten) {
  for (const int copies_before : {0, 1}) {
    SCOPED_TRACE(copies_before);
    machine().FailAfter("strdup", copies_before, ENOMEM);
    Json::Value info = Doc("{'enable': true, 'starttime': '1:2', 'endtime': '3:4'}");
    _tag_schedule_info_ out = Used();
    EXPECT_FALSE(ParseScheduleInfo(info, out));
    ExpectLogged("schedule:# Failed to duplicate string");
    EXPECT_EQ("on advanced 77 77 77 77 77 77 77 [7:7] [8:8]", Told(out));
  }
}

TEST_F(ScheduleParseTest, AFreshRecordIsAllZeroAndHasItsSizeOnEveryMachine) {
  EXPECT_EQ("off basic 0 0 0 0 0 0 0 [] []", Told(_tag_schedule_info_()));
  static_assert(sizeof(_tag_schedule_info_) == 48);
}

}  // namespace
}  // namespace tarvel_test
