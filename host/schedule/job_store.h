// The scheduled jobs: one SQLite file, and the crontab that follows from it.
//
// A change writes the crontab while it holds the database's write lock, and commits afterwards; a crontab that cannot
// be written takes the change back. Whoever dies in between leaves a crontab that is ahead of the database: a line too
// many starts "kestjob run" for a job that is not there, which does nothing, and the next change or "kestjob render"
// writes the crontab anew.
#ifndef KEST_HOST_SCHEDULE_JOB_STORE_H_
#define KEST_HOST_SCHEDULE_JOB_STORE_H_

#include <stdint.h>

#include <vector>

#include "host/schedule/crontab.h"
#include "platform/kestsched.h"

namespace kest {

struct JobFiles {
  const char* database = "/usr/kest/etc/schedule.db";
  const char* crontabs = "/var/spool/cron/crontabs";
};

// Results: negative is an ErrorCode with its sign turned (logged where the machine is to blame). Without the database
// there are no jobs; only SaveJob() makes it.

// 1 when `out` was filled, 0 when there is no such job.
int FindJob(const JobFiles& files, const char* command, _tag_KEST_SCHEDULE* out);
int FindJobById(const JobFiles& files, int64_t id, _tag_KEST_SCHEDULE* out);
// The jobs by number.
int ListJobs(const JobFiles& files, std::vector<Job>* out);

int SaveJob(const JobFiles& files, const _tag_KEST_SCHEDULE& job);
int RemoveJob(const JobFiles& files, const char* command);
// Writes the crontab anew.
int RenderJobs(const JobFiles& files);

}  // namespace kest

#endif  // KEST_HOST_SCHEDULE_JOB_STORE_H_
