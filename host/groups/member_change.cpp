#include "host/groups/member_change.h"

namespace kest {
namespace {

// One more change for those that are noted already: who is at one of them now may have read the members of before.
#define NOTE_SHARES "INSERT INTO share_renders (share) SELECT DISTINCT share FROM share_access e WHERE gid = ?"
#define ONCE_MORE " ON CONFLICT (share) DO UPDATE SET changes = changes + 1"

}  // namespace

bool NoteChangedMembers(Database& database, int64_t gid) {
  Statement note(database, NOTE_SHARES
                 " AND EXISTS (SELECT 1 FROM share_access o WHERE o.share = e.share"
                 " AND (o.permission = 'na' OR (o.permission = 'ro' AND o.uid IS NOT NULL)))" ONCE_MORE);
  return note.Bind(1, gid).Run();
}

bool NoteRemovedGroup(Database& database, int64_t gid) {
  Statement note(database, NOTE_SHARES ONCE_MORE);
  return note.Bind(1, gid).Run();
}

}  // namespace kest
