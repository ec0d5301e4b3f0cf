#ifndef KEST_HOST_SHARES_SHARE_RENDER_H_
#define KEST_HOST_SHARES_SHARE_RENDER_H_

namespace kest {

// To be called when the members of a group have changed: a folder's access list names accounts where a group is shut
// out, and those that this concerns are written anew. What fails is in the log; the group has been changed all the
// same.
void GroupMembersChanged(int gid);

}  // namespace kest

#endif  // KEST_HOST_SHARES_SHARE_RENDER_H_
