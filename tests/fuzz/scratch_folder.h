#ifndef TESTS_FUZZ_SCRATCH_FOLDER_H_
#define TESTS_FUZZ_SCRATCH_FOLDER_H_

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "fuzz_input.h"

/// A folder of this process, for code that reads or writes files; removed when the process ends.
class ScratchFolder {
 public:
  ScratchFolder() {
    // In memory where that is to be had: a run writes thousands of files.
    path_ = "/dev/shm/fuzzXXXXXX";
    if (mkdtemp(path_.data()) != nullptr) return;
    path_ = "/tmp/fuzzXXXXXX";
    Require(mkdtemp(path_.data()) != nullptr);
  }
  ~ScratchFolder() {
    Clear();
    rmdir(path_.c_str());
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  const std::string& Path() const { return path_; }
  std::string File(const std::string& name) const { return path_ + "/" + name; }

  std::string Put(const std::string& name, const std::string& bytes) const {
    const std::string path = File(name);
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    Require(fd >= 0 && write(fd, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()));
    close(fd);
    return path;
  }

  /// Number of files in it.
  size_t Count() const {
    size_t count = 0;
    Each([&count](const std::string&) { ++count; });
    return count;
  }

  void Clear() const {
    Each([](const std::string& path) { unlink(path.c_str()); });
  }

 private:
  template <typename Visit>
  void Each(Visit visit) const {
    DIR* const folder = opendir(path_.c_str());
    while (const dirent* entry = readdir(folder)) {
      const std::string name = entry->d_name;
      if (name != "." && name != "..") visit(File(name));
    }
    closedir(folder);
  }

  std::string path_;
};

#endif  // TESTS_FUZZ_SCRATCH_FOLDER_H_
