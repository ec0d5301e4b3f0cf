#ifndef CGI_FOLDER_ARCHIVE_H
#define CGI_FOLDER_ARCHIVE_H

#include <sys/types.h>

#include <cstdio>

#include "account_files.h"

namespace site {

/// A folder and everything below it as a tar archive, written by a process of its own and read here as a stream. Links
/// are kept as links; owners are left out.
class FolderArchive {
 public:
  /// Starts the process. Without success `stream()` is null and `errno` says why.
  explicit FolderArchive(const FoundFile& folder);
  ~FolderArchive();
  FolderArchive(const FolderArchive&) = delete;
  FolderArchive& operator=(const FolderArchive&) = delete;

  FILE* stream() const { return stream_; }

  /// Closes the stream, which ends the process if it still writes, and waits for it.
  ///
  /// @return whether it wrote the whole archive
  bool Finish();

 private:
  FILE* stream_ = nullptr;
  pid_t process_ = -1;
};

}  // namespace site

#endif  // CGI_FOLDER_ARCHIVE_H
