#include "host/accounts/directory.h"

#include <sys/stat.h>
#include <unistd.h>

#include "host/accounts/directory_schema.h"

namespace kest {
namespace {

class SharedConnection {
 public:
  ~SharedConnection() { LeaveToParent(); }

  std::shared_ptr<Database> Get() {
    LeaveToParent();
    struct stat file = {};
    const bool seen = stat(kAccountsPath, &file) == 0;
    // A file that may not be seen any more is still the one that was opened.
    const bool same = !seen || (file.st_ino == inode_ && file.st_dev == device_);
    if (database_ == nullptr || !same) Open(file);
    return database_;
  }

 private:
  void Open(const struct stat& file) {
    database_ = OpenDirectory();
    pid_ = getpid();
    inode_ = file.st_ino;
    device_ = file.st_dev;
  }

  // SQLite's connections do not survive fork(): a child that closed it would take the parent's work for its own.
  void LeaveToParent() {
    if (database_ == nullptr || pid_ == getpid()) return;
    parents_ = new std::shared_ptr<Database>(std::move(database_));
    database_ = nullptr;
  }

  std::shared_ptr<Database> database_;
  std::shared_ptr<Database>* parents_ = nullptr;  // never given back
  pid_t pid_ = 0;
  ino_t inode_ = 0;
  dev_t device_ = 0;
};

}  // namespace

std::shared_ptr<Database> Directory() {
  static SharedConnection connection;
  return connection.Get();
}

std::unique_ptr<Database> OpenDirectory(const char* path) { return Database::Open(path, kDirectorySchema); }

}  // namespace kest
