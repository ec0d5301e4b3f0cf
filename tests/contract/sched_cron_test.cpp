// The machine's cron daemon runs what is scheduled.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>

#include "platform/kestsched.h"
#include "started_program.h"

namespace {

constexpr char kTool[] = "/usr/kest/bin/kestjob";
constexpr int kLongest_s = 300;
constexpr char kPidFile[] = "/run/crond.pid";

constexpr int kMinutesAhead = 15;

// Some minutes ahead in each hour. The daemon's fast clock begins two minutes before an hour and goes a minute in each
// second from then on: it comes by soon, and not before what is removed again has gone.
int MinuteToCome() {
  struct stat begun;
  if (stat(kPidFile, &begun) != 0) return 0;
  return static_cast<int>((58 + time(nullptr) - begun.st_mtim.tv_sec + kMinutesAhead) % 60);
}

_tag_KEST_SCHEDULE Hourly(const char* command, int minute) {
  _tag_KEST_SCHEDULE job = {127, 0, 1, 23, minute, 0, ""};
  snprintf(job.cmd, sizeof(job.cmd), "%s", command);
  return job;
}

bool CronRuns() { return access(kPidFile, F_OK) == 0; }

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
  for (int tries = 0; tries < 100 && !CronRuns(); ++tries) usleep(100 * 1000);
  if (!CronRuns()) GTEST_SKIP() << "needs cron, which needs root";
  const int minute = MinuteToCome();
  _tag_KEST_SCHEDULE kept = Hourly("/usr/kest/bin/kestnetbkp -a \"100% $(touch /tmp/shell) photos\"", minute);
  _tag_KEST_SCHEDULE removed = Hourly("/usr/kest/bin/kestlocalbkp -a \"removed\"", minute);
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
