// The jobs as the cron daemon reads them.
//
// A line names a job by its number only; cron's shell never sees a command that somebody else has worded:
//
//     # BEGIN jobs of the appliance (kestjob list): what stands here is replaced
//     # /usr/kest/bin/kestnetbkp -a "photos"
//     7 3 * * 0,2 /usr/kest/bin/kestjob run 4
//     # END jobs of the appliance
#ifndef KEST_HOST_SCHEDULE_CRONTAB_H_
#define KEST_HOST_SCHEDULE_CRONTAB_H_

#include <stdint.h>

#include <string>
#include <string_view>
#include <vector>

#include "platform/kestsched.h"

namespace kest {

struct Job {
  int64_t id = 0;  // never given out twice
  _tag_KEST_SCHEDULE schedule = {};
};

// cron ignores a longer crontab as a whole.
constexpr int kCrontabLinesMax = 1000;

// Whether a line can be made of the job: each number in its range, no end before the start of a repeated one, a command
// line that is one (command_line.h).
bool IsValidJob(const _tag_KEST_SCHEDULE& job);

// The five fields of a job's line: "7 3 * * 0,2".
std::string CrontabTime(const _tag_KEST_SCHEDULE& job);

// The crontab with its section replaced, added at the end, or (without jobs) taken out; every other line stands.
// False when the section has lost its first or its last line, or there are two.
bool WithJobs(std::string_view crontab, const std::vector<Job>& jobs, std::string* out);

// Brings the crontab of the account that owns `database` in line with the jobs: one file in the folder, replaced whole.
// @return 0; the negative of an ErrorCode (logged), and the old file stands
int WriteCrontab(const char* folder, const char* database, const std::vector<Job>& jobs);

}  // namespace kest

#endif  // KEST_HOST_SCHEDULE_CRONTAB_H_
