#include "host/accounts/accounts_module.h"
#include "host/klib/error_code.h"
#include "platform/kestcgi.h"

int KestCgiDomGetPrivilege(const char* share, const char* user, const char* domainArg, int* privilege) {
  if (share == nullptr || user == nullptr || domainArg == nullptr || privilege == nullptr) {
    return kest::FailWith(kest::kErrorBadParameter);
  }
  const KestAccountsModule* accounts = kest::Accounts();
  const int result = accounts == nullptr ? -1 : accounts->share_privilege(share, user, domainArg, privilege);
  if (result < 0) kest::FailWith(kest::kErrorNoSuchObject);
  return result;
}
