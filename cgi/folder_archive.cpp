#include "folder_archive.h"

namespace site {

// The name stands behind "--": whatever it looks like, it is a name.
FolderArchive::FolderArchive(const FoundFile& folder)
    : ProgramStream(
          {"/usr/bin/tar", "--create", "--file=-", "--owner=0", "--group=0", "--numeric-owner", "--", folder.name},
          folder.parent.get()) {}

}  // namespace site
