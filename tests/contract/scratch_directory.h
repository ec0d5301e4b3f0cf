#ifndef TESTS_CONTRACT_SCRATCH_DIRECTORY_H_
#define TESTS_CONTRACT_SCRATCH_DIRECTORY_H_

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

/// A directory of the test's own, removed with all that is in it.
class ScratchDirectory {
 public:
  ScratchDirectory() {
    std::string name = (std::filesystem::temp_directory_path() / "contract.XXXXXX").string();
    if (mkdtemp(&name[0]) == nullptr || chmod(name.c_str(), 0755) != 0) abort();
    path_ = name;
  }
  ~ScratchDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;

  std::string Path(const std::string& name = "") const { return path_ + "/" + name; }

  /// Makes a file of these bytes and gives its path.
  std::string Write(const std::string& name, const std::string& bytes) const {
    std::ofstream(Path(name), std::ios::binary) << bytes;
    return Path(name);
  }

  /// The bytes of a file; "(missing)" when there is none.
  std::string Read(const std::string& name) const {
    std::ifstream file(Path(name), std::ios::binary);
    if (!file) return "(missing)";
    return std::string(std::istreambuf_iterator<char>(file), {});
  }

  /// Names of everything in the directory, hidden files included.
  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path_)) names.push_back(entry.path().filename());
    return names;
  }

 private:
  std::string path_;
};

#endif  // TESTS_CONTRACT_SCRATCH_DIRECTORY_H_
