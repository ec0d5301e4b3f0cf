#ifndef KEST_HOST_ACCOUNTS_ACCOUNT_STORE_H_
#define KEST_HOST_ACCOUNTS_ACCOUNT_STORE_H_

#include "host/database/database.h"
#include "platform/kestdir.h"

namespace kest {

// Creates (no existing name) or changes accounts as KESTUserSet() says, in one transaction. 0, or the negative of an
// ErrorCode; then everything is as before.
int SaveAccounts(Database& database, const char* const* existing, KESTUSER* const* records, int count);

// Their number, or the negative of an ErrorCode.
int CountAccounts(Database& database);

}  // namespace kest

#endif  // KEST_HOST_ACCOUNTS_ACCOUNT_STORE_H_
