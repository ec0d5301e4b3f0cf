// Groups and their members in the directory database.
//
// Everybody is in the group "users", so it has no members that could be read or written. It and "administrators" keep
// their names: the rights of people hang on them.
#ifndef KEST_HOST_GROUPS_GROUP_STORE_H_
#define KEST_HOST_GROUPS_GROUP_STORE_H_

#include <memory>
#include <string>

#include "host/database/database.h"
#include "platform/kestdir.h"

namespace kest {

// Results: 0 (or a number that is named), or the negative of an ErrorCode; then everything is as before.

// A record in one block of malloc(), its members by their uids.
int FindGroupRecord(Database& database, const char* name, KESTGROUP** out);
// `changed` tells whether the group has got other members.
int SaveGroup(Database& database, const char* existing_or_null, const KESTGROUP& group, bool* changed);
int ReadGroupDescription(Database& database, const char* name, std::string* text, int* gid);
int WriteGroupDescription(Database& database, const char* name, const std::string& text);

// Puts an account into a group, or takes it out.
int SetMember(Database& database, const char* group, const char* account, bool member);

// Removes a group with its memberships; -kErrorDenied for those that keep their names.
int RemoveGroup(Database& database, const char* name);

}  // namespace kest

// A walk over the groups in the order of their folded names, as KESTUSERDB is one over the accounts.
struct KESTGROUPDB {
 public:
  static KESTGROUPDB* Open();

  // 1 delivered, 0 at the end, the negative of an ErrorCode on failure.
  int Next(KESTGROUP** out);

 private:
  explicit KESTGROUPDB(std::unique_ptr<kest::Database> database);

  std::unique_ptr<kest::Database> database_;
  kest::Statement rows_;
  bool ended_ = false;
};

#endif  // KEST_HOST_GROUPS_GROUP_STORE_H_
