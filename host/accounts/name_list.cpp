#include "host/accounts/name_list.h"

#include "host/accounts/account_name.h"
#include "host/accounts/fold_name.h"
#include "host/database/database_error.h"
#include "host/klib/error_code.h"

namespace kest {

int NamesByPrefix(Database& database, const char* sql, const std::string& prefix, NameSink sink, void* context) {
  if (!IsText(prefix)) return 0;
  const std::string least = FoldName(prefix);
  Statement names(database, sql);
  // No byte of UTF-8 is 0xff.
  names.Bind(1, least).Bind(2, least + '\xff');
  int count = 0;
  for (; names.Row(); ++count) {
    // A text of SQLite's ends with NUL.
    if (!sink(context, names.View(0).data())) return -kErrorNoMemory;
  }
  return names.failed() ? DatabaseFailure() : count;
}

}  // namespace kest
