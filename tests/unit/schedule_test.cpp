// Backup schedules: reading one, and the line that sums one up.

#include "schedule.h"

#include <climits>
#include <cstring>

#include "schedule_fixture.h"
#include "support/mock_kestsched.h"
#include "support/mock_klib.h"

namespace tarvel_test {
namespace {

using ::testing::_;
using ::testing::DoAll;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::NotNull;
using ::testing::Pointee;
using ::testing::Return;
using ::testing::SetArgPointee;
using ::testing::StrEq;

class ScheduleGetTest : public ScheduleTest {
 protected:
  void JobIs(const Job& job) {
    EXPECT_CALL(sched(), KESTScheduleGet(_, _)).WillOnce(DoAll(SetArgPointee<1>(job), Return(1)));
  }

  Json::Value Shown(const Job& job) {
    JobIs(job);
    Json::Value out;
    EXPECT_TRUE(BkpScheduleGet(out, "task", BACKUP_TYPE_NETWORK));
    return out;
  }

  Json::Value out_;
};

TEST_F(ScheduleGetTest, ATaskWithoutScheduleIsShownOnSundaysAtMidnight) {
  EXPECT_CALL(sched(), KESTScheduleGet(_, _)).WillOnce(Return(0));
  EXPECT_TRUE(BkpScheduleGet(out_, "task", BACKUP_TYPE_NETWORK));
  EXPECT_EQ(Doc("{'schedule_enable': false, 'schedule': 'basic', 'basic_weekday': 1, 'hour': 0, 'minute': 0,"
                " 'schedule_days': 'manual', 'from_hr': 0, 'from_min': 0, 'frequency': 0, 'lasttime': 0, 'weekday': 1,"
                " 'schedule_sun': 1, 'schedule_mon': 0, 'schedule_tue': 0, 'schedule_wed': 0, 'schedule_thu': 0,"
                " 'schedule_fri': 0, 'schedule_sat': 0}"),
            out_);
  EXPECT_THAT(Calls(), ElementsAre("KESTScheduleGet"));
}

TEST_F(ScheduleGetTest, WhatTheSchedulerLeavesInARecordItDidNotFillIsNotShown) {
  EXPECT_CALL(sched(), KESTScheduleGet(_, _)).WillOnce(DoAll(SetArgPointee<1>(JobOf(127, 5, 6, 7, 8)), Return(0)));
  EXPECT_TRUE(BkpScheduleGet(out_, "task", BACKUP_TYPE_NETWORK));
  EXPECT_EQ(1, out_["weekday"].asInt());
  EXPECT_EQ("0 0 0 0", out_["hour"].asString() + " " + out_["minute"].asString() + " " + out_["frequency"].asString() +
                           " " + out_["lasttime"].asString());
}

TEST_F(ScheduleGetTest, EachFieldOfAJobHasItsMembers) {
  EXPECT_EQ(Doc("{'schedule_enable': true, 'schedule': 'advance', 'basic_weekday': 127, 'hour': 3, 'minute': 45,"
                " 'schedule_days': 'manual', 'from_hr': 3, 'from_min': 45, 'frequency': 4, 'lasttime': 21, 'weekday': "
                "82, 'schedule_sun': 0, 'schedule_mon': 1, 'schedule_tue': 0, 'schedule_wed': 0, 'schedule_thu': 1,"
                " 'schedule_fri': 0, 'schedule_sat': 1}"),
            Shown(JobOf(82, 3, 45, 4, 21)));
}

struct ShapeRow {
  int line;
  int weekdays;
  int freq;
  const char* schedule;
  int basic_weekday;
  const char* days;
};

constexpr ShapeRow kShapeRows[] = {
    {__LINE__, 127, 0, "basic", 127, "daily"},    {__LINE__, 127, -1, "basic", 127, "daily"},
    {__LINE__, 127, 1, "advance", 127, "daily"},  {__LINE__, 1, 0, "basic", 1, "manual"},
    {__LINE__, 64, 0, "basic", 64, "manual"},     {__LINE__, 64, INT_MIN, "basic", 64, "manual"},
    {__LINE__, 64, 24, "advance", 127, "manual"}, {__LINE__, 3, 0, "advance", 127, "manual"},
    {__LINE__, 65, 0, "advance", 127, "manual"},  {__LINE__, 126, 0, "advance", 127, "manual"},
    {__LINE__, 63, 0, "advance", 127, "manual"},  {__LINE__, 0, 0, "basic", 0, "manual"},
    {__LINE__, 128, 0, "basic", 128, "manual"},   {__LINE__, 129, 0, "basic", 129, "manual"},
    {__LINE__, 255, 0, "advance", 127, "manual"}, {__LINE__, -1, 0, "advance", 127, "manual"},
};

TEST_F(ScheduleGetTest, OneDayOrDailyAndOnceADayIsBasic) {
  for (const ShapeRow& row : kShapeRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line);
    const Json::Value shown = Shown(JobOf(row.weekdays, 1, 2, row.freq, 3));
    EXPECT_EQ(row.schedule, shown["schedule"].asString());
    EXPECT_EQ(row.basic_weekday, shown["basic_weekday"].asInt());
    EXPECT_EQ(row.days, shown["schedule_days"].asString());
    EXPECT_EQ(row.weekdays, shown["weekday"].asInt());
    EXPECT_EQ(row.freq, shown["frequency"].asInt());
  }
}

constexpr const char* kDayKeys[] = {"schedule_sun", "schedule_mon", "schedule_tue", "schedule_wed",
                                    "schedule_thu", "schedule_fri", "schedule_sat"};

TEST_F(ScheduleGetTest, EachWeekdayIsTheBitOfItsPlace) {
  for (int mask = 0; mask < 128; ++mask) {
    SCOPED_TRACE(mask);
    const Json::Value shown = Shown(JobOf(mask, 0, 0, 0, 0));
    for (int day = 0; day < 7; ++day) {
      const Json::Value& member = shown[kDayKeys[day]];
      ASSERT_TRUE(member.isInt());
      ASSERT_EQ((mask >> day) & 1, member.asInt()) << kDayKeys[day];
    }
  }
}

TEST_F(ScheduleGetTest, AnyPositiveResultIsASchedule) {
  EXPECT_CALL(sched(), KESTScheduleGet(_, _)).WillOnce(Return(7));
  EXPECT_TRUE(BkpScheduleGet(out_, "task", BACKUP_TYPE_NETWORK));
  EXPECT_TRUE(out_["schedule_enable"].asBool());
  EXPECT_EQ(0, out_["weekday"].asInt());
}

TEST_F(ScheduleGetTest, OtherMembersOfTheDocumentStay) {
  out_ = Doc("{'name': 'x', 'hour': 'old'}");
  JobIs(JobOf(1, 9, 0, 0, 0));
  EXPECT_TRUE(BkpScheduleGet(out_, "task", BACKUP_TYPE_NETWORK));
  EXPECT_EQ("x", out_["name"].asString());
  EXPECT_EQ(9, out_["hour"].asInt());
}

struct CommandRow {
  int line;
  __tag_BACKUP_TYPE_ type;
  const char* task;
  const char* command;
};

constexpr CommandRow kCommandRows[] = {
    {__LINE__, BACKUP_TYPE_NETWORK, "a b", "/usr/kest/bin/kestnetbkp -a \"a b\""},
    {__LINE__, BACKUP_TYPE_LOCAL, "a b", "/usr/kest/bin/kestlocalbkp -a \"a b\""},
    {__LINE__, BACKUP_TYPE_S3, "a b", "/usr/kest/bin/kestnetbkps3 --s3add \"a b\""},
    {__LINE__, BACKUP_TYPE_LOCAL, "", "/usr/kest/bin/kestlocalbkp -a \"\""},
    {__LINE__, BACKUP_TYPE_LOCAL, "x\"; $(y) `z` %s \\\n", "/usr/kest/bin/kestlocalbkp -a \"x\"; $(y) `z` %s \\\n\""},
};

TEST_F(ScheduleGetTest, EachKindHasItsCommandLineWithTheNameAsItIs) {
  for (const CommandRow& row : kCommandRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line);
    EXPECT_CALL(sched(), KESTScheduleGet(StrEq(row.command), NotNull())).WillOnce(Return(1));
    EXPECT_TRUE(BkpScheduleGet(out_, row.task, row.type));
  }
}

TEST_F(ScheduleGetTest, TheKindsHaveTheNumbersOfThePages) {
  EXPECT_EQ(0, BACKUP_TYPE_NETWORK);
  EXPECT_EQ(1, BACKUP_TYPE_LOCAL);
  EXPECT_EQ(2, BACKUP_TYPE_S3);
  static_assert(sizeof(__tag_BACKUP_TYPE_) == 4);
}

TEST_F(ScheduleGetTest, ALookupUsesTheFirst223BytesOfTheCommandLine) {
  const std::string fits(223 - LocalCommand("").size(), 'n');
  EXPECT_CALL(sched(), KESTScheduleGet(StrEq(LocalCommand(fits)), _)).WillOnce(Return(1));
  EXPECT_TRUE(BkpScheduleGet(out_, fits.c_str(), BACKUP_TYPE_LOCAL));
  const std::string cut = LocalCommand(fits + "n").substr(0, 223);
  EXPECT_CALL(sched(), KESTScheduleGet(StrEq(cut), _)).WillOnce(Return(0));
  EXPECT_TRUE(BkpScheduleGet(out_, (fits + "n").c_str(), BACKUP_TYPE_LOCAL));
}

TEST_F(ScheduleGetTest, TheSchedulerGetsAClearedRecord) {
  EXPECT_CALL(sched(), KESTScheduleGet(_, _)).WillOnce([](const char*, Job* job) {
    const Job cleared = {};
    EXPECT_EQ(0, std::memcmp(&cleared, job, sizeof cleared));
    return 1;
  });
  EXPECT_TRUE(BkpScheduleGet(out_, "task", BACKUP_TYPE_NETWORK));
}

TEST_F(ScheduleGetTest, AnUnknownKindIsAFailureWithoutAWord) {
  for (const int type : {-1, 3, 4, INT_MAX, INT_MIN}) {
    SCOPED_TRACE(type);
    EXPECT_FALSE(BkpScheduleGet(out_, "task", static_cast<__tag_BACKUP_TYPE_>(type)));
  }
  EXPECT_TRUE(out_.isNull());
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(ScheduleGetTest, AMissingNameIsLoggedEvenBeforeTheKindIsLookedAt) {
  EXPECT_FALSE(BkpScheduleGet(out_, nullptr, BACKUP_TYPE_NETWORK));
  ExpectLogged("schedule:# Bad parameter!!");
  EXPECT_FALSE(BkpScheduleGet(out_, nullptr, static_cast<__tag_BACKUP_TYPE_>(3)));
  ExpectLogged("schedule:# Bad parameter!!");
  EXPECT_TRUE(out_.isNull());
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(ScheduleGetTest, ASchedulerThatCannotBeReadIsLoggedAndNothingIsWritten) {
  for (const int result : {-1, INT_MIN}) {
    EXPECT_CALL(sched(), KESTScheduleGet(_, _)).WillOnce(DoAll(SetArgPointee<1>(JobOf(1, 2, 3, 4, 5)), Return(result)));
    EXPECT_CALL(klib(), KLIBErrGet()).WillOnce(Return(0x2af));
    EXPECT_FALSE(BkpScheduleGet(out_, "task", BACKUP_TYPE_S3));
    ExpectLogged(
        "schedule:# Failed to get backup schedule. szCmd=[/usr/kest/bin/kestnetbkps3 --s3add \"task\"], "
        "errno=[0x02AF]");
  }
  EXPECT_TRUE(out_.isNull());
}

class SchedulePrintTest : public ScheduleTest {
 protected:
  std::string Line(const Job& job, int size = 4096) {
    HasTexts();
    std::string text(static_cast<size_t>(size) + 1, '#');
    Job copy = job;
    EXPECT_TRUE(BkpSchedulePrint(copy, text.data(), size));
    EXPECT_EQ('#', text.back()) << "the byte behind the buffer";
    return text.c_str();
  }
};

TEST_F(SchedulePrintTest, ATimeAndTheDays) { EXPECT_EQ(" TIME: 03:07 DATE: SUN,TUE", Line(JobOf(5, 3, 7, 0, 9))); }

TEST_F(SchedulePrintTest, RepeatedRunsShowTheirRangeWithTheStartsMinuteAtBothEndsAndTheirInterval) {
  EXPECT_EQ(" TIME: 03:07 ~ 21:07, EVERY 4 HOUR DATE: MON", Line(JobOf(2, 3, 7, 4, 21)));
}

TEST_F(SchedulePrintTest, AnyIntervalButZeroIsOneOfRepeatedRuns) {
  EXPECT_EQ(" TIME: 03:07 ~ 09:07, EVERY 1 HOUR DATE: SUN", Line(JobOf(1, 3, 7, 1, 9)));
  EXPECT_EQ(" TIME: 03:07 ~ 09:07, EVERY -1 HOUR DATE: SUN", Line(JobOf(1, 3, 7, -1, 9)));
}

struct DaysRow {
  int line;
  int weekdays;
  const char* days;
};

constexpr DaysRow kDaysRows[] = {
    {__LINE__, 127, "DAILY"},
    {__LINE__, 0, ""},
    {__LINE__, 1, "SUN"},
    {__LINE__, 2, "MON"},
    {__LINE__, 4, "TUE"},
    {__LINE__, 8, "WED"},
    {__LINE__, 16, "THU"},
    {__LINE__, 32, "FRI"},
    {__LINE__, 64, "SAT"},
    {__LINE__, 3, "SUN,MON"},
    {__LINE__, 63, "SUN,MON,TUE,WED,THU,FRI"},
    {__LINE__, 126, "MON,TUE,WED,THU,FRI,SAT"},
    {__LINE__, 128, ""},
    {__LINE__, 192, "SAT"},
    {__LINE__, 255, "SUN,MON,TUE,WED,THU,FRI,SAT"},
};

TEST_F(SchedulePrintTest, DaysStandInTheirOrderBetweenCommas) {
  for (const DaysRow& row : kDaysRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line);
    EXPECT_EQ(std::string(" TIME: 00:00 DATE: ") + row.days, Line(JobOf(row.weekdays, 0, 0, 0, 0)));
  }
}

TEST_F(SchedulePrintTest, EachColonIsTheLocalisedOne) {
  texts_["colon"] = " h ";
  EXPECT_EQ(" TIME h  03 h 07 ~ 21 h 07, EVERY 4 HOUR DATE h  MON", Line(JobOf(2, 3, 7, 4, 21)));
}

TEST_F(SchedulePrintTest, UnknownTextsAreEmpty) {
  texts_.clear();
  EXPECT_EQ("  0307 ~ 2107,  4   ,", Line(JobOf(3, 3, 7, 4, 21)));
}

TEST_F(SchedulePrintTest, TextsAreNoFormats) {
  texts_["schedule_time"] = "%s%n";
  texts_["schedule_sun"] = "%d";
  EXPECT_EQ(" %s%n: 03:07 DATE: %d", Line(JobOf(1, 3, 7, 0, 0)));
}

TEST_F(SchedulePrintTest, NumbersHaveTwoDigitsAtLeast) {
  EXPECT_EQ(" TIME: 123:-1 DATE: SUN", Line(JobOf(1, 123, -1, 0, 0)));
}

TEST_F(SchedulePrintTest, TheTimeHas29BytesAtMost) {
  texts_["colon"] = std::string(25, ':');
  EXPECT_EQ(" TIME" + texts_["colon"] + " 03" + texts_["colon"] + "07 DATE" + texts_["colon"] + " SUN",
            Line(JobOf(1, 3, 7, 0, 0)));
  texts_["colon"] += ":";
  EXPECT_EQ(" TIME" + texts_["colon"] + " 03" + texts_["colon"] + "0 DATE" + texts_["colon"] + " SUN",
            Line(JobOf(1, 3, 7, 0, 0)));
  texts_["colon"] = std::string(9, ':');
  EXPECT_EQ(" TIME::::::::: 03:::::::::07 ~ 21:::::::::07, EVERY 4 HOUR DATE::::::::: SUN",
            Line(JobOf(1, 3, 7, 4, 21)));
  texts_["colon"] = std::string(10, ':');
  EXPECT_EQ(" TIME:::::::::: 03::::::::::07 ~ 21::::::::::, EVERY 4 HOUR DATE:::::::::: SUN",
            Line(JobOf(1, 3, 7, 4, 21)));
}

TEST_F(SchedulePrintTest, TheIntervalHas49BytesAtMost) {
  texts_["schedule_every_each"] = std::string(40, 'e');
  EXPECT_EQ(" TIME: 03:07 ~ 21:07, " + texts_["schedule_every_each"] + " 4 HOUR DATE: SUN",
            Line(JobOf(1, 3, 7, 4, 21)));
  texts_["schedule_every_each"] += "e";
  EXPECT_EQ(" TIME: 03:07 ~ 21:07, " + texts_["schedule_every_each"] + " 4 HOU DATE: SUN", Line(JobOf(1, 3, 7, 4, 21)));
}

TEST_F(SchedulePrintTest, TheDaysHave1023BytesAtMost) {
  texts_["schedule_sun"] = std::string(1019, 's');
  EXPECT_EQ(" TIME: 00:00 DATE: " + texts_["schedule_sun"] + ",MON", Line(JobOf(3, 0, 0, 0, 0)));
  texts_["schedule_sun"] += "s";
  EXPECT_EQ(" TIME: 00:00 DATE: " + texts_["schedule_sun"] + ",MO", Line(JobOf(3, 0, 0, 0, 0)));
  texts_["schedule_daily"] = std::string(1024, 'd');
  EXPECT_EQ(" TIME: 00:00 DATE: " + std::string(1023, 'd'), Line(JobOf(127, 0, 0, 0, 0)));
}

TEST_F(SchedulePrintTest, WhatFindsNoRoomIsCut) {
  EXPECT_EQ(" TIME: 03:07 DATE: SUN,TUE", Line(JobOf(5, 3, 7, 0, 9), 27));
  EXPECT_EQ(" TIME: 03:07 DATE: SUN,TU", Line(JobOf(5, 3, 7, 0, 9), 26));
  EXPECT_EQ(" ", Line(JobOf(5, 3, 7, 0, 9), 2));
  EXPECT_EQ("", Line(JobOf(5, 3, 7, 0, 9), 1));
}

TEST_F(SchedulePrintTest, OnlyTheTextsThatAreNeededAreAskedForBetweenLoadingAndRelease) {
  Line(JobOf(5, 3, 7, 0, 9));
  EXPECT_THAT(Calls(), ElementsAre("KestCgiInit", "KestCgiLoadText",        //
                                   "KestCgiGetText", "text schedule_sun",   //
                                   "KestCgiGetText", "text schedule_tue",   //
                                   "KestCgiGetText", "text colon",          //
                                   "KestCgiGetText", "text schedule_time",  //
                                   "KestCgiGetText", "text schedule_date",  //
                                   "KestCgiFree"));
  Line(JobOf(127, 3, 7, 2, 9));
  EXPECT_THAT(Calls(), ElementsAre("KestCgiInit", "KestCgiLoadText",              //
                                   "KestCgiGetText", "text schedule_daily",       //
                                   "KestCgiGetText", "text colon",                //
                                   "KestCgiGetText", "text schedule_every_each",  //
                                   "KestCgiGetText", "text schedule_hour",        //
                                   "KestCgiGetText", "text schedule_time",        //
                                   "KestCgiGetText", "text schedule_date",        //
                                   "KestCgiFree"));
}

TEST_F(SchedulePrintTest, WithoutABufferNothingIsLoaded) {
  Job job = JobOf(1, 2, 3, 4, 5);
  char text[4] = "old";
  EXPECT_FALSE(BkpSchedulePrint(job, nullptr, 4));
  ExpectLogged("schedule:# Bad parameters.");
  EXPECT_FALSE(BkpSchedulePrint(job, text, 0));
  ExpectLogged("schedule:# Bad parameters.");
  EXPECT_FALSE(BkpSchedulePrint(job, text, -1));
  ExpectLogged("schedule:# Bad parameters.");
  EXPECT_STREQ("old", text);
  EXPECT_THAT(Calls(), IsEmpty());
}

}  // namespace
}  // namespace tarvel_test
