#include "host/accounts/account_cursor.h"

#include "host/accounts/account_record.h"
#include "host/accounts/directory.h"
#include "host/database/database_error.h"
#include "host/klib/error_code.h"

KESTUSERDB::KESTUSERDB(std::unique_ptr<kest::Database> database)
    : database_(std::move(database)),
      rows_(*database_, "SELECT " KEST_ACCOUNT_RECORD_COLUMNS " FROM accounts ORDER BY folded") {}

KESTUSERDB* KESTUSERDB::Open() {
  auto database = kest::OpenDirectory();
  if (database == nullptr) return nullptr;
  std::unique_ptr<KESTUSERDB> cursor(new KESTUSERDB(std::move(database)));
  return cursor->rows_.failed() ? nullptr : cursor.release();
}

int KESTUSERDB::Next(KESTUSER** out) {
  // SQLite would begin again behind the end.
  if (ended_) return 0;
  if (!rows_.Row()) {
    ended_ = true;
    return rows_.failed() ? kest::DatabaseFailure() : 0;
  }
  *out = kest::RecordOfRow(rows_);
  return *out == nullptr ? -kest::kErrorNoMemory : 1;
}
