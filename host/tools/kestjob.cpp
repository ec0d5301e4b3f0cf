// kestjob: the scheduled jobs and the event log of this machine, and what the cron daemon runs.
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "host/klib/error_code.h"
#include "host/schedule/command_line.h"
#include "host/schedule/event_log.h"
#include "host/schedule/job_store.h"

namespace kest {
namespace {

constexpr char kUsage[] =
    "usage: kestjob list                      number, minute, hours, days (crontab fields) and command of each job\n"
    "       kestjob run NUMBER                runs a job's command in its place; cron does this\n"
    "       kestjob render                    writes the crontab anew\n"
    "       kestjob log [COUNT]               the newest entries of the event log (100), oldest first: time in UTC,\n"
    "                                         category, level, event and four texts\n"
    "       kestjob enter CATEGORY LEVEL EVENT [TEXT]...\n"
    "                                         adds an entry with up to four texts; level 1 information, 2 warning,\n"
    "                                         3 error; numbers also as 0x...\n"
    "Columns are separated by tabs; control characters of a text are printed as ?.\n"
    "Exit status: 0 done, 1 refused or no such job, 2 wrong usage, 3 the database or the crontab failed; of run: that\n"
    "of the command, or 127 when it cannot be started.\n";

enum Exit { kDone = 0, kRefused = 1, kWrongUsage = 2, kBroken = 3, kNotStarted = 127 };
constexpr int kTexts = 4;
constexpr int kUsualEntries = 100;

int Report(int result) {
  if (result >= 0) return kDone;
  if (result == -kErrorBadParameter) {
    fputs("kestjob: refused\n", stderr);
    return kRefused;
  }
  fprintf(stderr, "kestjob: failed with 0x%04X\n", static_cast<unsigned>(-result));
  return kBroken;
}

// The whole word as a number, decimal or 0x...
bool NumberOf(const char* word, long least, long most, long* out) {
  char* end = nullptr;
  const long number = strtol(word, &end, strncmp(word, "0x", 2) == 0 ? 16 : 10);
  if (end == word || *end != '\0' || number < least || number > most) return false;
  *out = number;
  return true;
}

std::string Printable(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7f; }, '?');
  return text;
}

int List(int, char**) {
  std::vector<Job> jobs;
  const int result = ListJobs({}, &jobs);
  for (const Job& job : jobs) {
    std::string fields = CrontabTime(job.schedule);
    std::replace(fields.begin(), fields.end(), ' ', '\t');
    printf("%lld\t%s\t%s\n", static_cast<long long>(job.id), fields.c_str(), Printable(job.schedule.cmd).c_str());
  }
  return Report(result);
}

int Start(const _tag_KEST_SCHEDULE& job) {
  std::vector<std::string> words;
  if (!SplitCommandLine(job.cmd, &words)) return Report(-kErrorBadParameter);
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(&word[0]);
  arguments.push_back(nullptr);
  execv(arguments[0], arguments.data());
  syslog(LOG_ERR, "%s: %m", arguments[0]);
  return kNotStarted;
}

int Run(int, char** words) {
  long id = 0;
  if (!NumberOf(words[0], 1, LONG_MAX, &id)) return kWrongUsage;
  _tag_KEST_SCHEDULE job = {};
  const int found = FindJobById({}, id, &job);
  if (found < 0) return Report(found);
  if (found > 0) return Start(job);
  // The crontab of somebody who died between crontab and database.
  syslog(LOG_WARNING, "there is no job %ld", id);
  return kRefused;
}

int Render(int, char**) { return Report(RenderJobs({})); }

int PrintLog(int count, char** words) {
  long most = kUsualEntries;
  if (count > 0 && !NumberOf(words[0], 1, kEventsKept, &most)) return kWrongUsage;
  std::vector<Event> events;
  const int result = ListEvents(kEventsPath, static_cast<int>(most), &events);
  for (const Event& event : events) {
    char when[32];
    const time_t seconds = event.time;
    struct tm parts;
    strftime(when, sizeof(when), "%Y-%m-%dT%H:%M:%SZ", gmtime_r(&seconds, &parts));
    printf("%s\t%d\t%d\t0x%08X", when, event.category, event.level, static_cast<unsigned>(event.event));
    for (const std::string& text : event.texts) printf("\t%s", Printable(text).c_str());
    putchar('\n');
  }
  return Report(result);
}

int Enter(int count, char** words) {
  long category = 0, level = 0, event = 0;
  if (!NumberOf(words[0], 0, INT32_MAX, &category) || !NumberOf(words[1], 0, INT32_MAX, &level) ||
      !NumberOf(words[2], 0, INT32_MAX, &event)) {
    return kWrongUsage;
  }
  Event entry;
  entry.category = static_cast<int>(category);
  entry.level = static_cast<int>(level);
  entry.event = static_cast<int>(event);
  for (int i = 3; i < count; ++i) entry.texts[i - 3] = words[i];
  return Report(AddEvent(kEventsPath, entry));
}

struct Command {
  const char* word;
  int least;  // words behind it
  int most;
  int (*run)(int count, char** words);
};

constexpr Command kCommands[] = {
    {"list", 0, 0, List},
    {"run", 1, 1, Run},
    {"render", 0, 0, Render},
    {"log", 0, 1, PrintLog},
    {"enter", 3, 3 + kTexts, Enter},
};

int Main(int argc, char** argv) {
  int result = kWrongUsage;
  for (const Command& command : kCommands) {
    const int count = argc - 2;
    if (argc < 2 || strcmp(argv[1], command.word) != 0 || count < command.least || count > command.most) continue;
    result = command.run(count, argv + 2);
  }
  if (result == kWrongUsage) fputs(kUsage, stderr);
  return result;
}

}  // namespace
}  // namespace kest

int main(int argc, char** argv) {
  // What a file says about a failure goes to the terminal as well, and from cron into its mail.
  openlog("kestjob", LOG_PERROR, LOG_USER);
  return kest::Main(argc, argv);
}
