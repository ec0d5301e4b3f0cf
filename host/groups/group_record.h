#ifndef KEST_HOST_GROUPS_GROUP_RECORD_H_
#define KEST_HOST_GROUPS_GROUP_RECORD_H_

#include "host/database/database.h"
#include "platform/kestdir.h"

namespace kest {

// The columns that ReadGroupRecord() expects, in this order.
#define KEST_GROUP_RECORD_COLUMNS "gid, name"

// The record of the group at `row`, its members read from the same state of the database. One block of malloc(), for
// free(). 0, or the negative of an ErrorCode.
int ReadGroupRecord(Database& database, const Statement& row, KESTGROUP** out);

}  // namespace kest

#endif  // KEST_HOST_GROUPS_GROUP_RECORD_H_
