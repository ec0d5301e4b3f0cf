#include "host/shares/open_folder.h"

#include <fcntl.h>

namespace kest {
namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

bool Step(FileDescriptor* folder, const std::string& name) {
  const int next = openat(folder->Get(), name.c_str(), kFolderFlags);
  if (next < 0 && errno == ELOOP) errno = ENOTDIR;
  folder->Reset(next);
  return next >= 0;
}

}  // namespace

bool OpenFolder(const std::string& path, FileDescriptor* folder) {
  folder->Reset(open("/", kFolderFlags));
  for (size_t start = 1; folder->IsOpen() && start < path.size();) {
    const size_t end = std::min(path.find('/', start), path.size());
    if (!Step(folder, path.substr(start, end - start))) return false;
    start = end + 1;
  }
  return folder->IsOpen();
}

bool OpenParent(const std::string& path, FileDescriptor* folder, std::string* name) {
  const size_t slash = path.rfind('/');
  *name = path.substr(slash + 1);
  return OpenFolder(path.substr(0, slash), folder);
}

}  // namespace kest
