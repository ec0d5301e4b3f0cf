#include "host/schedule/crontab.h"

#include <fcntl.h>
#include <pwd.h>
#include <string.h>
#include <sys/stat.h>
#include <syslog.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <memory>

#include "host/klib/error_code.h"
#include "host/klib/file_read.h"
#include "host/klib/file_replace.h"
#include "host/klib/key_value_line.h"
#include "host/schedule/command_line.h"

namespace kest {
namespace {

constexpr std::string_view kBegin = "# BEGIN jobs of the appliance";
constexpr std::string_view kBeginRest = " (kestjob list): what stands here is replaced\n";
constexpr std::string_view kEnd = "# END jobs of the appliance";
constexpr char kRunner[] = "/usr/kest/bin/kestjob run ";
constexpr int kDaily = 127;
// cron refuses a crontab that others may read or write.
constexpr mode_t kCrontabMode = 0600;

bool IsWithin(int value, int least, int most) { return value >= least && value <= most; }

bool StartsWith(std::string_view text, std::string_view start) { return text.substr(0, start.size()) == start; }

std::string Hours(const _tag_KEST_SCHEDULE& job) {
  std::string hours = std::to_string(job.hour);
  if (job.freq == 0) return hours;
  for (int hour = job.hour + job.freq; hour <= job.lastHour; hour += job.freq) hours += "," + std::to_string(hour);
  return hours;
}

std::string Days(int mask) {
  if (mask == kDaily) return "*";
  std::string days;
  for (int day = 0; day < 7; ++day) {
    if ((mask >> day & 1) != 0) days.append(days.empty() ? "" : ",").append(std::to_string(day));
  }
  return days;
}

std::string Section(const std::vector<Job>& jobs) {
  if (jobs.empty()) return "";
  std::string section = std::string(kBegin).append(kBeginRest);
  for (const Job& job : jobs) {
    section.append("# ").append(job.schedule.cmd).append("\n");
    section.append(CrontabTime(job.schedule)).append(" ").append(kRunner).append(std::to_string(job.id)).append("\n");
  }
  return section.append(kEnd).append("\n");
}

struct Close {
  void operator()(FILE* file) const { fclose(file); }
};

// The name of the account with this number; "" when there is none. Read from the file itself: whoever owns a service's
// files stands there, and asking the system's name services would map their libraries.
std::string AccountName(uid_t uid) {
  const std::unique_ptr<FILE, Close> accounts(fopen("/etc/passwd", "re"));
  if (accounts == nullptr) return "";
  while (const passwd* account = fgetpwent(accounts.get())) {
    if (account->pw_uid == uid) return account->pw_name;
  }
  return "";
}

int Fail(const char* path, int error) {
  syslog(LOG_ERR, "%s: jobs could not be written: %s", path, strerror(error));
  return -ErrorCodeOf(error);
}

// cron reads a file again only when the time of its folder and its own, in whole seconds, are others than last time. Of
// several changes within one second it could miss the last for good, so each has a later time than the one before.
void MakeNoticed(const std::string& path, time_t before) {
  struct stat now;
  if (stat(path.c_str(), &now) != 0 || now.st_mtime > before) return;
  const timespec times[] = {{0, UTIME_OMIT}, {before + 1, 0}};
  // Not possible for a folder that belongs to somebody else: the next minute's change is noticed all the same.
  utimensat(AT_FDCWD, path.c_str(), times, 0);
}

time_t TimeOf(const std::string& path) {
  struct stat now;
  return stat(path.c_str(), &now) == 0 ? now.st_mtime : 0;
}

int Replace(const std::string& folder, const std::string& path, const std::vector<Job>& jobs) {
  FileReplace file;
  std::string old, text;
  if (!file.Open(path.c_str(), kCrontabMode) || !ReadWholeFile(file.Path(), kTextFileMax, &old)) {
    // On a machine without cron there is nothing that a removed job would have to be taken out of.
    return jobs.empty() && errno == ENOENT ? 0 : Fail(path.c_str(), errno);
  }
  if (!WithJobs(old, jobs, &text)) {
    syslog(LOG_ERR, "%s: the section of the appliance's jobs is damaged; nothing was written", path.c_str());
    return -kErrorSystem;
  }
  if (std::count(text.begin(), text.end(), '\n') > kCrontabLinesMax) return Fail(path.c_str(), ENOSPC);
  if (text == old) return 0;
  const time_t file_time = TimeOf(path), folder_time = TimeOf(folder);
  if (!file.Commit(text)) return Fail(path.c_str(), errno);
  MakeNoticed(path, file_time);
  MakeNoticed(folder, folder_time);
  return 0;
}

}  // namespace

bool IsValidJob(const _tag_KEST_SCHEDULE& job) {
  std::vector<std::string> words;
  return IsWithin(job.weekdays, 1, kDaily) && IsWithin(job.hour, 0, 23) && IsWithin(job.minute, 0, 59) &&
         IsWithin(job.freq, 0, 23) && IsWithin(job.lastHour, 0, 23) && (job.freq == 0 || job.lastHour >= job.hour) &&
         memchr(job.cmd, '\0', sizeof(job.cmd)) != nullptr && SplitCommandLine(job.cmd, &words);
}

std::string CrontabTime(const _tag_KEST_SCHEDULE& job) {
  return std::to_string(job.minute) + " " + Hours(job) + " * * " + Days(job.weekdays);
}

bool WithJobs(std::string_view crontab, const std::vector<Job>& jobs, std::string* out) {
  std::string text;
  bool inside = false, placed = false;
  while (!crontab.empty()) {
    const std::string_view line = TakeLine(&crontab);
    const bool begins = StartsWith(line, kBegin), ends = StartsWith(line, kEnd);
    if (begins ? placed : ends && !inside) return false;
    if (begins) {
      inside = placed = true;
      text.append(Section(jobs));
    } else if (ends) {
      inside = false;
    } else if (!inside) {
      text.append(line).append("\n");
    }
  }
  if (inside) return false;
  if (!placed) text.append(Section(jobs));
  out->swap(text);
  return true;
}

int WriteCrontab(const char* folder, const char* database, const std::vector<Job>& jobs) {
  struct stat file;
  if (stat(database, &file) != 0) return Fail(database, errno);
  const std::string owner = AccountName(file.st_uid);
  if (owner.empty()) {
    syslog(LOG_ERR, "%s: belongs to no account in /etc/passwd, so no crontab can run its jobs", database);
    return -kErrorNoSuchObject;
  }
  return Replace(folder, std::string(folder) + "/" + owner, jobs);
}

}  // namespace kest
