// The connections of this process to the directory database.
#ifndef KEST_HOST_ACCOUNTS_DIRECTORY_H_
#define KEST_HOST_ACCOUNTS_DIRECTORY_H_

#include <memory>

#include "host/accounts/account_paths.h"
#include "host/database/database.h"

namespace kest {

// The one that single questions and changes share; opened when first asked for, and kept until the process ends. It
// goes on working after the process has taken on the identity of an account that may not open the file. A file put in
// the place of the one that was opened is opened instead. nullptr when it cannot be opened (logged).
std::shared_ptr<Database> Directory();

// One of the caller's own, for a walk: what is changed through the shared one is not seen by it.
std::unique_ptr<Database> OpenDirectory(const char* path = kAccountsPath);

}  // namespace kest

#endif  // KEST_HOST_ACCOUNTS_DIRECTORY_H_
