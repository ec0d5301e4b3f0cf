// Failed logins by name, and how long a name has to wait because of them.
//
// They have a file of their own: it changes with every wrong password, and a change of the accounts' file makes every
// session look its account up again.
#ifndef KEST_HOST_ACCOUNTS_FAILURE_TABLE_H_
#define KEST_HOST_ACCOUNTS_FAILURE_TABLE_H_

#include <memory>
#include <string>

#include "host/accounts/account_paths.h"
#include "host/database/database.h"

namespace kest {

// The third failure in a row makes a name wait 1 second, each further one twice as long, 60 seconds at most. An hour
// without a failure forgets them. At most 4096 names are kept: those with the fewest failures leave first, so made-up
// names cannot wash out the count of a name under attack.
class FailureTable {
 public:
  static std::unique_ptr<FailureTable> Open(const char* path = kFailuresPath);

  // Seconds until a login under this name is looked at again, 0 for at once; negative on failure.
  int SecondsToWait(const std::string& folded_name);
  // False on failure.
  bool Add(const std::string& folded_name);
  bool Forget(const std::string& folded_name);

 private:
  explicit FailureTable(std::unique_ptr<Database> database) : database_(std::move(database)) {}
  bool Trim(int64_t now);

  std::unique_ptr<Database> database_;
};

}  // namespace kest

#endif  // KEST_HOST_ACCOUNTS_FAILURE_TABLE_H_
