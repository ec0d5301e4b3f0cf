#ifndef KEST_HOST_STORAGE_KERNEL_FILE_H_
#define KEST_HOST_STORAGE_KERNEL_FILE_H_

#include <cstddef>
#include <string>

namespace kest {

// Reads a file whose size nobody knows before its end, as those of /proc and /sys are.
//
// @param text  the bytes; untouched on failure
// @return false with errno: that of open or read, EFBIG for more than kKernelFileMax bytes
bool ReadKernelFile(const char* path, std::string* text);

constexpr size_t kKernelFileMax = 1024 * 1024;

}  // namespace kest

#endif  // KEST_HOST_STORAGE_KERNEL_FILE_H_
