#ifndef KEST_HOST_SHARES_SHARE_RENDER_H_
#define KEST_HOST_SHARES_SHARE_RENDER_H_

namespace kest {

// To be called when the members of a group have changed: the folders that this concerns, which are noted with the
// change (host/groups/member_change.h), are rendered. What fails is in the log; the group has been changed all the
// same.
void GroupMembersChanged();

}  // namespace kest

#endif  // KEST_HOST_SHARES_SHARE_RENDER_H_
