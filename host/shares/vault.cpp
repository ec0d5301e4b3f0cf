#include "host/shares/vault.h"

#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "host/klib/error_code.h"
#include "host/klib/file_descriptor.h"
#include "host/klib/run_program.h"

namespace kest {
namespace {

constexpr int kSeconds = 120;  // a key is derived slowly on purpose
constexpr int kWrongPassphrase = 12;
constexpr int kNotUnlocked = 8;  // of gocryptfs-xray
constexpr char kGocryptfs[] = "/usr/bin/gocryptfs";

// A passphrase as a file in memory that a program may read.
class Passphrase {
 public:
  explicit Passphrase(const char* text) : file_(memfd_create("passphrase", MFD_CLOEXEC)) {
    const size_t length = strlen(text);
    written_ = file_.IsOpen() && write(file_.Get(), text, length) == static_cast<ssize_t>(length) &&
               write(file_.Get(), "\n", 1) == 1 && lseek(file_.Get(), 0, SEEK_SET) == 0;
  }
  bool IsWritten() const { return written_; }
  int Get() const { return file_.Get(); }

 private:
  FileDescriptor file_;
  bool written_ = false;
};

// What is said of a program that has not ended well.
int Failure(const char* doing, const char* vault, int status) {
  if (status == kWrongPassphrase || status == kNotUnlocked) return -kErrorWrongKey;
  syslog(LOG_ERR, "%s %s: %s (%d)", doing, vault, status < 0 ? strerror(errno) : "failed", status);
  return -kErrorUnsupported;
}

int Run(const char* doing, const char* vault, const char* const* command, const char* passphrase) {
  const Passphrase input(passphrase);
  if (!input.IsWritten()) return -ErrorCodeOf(errno);
  const int status = RunProgram(command, kSeconds, input.Get());
  return status == 0 ? 0 : Failure(doing, vault, status);
}

}  // namespace

int MakeVault(const char* vault, const char* passphrase) {
  const std::filesystem::path folder = vault;
  // Nobody but the appliance has business among the vaults; the folder may be there.
  mkdir(folder.parent_path().c_str(), 0700);
  if (mkdir(vault, 0700) != 0) return -ErrorCodeOf(errno);
  const char* const command[] = {kGocryptfs, "-init", "-q", "--", vault, nullptr};
  const int failure = Run("making", vault, command, passphrase);
  std::error_code ignored;
  if (failure != 0) std::filesystem::remove_all(vault, ignored);
  return failure;
}

// The master key that this prints goes nowhere: that it can be had is the answer.
int CheckVaultKey(const char* vault, const char* passphrase) {
  const std::string configuration = std::string(vault) + "/gocryptfs.conf";
  if (access(configuration.c_str(), R_OK) != 0) return -ErrorCodeOf(errno);
  const char* const command[] = {"/usr/bin/gocryptfs-xray", "-dumpmasterkey", configuration.c_str(), nullptr};
  return Run("checking", vault, command, passphrase);
}

int OpenVault(const char* vault, const char* folder, const char* passphrase) {
  const char* const command[] = {kGocryptfs, "-q", "-allow_other", "-acl", "--", vault, folder, nullptr};
  return Run("opening", vault, command, passphrase);
}

int CloseVault(const char* folder) {
  const char* const command[] = {"/usr/bin/fusermount3", "-u", "--", folder, nullptr};
  return RunProgram(command, kSeconds) == 0 ? 0 : -kErrorBusy;
}

bool IsOpenVault(const char* folder) {
  struct stat here, above;
  const std::string parent = std::filesystem::path(folder).parent_path();
  return stat(folder, &here) == 0 && stat(parent.c_str(), &above) == 0 && here.st_dev != above.st_dev;
}

}  // namespace kest
