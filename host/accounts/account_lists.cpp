// Saving, counting and listing of accounts. All of it is asked of the accounts module.
#include "host/accounts/accounts_module.h"
#include "host/accounts/directory_lists.h"

using kest::Accounts;
using kest::AnswerOf;
using kest::FailWith;
using kest::kErrorBadParameter;
using kest::kErrorSystem;

int KESTUserSet(const char** existing, KESTUSER** records, int count) {
  if (existing == nullptr || records == nullptr || count < 1) return FailWith(kErrorBadParameter);
  const KestAccountsModule* accounts = Accounts();
  return accounts == nullptr ? FailWith(kErrorSystem) : AnswerOf(accounts->save(existing, records, count));
}

KESTUSERDB* KESTUserDBOpen(void) {
  const KestAccountsModule* accounts = Accounts();
  KESTUSERDB* cursor = nullptr;
  const int failed = accounts == nullptr ? -kErrorSystem : accounts->open_cursor(&cursor);
  return AnswerOf(failed) < 0 ? nullptr : cursor;
}

int KESTUserDBGetByCursor(KESTUSERDB* db, KESTUSER** slot, AUTH_TYPE type, int) {
  const KestAccountsModule* accounts = Accounts();
  if (accounts == nullptr) return FailWith(kErrorSystem);
  return kest::Advance(accounts->next, db, slot, type, KESTUserFree);
}

int KESTUserDBClose(KESTUSERDB* db) {
  // A cursor that was opened came from the module.
  if (db != nullptr) Accounts()->close_cursor(db);
  return 0;
}

int KESTUserDBDomainRebuild(int) {
  const KestAccountsModule* accounts = Accounts();
  return accounts == nullptr ? FailWith(kErrorSystem) : AnswerOf(accounts->refresh_domain());
}

int KESTUserEnumByPrefix(PSZLIST* list, AUTH_TYPE type, const char* prefix, int) {
  const KestAccountsModule* accounts = Accounts();
  if (accounts == nullptr) return FailWith(kErrorSystem);
  return kest::AppendNames(list, type, prefix, accounts->names);
}

int KESTUserTotalNum(AUTH_TYPE type) {
  if (!kest::IsSource(type)) {
    FailWith(kErrorBadParameter);
    return 0;
  }
  if (type != AUTH_TYPE_LOCAL) return 0;
  const KestAccountsModule* accounts = Accounts();
  const int count = AnswerOf(accounts == nullptr ? -kErrorSystem : accounts->count());
  return count < 0 ? 0 : count;
}
