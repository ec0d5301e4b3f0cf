#ifndef KEST_KLIB_FILE_REPLACE_H_
#define KEST_KLIB_FILE_REPLACE_H_

#include <sys/stat.h>

#include <string>
#include <string_view>

#include "host/klib/file_descriptor.h"

namespace kest {

/// Replaces a small file so that a reader sees the old bytes or the new ones and nothing between, and so that no update
/// of another writer is lost: the lock is held from Open to the end of the object.
///
///     FileReplace file;
///     std::string text;
///     if (!file.Open(path) || !ReadWholeFile(file.Path(), kTextFileMax, &text)) return false;
///     return file.Commit(Edited(text));
///
/// The new bytes go into a hidden sibling ".kestXXXXXX", reach the disk, and take the file's name. Mode, owner and
/// group are kept as far as the process may set them; a file that is created gets the mode that is asked for. Other
/// names (hard links) of the old file keep the old bytes. A symbolic link is followed, and stays, when it belongs to
/// root or to the caller; the link of anybody else is refused. A killed process can leave the sibling behind, never a
/// damaged file.
class FileReplace {
 public:
  FileReplace() = default;
  ~FileReplace();
  FileReplace(const FileReplace&) = delete;
  FileReplace& operator=(const FileReplace&) = delete;

  /// Locks the file, which is created empty when it is missing (and removed again when nothing is committed).
  ///
  /// @return false with errno: that of open, EISDIR, EINVAL when it is no regular file, ELOOP for a foreign symbolic
  ///         link, ETIMEDOUT when other writers held it for kLockWaitSeconds
  bool Open(const char* path, mode_t new_file_mode = 0644);

  /// Where the bytes really are: the given path with its last symbolic link resolved.
  const char* Path() const { return path_.c_str(); }

  /// Puts `text` in the place of the file's bytes. To be called at most once.
  ///
  /// @return false with errno when any step failed: the old file stands untouched and the sibling is gone
  bool Commit(std::string_view text);

  static constexpr int kLockWaitSeconds = 10;

 private:
  bool Resolve(const char* path);
  bool OpenOrCreate(mode_t new_file_mode);
  bool TryLock(mode_t new_file_mode, bool* busy);
  std::string Directory() const;

  std::string path_;
  FileDescriptor lock_;
  struct stat status_ = {};
  bool created_ = false;
};

}  // namespace kest

#endif  // KEST_KLIB_FILE_REPLACE_H_
