#include "host/schedule/job_store.h"

#include <stdio.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <string>

#include "host/database/database.h"
#include "host/database/database_error.h"
#include "host/klib/error_code.h"

namespace kest {
namespace {

// A number is never given out twice (AUTOINCREMENT): a crontab that is behind starts no other job than it meant.
constexpr const char* kSteps[] = {
    R"(
CREATE TABLE jobs (
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  command TEXT NOT NULL UNIQUE,
  weekdays INTEGER NOT NULL,
  hour INTEGER NOT NULL,
  frequency INTEGER NOT NULL,
  last_hour INTEGER NOT NULL,
  minute INTEGER NOT NULL
) STRICT;
)",
};
constexpr Database::Schema kSchema = {kSteps, 1};
#define JOB_COLUMNS "SELECT id, command, weekdays, hour, frequency, last_hour, minute FROM jobs "

bool IsMissing(const JobFiles& files) { return access(files.database, F_OK) != 0 && errno == ENOENT; }

Job JobOf(const Statement& row) {
  Job job;
  job.id = row.Number(0);
  snprintf(job.schedule.cmd, sizeof(job.schedule.cmd), "%s", row.Text(1).c_str());
  job.schedule.weekdays = row.Int(2);
  job.schedule.hour = row.Int(3);
  job.schedule.freq = row.Int(4);
  job.schedule.lastHour = row.Int(5);
  job.schedule.minute = row.Int(6);
  return job;
}

template <typename Key>
int Find(const JobFiles& files, const char* sql, const Key& key, _tag_KEST_SCHEDULE* out) {
  if (IsMissing(files)) return 0;
  const auto database = Database::Open(files.database, kSchema);
  if (database == nullptr) return DatabaseFailure();
  Statement query(*database, sql);
  if (!query.Bind(1, key).Row()) return query.failed() ? DatabaseFailure() : 0;
  *out = JobOf(query).schedule;
  return 1;
}

int ReadJobs(Database& database, std::vector<Job>* out) {
  Statement query(database, JOB_COLUMNS "ORDER BY id");
  std::vector<Job> jobs;
  while (query.Row()) jobs.push_back(JobOf(query));
  if (query.failed()) return DatabaseFailure();
  out->swap(jobs);
  return 0;
}

int WriteCrontabOf(const JobFiles& files, Database& database) {
  std::vector<Job> jobs;
  const int read = ReadJobs(database, &jobs);
  return read < 0 ? read : WriteCrontab(files.crontabs, files.database, jobs);
}

// A crontab that is ahead of the database is taken back as far as that is possible.
int TakeBack(const JobFiles& files, Database& database) {
  const int failure = DatabaseFailure();
  Transaction transaction(database);
  if (transaction.open()) WriteCrontabOf(files, database);
  return failure;
}

template <typename Body>
int Change(const JobFiles& files, Database& database, const Body& body) {
  {
    Transaction transaction(database);
    if (!transaction.open() || !body()) return DatabaseFailure();
    const int written = WriteCrontabOf(files, database);
    if (written < 0) return written;
    if (transaction.Commit()) return 0;
  }
  return TakeBack(files, database);
}

int ChangeExisting(const JobFiles& files, const char* command) {
  if (IsMissing(files)) return 0;
  const auto database = Database::Open(files.database, kSchema);
  if (database == nullptr) return DatabaseFailure();
  return Change(files, *database, [&] {
    if (command == nullptr) return true;
    Statement change(*database, "DELETE FROM jobs WHERE command = ?");
    return change.Bind(1, std::string(command)).Run();
  });
}

}  // namespace

int FindJob(const JobFiles& files, const char* command, _tag_KEST_SCHEDULE* out) {
  return Find(files, JOB_COLUMNS "WHERE command = ?", std::string(command), out);
}

int FindJobById(const JobFiles& files, int64_t id, _tag_KEST_SCHEDULE* out) {
  return Find(files, JOB_COLUMNS "WHERE id = ?", id, out);
}

int ListJobs(const JobFiles& files, std::vector<Job>* out) {
  out->clear();
  if (IsMissing(files)) return 0;
  const auto database = Database::Open(files.database, kSchema);
  return database == nullptr ? DatabaseFailure() : ReadJobs(*database, out);
}

int SaveJob(const JobFiles& files, const _tag_KEST_SCHEDULE& job) {
  if (!IsValidJob(job)) return -kErrorBadParameter;
  const auto database = Database::OpenOrCreate(files.database, kSchema);
  if (database == nullptr) return DatabaseFailure();
  return Change(files, *database, [&] {
    Statement save(*database,
                   "INSERT INTO jobs (command, weekdays, hour, frequency, last_hour, minute) VALUES (?, ?, ?, ?, ?, ?)"
                   " ON CONFLICT (command) DO UPDATE SET weekdays = excluded.weekdays, hour = excluded.hour,"
                   " frequency = excluded.frequency, last_hour = excluded.last_hour, minute = excluded.minute");
    save.Bind(1, std::string(job.cmd)).Bind(2, job.weekdays).Bind(3, job.hour).Bind(4, job.freq);
    return save.Bind(5, job.lastHour).Bind(6, job.minute).Run();
  });
}

int RemoveJob(const JobFiles& files, const char* command) { return ChangeExisting(files, command); }

int RenderJobs(const JobFiles& files) { return ChangeExisting(files, nullptr); }

}  // namespace kest
