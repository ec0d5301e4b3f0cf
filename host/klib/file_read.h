#ifndef KEST_KLIB_FILE_READ_H_
#define KEST_KLIB_FILE_READ_H_

#include <cstddef>
#include <string>

namespace kest {

/// Largest configuration, text or session file that is read: exactly this many bytes still are, one more is not.
constexpr size_t kTextFileMax = 1024 * 1024;

/// Reads a regular file whole with one read.
///
/// @param limit  largest size accepted, in bytes
/// @param text   the bytes, NUL bytes included; untouched on failure
/// @return false with errno: that of open or read (ENOENT, EACCES, ...), EISDIR for a directory, EINVAL for a pipe,
///         socket or device, EFBIG for a file above the limit
bool ReadWholeFile(const char* path, size_t limit, std::string* text);

}  // namespace kest

#endif  // KEST_KLIB_FILE_READ_H_
