// Ids and groups of this process, as the kernel has them.
#ifndef KEST_HOST_IDENTITY_KERNEL_IDENTITY_H_
#define KEST_HOST_IDENTITY_KERNEL_IDENTITY_H_

#include <sys/types.h>

namespace kest {

// Leaves the process only those of its supplementary groups that the account has, too. False on failure (logged).
bool KeepOnlyGroupsOf(const char* user, gid_t gid);

// Real, effective and saved group. False on failure (logged): nothing has changed then.
bool TakeGroup(gid_t gid);
// Whether all three are this one.
bool HasGroup(gid_t gid);

// Real, effective and saved user, for good: every capability is dropped, and programs started later gain none either.
// False on failure (logged): nothing has changed then. A process that is found to be anything in between ends.
bool TakeUser(uid_t uid);

}  // namespace kest

#endif  // KEST_HOST_IDENTITY_KERNEL_IDENTITY_H_
