#include "host/accounts/accounts_module.h"

#include <stdlib.h>
#include <string.h>

#include <algorithm>

#include "host/accounts/account_database.h"
#include "host/accounts/account_source.h"
#include "host/accounts/directory.h"
#include "host/accounts/expiry.h"
#include "host/accounts/failure_table.h"
#include "host/accounts/fold_name.h"
#include "host/accounts/membership.h"

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

char* Append(char** at, const std::string& text) {
  char* start = *at;
  memcpy(start, text.c_str(), text.size() + 1);
  *at += text.size() + 1;
  return start;
}

// The record and its texts in one block. The password stays empty: nobody is given the hash.
KESTUSER* NewRecord(const Account& account) {
  const size_t texts = account.name.size() + account.description.size() + account.home.size() + account.shell.size() +
                       account.email.size() + 6;
  auto* record = static_cast<KESTUSER*>(calloc(1, sizeof(KESTUSER) + texts));
  if (record == nullptr) return nullptr;
  char* at = reinterpret_cast<char*>(record + 1);
  record->name = Append(&at, account.name);
  record->passwd = Append(&at, "");
  record->uid = account.uid;
  record->gid = account.gid;
  record->desc = Append(&at, account.description);
  record->home = Append(&at, account.home);
  record->shell = Append(&at, account.shell);
  record->expire = account.expire_day;
  record->noChPasswd = account.no_password_change ? 1 : 0;
  record->email = Append(&at, account.email);
  record->attr = account.attributes;
  record->privilege = account.privilege;
  return record;
}

int ToRecord(Lookup found, const Account& account, KESTUSER** out) {
  if (found != Lookup::kFound) return ToResult(found);
  *out = NewRecord(account);
  return *out == nullptr ? -1 : 1;
}

int Record(const char* name, KESTUSER** out) {
  Account account;
  const Lookup found = SourceOf(name).Find(name, &account);
  return ToRecord(found, account, out);
}

int RecordByUid(int uid, KESTUSER** out) {
  Account account;
  const Lookup found = FindAnywhere(uid, &account);
  return ToRecord(found, account, out);
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
  entry->name = Append(&at, group.name);
  entry->members = at;
  for (const std::string& member : group.members) Append(&at, member);
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

}  // namespace
}  // namespace kest

const KestAccountsModule* KestAccountsModuleTable(void) {
  static constexpr KestAccountsModule kTable = {kest::CheckLogin, kest::Find,           kest::FindByUid,
                                                kest::CountLogin, kest::Record,         kest::RecordByUid,
                                                kest::NameSource, kest::SharePrivilege, kest::GroupsOfUser,
                                                kest::GroupEntry, kest::GroupEntryByGid};
  return &kTable;
}
