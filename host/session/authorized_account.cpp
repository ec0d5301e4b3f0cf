#include "host/session/authorized_account.h"

#include <string.h>

namespace kest {
namespace {

struct AuthorizedAccount {
  char user[sizeof(Session::user)];  // "": nobody yet
  int privilege;
};

AuthorizedAccount authorized;

}  // namespace

void RememberAuthorized(const Session& session) {
  memcpy(authorized.user, session.user, sizeof(authorized.user));
  authorized.privilege = session.privilege;
}

bool AuthorizedPrivilege(const char* name, int* privilege) {
  if (name == nullptr || *name == '\0' || strcmp(name, authorized.user) != 0) return false;
  *privilege = authorized.privilege;
  return true;
}

}  // namespace kest
