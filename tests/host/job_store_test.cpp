#include "host/schedule/job_store.h"

#include <sys/wait.h>

#include "host/database/database.h"
#include "host/klib/error_code.h"
#include "schedule_folder.h"

namespace kest {
namespace {

class JobStoreTest : public testing::Test {
 protected:
  int Save(const _tag_KEST_SCHEDULE& job) { return SaveJob(folder_.Files(), job); }
  int Remove(const char* command) { return RemoveJob(folder_.Files(), command); }
  int Find(const char* command, _tag_KEST_SCHEDULE* out) { return FindJob(folder_.Files(), command, out); }

  ScheduleFolder folder_;
};

TEST_F(JobStoreTest, WhatIsStoredIsScheduled) {
  ASSERT_EQ(0, Save(JobNamed("/bin/a \"photos\"", 5)));
  ASSERT_EQ(0, Save(JobNamed("/bin/b", 127, 1, 4, 10, 0)));
  EXPECT_EQ("7 3 * * 0,2 /bin/a \"photos\"\n0 1,5,9 * * * /bin/b\n", folder_.Stored());
  EXPECT_EQ(folder_.Stored(), folder_.Scheduled());
  ASSERT_EQ(0, Remove("/bin/a \"photos\""));
  EXPECT_EQ("0 1,5,9 * * * /bin/b\n", folder_.Stored());
  EXPECT_EQ(folder_.Stored(), folder_.Scheduled());
}

TEST_F(JobStoreTest, ANumberIsNeverGivenOutTwice) {
  ASSERT_EQ(0, Save(JobNamed("/bin/a")));
  ASSERT_EQ(0, Remove("/bin/a"));
  ASSERT_EQ(0, Save(JobNamed("/bin/b")));
  _tag_KEST_SCHEDULE job = {};
  EXPECT_EQ(0, FindJobById(folder_.Files(), 1, &job));
  ASSERT_EQ(1, FindJobById(folder_.Files(), 2, &job));
  EXPECT_STREQ("/bin/b", job.cmd);
}

TEST_F(JobStoreTest, ARescheduledJobKeepsItsNumber) {
  ASSERT_EQ(0, Save(JobNamed("/bin/a")));
  ASSERT_EQ(0, Save(JobNamed("/bin/a", 1)));
  _tag_KEST_SCHEDULE job = {};
  ASSERT_EQ(1, FindJobById(folder_.Files(), 1, &job));
  EXPECT_EQ(1, job.weekdays);
  EXPECT_EQ("7 3 * * 0 /bin/a\n", folder_.Scheduled());
}

TEST_F(JobStoreTest, OnlySavingMakesTheDatabase) {
  _tag_KEST_SCHEDULE job = {};
  EXPECT_EQ(0, Find("/bin/a", &job));
  EXPECT_EQ(0, Remove("/bin/a"));
  EXPECT_EQ(0, RenderJobs(folder_.Files()));
  EXPECT_EQ("", folder_.Stored());
  EXPECT_EQ(-kErrorBadParameter, Save(JobNamed("relative")));
  EXPECT_EQ((std::set<std::string>{"crontabs"}), folder_.Names());
}

TEST_F(JobStoreTest, ACrontabThatWasLostIsWrittenAnewByTheNextChange) {
  ASSERT_EQ(0, Save(JobNamed("/bin/a")));
  unlink(folder_.CrontabPath().c_str());
  ASSERT_EQ(0, Remove("/bin/other")) << "though it changes no job";
  EXPECT_EQ("7 3 * * * /bin/a\n", folder_.Scheduled());
  unlink(folder_.CrontabPath().c_str());
  ASSERT_EQ(0, RenderJobs(folder_.Files()));
  EXPECT_EQ("7 3 * * * /bin/a\n", folder_.Scheduled());
}

TEST_F(JobStoreTest, ADamagedDatabaseIsNeitherReadNorReplaced) {
  ASSERT_EQ(0, Save(JobNamed("/bin/a")));
  const std::string crontab = folder_.Crontab(), bytes(9000, 'x');
  unlink(folder_.File("schedule.db-wal").c_str());
  folder_.Put("schedule.db", bytes);
  _tag_KEST_SCHEDULE job = JobNamed("untouched");
  EXPECT_EQ(-kErrorSystem, Find("/bin/a", &job));
  EXPECT_STREQ("untouched", job.cmd);
  EXPECT_EQ(-kErrorSystem, Save(JobNamed("/bin/b")));
  EXPECT_EQ(-kErrorSystem, Remove("/bin/a"));
  EXPECT_EQ(-kErrorSystem, RenderJobs(folder_.Files()));
  EXPECT_EQ("failed", folder_.Stored());
  EXPECT_EQ(bytes, Content(folder_.Database()));
  EXPECT_EQ(crontab, folder_.Crontab());
}

TEST_F(JobStoreTest, ADatabaseOfALaterProgramIsLeftAlone) {
  ASSERT_EQ(0, Save(JobNamed("/bin/a")));
  {
    auto database = Database::Open(folder_.Database().c_str(), {nullptr, 1});
    ASSERT_TRUE(database->Execute("PRAGMA user_version = 99"));
  }
  EXPECT_EQ(-kErrorSystem, Save(JobNamed("/bin/b")));
  EXPECT_EQ("7 3 * * * /bin/a\n", folder_.Scheduled());
}

TEST_F(JobStoreTest, WhereThereIsNoFolderNothingIsStored) {
  const std::string nowhere = folder_.File("nowhere/schedule.db");
  EXPECT_EQ(-kErrorDenied, SaveJob({nowhere.c_str(), folder_.Crontabs().c_str()}, JobNamed("/bin/a")));
}

TEST_F(JobStoreTest, WritersSideBySideLoseNothing) {
  constexpr int kWriters = 5, kEach = 6;
  std::set<pid_t> children;
  for (int writer = 0; writer < kWriters; ++writer) {
    const pid_t pid = fork();
    if (pid == 0) {
      int failed = 0;
      for (int i = 0; i < kEach; ++i) {
        const std::string name = "/bin/a " + std::to_string(writer) + "-" + std::to_string(i);
        failed += Save(JobNamed(name)) == 0 ? 0 : 1;
        if (i % 2 == 1) failed += Remove(name.c_str()) == 0 ? 0 : 1;
      }
      _exit(failed);
    }
    children.insert(pid);
  }
  for (const pid_t pid : children) {
    int status = 0;
    waitpid(pid, &status, 0);
    EXPECT_EQ(0, status);
  }
  std::vector<Job> jobs;
  ASSERT_EQ(0, ListJobs(folder_.Files(), &jobs));
  EXPECT_EQ(static_cast<size_t>(kWriters * kEach / 2), jobs.size());
  EXPECT_EQ(folder_.Stored(), folder_.Scheduled());
}

}  // namespace
}  // namespace kest
