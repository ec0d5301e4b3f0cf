// What listing shared folders costs, for costs_table.py; inside the appliance tree, whose accounts have been made. The
// yardstick is a plain walk over the same rows by a SQLite connection that is open already.
#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <tarvel/share.h>

#include <cstdlib>
#include <string>

#include "platform/kestdir.h"

namespace {

constexpr char kDatabase[] = "/usr/kest/etc/accounts.db";
constexpr auto kEvery = static_cast<KEST_SHARE_ENUM>(KEST_SHARE_ENUM_COUNTED | KEST_SHARE_ENUM_EXTERNAL);

class Connection {
 public:
  Connection() {
    if (sqlite3_open(kDatabase, &handle_) != SQLITE_OK) std::abort();
  }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  void Run(const std::string& sql) const {
    if (sqlite3_exec(handle_, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) std::abort();
  }
  sqlite3* get() const { return handle_; }

 private:
  sqlite3* handle_ = nullptr;
};

// Never closed: this process has the file open a second time, through the platform's own SQLite, and whoever closes it
// takes the locks of both away.
const Connection& Opened() {
  static const auto* const connection = new Connection;
  return *connection;
}

// So many shares, each with a group that writes, one that reads, and an account without access.
void Fill(int64_t count) {
  const Connection& database = Opened();
  database.Run(
      "BEGIN; DELETE FROM share_access; DELETE FROM shares;"
      "WITH RECURSIVE n(i) AS (VALUES(1) UNION ALL SELECT i + 1 FROM n WHERE i < " +
      std::to_string(count) +
      ") INSERT INTO shares (id, name, folded, description, path) SELECT i, printf('share%04d', i),"
      " printf('share%04d', i), 'Things of department ' || i, printf('/volume1/share%04d', i) FROM n;"
      "INSERT INTO share_access (share, permission, position, gid) SELECT id, 'rw', 0, 101 FROM shares;"
      "INSERT INTO share_access (share, permission, position, gid) SELECT id, 'ro', 0, 100 FROM shares;"
      "INSERT INTO share_access (share, permission, position, uid) SELECT id, 'na', 0, (SELECT max(uid) FROM accounts)"
      " FROM shares; COMMIT");
}

void Count(benchmark::State& state) { state.SetItemsProcessed(state.iterations() * state.range(0)); }

// Every column of every row, as a program would that only wanted to have read them.
void Copy(benchmark::State& state) {
  Fill(state.range(0));
  const Connection& database = Opened();
  for (auto _ : state) {
    sqlite3_stmt* rows = nullptr;
    constexpr char kRows[] =
        "SELECT s.name, s.description, s.path, s.attributes, s.browseable, s.restrictions, s.encryption, e.permission,"
        " coalesce(a.name, g.name, e.name) FROM shares s LEFT JOIN share_access e ON e.share = s.id"
        " LEFT JOIN accounts a ON a.uid = e.uid LEFT JOIN groups g ON g.gid = e.gid ORDER BY s.folded";
    if (sqlite3_prepare_v2(database.get(), kRows, -1, &rows, nullptr) != SQLITE_OK) std::abort();
    size_t bytes = 0;
    while (sqlite3_step(rows) == SQLITE_ROW) {
      for (int column = 0; column < sqlite3_column_count(rows); ++column) {
        sqlite3_column_text(rows, column);
        bytes += static_cast<size_t>(sqlite3_column_bytes(rows, column));
      }
    }
    sqlite3_finalize(rows);
    benchmark::DoNotOptimize(bytes);
  }
  Count(state);
}

// The cursor: all shares with their lists.
void WalkShares(benchmark::State& state) {
  Fill(state.range(0));
  for (auto _ : state) {
    KESTSHAREDB* const walk = KESTShareDBOpen();
    KESTSHARE* slot = nullptr;
    int64_t count = 0;
    while (::KESTShareDBCursorGet(walk, &slot) == 0) ++count;
    KESTShareDBClose(walk);
    KESTShareFree(slot);
    if (count != state.range(0)) std::abort();
  }
  Count(state);
}

// The names alone.
void NameShares(benchmark::State& state) {
  Fill(state.range(0));
  for (auto _ : state) {
    PSZLIST list = PslKLIBSzListAlloc(512);
    if (::KESTShareEnum(&list, kEvery) != state.range(0)) std::abort();
    KLIBSzListFree(list);
  }
  Count(state);
}

// The page's document: the names, sorted, then each share asked for by its name.
void EnumShares(benchmark::State& state) {
  Fill(state.range(0));
  for (auto _ : state) {
    Json::Value out;
    if (SDK::Share::EnumShares(kEvery, nullptr, out) != 1) std::abort();
    if (static_cast<int64_t>(out["items"].size()) != state.range(0)) std::abort();
  }
  Count(state);
}

constexpr int kFew = 10, kMany = 500;
BENCHMARK(Copy)->Arg(kFew)->Arg(kMany);
BENCHMARK(WalkShares)->Arg(kFew)->Arg(kMany);
BENCHMARK(NameShares)->Arg(kFew)->Arg(kMany);
BENCHMARK(EnumShares)->Arg(kFew)->Arg(kMany);

}  // namespace

BENCHMARK_MAIN();
