#include "host/accounts/account_database.h"

#include "host/accounts/directory_schema.h"
#include "host/accounts/fold_name.h"
#include "host/groups/member_change.h"

namespace kest {
namespace {

constexpr int kHashColumn = 14;
#define ACCOUNT_COLUMNS                                                                                            \
  "SELECT uid, name, gid, description, home, shell, email, expire_day, no_password_change, attributes, privilege," \
  " credential, login_serial,"                                                                                     \
  " EXISTS (SELECT 1 FROM members m WHERE m.uid = a.uid AND m.gid ="                                               \
  " (SELECT gid FROM groups WHERE folded = 'administrators')), hash,"                                              \
  " EXISTS (SELECT 1 FROM home_moves h WHERE h.uid = a.uid) FROM accounts a "

void Fill(const Statement& row, Account* out) {
  out->uid = row.Int(0);
  out->name = row.Text(1);
  out->gid = row.Int(2);
  out->description = row.Text(3);
  out->home = row.Text(4);
  out->shell = row.Text(5);
  out->email = row.Text(6);
  out->expire_day = row.Int(7);
  out->no_password_change = row.Int(8) != 0;
  out->attributes = row.Int(9);
  out->privilege = row.Int(10);
  out->credential = row.Number(11);
  out->login_serial = row.Number(12);
  out->administrator = row.Int(13) != 0;
  out->home_is_moving = row.Int(15) != 0;
}

}  // namespace

std::unique_ptr<AccountDatabase> AccountDatabase::Open(const char* path) {
  auto database = Database::Open(path, kDirectorySchema);
  if (database == nullptr) return nullptr;
  return std::unique_ptr<AccountDatabase>(new AccountDatabase(std::move(database)));
}

std::unique_ptr<AccountDatabase> AccountDatabase::OpenOrCreate(const char* path) {
  auto database = Database::OpenOrCreate(path, kDirectorySchema);
  if (database == nullptr) return nullptr;
  return std::unique_ptr<AccountDatabase>(new AccountDatabase(std::move(database)));
}

Lookup AccountDatabase::Read(Statement& query, Account* out, std::string* hash) {
  if (!query.Row()) return query.failed() ? Lookup::kFailed : Lookup::kAbsent;
  Fill(query, out);
  if (hash != nullptr) *hash = query.Text(kHashColumn);
  return Lookup::kFound;
}

Lookup AccountDatabase::Find(const std::string& name, Account* out, std::string* hash) {
  Statement query(*database_, ACCOUNT_COLUMNS "WHERE folded = ?");
  return Read(query.Bind(1, FoldName(name)), out, hash);
}

Lookup AccountDatabase::FindByUid(int uid, Account* out) {
  Statement query(*database_, ACCOUNT_COLUMNS "WHERE uid = ?");
  return Read(query.Bind(1, uid), out, nullptr);
}

bool AccountDatabase::List(std::vector<Account>* out) {
  Statement query(*database_, ACCOUNT_COLUMNS "ORDER BY folded");
  std::vector<Account> all;
  while (query.Row()) Fill(query, &all.emplace_back());
  if (query.failed()) return false;
  out->swap(all);
  return true;
}

Lookup AccountDatabase::Apply(Statement& change) {
  if (!change.Run()) return Lookup::kFailed;
  return database_->Changes() > 0 ? Lookup::kFound : Lookup::kAbsent;
}

Lookup AccountDatabase::Add(const Account& account, const std::string& hash) {
  Transaction transaction(*database_);
  if (!transaction.open()) return Lookup::kFailed;
  const Lookup added = Insert(account, hash);
  if (added != Lookup::kFound) return added;
  return transaction.Commit() ? Lookup::kFound : Lookup::kFailed;
}

Lookup AccountDatabase::AddAll(const std::vector<Account>& accounts, size_t* added) {
  *added = 0;
  Transaction transaction(*database_);
  if (!transaction.open()) return Lookup::kFailed;
  for (const Account& account : accounts) {
    const Lookup inserted = Insert(account, "");
    if (inserted != Lookup::kFound) return inserted;
    ++*added;
  }
  return transaction.Commit() ? Lookup::kFound : Lookup::kFailed;
}

Lookup AccountDatabase::Insert(const Account& account, const std::string& hash) {
  Statement insert(*database_,
                   "INSERT INTO accounts (name, folded, gid, hash, description, home, shell, email, expire_day)"
                   " VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?) ON CONFLICT (folded) DO NOTHING");
  insert.Bind(1, account.name).Bind(2, FoldName(account.name)).Bind(3, account.gid).Bind(4, hash);
  insert.Bind(5, account.description).Bind(6, account.home).Bind(7, account.shell).Bind(8, account.email);
  const Lookup added = Apply(insert.Bind(9, account.expire_day));
  if (added != Lookup::kFound) return added;
  return account.administrator ? ChangeAdministrators(account.name, true) : added;
}

Lookup AccountDatabase::SetPassword(const std::string& name, const std::string& hash) {
  Statement update(*database_, "UPDATE accounts SET hash = ?, credential = random() WHERE folded = ?");
  return Apply(update.Bind(1, hash).Bind(2, FoldName(name)));
}

Lookup AccountDatabase::SetExpireDay(const std::string& name, int day) {
  Statement update(*database_, "UPDATE accounts SET expire_day = ? WHERE folded = ?");
  return Apply(update.Bind(1, day).Bind(2, FoldName(name)));
}

Lookup AccountDatabase::SetApplications(const std::string& name, int applications) {
  Statement update(*database_, "UPDATE accounts SET privilege = (privilege & ~?1) | ?2 WHERE folded = ?3");
  return Apply(update.Bind(1, kEveryApplication).Bind(2, applications).Bind(3, FoldName(name)));
}

Lookup AccountDatabase::SetAdministrator(const std::string& name, bool administrator) {
  Transaction transaction(*database_);
  if (!transaction.open()) return Lookup::kFailed;
  const Lookup changed = ChangeAdministrators(name, administrator);
  if (changed != Lookup::kFound) return changed;
  return transaction.Commit() ? changed : Lookup::kFailed;
}

Lookup AccountDatabase::ChangeAdministrators(const std::string& name, bool administrator) {
  Account account;
  const Lookup found = Find(name, &account);
  if (found != Lookup::kFound) return found;
  Statement change(*database_,
                   administrator
                       ? "INSERT OR IGNORE INTO members (gid, uid) SELECT gid, ? FROM groups WHERE folded = ?"
                       : "DELETE FROM members WHERE uid = ? AND gid = (SELECT gid FROM groups WHERE folded = ?)");
  if (!change.Bind(1, account.uid).Bind(2, kAdministrators).Run()) return Lookup::kFailed;
  return NoteChangedMembers(*database_, kAdministratorsGid) ? Lookup::kFound : Lookup::kFailed;
}

Lookup AccountDatabase::Remove(const std::string& name) {
  Statement change(*database_, "DELETE FROM accounts WHERE folded = ?");
  return Apply(change.Bind(1, FoldName(name)));
}

Lookup AccountDatabase::CountLogin(int uid, int64_t* serial) {
  Statement change(*database_,
                   "UPDATE accounts SET login_serial = login_serial + 1 WHERE uid = ? RETURNING login_serial");
  if (!change.Bind(1, uid).Row()) return change.failed() ? Lookup::kFailed : Lookup::kAbsent;
  *serial = change.Number(0);
  // The statement takes effect only when it has run to its end.
  return change.Run() ? Lookup::kFound : Lookup::kFailed;
}

}  // namespace kest
