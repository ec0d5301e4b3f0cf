#include "host/shares/open_folder.h"

#include <fcntl.h>

namespace kest {
namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

bool Step(FileDescriptor* folder, int from, const std::string& name) {
  const int next = openat(from, name.c_str(), kFolderFlags);
  if (next < 0 && errno == ELOOP) errno = ENOTDIR;
  folder->Reset(next);
  return next >= 0;
}

}  // namespace

// The first folder is not opened from "/": where an emulator runs the program, that is the root of another machine.
bool OpenFolder(const std::string& path, FileDescriptor* folder) {
  size_t end = std::min(path.find('/', 1), path.size());
  bool is_open = Step(folder, AT_FDCWD, path.empty() ? "/" : path.substr(0, end));
  while (is_open && end < path.size()) {
    const size_t start = end + 1;
    end = std::min(path.find('/', start), path.size());
    is_open = Step(folder, folder->Get(), path.substr(start, end - start));
  }
  return is_open;
}

bool OpenParent(const std::string& path, FileDescriptor* folder, std::string* name) {
  const size_t slash = path.rfind('/');
  *name = path.substr(slash + 1);
  return OpenFolder(path.substr(0, slash), folder);
}

}  // namespace kest
