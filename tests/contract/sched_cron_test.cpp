// The machine's cron daemon runs what is scheduled.
#include <gtest/gtest.h>

#include <cstdio>

#include "platform/kestsched.h"
#include "started_program.h"

namespace {

constexpr char kTool[] = "/usr/kest/bin/kestjob";
constexpr int kLongest_s = 150;

// Seven minutes past each hour, so that the daemon's fast clock comes by again soon whenever the test begins.
_tag_KEST_SCHEDULE Hourly(const char* command) {
  _tag_KEST_SCHEDULE job = {127, 0, 1, 23, 7, 0, ""};
  snprintf(job.cmd, sizeof(job.cmd), "%s", command);
  return job;
}

bool CronRuns() {
  FILE* const file = fopen("/run/crond.pid", "re");
  if (file != nullptr) fclose(file);
  return file != nullptr;
}

// The event log once it names the task.
std::string LogWith(const char* task) {
  for (int waited_ms = 0; waited_ms < kLongest_s * 1000; waited_ms += 200) {
    std::string log = Started({kTool, "log"}).output;
    if (log.find(task) != std::string::npos) return log;
    usleep(200 * 1000);
  }
  return "nothing was started";
}

TEST(SchedCron, StartsWhatIsScheduledAndTheEventLogNamesIt) {
  for (int tries = 0; tries < 50 && !CronRuns(); ++tries) usleep(100 * 1000);
  if (!CronRuns()) GTEST_SKIP() << "needs cron, which needs root";
  _tag_KEST_SCHEDULE kept = Hourly("/usr/kest/bin/kestnetbkp -a \"100% $(touch /tmp/shell) photos\"");
  _tag_KEST_SCHEDULE removed = Hourly("/usr/kest/bin/kestlocalbkp -a \"removed\"");
  ASSERT_EQ(0, KESTScheduleSet(&removed));
  ASSERT_EQ(0, KESTScheduleSet(&kept));
  ASSERT_EQ(0, KESTScheduleRemove(removed.cmd));
  const std::string log = LogWith("photos");
  EXPECT_NE(std::string::npos,
            log.find("\t7\t1\t0x12900034\tBackup task started by its schedule\t100% $(touch /tmp/shell) photos\t"))
      << log;
  EXPECT_EQ(std::string::npos, log.find("removed")) << log;
  EXPECT_NE(0, access("/tmp/shell", F_OK)) << "a shell has read the task's name";
}

}  // namespace
