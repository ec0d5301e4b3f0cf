#ifndef KEST_HOST_STORAGE_QUOTA_H_
#define KEST_HOST_STORAGE_QUOTA_H_

#include "platform/keststorage.h"

namespace kest {

// An account's quota on the volume that holds a path: a user quota of the file system, under the account's number, on
// the device that the mount table names. Limits are kept in KiB; one that is none of these is rounded up.
//
// @param path  at most kQuotaPathMax bytes
// @return 0; negative for a path on no volume or on one without a device, for an unknown account, or when the kernel
//         refuses (the reason is recorded)
int GetQuota(const char* mount_table, const char* path, const char* name, _tag_KEST_QUOTA_* quota);
int SetQuota(const char* mount_table, const char* path, const char* name, const _tag_KEST_QUOTA_* quota);

constexpr int kQuotaPathMax = 491;

}  // namespace kest

#endif  // KEST_HOST_STORAGE_QUOTA_H_
