#include "host/accounts/accounts_module.h"

#include <stdlib.h>
#include <string.h>

#include <algorithm>

#include "host/accounts/account_cursor.h"
#include "host/accounts/account_database.h"
#include "host/accounts/account_record.h"
#include "host/accounts/account_source.h"
#include "host/accounts/account_store.h"
#include "host/accounts/directory_question.h"
#include "host/accounts/expiry.h"
#include "host/accounts/failure_table.h"
#include "host/accounts/fold_name.h"
#include "host/accounts/home_move.h"
#include "host/accounts/membership.h"
#include "host/accounts/packed_text.h"

namespace kest {
namespace {

int ToResult(Lookup lookup) {
  if (lookup == Lookup::kFailed) return -1;
  return lookup == Lookup::kFound ? 1 : 0;
}

// A name that does not fit the caller's buffers is no account's name.
int Fill(const Account& account, KestAccountState* out) {
  if (account.name.size() >= sizeof(out->name)) return -1;
  memcpy(out->name, account.name.c_str(), account.name.size() + 1);
  out->uid = account.uid;
  out->gid = account.gid;
  out->expire_day = account.expire_day;
  out->administrator = account.administrator;
  out->privilege = account.privilege;
  out->credential = account.credential;
  out->login_serial = account.login_serial;
  return 1;
}

// The result of a login that has to wait, or whose wait is not known; 0 for one that may go on.
int Refusal(int wait_s, int* delay_s) {
  if (wait_s < 0) return -4;
  *delay_s = wait_s;
  return wait_s > 0 ? -3 : 0;
}

int CheckLogin(const char* user, const char* password, KestAccountState* out, int* delay_s) {
  const std::string name(user, strnlen(user, kMaxNameBytes + 1));
  const std::string key = FoldName(name).substr(0, kMaxNameBytes);
  auto failures = FailureTable::Open();
  if (failures == nullptr) return -4;
  if (int refused = Refusal(failures->SecondsToWait(key), delay_s)) return refused;

  Account account;
  const PasswordCheck check = SourceOf(name).CheckPassword(name, password, &account);
  if (check == PasswordCheck::kFailed) return -4;
  if (check == PasswordCheck::kWrong) return failures->Add(key) ? -1 : -4;

  // Asked again: whoever guesses with many processes at once learns nothing from those that end after the third.
  if (int refused = Refusal(failures->SecondsToWait(key), delay_s)) return refused;
  if (!failures->Forget(key) || Fill(account, out) != 1) return -4;
  return IsExpiredDay(account.expire_day) ? -2 : 1;
}

int Find(const char* name, KestAccountState* out) {
  Account account;
  const int result = ToResult(SourceOf(name).Find(name, &account));
  return result == 1 ? Fill(account, out) : result;
}

Lookup FindAnywhere(int uid, Account* out) {
  const Lookup local = LocalSource().FindByUid(uid, out);
  return local == Lookup::kAbsent ? DomainSource().FindByUid(uid, out) : local;
}

int FindByUid(int uid, KestAccountState* out) {
  Account account;
  const int result = ToResult(FindAnywhere(uid, &account));
  return result == 1 ? Fill(account, out) : result;
}

int CountLogin(int uid, int64_t* serial) {
  auto directory = Directory();
  return directory == nullptr ? -1 : ToResult(AccountDatabase(directory).CountLogin(uid, serial));
}

int ToRecord(Lookup found, const Account& account, KESTUSER** out) {
  if (found != Lookup::kFound) return found == Lookup::kFailed ? DatabaseFailure() : 0;
  *out = RecordOfAccount(account);
  return *out == nullptr ? -kErrorNoMemory : 1;
}

// Whoever is given a record looks into the home next: it has to be where the record says. What cannot be moved is in
// the log.
void BringHomesBack() {
  const auto directory = Directory();
  if (directory != nullptr) RecoverHomes(*directory);
}

// `find` is asked again after a move that is still going on has been waited for.
template <typename Find>
int RecordOf(const Find& find, KESTUSER** out) {
  Account account;
  Lookup found = find(&account);
  if (found == Lookup::kFound && account.home_is_moving) {
    BringHomesBack();
    found = find(&account);
  }
  return ToRecord(found, account, out);
}

int Record(const char* name, KESTUSER** out) {
  return RecordOf([=](Account* account) { return SourceOf(name).Find(name, account); }, out);
}

int RecordByUid(int uid, KESTUSER** out) {
  return RecordOf([=](Account* account) { return FindAnywhere(uid, account); }, out);
}

int NameSource(const char* name) { return DomainSource().Owns(name) ? 2 : 1; }

int SharePrivilege(const char* share, const char* user, const char* argument, int* privilege) {
  return SourceOf(user).SharePrivilege(share, user, argument, privilege);
}

int GroupsOfUser(const char* user, uint32_t** gids) {
  auto directory = Directory();
  std::vector<uint32_t> all;
  if (directory == nullptr || !GroupsOf(*directory, user, &all)) return -1;
  *gids = static_cast<uint32_t*>(calloc(all.size() + 1, sizeof(uint32_t)));
  if (*gids == nullptr) return -1;
  std::copy(all.begin(), all.end(), *gids);
  return static_cast<int>(all.size());
}

KestGroupEntry* NewEntry(const GroupWithMembers& group) {
  size_t texts = group.name.size() + 2;
  for (const std::string& member : group.members) texts += member.size() + 1;
  auto* entry = static_cast<KestGroupEntry*>(calloc(1, sizeof(KestGroupEntry) + texts));
  if (entry == nullptr) return nullptr;
  char* at = reinterpret_cast<char*>(entry + 1);
  entry->gid = group.gid;
  entry->member_count = static_cast<int>(group.members.size());
  entry->name = AppendText(&at, group.name);
  entry->members = at;
  for (const std::string& member : group.members) AppendText(&at, member);
  return entry;
}

int ToEntry(Lookup found, const GroupWithMembers& group, KestGroupEntry** out) {
  if (found != Lookup::kFound) return ToResult(found);
  *out = NewEntry(group);
  return *out == nullptr ? -1 : 1;
}

int GroupEntry(const char* name, KestGroupEntry** out) {
  auto directory = Directory();
  GroupWithMembers group;
  return directory == nullptr ? -1 : ToEntry(FindGroup(*directory, name, &group), group, out);
}

int GroupEntryByGid(int gid, KestGroupEntry** out) {
  auto directory = Directory();
  GroupWithMembers group;
  return directory == nullptr ? -1 : ToEntry(FindGroupByGid(*directory, gid, &group), group, out);
}

int Save(const char* const* existing, KESTUSER* const* records, int count) {
  return AskDirectory([=](Database& database) { return SaveAccounts(database, existing, records, count); });
}

int OpenCursor(KESTUSERDB** cursor) { return OpenWalk(cursor); }

int Next(KESTUSERDB* cursor, KESTUSER** out) {
  return Contained([=] { return cursor->Next(out); });
}

void CloseCursor(KESTUSERDB* cursor) { delete cursor; }

int Names(const char* prefix, NameSink sink, void* context) {
  constexpr const char* kSql = "SELECT name FROM accounts WHERE folded >= ?1 AND folded < ?2 ORDER BY folded";
  return AskDirectory([=](Database& database) { return NamesByPrefix(database, kSql, prefix, sink, context); });
}

int Count() { return AskDirectory(CountAccounts); }

int RefreshDomain() {
  return Contained([] {
    const Lookup refreshed = DomainSource().Refresh();
    if (refreshed == Lookup::kFound) return 0;
    return refreshed == Lookup::kAbsent ? -kErrorNoSuchObject : -kErrorSystem;
  });
}

}  // namespace
}  // namespace kest

const KestAccountsModule* KestAccountsModuleTable(void) {
  static constexpr KestAccountsModule kTable = {
      kest::CheckLogin,      kest::Find,       kest::FindByUid,      kest::CountLogin,   kest::Record,
      kest::RecordByUid,     kest::NameSource, kest::SharePrivilege, kest::GroupsOfUser, kest::GroupEntry,
      kest::GroupEntryByGid, kest::Save,       kest::OpenCursor,     kest::Next,         kest::CloseCursor,
      kest::Names,           kest::Count,      kest::RefreshDomain};
  return &kTable;
}
