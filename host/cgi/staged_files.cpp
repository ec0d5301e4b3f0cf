#include "host/cgi/staged_files.h"

#include <errno.h>
#include <fcntl.h>
#include <stdint.h>
#include <stdio.h>
#include <sys/random.h>
#include <unistd.h>

namespace kest {
namespace {

// 128 random bits as text, "upload." in front.
bool UnforeseeableName(char (&name)[40]) {
  uint64_t bits[2];
  if (getrandom(bits, sizeof(bits), 0) != static_cast<ssize_t>(sizeof(bits))) return false;
  snprintf(name, sizeof(name), "upload.%016llx%016llx", static_cast<unsigned long long>(bits[0]),
           static_cast<unsigned long long>(bits[1]));
  return true;
}

}  // namespace

int StagedFiles::Create(const char* directory) {
  constexpr int kAttempts = 8;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    char name[40];
    if (!UnforeseeableName(name)) return -1;
    std::string path = std::string(directory) + "/" + name;
    // Room first, so that a file once made is never lost sight of.
    paths_.emplace_back(std::move(path));
    const int fd = open(paths_.back().c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd >= 0) return fd;
    paths_.pop_back();
    if (errno != EEXIST) return -1;
  }
  return -1;
}

void StagedFiles::RemoveFrom(size_t count) {
  for (size_t i = count; i < paths_.size(); ++i) unlink(paths_[i].c_str());
  if (count < paths_.size()) paths_.resize(count);
}

}  // namespace kest
