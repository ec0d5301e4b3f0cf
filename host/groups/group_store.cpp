#include "host/groups/group_store.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "host/accounts/account_name.h"
#include "host/accounts/directory.h"
#include "host/accounts/directory_schema.h"
#include "host/accounts/fold_name.h"
#include "host/database/database_error.h"
#include "host/groups/group_record.h"
#include "host/groups/member_change.h"
#include "host/klib/error_code.h"

namespace kest {
namespace {

bool KeepsItsName(int gid) { return gid == kUsersGid || gid == kAdministratorsGid; }

int Find(Database& database, const char* name, int* gid, std::string* stored) {
  Statement query(database, "SELECT gid, name FROM groups WHERE folded = ?");
  if (!query.Bind(1, FoldName(name)).Row()) return query.failed() ? DatabaseFailure() : -kErrorNoSuchObject;
  *gid = query.Int(0);
  *stored = query.Text(1);
  return 0;
}

int RefusalOfName(Database& database, const std::string& name, int gid) {
  if (!IsDirectoryName(name)) return -kErrorBadParameter;
  Statement taken(database, "SELECT 1 FROM groups WHERE folded = ? AND gid <> ?");
  if (taken.Bind(1, FoldName(name)).Bind(2, gid).Row()) return -kErrorTaken;
  return taken.failed() ? DatabaseFailure() : 0;
}

int Create(Database& database, const std::string& name, const KESTGROUP& group, int* gid) {
  if (group.gid != -1) return -kErrorBadParameter;
  if (const int refused = RefusalOfName(database, name, -1)) return refused;
  Statement insert(database, "INSERT INTO groups (name, folded) VALUES (?, ?)");
  if (!insert.Bind(1, name).Bind(2, FoldName(name)).Run()) return DatabaseFailure();
  *gid = static_cast<int>(database.LastNumber());
  return 0;
}

int Rename(Database& database, const char* existing, const std::string& name, const KESTGROUP& group, int* gid) {
  std::string stored;
  if (const int failed = Find(database, existing, gid, &stored)) return failed;
  // Another group has been given the name since the record was read.
  if (group.gid != -1 && group.gid != *gid) return -kErrorNoSuchObject;
  if (name == stored) return 0;
  if (KeepsItsName(*gid)) return -kErrorDenied;
  if (const int refused = RefusalOfName(database, name, *gid)) return refused;
  Statement update(database, "UPDATE groups SET name = ?, folded = ? WHERE gid = ?");
  return update.Bind(1, name).Bind(2, FoldName(name)).Bind(3, *gid).Run() ? 0 : DatabaseFailure();
}

using Uids = std::vector<int64_t>;

// In ascending order, each once.
int UidsOf(Database& database, char* const* members, Uids* uids) {
  Statement query(database, "SELECT uid FROM accounts WHERE folded = ?");
  for (; members != nullptr && *members != nullptr; ++members) {
    if (!query.Rewind().Bind(1, FoldName(*members)).Row()) {
      return query.failed() ? DatabaseFailure() : -kErrorNoSuchObject;
    }
    uids->push_back(query.Number(0));
  }
  std::sort(uids->begin(), uids->end());
  uids->erase(std::unique(uids->begin(), uids->end()), uids->end());
  return 0;
}

int PresentUids(Database& database, int gid, Uids* uids) {
  Statement query(database, "SELECT uid FROM members WHERE gid = ? ORDER BY uid");
  query.Bind(1, gid);
  while (query.Row()) uids->push_back(query.Number(0));
  return query.failed() ? DatabaseFailure() : 0;
}

// Runs `sql` with the gid for each uid that stands in `these` and not in `others`.
int ForMissing(Database& database, const char* sql, int gid, const Uids& these, const Uids& others) {
  Uids missing;
  std::set_difference(these.begin(), these.end(), others.begin(), others.end(), std::back_inserter(missing));
  Statement change(database, sql);
  for (const int64_t uid : missing) {
    if (!change.Rewind().Bind(1, gid).Bind(2, uid).Run()) return DatabaseFailure();
  }
  return 0;
}

// Only what differs is written.
int SetMembers(Database& database, int gid, char* const* members, bool* changed) {
  Uids wanted, present;
  if (const int failed = UidsOf(database, members, &wanted)) return failed;
  if (gid == kUsersGid) return wanted.empty() ? 0 : -kErrorBadParameter;
  if (const int failed = PresentUids(database, gid, &present)) return failed;
  *changed = wanted != present;
  const int removed = ForMissing(database, "DELETE FROM members WHERE gid = ? AND uid = ?", gid, present, wanted);
  if (removed != 0) return removed;
  return ForMissing(database, "INSERT INTO members (gid, uid) VALUES (?, ?)", gid, wanted, present);
}

}  // namespace

int FindGroupRecord(Database& database, const char* name, KESTGROUP** out) {
  const Snapshot snapshot(database);
  if (!snapshot.open()) return DatabaseFailure();
  Statement query(database, "SELECT " KEST_GROUP_RECORD_COLUMNS " FROM groups WHERE folded = ?");
  if (!query.Bind(1, FoldName(name)).Row()) return query.failed() ? DatabaseFailure() : -kErrorNoSuchObject;
  return ReadGroupRecord(database, query, out);
}

int SaveGroup(Database& database, const char* existing_or_null, const KESTGROUP& group, bool* changed) {
  const std::string name = group.name == nullptr ? "" : group.name;
  Transaction transaction(database);
  if (!transaction.open()) return DatabaseFailure();
  int gid = 0;
  const int failed = existing_or_null == nullptr ? Create(database, name, group, &gid)
                                                 : Rename(database, existing_or_null, name, group, &gid);
  if (failed != 0) return failed;
  if (const int refused = SetMembers(database, gid, group.members, changed)) return refused;
  const bool noted = !*changed || NoteChangedMembers(database, gid);
  return noted && transaction.Commit() ? 0 : DatabaseFailure();
}

int ReadGroupDescription(Database& database, const char* name, std::string* text, int* gid) {
  Statement query(database, "SELECT description, gid FROM groups WHERE folded = ?");
  if (!query.Bind(1, FoldName(name)).Row()) return query.failed() ? DatabaseFailure() : -kErrorNoSuchObject;
  *text = query.Text(0);
  *gid = query.Int(1);
  return 0;
}

int WriteGroupDescription(Database& database, const char* name, const std::string& text) {
  if (!IsText(text)) return -kErrorBadParameter;
  Statement update(database, "UPDATE groups SET description = ? WHERE folded = ?");
  if (!update.Bind(1, text).Bind(2, FoldName(name)).Run()) return DatabaseFailure();
  return database.Changes() > 0 ? 0 : -kErrorNoSuchObject;
}

int SetMember(Database& database, const char* group, const char* account, bool member) {
  Transaction transaction(database);
  if (!transaction.open()) return DatabaseFailure();
  int gid = 0;
  std::string stored;
  Uids uids;
  std::string name = account;
  char* const members[] = {name.data(), nullptr};
  if (const int failed = Find(database, group, &gid, &stored)) return failed;
  if (const int failed = UidsOf(database, members, &uids)) return failed;
  if (gid == kUsersGid) return -kErrorBadParameter;
  Statement change(database, member ? "INSERT OR IGNORE INTO members (gid, uid) VALUES (?, ?)"
                                    : "DELETE FROM members WHERE gid = ? AND uid = ?");
  const bool done = change.Bind(1, gid).Bind(2, uids.front()).Run() && NoteChangedMembers(database, gid);
  return done && transaction.Commit() ? 0 : DatabaseFailure();
}

int RemoveGroup(Database& database, const char* name) {
  Transaction transaction(database);
  if (!transaction.open()) return DatabaseFailure();
  int gid = 0;
  std::string stored;
  if (const int failed = Find(database, name, &gid, &stored)) return failed;
  if (KeepsItsName(gid)) return -kErrorDenied;
  Statement primary(database, "UPDATE accounts SET gid = ? WHERE gid = ?");
  if (!primary.Bind(1, kUsersGid).Bind(2, gid).Run() || !NoteRemovedGroup(database, gid)) return DatabaseFailure();
  Statement change(database, "DELETE FROM groups WHERE gid = ?");
  return change.Bind(1, gid).Run() && transaction.Commit() ? 0 : DatabaseFailure();
}

}  // namespace kest

KESTGROUPDB::KESTGROUPDB(std::unique_ptr<kest::Database> database)
    : database_(std::move(database)),
      rows_(*database_, "SELECT " KEST_GROUP_RECORD_COLUMNS " FROM groups ORDER BY folded") {}

KESTGROUPDB* KESTGROUPDB::Open() {
  auto database = kest::OpenDirectory();
  if (database == nullptr) return nullptr;
  std::unique_ptr<KESTGROUPDB> cursor(new KESTGROUPDB(std::move(database)));
  return cursor->rows_.failed() ? nullptr : cursor.release();
}

int KESTGROUPDB::Next(KESTGROUP** out) {
  // SQLite would begin again behind the end.
  if (ended_) return 0;
  if (!rows_.Row()) {
    ended_ = true;
    return rows_.failed() ? kest::DatabaseFailure() : 0;
  }
  const int failed = kest::ReadGroupRecord(*database_, rows_, out);
  return failed != 0 ? failed : 1;
}
