// Access lists of folders (POSIX ACLs).
#ifndef KEST_HOST_SHARES_FOLDER_ACL_H_
#define KEST_HOST_SHARES_FOLDER_ACL_H_

#include "host/shares/folders_module.h"

namespace kest {

// As KestFoldersModule has them.
int RenderFolder(const char* path, const KestAcl* wanted, bool* changed);
bool IsRendered(const char* path, const KestAcl* wanted);
int RenderBelow(const char* path, const KestAcl* wanted);

}  // namespace kest

#endif  // KEST_HOST_SHARES_FOLDER_ACL_H_
