#ifndef KEST_HOST_ACCOUNTS_ACCOUNT_CURSOR_H_
#define KEST_HOST_ACCOUNTS_ACCOUNT_CURSOR_H_

#include <memory>

#include "host/database/database.h"
#include "platform/kestdir.h"

// A walk over the accounts in the order of their folded names. It sees the accounts as they are when the first is asked
// for, whatever others write meanwhile, and holds one row at a time.
struct KESTUSERDB {
 public:
  // nullptr when the database cannot be read.
  static KESTUSERDB* Open();

  // 1 delivered, 0 at the end, the negative of an ErrorCode on failure.
  int Next(KESTUSER** out);

 private:
  explicit KESTUSERDB(std::unique_ptr<kest::Database> database);

  std::unique_ptr<kest::Database> database_;
  kest::Statement rows_;
  bool ended_ = false;
};

#endif  // KEST_HOST_ACCOUNTS_ACCOUNT_CURSOR_H_
