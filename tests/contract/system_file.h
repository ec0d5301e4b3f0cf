#ifndef TESTS_CONTRACT_SYSTEM_FILE_H_
#define TESTS_CONTRACT_SYSTEM_FILE_H_

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <string>

/// One of the appliance's fixed files, put aside for a test and put back afterwards.
class SystemFile {
 public:
  explicit SystemFile(std::string path) : path_(std::move(path)), aside_(path_ + ".aside") {
    std::filesystem::create_directories(std::filesystem::path(path_).parent_path());
    std::error_code ignored;
    std::filesystem::rename(path_, aside_, ignored);
  }
  ~SystemFile() {
    std::error_code ignored;
    Remove();
    std::filesystem::rename(aside_, path_, ignored);
  }
  SystemFile(const SystemFile&) = delete;
  SystemFile& operator=(const SystemFile&) = delete;

  const SystemFile& Write(const std::string& bytes) const {
    Remove();
    std::ofstream(path_, std::ios::binary) << bytes;
    return *this;
  }
  void MakeDirectory() const {
    Remove();
    std::filesystem::create_directory(path_);
  }
  void MakeUnreadable() const { chmod(path_.c_str(), 0); }
  void Remove() const {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

 private:
  const std::string path_;
  const std::string aside_;
};

#endif  // TESTS_CONTRACT_SYSTEM_FILE_H_
