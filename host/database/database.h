// SQLite with the lifetimes in the types. A failure is logged where it happens; callers only pass it on.
#ifndef KEST_HOST_DATABASE_DATABASE_H_
#define KEST_HOST_DATABASE_DATABASE_H_

#include <sqlite3.h>
#include <stdint.h>

#include <memory>
#include <string>
#include <string_view>

namespace kest {

// A database file in WAL mode with foreign keys on. No transaction outlives a piece of work, whoever keeps the file
// open, and the last one to close folds the log back into the file.
class Database {
 public:
  // The steps that bring a file from version N (its user_version) to N + 1, in order.
  struct Schema {
    const char* const* steps;
    int count;
  };

  // An existing file, brought up to date. nullptr when it is missing, damaged, empty or newer than this program.
  static std::unique_ptr<Database> Open(const char* path, const Schema& schema);

  // As Open(), but a missing file is made (mode 0600).
  static std::unique_ptr<Database> OpenOrCreate(const char* path, const Schema& schema);

  bool Execute(const char* sql);

  // Rows changed by the last statement.
  int Changes() const { return sqlite3_changes(handle_.get()); }
  // The number that the last inserted row was given.
  int64_t LastNumber() const { return sqlite3_last_insert_rowid(handle_.get()); }

  sqlite3* handle() const { return handle_.get(); }

  // Logs what SQLite last complained about. Always false.
  bool Fail(const char* doing) const;

  // SQLite's code of this process's last failure, for those who have to say what kind it was.
  static int LastFailure();

 private:
  struct Closer {
    void operator()(sqlite3* handle) const { sqlite3_close(handle); }
  };

  Database(sqlite3* handle, const char* path) : handle_(handle), path_(path) {}
  static std::unique_ptr<Database> OpenWith(const char* path, int flags, const Schema& schema);
  // Logs what is wrong with a file that SQLite itself has nothing against. Always false.
  bool Refuse(const char* why) const;
  bool Prepare(const Schema& schema);
  bool UseLog();
  bool Migrate(const Schema& schema);
  int Version();

  std::unique_ptr<sqlite3, Closer> handle_;
  std::string path_;
};

// A prepared statement. Once something failed, Row() and Run() stay false and failed() tells.
class Statement {
 public:
  Statement(Database& database, const char* sql);
  ~Statement() { sqlite3_finalize(statement_); }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  Statement& Bind(int index, int64_t value);
  Statement& Bind(int index, const std::string& value);
  Statement& BindNull(int index);

  // Back to before the first row, to be bound and run once more. Values stay bound.
  Statement& Rewind();

  // Steps to the next row: true when there is one.
  bool Row();
  // For statements without rows.
  bool Run() { return !Row() && !failed_; }
  bool failed() const { return failed_; }

  int64_t Number(int column) const { return sqlite3_column_int64(statement_, column); }
  int Int(int column) const { return sqlite3_column_int(statement_, column); }
  std::string Text(int column) const;
  // The same bytes where SQLite has them, until the next step.
  std::string_view View(int column) const;
  bool IsNull(int column) const { return sqlite3_column_type(statement_, column) == SQLITE_NULL; }

 private:
  void Check(int result);

  Database& database_;
  sqlite3_stmt* statement_ = nullptr;
  bool failed_ = false;
};

// A write transaction: rolled back unless committed.
class Transaction {
 public:
  explicit Transaction(Database& database) : database_(database), open_(database.Execute("BEGIN IMMEDIATE")) {}
  ~Transaction() {
    // SQLite has already rolled back by itself after a full disk and the like.
    if (open_ && sqlite3_get_autocommit(database_.handle()) == 0) database_.Execute("ROLLBACK");
  }
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  bool open() const { return open_; }
  bool Commit() {
    if (!open_ || !database_.Execute("COMMIT")) return false;
    open_ = false;
    return true;
  }

 private:
  Database& database_;
  bool open_;
};

// Several reads of one state of the database; writers are not kept waiting.
class Snapshot {
 public:
  explicit Snapshot(Database& database) : database_(database), open_(database.Execute("BEGIN")) {}
  ~Snapshot() {
    if (open_) database_.Execute("ROLLBACK");
  }
  Snapshot(const Snapshot&) = delete;
  Snapshot& operator=(const Snapshot&) = delete;

  bool open() const { return open_; }

 private:
  Database& database_;
  bool open_;
};

}  // namespace kest

#endif  // KEST_HOST_DATABASE_DATABASE_H_
