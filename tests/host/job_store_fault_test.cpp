// What is left of the jobs and of the crontab when a change fails or its process is killed, at each call in turn.
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>

#include <csignal>
#include <filesystem>
#include <functional>

#include "host/klib/error_code.h"
#include "host/schedule/event_log.h"
#include "schedule_folder.h"
#include "system_faults.h"

namespace kest {
namespace {

constexpr char kBefore[] = "7 3 * * * /bin/a\n7 3 * * * /bin/b\n";
constexpr char kSaved[] = "7 3 * * * /bin/a\n7 3 * * * /bin/b\n7 3 * * * /bin/c\n";
constexpr char kRemoved[] = "7 3 * * * /bin/b\n";
constexpr int kMostCalls = 100;
constexpr const char* kCalls[] = {"open", "mkostemp", "write", "fsync", "rename", "fchmod", "fstat"};

struct Change {
  const char* name;
  const char* after;
  int (*run)(const JobFiles& files);
};
constexpr Change kChanges[] = {
    {"save", kSaved, [](const JobFiles& files) { return SaveJob(files, JobNamed("/bin/c")); }},
    {"remove", kRemoved, [](const JobFiles& files) { return RemoveJob(files, "/bin/a"); }},
};

class JobStoreFaultTest : public testing::TestWithParam<Change> {
 protected:
  void SetUp() override {
    ASSERT_EQ(0, SaveJob(arranged_.Files(), JobNamed("/bin/a")));
    ASSERT_EQ(0, SaveJob(arranged_.Files(), JobNamed("/bin/b")));
  }

  // Copied, because each save waits for the disk.
  void Arrange(const ScheduleFolder& folder) const {
    std::filesystem::copy_file(arranged_.Database(), folder.Database());
    std::filesystem::copy_file(arranged_.CrontabPath(), folder.CrontabPath());
    ASSERT_EQ(kBefore, folder.Stored());
    ASSERT_EQ(kBefore, folder.Scheduled());
  }

  // In a process of its own, so that it may be killed. Its exit status; 0x100 when the fault did not strike.
  static int RunFaulty(const ScheduleFolder& folder, const char* call, int error, int nth) {
    constexpr int kNotStruck = 99;
    const pid_t pid = fork();
    if (pid == 0) {
      const FailingCall fault(call, error, nth);
      const int result = GetParam().run(folder.Files());
      if (!fault.Struck()) _exit(kNotStruck);
      _exit(result == 0 ? 0 : 1);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == kNotStruck ? 0x10000 : status;
  }

  // Leftovers of a killed process are hidden, so that cron passes over them.
  static void ExpectOnlyHiddenLeftovers(const ScheduleFolder& folder, const std::string& where) {
    DIR* const crontabs = opendir(folder.Crontabs().c_str());
    int visible = 0;
    while (const dirent* entry = readdir(crontabs)) visible += entry->d_name[0] == '.' ? 0 : 1;
    closedir(crontabs);
    EXPECT_EQ(1, visible) << where;
  }

  const ScheduleFolder arranged_;
};

TEST_P(JobStoreFaultTest, AFailedCallFailsTheChangeOrDoesNotMatter) {
  for (const char* call : kCalls) {
    int struck = 0;
    for (int nth = 1; nth < kMostCalls; ++nth) {
      const ScheduleFolder folder;
      Arrange(folder);
      const int status = RunFaulty(folder, call, ENOSPC, nth);
      if (status == 0x10000) break;
      ++struck;
      const std::string where = std::string(call) + " " + std::to_string(nth);
      ASSERT_TRUE(WIFEXITED(status)) << where;
      // Told that it failed: all is as before. Told that it was done: it is.
      EXPECT_EQ(WEXITSTATUS(status) == 0 ? GetParam().after : kBefore, folder.Stored()) << where;
      EXPECT_EQ(folder.Stored(), folder.Scheduled()) << where;
      EXPECT_EQ(0, GetParam().run(folder.Files())) << where << ": afterwards all works";
      EXPECT_EQ(GetParam().after, folder.Scheduled()) << where;
    }
    EXPECT_NE(0, struck) << call << " never came";
  }
}

TEST_P(JobStoreFaultTest, AKilledProcessLeavesBothWhole) {
  for (const char* call : kCalls) {
    int struck = 0;
    for (int nth = 1; nth < kMostCalls; ++nth) {
      const ScheduleFolder folder;
      Arrange(folder);
      const int status = RunFaulty(folder, call, FailingCall::kKilled, nth);
      if (status == 0x10000) break;
      ++struck;
      const std::string where = std::string(call) + " " + std::to_string(nth);
      ASSERT_TRUE(WIFSIGNALED(status)) << where;
      const std::string stored = folder.Stored(), scheduled = folder.Scheduled();
      EXPECT_TRUE(stored == kBefore || stored == GetParam().after) << where << ": " << stored;
      EXPECT_TRUE(scheduled == kBefore || scheduled == GetParam().after) << where << ": " << scheduled;
      ExpectOnlyHiddenLeftovers(folder, where);
      EXPECT_EQ(0, RenderJobs(folder.Files())) << where;
      EXPECT_EQ(stored, folder.Scheduled()) << where << ": the crontab follows the database again";
      EXPECT_EQ(0, GetParam().run(folder.Files())) << where;
      EXPECT_EQ(GetParam().after, folder.Scheduled()) << where;
    }
    EXPECT_NE(0, struck) << call << " never came";
  }
}

INSTANTIATE_TEST_SUITE_P(Changes, JobStoreFaultTest, testing::ValuesIn(kChanges),
                         [](const testing::TestParamInfo<Change>& row) { return row.param.name; });

constexpr int kSkipped = 77;

int RunApart(const std::function<int()>& check) {
  const pid_t pid = fork();
  if (pid == 0) _exit(check());
  int status = 0;
  waitpid(pid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// A memory disk of 64 KiB at the folder, filled but for `left` bytes.
bool MountFullDisk(const std::string& at, size_t left) {
  if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return false;
  if (mount("tmpfs", at.c_str(), "tmpfs", 0, "size=64k") != 0) return false;
  std::ofstream(at + "/ballast") << std::string(64 * 1024 - left, 'x');
  return true;
}

TEST(JobStoreFullDiskTest, AFullDiskIsToldAndLeavesNothingScheduled) {
  const ScheduleFolder folder;
  const int result = RunApart([&folder] {
    mkdir(folder.File("disk").c_str(), 0700);
    if (!MountFullDisk(folder.File("disk"), 8192)) return kSkipped;
    const std::string database = folder.File("disk/schedule.db");
    const int saved = SaveJob({database.c_str(), folder.Crontabs().c_str()}, JobNamed("/bin/a"));
    if (saved == 0 || folder.Scheduled() != "") return 1;
    return AddEvent(folder.File("disk/events.db").c_str(), {1, 1, 1, {"x"}, 0}) < 0 ? 0 : 2;
  });
  if (result == kSkipped) GTEST_SKIP() << "needs the right to mount a small file system";
  EXPECT_EQ(0, result);
}

TEST(JobStoreFullDiskTest, ACrontabThatFindsNoRoomTakesTheChangeBack) {
  const ScheduleFolder folder;
  const int result = RunApart([&folder] {
    if (!MountFullDisk(folder.Crontabs(), 0)) return kSkipped;
    if (SaveJob(folder.Files(), JobNamed("/bin/a")) != -kErrorNoSpace) return 1;
    return folder.Stored() == "" && access(folder.CrontabPath().c_str(), F_OK) != 0 ? 0 : 2;
  });
  if (result == kSkipped) GTEST_SKIP() << "needs the right to mount a small file system";
  EXPECT_EQ(0, result);
}

}  // namespace
}  // namespace kest
