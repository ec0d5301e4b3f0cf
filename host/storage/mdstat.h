#ifndef KEST_HOST_STORAGE_MDSTAT_H_
#define KEST_HOST_STORAGE_MDSTAT_H_

#include <string_view>

#include "platform/keststorage.h"

namespace kest {

constexpr char kMdstat[] = "/proc/mdstat";

// The arrays of the system: that of the system partition, then that of the swap partition.
constexpr std::string_view kSystemArrays[2] = {"md0", "md1"};

// What a text of /proc/mdstat says of an array: complete, working with a disk missing, not working, or absent.
//
// It does not work when it is inactive, or when it misses more disks than its level can: one for RAID 4 and 5, two for
// RAID 6, all but one for RAID 1, one of each set of copies for RAID 10; RAID 0 and linear arrays miss none.
// @return false when the text is none of /proc/mdstat, or the array's lines say nothing that can be understood
bool FindArray(std::string_view mdstat, std::string_view name, KEST_RAID_STATE* state);

// Reads the system's arrays from a file as /proc/mdstat is; `raid` is untouched on failure.
// @return 0, or negative (the reason is recorded)
int ReadSystemArrays(const char* path, _tag_raid_for_system_* raid);

}  // namespace kest

#endif  // KEST_HOST_STORAGE_MDSTAT_H_
