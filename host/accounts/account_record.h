#ifndef KEST_HOST_ACCOUNTS_ACCOUNT_RECORD_H_
#define KEST_HOST_ACCOUNTS_ACCOUNT_RECORD_H_

#include "host/accounts/account_source.h"
#include "host/database/database.h"
#include "platform/kestdir.h"

namespace kest {

// The columns that RecordOfRow() expects, in this order.
#define KEST_ACCOUNT_RECORD_COLUMNS \
  "uid, name, gid, description, home, shell, email, expire_day, no_password_change, attributes, privilege"

// A record and its texts in one block of malloc(); nullptr when there is no memory. Its password is empty: nobody is
// given the hash.
KESTUSER* RecordOfAccount(const Account& account);
KESTUSER* RecordOfRow(const Statement& row);

}  // namespace kest

#endif  // KEST_HOST_ACCOUNTS_ACCOUNT_RECORD_H_
