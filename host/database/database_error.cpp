#include "host/database/database_error.h"

#include "host/database/database.h"
#include "host/klib/error_code.h"

namespace kest {

int DatabaseFailure() {
  switch (Database::LastFailure() & 0xff) {
    case SQLITE_NOMEM:
      return -kErrorNoMemory;
    case SQLITE_FULL:
      return -kErrorNoSpace;
    case SQLITE_PERM:
    case SQLITE_READONLY:
    case SQLITE_CANTOPEN:
    case SQLITE_AUTH:
      return -kErrorDenied;
    case SQLITE_BUSY:
      return -kErrorBusy;
    default:
      return -kErrorSystem;
  }
}

}  // namespace kest
