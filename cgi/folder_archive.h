#ifndef CGI_FOLDER_ARCHIVE_H
#define CGI_FOLDER_ARCHIVE_H

#include "program_stream.h"
#include "share_files.h"

namespace site {

/// A folder and everything below it as a tar archive, written by a process of its own and read here as a stream. Links
/// are kept as links; owners are left out.
class FolderArchive : public ProgramStream {
 public:
  explicit FolderArchive(const FoundFile& folder);
};

}  // namespace site

#endif  // CGI_FOLDER_ARCHIVE_H
