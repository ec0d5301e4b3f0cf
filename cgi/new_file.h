// Files that arrive in a folder of a share.
#ifndef CGI_NEW_FILE_H
#define CGI_NEW_FILE_H

#include <string>

#include "share_files.h"

namespace site {

/// Where on the folder's volume uploads are staged; "" when the volume has no such place for the account.
std::string StagingFolder(const FoundFile& folder);

/// Moves a complete file into a folder, where it gets the permissions that the folder hands down. What has its name
/// there stays as it is. From another volume the content is copied, and is seen when it is complete.
///
/// @param staged  path of the file; a file that could not be moved stays there
/// @return 0 or an errno, EEXIST when the name is taken
int MoveInto(const FoundFile& folder, const char* name, const char* staged);

}  // namespace site

#endif  // CGI_NEW_FILE_H
