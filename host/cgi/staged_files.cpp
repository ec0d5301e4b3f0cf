#include "host/cgi/staged_files.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/random.h>
#include <unistd.h>

namespace kest {
namespace {

// Appends "/upload." and 128 random bits as text.
bool AppendUnforeseeableName(std::string* path) {
  uint64_t bits[2];
  if (getrandom(bits, sizeof(bits), 0) != static_cast<ssize_t>(sizeof(bits))) return false;
  char name[48];
  snprintf(name, sizeof(name), "/upload.%016llx%016llx", static_cast<unsigned long long>(bits[0]),
           static_cast<unsigned long long>(bits[1]));
  *path += name;
  return true;
}

// Names an open file through its entry below /proc, which needs no privilege.
bool Link(int fd, const char* path) {
  char entry[40];
  snprintf(entry, sizeof(entry), "/proc/self/fd/%d", fd);
  return linkat(AT_FDCWD, entry, AT_FDCWD, path, AT_SYMLINK_FOLLOW) == 0;
}

}  // namespace

bool StagedFiles::Begin(const char* directory) {
  std::string path = directory;
  if (!AppendUnforeseeableName(&path)) return false;
  File& file = files_.emplace_back();
  file.path.swap(path);
  file.content.Reset(open(directory, O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600));
  if (file.content.IsOpen()) return true;
  // Not every file system has files without names; one that has not gives them at once.
  if (errno == EOPNOTSUPP || errno == EISDIR || errno == EINVAL) {
    file.content.Reset(open(file.path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    file.named = file.content.IsOpen();
    if (file.named) return true;
  }
  files_.pop_back();
  return false;
}

bool StagedFiles::Write(std::string_view bytes) {
  File& file = files_.back();
  while (!bytes.empty()) {
    const ssize_t written = write(file.content.Get(), bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    bytes.remove_prefix(static_cast<size_t>(written));
    file.size_bytes += static_cast<uint64_t>(written);
  }
  return true;
}

bool StagedFiles::Publish() {
  for (File& file : files_) {
    if (!file.named && !Link(file.content.Get(), file.path.c_str())) return false;
    file.named = true;
    file.content.Reset();
  }
  return true;
}

void StagedFiles::RemoveAll() {
  for (const File& file : files_) {
    if (file.named) unlink(file.path.c_str());
  }
  files_.clear();
}

}  // namespace kest
