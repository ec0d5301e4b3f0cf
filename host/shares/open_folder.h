#ifndef KEST_HOST_SHARES_OPEN_FOLDER_H_
#define KEST_HOST_SHARES_OPEN_FOLDER_H_

#include <string>

#include "host/klib/file_descriptor.h"

namespace kest {

// Opens a folder by its absolute path, following no link on the way.
// @return false with errno: ENOTDIR for a link or anything else that is no folder
bool OpenFolder(const std::string& path, FileDescriptor* folder);

// The same for the folder that holds the path's last component, which `name` receives.
bool OpenParent(const std::string& path, FileDescriptor* folder, std::string* name);

}  // namespace kest

#endif  // KEST_HOST_SHARES_OPEN_FOLDER_H_
