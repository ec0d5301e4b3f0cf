#include "host/database/database.h"

#include <stdio.h>
#include <sys/stat.h>
#include <syslog.h>
#include <time.h>

namespace kest {
namespace {

constexpr int kBusyTimeoutMs = 5000;
constexpr int kPollMs = 10;

int last_failure = SQLITE_OK;

bool IsBusy(int result) { return (result & 0xff) == SQLITE_BUSY; }

void Pause() {
  const timespec poll = {0, kPollMs * 1000 * 1000};
  nanosleep(&poll, nullptr);
}

}  // namespace

std::unique_ptr<Database> Database::Open(const char* path, const Schema& schema) {
  return OpenWith(path, SQLITE_OPEN_READWRITE, schema);
}

std::unique_ptr<Database> Database::OpenOrCreate(const char* path, const Schema& schema) {
  // SQLite gives the log and its index the mode of the file, so this decides for all three.
  const mode_t mask = umask(077);
  auto database = OpenWith(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, schema);
  umask(mask);
  return database;
}

std::unique_ptr<Database> Database::OpenWith(const char* path, int flags, const Schema& schema) {
  sqlite3* handle = nullptr;
  const int opened = sqlite3_open_v2(path, &handle, flags | SQLITE_OPEN_NOMUTEX, nullptr);
  std::unique_ptr<Database> database(new Database(handle, path));
  if (opened != SQLITE_OK) {
    database->Fail("open");
    return nullptr;
  }
  sqlite3_busy_timeout(handle, kBusyTimeoutMs);
  const bool may_fill = (flags & SQLITE_OPEN_CREATE) != 0;
  if (!may_fill) {
    const int version = database->Version();
    if (version == 0) database->Refuse("no usable database");
    if (version <= 0) return nullptr;
  }
  return database->Prepare(schema) ? std::move(database) : nullptr;
}

bool Database::Prepare(const Schema& schema) {
  if (!Execute("PRAGMA foreign_keys = ON")) return false;
  const int version = Version();
  if (version == schema.count) return true;
  if (version < 0) return false;
  if (version > schema.count) return Refuse("of a version that is newer than this program");
  return UseLog() && Migrate(schema);
}

// SQLite gives up at once when another process switches the same file, busy timeout or not: the waiting is done here.
bool Database::UseLog() {
  constexpr const char* kSwitch = "PRAGMA journal_mode = WAL";
  for (int waited_ms = 0; waited_ms < kBusyTimeoutMs; waited_ms += kPollMs) {
    const int result = sqlite3_exec(handle(), kSwitch, nullptr, nullptr, nullptr);
    if (result == SQLITE_OK) return true;
    if (!IsBusy(result)) break;
    Pause();
  }
  return Fail(kSwitch);
}

bool Database::Migrate(const Schema& schema) {
  Transaction transaction(*this);
  if (!transaction.open()) return false;
  // Another process may have done it while this one waited for the lock.
  for (int version = Version(); version < schema.count; ++version) {
    if (version < 0 || !Execute(schema.steps[version])) return false;
  }
  char pragma[48];
  snprintf(pragma, sizeof(pragma), "PRAGMA user_version = %d", schema.count);
  return Execute(pragma) && transaction.Commit();
}

int Database::Version() {
  Statement query(*this, "PRAGMA user_version");
  return query.Row() ? query.Int(0) : -1;
}

bool Database::Execute(const char* sql) {
  return sqlite3_exec(handle(), sql, nullptr, nullptr, nullptr) == SQLITE_OK || Fail(sql);
}

int Database::LastFailure() { return last_failure; }

bool Database::Refuse(const char* why) const {
  last_failure = SQLITE_NOTADB;
  syslog(LOG_ERR, "%s: %s", path_.c_str(), why);
  return false;
}

bool Database::Fail(const char* doing) const {
  last_failure = sqlite3_errcode(handle());
  // sqlite3_errmsg() accepts the null handle of a failed allocation.
  syslog(LOG_ERR, "%s: %.60s: %s", path_.c_str(), doing, sqlite3_errmsg(handle()));
  return false;
}

Statement::Statement(Database& database, const char* sql) : database_(database) {
  Check(sqlite3_prepare_v2(database.handle(), sql, -1, &statement_, nullptr));
}

void Statement::Check(int result) {
  if (result == SQLITE_OK || failed_) return;
  failed_ = true;
  database_.Fail("statement");
}

Statement& Statement::Bind(int index, int64_t value) {
  if (!failed_) Check(sqlite3_bind_int64(statement_, index, value));
  return *this;
}

Statement& Statement::Bind(int index, const std::string& value) {
  if (!failed_) {
    Check(sqlite3_bind_text(statement_, index, value.c_str(), static_cast<int>(value.size()), SQLITE_TRANSIENT));
  }
  return *this;
}

Statement& Statement::BindNull(int index) {
  if (!failed_) Check(sqlite3_bind_null(statement_, index));
  return *this;
}

Statement& Statement::Rewind() {
  // What it returns is the failure of the last step, which is known.
  if (!failed_) sqlite3_reset(statement_);
  return *this;
}

bool Statement::Row() {
  if (failed_) return false;
  const int result = sqlite3_step(statement_);
  if (result == SQLITE_ROW) return true;
  if (result != SQLITE_DONE) Check(result);
  return false;
}

std::string_view Statement::View(int column) const {
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement_, column));
  if (text == nullptr) return {};
  return {text, static_cast<size_t>(sqlite3_column_bytes(statement_, column))};
}

std::string Statement::Text(int column) const {
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement_, column));
  return text == nullptr ? std::string() : std::string(text);
}

}  // namespace kest
