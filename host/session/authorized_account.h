// What the last successful authorization of this process found out about its account.
#ifndef KEST_HOST_SESSION_AUTHORIZED_ACCOUNT_H_
#define KEST_HOST_SESSION_AUTHORIZED_ACCOUNT_H_

#include "host/session/session_file.h"

namespace kest {

void RememberAuthorized(const Session& session);

// The privileges of that account, when `name` is its name to the byte. No database is opened.
bool AuthorizedPrivilege(const char* name, int* privilege);

}  // namespace kest

#endif  // KEST_HOST_SESSION_AUTHORIZED_ACCOUNT_H_
