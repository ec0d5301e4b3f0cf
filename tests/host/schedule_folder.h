#ifndef TESTS_HOST_SCHEDULE_FOLDER_H_
#define TESTS_HOST_SCHEDULE_FOLDER_H_

#include <pwd.h>
#include <sys/stat.h>

#include <cstdio>

#include "folder.h"
#include "host/schedule/job_store.h"

inline _tag_KEST_SCHEDULE JobNamed(const std::string& command, int weekdays = 127, int hour = 3, int freq = 0,
                                   int last_hour = 3, int minute = 7) {
  _tag_KEST_SCHEDULE job = {weekdays, hour, freq, last_hour, minute, 0, ""};
  snprintf(job.cmd, sizeof(job.cmd), "%s", command.c_str());
  return job;
}

/// A place of the test's own for the jobs' database and the crontabs.
class ScheduleFolder : public Folder {
 public:
  ScheduleFolder() {
    mkdir(crontabs_.c_str(), 0700);
    const passwd* const self = getpwuid(geteuid());
    owner_ = self == nullptr ? "" : self->pw_name;
  }

  kest::JobFiles Files() const { return {database_.c_str(), crontabs_.c_str()}; }
  const std::string& Database() const { return database_; }
  const std::string& Crontabs() const { return crontabs_; }
  std::string CrontabPath() const { return crontabs_ + "/" + owner_; }
  std::string Crontab() const { return Content(CrontabPath()); }

  /// The crontab fields and commands of the stored jobs, a line each; "failed" when they cannot be read.
  std::string Stored() const {
    std::vector<kest::Job> jobs;
    if (kest::ListJobs(Files(), &jobs) < 0) return "failed";
    std::string lines;
    for (const kest::Job& job : jobs) lines += kest::CrontabTime(job.schedule) + " " + job.schedule.cmd + "\n";
    return lines;
  }

  /// The same, as the crontab says it; "damaged" for one that is not whole.
  std::string Scheduled() const {
    std::string text = Crontab(), lines, none;
    if (!kest::WithJobs(text, {}, &none)) return "damaged";
    std::string command;
    for (size_t start = 0; start < text.size();) {
      const size_t end = std::min(text.find('\n', start), text.size());
      const std::string line = text.substr(start, end - start);
      const size_t runner = line.find(" /usr/kest/bin/kestjob run ");
      if (line[0] == '#') command = line.substr(2);
      if (line[0] != '#' && runner != std::string::npos) lines += line.substr(0, runner) + " " + command + "\n";
      start = end + 1;
    }
    return lines;
  }

 private:
  std::string database_ = File("schedule.db"), crontabs_ = File("crontabs"), owner_;
};

#endif  // TESTS_HOST_SCHEDULE_FOLDER_H_
