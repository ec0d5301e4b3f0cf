// Backup schedules: setting, changing, renaming and removing one.

#include <cerrno>
#include <climits>

#include "schedule_fixture.h"
#include "support/mock_kestsched.h"
#include "support/mock_klib.h"

namespace tarvel_test {
namespace {

using ::testing::_;
using ::testing::AllOf;
using ::testing::AnyNumber;
using ::testing::DoAll;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::Pointee;
using ::testing::Return;
using ::testing::SetArgPointee;
using ::testing::StrEq;

const auto kUnknownType = static_cast<__tag_BACKUP_TYPE_>(3);

const char kDaily[] = "{'enable': true, 'type': 'basic', 'days': 127, 'starttime': '3:30'}";
const char kRepeated[] =
    "{'enable': true, 'type': 'advance', 'days': 62, 'starttime': '8:15', 'endtime': '20:45', 'freq': 3,"
    " 'iteration': 9}";

class ScheduleSetTest : public ScheduleTest {
 protected:
  int Set(const std::string& text, const char* old_task, const char* new_task,
          __tag_BACKUP_TYPE_ type = BACKUP_TYPE_LOCAL) {
    Json::Value info = Doc(text);
    const int result = BkpScheduleSet(info, old_task, new_task, type);
    EXPECT_EQ(Doc(text), info) << "the document gains no members";
    return result;
  }

  // What is asked of the platform, apart from the summaries' texts.
  std::vector<std::string> PlatformCalls() {
    std::vector<std::string> calls;
    for (const std::string& call : Calls()) {
      if (call.compare(0, 4, "KEST") == 0) calls.push_back(call);
    }
    return calls;
  }

  void ExpectRead(const std::string& command, const Job& job, int result = 1) {
    EXPECT_CALL(sched(), KESTScheduleGet(StrEq(command), _)).WillOnce(DoAll(SetArgPointee<1>(job), Return(result)));
  }
  void ExpectRemoved(const std::string& command) {
    EXPECT_CALL(sched(), KESTScheduleRemove(StrEq(command))).WillOnce(Return(0));
  }
  template <class Matcher>
  void ExpectSet(const std::string& command, const Matcher& job) {
    EXPECT_CALL(sched(), KESTScheduleSet(Pointee(AllOf(job, Field(&Job::cmd, StrEq(command)))))).WillOnce(Return(0));
  }
  void ExpectEvent(int category, int event, const std::string& summary, const std::string& task) {
    EXPECT_CALL(sched(), KESTLogSet1(category, 1, event, StrEq(summary), StrEq(task), StrEq(""), StrEq("")))
        .WillOnce(Return(-1));
  }
  void ErrorIs(int code) { EXPECT_CALL(klib(), KLIBErrGet()).WillOnce(Return(code)); }
};

constexpr int kLocalSet = 0x12400010, kLocalRemoved = 0x12400011;
const char kNoSchedule[] = " TIME: 00:00 DATE: ";

TEST_F(ScheduleSetTest, ANewTaskIsSetAndEntered) {
  HasTexts();
  ExpectSet(LocalCommand("new"), IsJob(127, 3, 30, 0, 3));
  ExpectEvent(5, kLocalSet, " TIME: 03:30 DATE: DAILY", "new");
  EXPECT_EQ(1, Set(kDaily, nullptr, "new"));
  EXPECT_THAT(Calls(), ElementsAre("strdup 3:30", "free", "KESTScheduleSet", "KestCgiInit", "KestCgiLoadText",  //
                                   "KestCgiGetText", "text schedule_daily", "KestCgiGetText", "text colon",     //
                                   "KestCgiGetText", "text schedule_time", "KestCgiGetText", "text schedule_date",
                                   "KestCgiFree", "KESTLogSet1"));
}

TEST_F(ScheduleSetTest, ARepeatedScheduleHasItsIntervalAndLastHourAndTheSixthNumberStaysZero) {
  HasTexts();
  ExpectSet(LocalCommand("new"), IsJob(62, 8, 15, 3, 20));
  ExpectEvent(5, kLocalSet, " TIME: 08:15 ~ 20:15, EVERY 3 HOUR DATE: MON,TUE,WED,THU,FRI", "new");
  EXPECT_EQ(1, Set(kRepeated, nullptr, "new"));
}

TEST_F(ScheduleSetTest, AnOldTaskIsRemovedFirstWithTheSummaryOfNoScheduleBecauseItWasNotRead) {
  HasTexts(2);
  ExpectRemoved(LocalCommand("old"));
  ExpectEvent(5, kLocalRemoved, kNoSchedule, "old");
  ExpectSet(LocalCommand("new"), IsJob(127, 3, 30, 0, 3));
  ExpectEvent(5, kLocalSet, " TIME: 03:30 DATE: DAILY", "new");
  EXPECT_EQ(1, Set(kDaily, "old", "new"));
  EXPECT_THAT(PlatformCalls(), ElementsAre("KESTScheduleRemove", "KESTLogSet1", "KESTScheduleSet", "KESTLogSet1"));
}

TEST_F(ScheduleSetTest, ATaskThatKeepsItsNameIsRemovedAndSetAgain) {
  HasTexts(2);
  ExpectRemoved(LocalCommand("same"));
  ExpectEvent(5, kLocalRemoved, kNoSchedule, "same");
  ExpectSet(LocalCommand("same"), IsJob(127, 3, 30, 0, 3));
  ExpectEvent(5, kLocalSet, " TIME: 03:30 DATE: DAILY", "same");
  EXPECT_EQ(1, Set(kDaily, "same", "same"));
}

TEST_F(ScheduleSetTest, ADisabledScheduleIsRemovedAndNotSet) {
  HasTexts();
  ExpectRemoved(LocalCommand("old"));
  ExpectEvent(5, kLocalRemoved, kNoSchedule, "old");
  EXPECT_EQ(1, Set("{'enable': false}", "old", "new"));
  EXPECT_THAT(PlatformCalls(), ElementsAre("KESTScheduleRemove", "KESTLogSet1"));
}

TEST_F(ScheduleSetTest, ADisabledScheduleOfANewTaskIsDoneWithoutAnyCall) {
  EXPECT_EQ(1, Set("{'enable': false}", nullptr, "new"));
  EXPECT_EQ(1, Set("{'other': 1}", nullptr, "new"));
  EXPECT_EQ(1, Set("{'enable': false}", nullptr, "new", kUnknownType));
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(ScheduleSetTest, LackOfMemoryPassesAndLeaksNothing) {
  EXPECT_CALL(cgi(), KestCgiInit(_, _)).Times(AnyNumber());
  EXPECT_CALL(cgi(), KestCgiLoadText(_, _)).Times(AnyNumber());
  EXPECT_CALL(cgi(), KestCgiGetText(_, _, _)).WillRepeatedly(Return("a text longer than any that needs no memory"));
  EXPECT_CALL(sched(), KESTScheduleRemove(_)).WillRepeatedly(Return(0));
  EXPECT_CALL(sched(), KESTScheduleSet(_)).WillRepeatedly(Return(0));
  EXPECT_CALL(sched(), KESTLogSet1(_, _, _, _, _, _, _)).WillRepeatedly(Return(0));
  Json::Value info = Doc(kRepeated);
  const Json::Value before = info;
  int result = 0;
  EXPECT_LT(2, FailuresUntilItSucceeds([&] { result = BkpScheduleSet(info, "old", "new", BACKUP_TYPE_LOCAL); }));
  EXPECT_EQ(1, result);
  EXPECT_EQ(before, info);
}

TEST_F(ScheduleSetTest, ARenameCarriesTheScheduleOver) {
  HasTexts(2);
  ExpectRead(LocalCommand("old"), JobOf(5, 3, 7, 2, 9));
  ExpectRemoved(LocalCommand("old"));
  ExpectEvent(5, kLocalRemoved, " TIME: 03:07 ~ 09:07, EVERY 2 HOUR DATE: SUN,TUE", "old");
  ExpectSet(LocalCommand("new"), IsJob(5, 3, 7, 2, 9));
  ExpectEvent(5, kLocalSet, " TIME: 03:07 ~ 09:07, EVERY 2 HOUR DATE: SUN,TUE", "new");
  EXPECT_EQ(1, Set("{}", "old", "new"));
  EXPECT_THAT(PlatformCalls(),
              ElementsAre("KESTScheduleGet", "KESTScheduleRemove", "KESTLogSet1", "KESTScheduleSet", "KESTLogSet1"));
}

TEST_F(ScheduleSetTest, NullAnEmptyListAndScalarsAreARenameToo) {
  for (const char* text : {"null", "[]", "{}", "'x'", "true", "0", "1.5"}) {
    SCOPED_TRACE(text);
    HasTexts(2);
    ExpectRead(LocalCommand("old"), JobOf(1, 2, 3, 0, 0));
    ExpectRemoved(LocalCommand("old"));
    ExpectSet(LocalCommand("new"), IsJob(1, 2, 3, 0, 0));
    EXPECT_CALL(sched(), KESTLogSet1(_, _, _, _, _, _, _)).Times(2);
    EXPECT_EQ(1, Set(text, "old", "new"));
    ::testing::Mock::VerifyAndClearExpectations(&sched());
    ::testing::Mock::VerifyAndClearExpectations(&cgi());
    EXPECT_CALL(cgi(), KestCgiFree(_)).Times(AnyNumber());
  }
}

TEST_F(ScheduleSetTest, ARenameWithoutScheduleStillRemovesAndSetsNothing) {
  HasTexts();
  ExpectRead(LocalCommand("old"), Job(), 0);
  ExpectRemoved(LocalCommand("old"));
  ExpectEvent(5, kLocalRemoved, kNoSchedule, "old");
  EXPECT_EQ(1, Set("{}", "old", "new"));
  EXPECT_THAT(PlatformCalls(), ElementsAre("KESTScheduleGet", "KESTScheduleRemove", "KESTLogSet1"));
}

TEST_F(ScheduleSetTest, RenamingANewTaskOrOneToItsOwnNameTouchesNothing) {
  EXPECT_EQ(1, Set("{}", nullptr, "new"));
  EXPECT_EQ(0, Set("{}", "same", "same"));
  EXPECT_EQ(0, Set("{}", "", ""));
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(ScheduleSetTest, NamesThatDifferInCaseAreTwo) {
  HasTexts();
  ExpectRead(LocalCommand("Same"), Job(), 0);
  ExpectRemoved(LocalCommand("Same"));
  ExpectEvent(5, kLocalRemoved, kNoSchedule, "Same");
  EXPECT_EQ(1, Set("{}", "Same", "same"));
}

struct KindRow {
  int line;
  __tag_BACKUP_TYPE_ type;
  const char* command;
  int category;
  int set;
  int removed;
};

constexpr KindRow kKindRows[] = {
    {__LINE__, BACKUP_TYPE_NETWORK, "/usr/kest/bin/kestnetbkp -a \"", 7, 0x12900032, 0x12900033},
    {__LINE__, BACKUP_TYPE_LOCAL, "/usr/kest/bin/kestlocalbkp -a \"", 5, 0x12400010, 0x12400011},
    {__LINE__, BACKUP_TYPE_S3, "/usr/kest/bin/kestnetbkps3 --s3add \"", 5, 0x12400010, 0x12400011},
};

TEST_F(ScheduleSetTest, EachKindHasItsCommandLineAndEvents) {
  for (const KindRow& row : kKindRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line);
    HasTexts(2);
    ExpectRead(row.command + std::string("old\""), JobOf(2, 3, 4, 0, 0));
    ExpectRemoved(row.command + std::string("old\""));
    ExpectEvent(row.category, row.removed, " TIME: 03:04 DATE: MON", "old");
    ExpectSet(row.command + std::string("new\""), IsJob(2, 3, 4, 0, 0));
    ExpectEvent(row.category, row.set, " TIME: 03:04 DATE: MON", "new");
    EXPECT_EQ(1, Set("{}", "old", "new", row.type));
    ::testing::Mock::VerifyAndClearExpectations(&cgi());
    EXPECT_CALL(cgi(), KestCgiFree(_)).Times(AnyNumber());
  }
}

TEST_F(ScheduleSetTest, AnUnknownKindFailsWithoutAWordWhenACommandLineIsNeeded) {
  for (const int number : {-1, 3, INT_MAX, INT_MIN}) {
    SCOPED_TRACE(number);
    const auto type = static_cast<__tag_BACKUP_TYPE_>(number);
    EXPECT_EQ(-1, Set("{}", "old", "new", type));
    EXPECT_EQ(-1, Set("{'enable': false}", "old", "new", type));
    EXPECT_EQ(-1, Set("{'enable': true}", "old", "new", type));
    EXPECT_EQ(-1, Set("{'enable': true}", nullptr, "new", type));
    EXPECT_EQ(1, Set("{}", nullptr, "new", type));
    EXPECT_EQ(0, Set("{}", "same", "same", type));
  }
  EXPECT_THAT(PlatformCalls(), IsEmpty());
}

TEST_F(ScheduleSetTest, AMissingNewNameIsLoggedBeforeAnythingElse) {
  EXPECT_EQ(-1, Set("{}", nullptr, nullptr));
  ExpectLogged("schedule:# Bad parameters!!");
  EXPECT_EQ(-1, Set("{'enable': []}", "old", nullptr, kUnknownType));
  ExpectLogged("schedule:# Bad parameters!!");
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(ScheduleSetTest, ADocumentOfAnotherTypeIsLoggedAndNothingIsDone) {
  for (const char* text : {"[1]", "{'enable': 'yes'}", "{'enable': true, 'days': 'all'}",
                           "{'enable': true, 'starttime': []}", "{'enable': true, 'freq': {}}"}) {
    SCOPED_TRACE(text);
    EXPECT_EQ(-1, Set(text, "old", "new"));
    ExpectLogged("schedule:# Fail to parse schedule info.");
  }
  EXPECT_EQ(-1, Set("[1]", nullptr, "new", kUnknownType));
  ExpectLogged("schedule:# Fail to parse schedule info.");
  EXPECT_THAT(PlatformCalls(), IsEmpty());
}

TEST_F(ScheduleSetTest, MemoryThatRunsOutWhileParsingIsLoggedTwice) {
  machine().FailNext("strdup", ENOMEM);
  EXPECT_EQ(-1, Set(kDaily, "old", "new"));
  ExpectLogged("schedule:# Failed to duplicate string");
  ExpectLogged("schedule:# Fail to parse schedule info.");
  EXPECT_THAT(PlatformCalls(), IsEmpty());
}

TEST_F(ScheduleSetTest, AnOldScheduleThatCannotBeReadIsLoggedAndNothingIsRemoved) {
  for (const int result : {-1, INT_MIN}) {
    ExpectRead(LocalCommand("old"), Job(), result);
    ErrorIs(0xd00);
    EXPECT_EQ(-1, Set("{}", "old", "new"));
    ExpectLogged(
        "schedule:# Failed to get backup schedule. szCmd=[/usr/kest/bin/kestlocalbkp -a \"old\"] "
        "kesterr=[0x0D00]");
    EXPECT_THAT(PlatformCalls(), ElementsAre("KESTScheduleGet"));
  }
}

TEST_F(ScheduleSetTest, AnOldJobThatCannotBeRemovedIsLoggedAndNothingIsEnteredOrSet) {
  for (const char* text : {kDaily, "{'enable': false}"}) {
    SCOPED_TRACE(text);
    EXPECT_CALL(sched(), KESTScheduleRemove(_)).WillOnce(Return(-1));
    ErrorIs(0x8100);
    EXPECT_EQ(-1, Set(text, "old", "new"));
    ExpectLogged("schedule:# KESTScheduleRemove([/usr/kest/bin/kestlocalbkp -a \"old\"]) failed!! kesterr=[0x8100]");
    EXPECT_THAT(PlatformCalls(), ElementsAre("KESTScheduleRemove"));
  }
  ExpectRead(LocalCommand("old"), JobOf(1, 2, 3, 4, 5));
  EXPECT_CALL(sched(), KESTScheduleRemove(_)).WillOnce(Return(INT_MIN));
  ErrorIs(0);
  EXPECT_EQ(-1, Set("{}", "old", "new"));
  ExpectLogged("schedule:# KESTScheduleRemove([/usr/kest/bin/kestlocalbkp -a \"old\"]) failed!! kesterr=[0x0000]");
  EXPECT_THAT(PlatformCalls(), ElementsAre("KESTScheduleGet", "KESTScheduleRemove"));
}

TEST_F(ScheduleSetTest, AJobThatCannotBeSetIsLoggedWithItsFieldsAndNotEntered) {
  EXPECT_CALL(sched(), KESTScheduleSet(_)).WillOnce(Return(-1));
  ErrorIs(0x2900);
  EXPECT_EQ(-1, Set(kRepeated, nullptr, "new", BACKUP_TYPE_S3));
  ExpectLogged(
      "schedule:# schedule setting is failed : 8,15,3,20,/usr/kest/bin/kestnetbkps3 --s3add \"new\", "
      "kesterr=[0x2900]");
  EXPECT_THAT(PlatformCalls(), ElementsAre("KESTScheduleSet"));
}

TEST_F(ScheduleSetTest, ARemovalStandsWhenTheSettingBehindItFails) {
  HasTexts();
  ExpectRead(LocalCommand("old"), JobOf(1, 2, 3, 0, 0));
  ExpectRemoved(LocalCommand("old"));
  ExpectEvent(5, kLocalRemoved, " TIME: 02:03 DATE: SUN", "old");
  EXPECT_CALL(sched(), KESTScheduleSet(_)).WillOnce(Return(INT_MIN));
  ErrorIs(0x600);
  EXPECT_EQ(-1, Set("{}", "old", "new"));
  ExpectLogged(
      "schedule:# schedule setting is failed : 2,3,0,0,/usr/kest/bin/kestlocalbkp -a \"new\", "
      "kesterr=[0x0600]");
  EXPECT_THAT(PlatformCalls(), ElementsAre("KESTScheduleGet", "KESTScheduleRemove", "KESTLogSet1", "KESTScheduleSet"));
}

TEST_F(ScheduleSetTest, OnlyANegativeResultIsAFailure) {
  HasTexts(2);
  EXPECT_CALL(sched(), KESTScheduleRemove(_)).WillOnce(Return(1));
  EXPECT_CALL(sched(), KESTScheduleSet(_)).WillOnce(Return(1));
  EXPECT_CALL(sched(), KESTLogSet1(_, _, _, _, _, _, _)).Times(2);
  EXPECT_EQ(1, Set(kDaily, "old", "new"));
}

TEST_F(ScheduleSetTest, ASummaryIsCutTo127BytesAndTheNameIsNot) {
  texts_["schedule_daily"] = std::string(500, 'd');
  const std::string task(500, 't');
  HasTexts();
  ExpectSet(LocalCommand(task), IsJob(127, 3, 30, 0, 3));
  ExpectEvent(5, kLocalSet, (" TIME: 03:30 DATE: " + texts_["schedule_daily"]).substr(0, 127), task);
  EXPECT_EQ(1, Set(kDaily, nullptr, task.c_str()));
}

TEST_F(ScheduleSetTest, AJobIsStoredWith1023BytesOfItsCommandLineButRemovedByTheFirst223) {
  const std::string fits(1023 - LocalCommand("").size(), 'n');
  for (const std::string& task : {fits, fits + "n"}) {
    HasTexts(2);
    ExpectRemoved(LocalCommand(task).substr(0, 223));
    ExpectEvent(5, kLocalRemoved, kNoSchedule, task);
    ExpectSet(LocalCommand(task).substr(0, 1023), IsJob(127, 3, 30, 0, 3));
    ExpectEvent(5, kLocalSet, " TIME: 03:30 DATE: DAILY", task);
    EXPECT_EQ(1, Set(kDaily, task.c_str(), task.c_str()));
    ::testing::Mock::VerifyAndClearExpectations(&cgi());
    EXPECT_CALL(cgi(), KestCgiFree(_)).Times(AnyNumber());
  }
}

TEST_F(ScheduleSetTest, ALongTasksScheduleIsNotFoundAndNotCarriedOver) {
  HasTexts();
  const std::string task(300, 'n');
  ExpectRead(LocalCommand(task).substr(0, 223), Job(), 0);
  ExpectRemoved(LocalCommand(task).substr(0, 223));
  ExpectEvent(5, kLocalRemoved, kNoSchedule, task);
  EXPECT_EQ(1, Set("{}", task.c_str(), "new"));
}

TEST_F(ScheduleSetTest, NamesStandInTheCommandLineAndTheEventAsTheyAre) {
  const std::string task = "a\" b; $(c) `d` %s%n \\\n'&|<>";
  HasTexts();
  ExpectSet("/usr/kest/bin/kestlocalbkp -a \"" + task + "\"", IsJob(127, 3, 30, 0, 3));
  ExpectEvent(5, kLocalSet, " TIME: 03:30 DATE: DAILY", task);
  EXPECT_EQ(1, Set(kDaily, nullptr, task.c_str()));
}

TEST_F(ScheduleSetTest, NoRangeIsChecked) {
  HasTexts();
  ExpectSet(LocalCommand("new"), IsJob(-1, 99, -5, -3, 99));
  EXPECT_CALL(sched(), KESTLogSet1(_, _, _, _, _, _, _));
  EXPECT_EQ(1, Set("{'enable': true, 'days': -1, 'starttime': '99:-5', 'freq': -3}", nullptr, "new"));
}

}  // namespace
}  // namespace tarvel_test
