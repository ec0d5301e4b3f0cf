#ifndef TESTS_HOST_FOLDER_H_
#define TESTS_HOST_FOLDER_H_

#include <dirent.h>
#include <ftw.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>
#include <string>

/// An empty folder for one test, removed with all that is in it.
class Folder {
 public:
  Folder() {
    std::string name = testing::TempDir() + "hostXXXXXX";
    path_ = mkdtemp(&name[0]) != nullptr ? name : "/nonexistent";
  }
  ~Folder() {
    nftw(
        path_.c_str(), [](const char* path, const struct stat*, int, struct FTW*) { return remove(path); }, 16,
        FTW_DEPTH | FTW_PHYS);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  std::string File(const std::string& name) const { return path_ + "/" + name; }

  std::string Put(const std::string& name, const std::string& text) const {
    std::ofstream(File(name), std::ios::binary) << text;
    return File(name);
  }

  /// Names in the folder, to see that nothing was left behind.
  std::set<std::string> Names() const {
    std::set<std::string> names;
    DIR* const folder = opendir(path_.c_str());
    while (const dirent* entry = readdir(folder)) names.insert(entry->d_name);
    closedir(folder);
    names.erase(".");
    names.erase("..");
    return names;
  }

 private:
  std::string path_;
};

inline std::string Content(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

#endif  // TESTS_HOST_FOLDER_H_
