// Scheduled jobs: what is stored is read back, and what cannot be run is refused.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "platform/kestsched.h"
#include "platform/klib.h"

namespace {

constexpr int kBadParameter = 0xD00;

_tag_KEST_SCHEDULE JobNamed(const std::string& command) {
  _tag_KEST_SCHEDULE job = {5, 3, 4, 20, 7, 0, ""};
  snprintf(job.cmd, sizeof(job.cmd), "%s", command.c_str());
  return job;
}

_tag_KEST_SCHEDULE Found(const std::string& command) {
  _tag_KEST_SCHEDULE job;
  memset(&job, 0x5A, sizeof(job));
  EXPECT_EQ(1, KESTScheduleGet(command.c_str(), &job)) << command;
  return job;
}

class SchedJob : public testing::Test {
 protected:
  // A name of the test's own; its job goes with the test.
  std::string Command(const std::string& task) {
    const std::string test = testing::UnitTest::GetInstance()->current_test_info()->name();
    commands_.push_back("/usr/kest/bin/kestnetbkp -a \"" + test + task + "\"");
    return commands_.back();
  }
  ~SchedJob() override {
    for (const std::string& command : commands_) KESTScheduleRemove(command.c_str());
  }

 private:
  std::vector<std::string> commands_;
};

TEST_F(SchedJob, IsReadBackWhole) {
  const std::string command = Command("");
  _tag_KEST_SCHEDULE job = JobNamed(command);
  ASSERT_EQ(0, KESTScheduleSet(&job));
  const _tag_KEST_SCHEDULE found = Found(command);
  EXPECT_EQ(5, found.weekdays);
  EXPECT_EQ(3, found.hour);
  EXPECT_EQ(4, found.freq);
  EXPECT_EQ(20, found.lastHour);
  EXPECT_EQ(7, found.minute);
  EXPECT_EQ(0, found.unused);
  EXPECT_EQ(command, found.cmd);
}

TEST_F(SchedJob, ThatIsNotThereLeavesTheRecordAlone) {
  _tag_KEST_SCHEDULE job = JobNamed("before");
  EXPECT_EQ(0, KESTScheduleGet(Command("").c_str(), &job));
  EXPECT_EQ(5, job.weekdays);
  EXPECT_STREQ("before", job.cmd);
}

TEST_F(SchedJob, WithTheSameCommandIsReplaced) {
  _tag_KEST_SCHEDULE job = JobNamed(Command(""));
  ASSERT_EQ(0, KESTScheduleSet(&job));
  job.weekdays = 127, job.freq = 0;
  ASSERT_EQ(0, KESTScheduleSet(&job));
  EXPECT_EQ(127, Found(job.cmd).weekdays);
  EXPECT_EQ(0, Found(job.cmd).freq);
}

TEST_F(SchedJob, CommandsAreComparedByteForByte) {
  _tag_KEST_SCHEDULE job = JobNamed(Command(" a"));
  ASSERT_EQ(0, KESTScheduleSet(&job));
  EXPECT_EQ(0, KESTScheduleGet(Command(" A").c_str(), &job));
  EXPECT_EQ(0, KESTScheduleGet(Command("  a").c_str(), &job));
  EXPECT_EQ(0, KESTScheduleGet(Command(" a").substr(0, 20).c_str(), &job));
}

TEST_F(SchedJob, RemovedIsGoneAndRemovingNothingIsASuccess) {
  _tag_KEST_SCHEDULE job = JobNamed(Command(""));
  EXPECT_EQ(0, KESTScheduleRemove(job.cmd));
  ASSERT_EQ(0, KESTScheduleSet(&job));
  EXPECT_EQ(0, KESTScheduleRemove(job.cmd));
  EXPECT_EQ(0, KESTScheduleGet(job.cmd, &job));
  EXPECT_EQ(0, KESTScheduleRemove(job.cmd));
}

TEST_F(SchedJob, MayHoldAnythingButQuotesAndControlsInItsName) {
  for (const char* task : {" $(id)", "; id", " %", " `id` | id & id > x", " \\", " 'x'", " \xC3\xBC", " \xFF", " #"}) {
    _tag_KEST_SCHEDULE job = JobNamed(Command(task));
    EXPECT_EQ(0, KESTScheduleSet(&job)) << task;
    EXPECT_STREQ(job.cmd, Found(job.cmd).cmd);
  }
}

TEST_F(SchedJob, WithAQuoteOrAControlInItsNameIsRefused) {
  for (const char* task : {"\"", " \"", "\"; id; \"", "\n* * * * * id", "\r", "\t", "\x01", "\x7f"}) {
    _tag_KEST_SCHEDULE job = JobNamed(Command(task));
    KLIBErrSet(0);
    EXPECT_GT(0, KESTScheduleSet(&job)) << task;
    EXPECT_EQ(kBadParameter, KLIBErrGet()) << task;
    EXPECT_EQ(0, KESTScheduleGet(job.cmd, &job)) << task;
  }
}

TEST_F(SchedJob, FieldsOutOfRangeAreRefusedAndTheOldJobStands) {
  _tag_KEST_SCHEDULE good = JobNamed(Command(""));
  ASSERT_EQ(0, KESTScheduleSet(&good));
  const struct {
    int _tag_KEST_SCHEDULE::*field;
    int value;
  } rows[] = {
      {&_tag_KEST_SCHEDULE::weekdays, 0}, {&_tag_KEST_SCHEDULE::weekdays, 128}, {&_tag_KEST_SCHEDULE::weekdays, -1},
      {&_tag_KEST_SCHEDULE::hour, -1},    {&_tag_KEST_SCHEDULE::hour, 24},      {&_tag_KEST_SCHEDULE::freq, -1},
      {&_tag_KEST_SCHEDULE::freq, 24},    {&_tag_KEST_SCHEDULE::lastHour, -1},  {&_tag_KEST_SCHEDULE::lastHour, 24},
      {&_tag_KEST_SCHEDULE::lastHour, 2}, {&_tag_KEST_SCHEDULE::minute, -1},    {&_tag_KEST_SCHEDULE::minute, 60},
  };
  for (const auto& row : rows) {
    _tag_KEST_SCHEDULE job = good;
    job.*row.field = row.value;
    KLIBErrSet(0);
    EXPECT_GT(0, KESTScheduleSet(&job)) << &row - rows;
    EXPECT_EQ(kBadParameter, KLIBErrGet()) << &row - rows;
  }
  EXPECT_EQ(5, Found(good.cmd).weekdays);
  EXPECT_EQ(20, Found(good.cmd).lastHour);
}

TEST_F(SchedJob, WithoutACommandLineIsRefused) {
  for (const char* command : {"", " ", "relative", "\"\""}) {
    _tag_KEST_SCHEDULE job = JobNamed(command);
    EXPECT_GT(0, KESTScheduleSet(&job)) << command;
  }
  _tag_KEST_SCHEDULE endless = JobNamed("/bin/a");
  memset(endless.cmd, '/', sizeof(endless.cmd));
  EXPECT_GT(0, KESTScheduleSet(&endless));
}

TEST_F(SchedJob, OfTheGreatestLengthIsStoredWhole) {
  const std::string start = Command("x");
  const std::string command = start.substr(0, start.size() - 1) + std::string(1023 - start.size(), 'y') + "\"";
  _tag_KEST_SCHEDULE job = JobNamed(command);
  ASSERT_EQ(1023u, strlen(job.cmd));
  ASSERT_EQ(0, KESTScheduleSet(&job));
  EXPECT_EQ(command, Found(command).cmd);
  EXPECT_EQ(0, KESTScheduleRemove(command.c_str()));
}

TEST_F(SchedJob, NullIsRefused) {
  _tag_KEST_SCHEDULE job = {};
  EXPECT_GT(0, KESTScheduleGet(nullptr, &job));
  EXPECT_GT(0, KESTScheduleGet("/bin/a", nullptr));
  EXPECT_GT(0, KESTScheduleSet(nullptr));
  EXPECT_GT(0, KESTScheduleRemove(nullptr));
  EXPECT_EQ(kBadParameter, KLIBErrGet());
}

TEST_F(SchedJob, IsSeenByOtherProcesses) {
  _tag_KEST_SCHEDULE job = JobNamed(Command(""));
  const pid_t pid = fork();
  if (pid == 0) _exit(KESTScheduleSet(&job) == 0 ? 0 : 1);
  int status = 0;
  waitpid(pid, &status, 0);
  ASSERT_EQ(0, status);
  EXPECT_EQ(7, Found(job.cmd).minute);
}

TEST(SchedLog, TakesAnEntryOfEachLevel) {
  for (int level = 1; level <= 3; ++level) {
    EXPECT_EQ(0, KESTLogSet1(7, level, 0x12900032, " time: 03:07", "photos", "", ""));
  }
  EXPECT_EQ(0, KESTLogSet1(7, 1, 0x12900032, nullptr, nullptr, nullptr, nullptr));
}

TEST(SchedLog, RefusesAnUnknownLevel) {
  for (const int level : {0, 4, -1}) {
    KLIBErrSet(0);
    EXPECT_GT(0, KESTLogSet1(7, level, 1, "", "", "", "")) << level;
    EXPECT_EQ(kBadParameter, KLIBErrGet()) << level;
  }
}

}  // namespace
