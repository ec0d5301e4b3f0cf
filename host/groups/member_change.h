#ifndef KEST_HOST_GROUPS_MEMBER_CHANGE_H_
#define KEST_HOST_GROUPS_MEMBER_CHANGE_H_

#include "host/database/database.h"

namespace kest {

// A folder's access list names accounts where a group is shut out, or where a reader is among its writers. So a change
// of members concerns folders, and in the transaction of the change it is noted which: whoever reads the shares next
// renders them, and nobody depends on the process that has made the change (docs/decisions/0096).

// Notes the shares that a change of the group's members may concern. False when the database failed.
bool NoteChangedMembers(Database& database, int64_t gid);

// Notes all shares that name a group, before it is removed.
bool NoteRemovedGroup(Database& database, int64_t gid);

}  // namespace kest

#endif  // KEST_HOST_GROUPS_MEMBER_CHANGE_H_
