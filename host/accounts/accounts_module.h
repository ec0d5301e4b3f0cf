// What libkest.so asks of libkest_accounts.so.
#ifndef KEST_HOST_ACCOUNTS_ACCOUNTS_MODULE_H_
#define KEST_HOST_ACCOUNTS_ACCOUNTS_MODULE_H_

#include <stdint.h>

#include "host/accounts/name_list.h"
#include "host/module/module.h"
#include "platform/kestdir.h"

// As much of an account as a session has to know.
struct KestAccountState {
  char name[493];
  int uid;
  int gid;
  int expire_day;
  bool administrator;
  int privilege;  // mask of applications
  int64_t credential;
  int64_t login_serial;
};

// A group in one block of malloc(). The members' names stand one behind the other, each with its NUL.
struct KestGroupEntry {
  int gid;
  int member_count;
  const char* name;
  const char* members;
};

// Results: 1 found, 0 no such account, negative when the database failed (logged). Outputs are filled only with 1.
struct KestAccountsModule {
  // 1 right; -1 wrong name or password; -2 right, but the account is disabled or expired (`out` is filled);
  // -3 too many failures, *delay_s says how long; -4 a database failed.
  int (*check_login)(const char* user, const char* password, KestAccountState* out, int* delay_s);
  int (*find)(const char* name, KestAccountState* out);
  int (*find_by_uid)(int uid, KestAccountState* out);
  // Counts a login of an account that may have one session only; *serial receives the login's number.
  int (*count_login)(int uid, int64_t* serial);
  // A record in one block of malloc(), for free(). Negative is an ErrorCode with its sign turned.
  int (*record)(const char* name, KESTUSER** out);
  int (*record_by_uid)(int uid, KESTUSER** out);
  // 2 a name of a domain account, 1 of a local one.
  int (*name_source)(const char* name);
  // Right of a domain account on a share, as KestCgiDomGetPrivilege() answers it.
  int (*share_privilege)(const char* share, const char* user, const char* argument, int* privilege);
  // The groups that an account is a member of, without its primary one: *gids is for free(). @return their number; 0
  // also for an unknown account; negative when the database failed
  int (*groups_of)(const char* user, uint32_t** gids);
  // A group with its members, for free().
  int (*group_entry)(const char* name, KestGroupEntry** out);
  int (*group_entry_by_gid)(int gid, KestGroupEntry** out);

  // From here on negative is an ErrorCode with its sign turned (logged where the machine is to blame).
  int (*save)(const char* const* existing, KESTUSER* const* records, int count);
  int (*open_cursor)(KESTUSERDB** cursor);
  int (*next)(KESTUSERDB* cursor, KESTUSER** out);  // 1 delivered, 0 at the end
  void (*close_cursor)(KESTUSERDB* cursor);
  int (*names)(const char* prefix, kest::NameSink sink, void* context);  // their number
  int (*count)();
  int (*refresh_domain)();
};

KEST_MODULE_TABLE(KestAccountsModule, KestAccountsModuleTable);

namespace kest {

// The module's table; nullptr when it is not installed (logged).
inline const KestAccountsModule* Accounts() {
  return KEST_MODULE(KestAccountsModule, "accounts", KestAccountsModuleTable);
}

}  // namespace kest

#endif  // KEST_HOST_ACCOUNTS_ACCOUNTS_MODULE_H_
