#ifndef KEST_HOST_ACCOUNTS_ACCOUNT_PATHS_H_
#define KEST_HOST_ACCOUNTS_ACCOUNT_PATHS_H_

namespace kest {

constexpr char kAccountsPath[] = "/usr/kest/etc/accounts.db";
// Where SQLite puts what was committed until it is folded into the file.
constexpr char kAccountsLogPath[] = "/usr/kest/etc/accounts.db-wal";
constexpr char kFailuresPath[] = "/usr/kest/var/login_failures.db";
constexpr char kHashSlotsPath[] = "/usr/kest/var/login_slots";

}  // namespace kest

#endif  // KEST_HOST_ACCOUNTS_ACCOUNT_PATHS_H_
