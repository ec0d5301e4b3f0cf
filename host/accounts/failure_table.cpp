#include "host/accounts/failure_table.h"

#include <time.h>

#include <algorithm>

namespace kest {
namespace {

constexpr int kFreeFailures = 2;
constexpr int kLongestWait_s = 60;
constexpr int kForgetAfter_s = 3600;
constexpr int kMostNames = 4096;

constexpr const char* kSteps[] = {
    "CREATE TABLE failures (name TEXT PRIMARY KEY, count INTEGER NOT NULL, last INTEGER NOT NULL)"
    " STRICT, WITHOUT ROWID;"
    "CREATE INDEX failures_by_weight ON failures (count, last)",
};
constexpr Database::Schema kSchema = {kSteps, 1};

int64_t WaitFor(int64_t count) {
  if (count <= kFreeFailures) return 0;
  const int64_t doublings = std::min<int64_t>(count - kFreeFailures - 1, 6);
  return std::min<int64_t>(int64_t{1} << doublings, kLongestWait_s);
}

}  // namespace

std::unique_ptr<FailureTable> FailureTable::Open(const char* path) {
  auto database = Database::OpenOrCreate(path, kSchema);
  // A count lost in a power failure is no loss; a wait for the disk at every wrong password would be one.
  if (database == nullptr || !database->Execute("PRAGMA synchronous = OFF")) return nullptr;
  return std::unique_ptr<FailureTable>(new FailureTable(std::move(database)));
}

int FailureTable::SecondsToWait(const std::string& folded_name) {
  const int64_t now = time(nullptr);
  // A clock set back must not prolong a wait: what then lies in the future counts from now on.
  Statement mend(*database_, "UPDATE failures SET last = ?1 WHERE name = ?2 AND last > ?1");
  if (!mend.Bind(1, now).Bind(2, folded_name).Run()) return -1;
  Statement query(*database_, "SELECT count, last FROM failures WHERE name = ?");
  if (!query.Bind(1, folded_name).Row()) return query.failed() ? -1 : 0;
  return static_cast<int>(std::max<int64_t>(0, query.Number(1) + WaitFor(query.Number(0)) - now));
}

bool FailureTable::Add(const std::string& folded_name) {
  const int64_t now = time(nullptr);
  Transaction transaction(*database_);
  if (!transaction.open() || !Trim(now)) return false;
  Statement add(*database_,
                "INSERT INTO failures (name, count, last) VALUES (?1, 1, ?2)"
                " ON CONFLICT (name) DO UPDATE SET count = count + 1, last = ?2");
  return add.Bind(1, folded_name).Bind(2, now).Run() && transaction.Commit();
}

bool FailureTable::Trim(int64_t now) {
  Statement forget(*database_, "DELETE FROM failures WHERE last < ?");
  if (!forget.Bind(1, now - kForgetAfter_s).Run()) return false;
  Statement trim(*database_,
                 "DELETE FROM failures WHERE name IN (SELECT name FROM failures ORDER BY count, last"
                 " LIMIT max(0, (SELECT count(*) FROM failures) - ?))");
  return trim.Bind(1, kMostNames - 1).Run();
}

bool FailureTable::Forget(const std::string& folded_name) {
  Statement forget(*database_, "DELETE FROM failures WHERE name = ?");
  return forget.Bind(1, folded_name).Run();
}

}  // namespace kest
