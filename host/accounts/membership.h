// Groups and who is in them, as the name service tells them.
#ifndef KEST_HOST_ACCOUNTS_MEMBERSHIP_H_
#define KEST_HOST_ACCOUNTS_MEMBERSHIP_H_

#include <stdint.h>

#include <string>
#include <vector>

#include "host/accounts/account_source.h"
#include "host/database/database.h"

namespace kest {

struct GroupWithMembers {
  int gid = -1;
  std::string name;
  std::vector<std::string> members;  // by folded name
};

Lookup FindGroup(Database& directory, const std::string& name, GroupWithMembers* out);
Lookup FindGroupByGid(Database& directory, int gid, GroupWithMembers* out);

// The groups that the account is a member of, by number, without its primary one. False on failure.
bool GroupsOf(Database& directory, const std::string& user, std::vector<uint32_t>* out);

}  // namespace kest

#endif  // KEST_HOST_ACCOUNTS_MEMBERSHIP_H_
