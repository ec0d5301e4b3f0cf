// The schema of the directory database: accounts, groups, shared folders and who belongs to what, in one file, so that
// a rename carries everything along and a removal leaves nothing behind.
#ifndef KEST_HOST_ACCOUNTS_DIRECTORY_SCHEMA_H_
#define KEST_HOST_ACCOUNTS_DIRECTORY_SCHEMA_H_

#include "host/database/database.h"

namespace kest {

extern const Database::Schema kDirectorySchema;

// The groups that every directory has. Everybody is in "users" without being entered as a member.
constexpr int kUsersGid = 100;
constexpr int kAdministratorsGid = 101;

}  // namespace kest

#endif  // KEST_HOST_ACCOUNTS_DIRECTORY_SCHEMA_H_
