#include "host/schedule/crontab.h"

#include <cstring>

#include "host/klib/error_code.h"
#include "schedule_folder.h"

namespace kest {
namespace {

std::vector<Job> Jobs() { return {{4, JobNamed("/bin/a \"photos\"", 5)}, {9, JobNamed("/bin/b", 127, 1, 4, 10, 0)}}; }

constexpr char kSection[] =
    "# BEGIN jobs of the appliance (kestjob list): what stands here is replaced\n"
    "# /bin/a \"photos\"\n"
    "7 3 * * 0,2 /usr/kest/bin/kestjob run 4\n"
    "# /bin/b\n"
    "0 1,5,9 * * * /usr/kest/bin/kestjob run 9\n"
    "# END jobs of the appliance\n";

std::string With(const std::string& crontab, const std::vector<Job>& jobs) {
  std::string out = "untouched";
  return WithJobs(crontab, jobs, &out) ? out : "refused, " + out;
}

TEST(CrontabTest, AJobIsALineThatNamesItsNumber) { EXPECT_EQ(kSection, With("", Jobs())); }

TEST(CrontabTest, TheDaysAndHoursAreLists) {
  EXPECT_EQ("7 3 * * *", CrontabTime(JobNamed("/bin/a")));
  EXPECT_EQ("7 3 * * 0", CrontabTime(JobNamed("/bin/a", 1)));
  EXPECT_EQ("7 3 * * 6", CrontabTime(JobNamed("/bin/a", 64)));
  EXPECT_EQ("7 3 * * 0,1,2,3,4,5", CrontabTime(JobNamed("/bin/a", 63)));
  EXPECT_EQ("59 0,23 * * *", CrontabTime(JobNamed("/bin/a", 127, 0, 23, 23, 59)));
  EXPECT_EQ("0 22 * * *", CrontabTime(JobNamed("/bin/a", 127, 22, 5, 23, 0)));
  EXPECT_EQ("0 5 * * *", CrontabTime(JobNamed("/bin/a", 127, 5, 1, 5, 0)));
  EXPECT_EQ("0 5 * * *", CrontabTime(JobNamed("/bin/a", 127, 5, 0, 20, 0))) << "not repeated: no last hour";
}

TEST(CrontabTest, OthersLinesStandWhereTheyAre) {
  EXPECT_EQ(std::string("MAILTO=root\n") + kSection, With("MAILTO=root\n", Jobs()));
  EXPECT_EQ(std::string("MAILTO=root\n") + kSection, With("MAILTO=root", Jobs())) << "no line end";
  EXPECT_EQ(std::string("a\n") + kSection + "b\n", With(std::string("a\n") + kSection + "b\n", Jobs()));
  EXPECT_EQ("a\nb\n", With(std::string("a\n") + kSection + "b\n", {}));
  EXPECT_EQ("", With(kSection, {}));
  EXPECT_EQ("a\n", With("a\n", {}));
}

TEST(CrontabTest, ADamagedSectionIsRefused) {
  const std::string begin = "# BEGIN jobs of the appliance\n", end = "# END jobs of the appliance\n";
  for (const std::string& text : {begin, end, end + begin, begin + begin + end, begin + end + end, begin + end + begin,
                                  begin + end + begin + end}) {
    EXPECT_EQ("refused, untouched", With(text, Jobs())) << text;
  }
}

TEST(CrontabTest, EachFieldHasItsRange) {
  const _tag_KEST_SCHEDULE good = JobNamed("/bin/a", 1, 0, 0, 0, 0);
  EXPECT_TRUE(IsValidJob(good));
  EXPECT_TRUE(IsValidJob(JobNamed("/bin/a", 127, 23, 23, 23, 59)));
  const struct {
    const char* what;
    _tag_KEST_SCHEDULE job;
  } rows[] = {
      {"no day", JobNamed("/bin/a", 0)},
      {"eighth day", JobNamed("/bin/a", 128)},
      {"negative days", JobNamed("/bin/a", -1)},
      {"negative hour", JobNamed("/bin/a", 1, -1)},
      {"hour 24", JobNamed("/bin/a", 1, 24)},
      {"negative interval", JobNamed("/bin/a", 1, 3, -1)},
      {"interval 24", JobNamed("/bin/a", 1, 3, 24, 23)},
      {"negative last hour", JobNamed("/bin/a", 1, 3, 0, -1)},
      {"last hour 24", JobNamed("/bin/a", 1, 3, 1, 24)},
      {"end before start", JobNamed("/bin/a", 1, 3, 1, 2)},
      {"negative minute", JobNamed("/bin/a", 1, 3, 0, 3, -1)},
      {"minute 60", JobNamed("/bin/a", 1, 3, 0, 3, 60)},
      {"no command", JobNamed("")},
      {"two lines", JobNamed("/bin/a \"x\n* * * * * /bin/b\"")},
      {"no whole path", JobNamed("a")},
  };
  for (const auto& row : rows) EXPECT_FALSE(IsValidJob(row.job)) << row.what;
  _tag_KEST_SCHEDULE endless = good;
  memset(endless.cmd, '/', sizeof(endless.cmd));
  EXPECT_FALSE(IsValidJob(endless)) << "a command without its NUL";
}

TEST(CrontabTest, AnEndBeforeTheStartOfAnUnrepeatedJobMeansNothing) {
  EXPECT_TRUE(IsValidJob(JobNamed("/bin/a", 1, 5, 0, 2)));
}

class CrontabFileTest : public testing::Test {
 protected:
  int Write(const std::vector<Job>& jobs) {
    folder_.Put("schedule.db", "");
    return WriteCrontab(folder_.Crontabs().c_str(), folder_.Database().c_str(), jobs);
  }
  ScheduleFolder folder_;
};

TEST_F(CrontabFileTest, ItBelongsToTheOwnerOfTheDatabaseAndNobodyElseMayReadIt) {
  ASSERT_EQ(0, Write(Jobs()));
  EXPECT_EQ(kSection, folder_.Crontab());
  struct stat file;
  ASSERT_EQ(0, stat(folder_.CrontabPath().c_str(), &file));
  EXPECT_EQ(0600u, file.st_mode & 07777U);
}

TEST_F(CrontabFileTest, WithoutJobsNoFileIsMade) {
  ASSERT_EQ(0, Write({}));
  EXPECT_NE(0, access(folder_.CrontabPath().c_str(), F_OK));
}

TEST_F(CrontabFileTest, WithoutCronJobsAreRefused) {
  rmdir(folder_.Crontabs().c_str());
  EXPECT_EQ(-kErrorNoSuchObject, Write(Jobs()));
  EXPECT_EQ(0, Write({})) << "there is nothing to take out";
}

TEST_F(CrontabFileTest, ADamagedSectionIsLeftAsItIs) {
  std::ofstream(folder_.CrontabPath()) << "# BEGIN jobs of the appliance\n0 0 * * * mine\n";
  EXPECT_EQ(-kErrorSystem, Write(Jobs()));
  EXPECT_EQ("# BEGIN jobs of the appliance\n0 0 * * * mine\n", folder_.Crontab());
}

TEST_F(CrontabFileTest, MoreLinesThanCronReadsAreRefused) {
  std::vector<Job> jobs;
  for (int i = 1; i <= 499; ++i) jobs.push_back({i, JobNamed("/bin/a " + std::to_string(i))});
  EXPECT_EQ(0, Write(jobs));
  const std::string before = folder_.Crontab();
  jobs.push_back({500, JobNamed("/bin/a 500")});
  EXPECT_EQ(-kErrorNoSpace, Write(jobs));
  EXPECT_EQ(before, folder_.Crontab());
}

TEST_F(CrontabFileTest, EachChangeHasATimeOfItsOwn) {
  time_t file_before = 0, folder_before = 0;
  for (int i = 1; i <= 4; ++i) {
    ASSERT_EQ(0, Write({{i, JobNamed("/bin/a")}}));
    struct stat file, folder;
    ASSERT_EQ(0, stat(folder_.CrontabPath().c_str(), &file));
    ASSERT_EQ(0, stat(folder_.Crontabs().c_str(), &folder));
    EXPECT_LT(file_before, file.st_mtime);
    EXPECT_LT(folder_before, folder.st_mtime);
    file_before = file.st_mtime, folder_before = folder.st_mtime;
  }
}

}  // namespace
}  // namespace kest
