// The accounts of this machine: one SQLite file, everything that reads or changes it.
#ifndef KEST_HOST_ACCOUNTS_ACCOUNT_DATABASE_H_
#define KEST_HOST_ACCOUNTS_ACCOUNT_DATABASE_H_

#include <memory>
#include <string>
#include <vector>

#include "host/accounts/account_paths.h"
#include "host/accounts/account_source.h"
#include "host/database/database.h"

namespace kest {

// Every member of this group is an administrator.
constexpr char kAdministrators[] = "administrators";

class AccountDatabase {
 public:
  static std::unique_ptr<AccountDatabase> Open(const char* path = kAccountsPath);
  static std::unique_ptr<AccountDatabase> OpenOrCreate(const char* path = kAccountsPath);

  explicit AccountDatabase(std::shared_ptr<Database> database) : database_(std::move(database)) {}

  // `out`, and the hash where asked for, are filled only when the account is found.
  Lookup Find(const std::string& name, Account* out, std::string* hash = nullptr);
  Lookup FindByUid(int uid, Account* out);
  // All accounts by folded name. False on failure.
  bool List(std::vector<Account>* out);

  // The changes. kAbsent when there is no such account, for Add() when the name is taken.
  Lookup Add(const Account& account, const std::string& hash);
  // All of these without a password, or none; `added` counts those before the one that was refused.
  Lookup AddAll(const std::vector<Account>& accounts, size_t* added);
  Lookup SetPassword(const std::string& name, const std::string& hash);
  Lookup SetExpireDay(const std::string& name, int day);
  // Sets the bits of the applications (account_source.h) and leaves the others of the mask as they are.
  Lookup SetApplications(const std::string& name, int applications);
  Lookup SetAdministrator(const std::string& name, bool administrator);
  Lookup Remove(const std::string& name);
  // Counts a login; `serial` receives its number.
  Lookup CountLogin(int uid, int64_t* serial);

  Database& database() { return *database_; }

 private:
  Lookup Read(Statement& query, Account* out, std::string* hash);
  Lookup Apply(Statement& change);
  // Callers hold a Transaction.
  Lookup Insert(const Account& account, const std::string& hash);
  Lookup ChangeAdministrators(const std::string& name, bool administrator);

  std::shared_ptr<Database> database_;
};

}  // namespace kest

#endif  // KEST_HOST_ACCOUNTS_ACCOUNT_DATABASE_H_
