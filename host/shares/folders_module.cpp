#include "host/shares/folders_module.h"

#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "host/klib/error_code.h"
#include "host/klib/run_program.h"
#include "host/shares/folder_acl.h"
#include "host/shares/open_folder.h"
#include "host/shares/vault.h"

namespace kest {
namespace {

constexpr int kCopySeconds = 12 * 60 * 60;

int Failure(const char* doing, const char* path) {
  const int error = errno;
  syslog(LOG_ERR, "%s %s: %s", doing, path, strerror(error));
  return -ErrorCodeOf(error);
}

bool Exists(const char* path) {
  struct stat status;
  return lstat(path, &status) == 0;
}

// Nobody may enter it before its access list is there.
int Make(const char* path, bool* made) {
  *made = false;
  FileDescriptor parent, folder;
  std::string name;
  if (!OpenParent(path, &parent, &name)) return Failure("folder above", path);
  *made = mkdirat(parent.Get(), name.c_str(), 0700) == 0;
  if (*made) return 0;
  if (errno != EEXIST) return Failure("making", path);
  // What stands there has to be a folder, and not a link to one.
  return OpenFolder(path, &folder) ? 0 : Failure("using", path);
}

int Rename(const char* source, const char* target) {
  FileDescriptor from, to;
  std::string old_name, new_name;
  if (!OpenParent(source, &from, &old_name) || !OpenParent(target, &to, &new_name)) return Failure("renaming", source);
  if (renameat2(from.Get(), old_name.c_str(), to.Get(), new_name.c_str(), RENAME_NOREPLACE) != 0) {
    return Failure("renaming", source);
  }
  // The database says so only once the disk does.
  if (fsync(from.Get()) == 0 && fsync(to.Get()) == 0) return 0;
  const int failure = Failure("renaming", source);
  renameat2(to.Get(), new_name.c_str(), from.Get(), old_name.c_str(), RENAME_NOREPLACE);
  return failure;
}

int Remove(const char* path) {
  std::error_code error;
  std::filesystem::remove_all(path, error);
  if (!error) return 0;
  errno = error.value();
  return Failure("removing", path);
}

int RemoveEmpty(const char* path) { return rmdir(path) == 0 ? 0 : Failure("removing", path); }

// Why a copy has failed: cp says that to people only.
int CopyFailure(const char* target) {
  const std::string folder = std::filesystem::path(target).parent_path();
  std::error_code error;
  const auto space = std::filesystem::space(folder, error);
  const bool is_full = !error && space.available < 64 * 1024;
  return is_full ? -kErrorNoSpace : -kErrorSystem;
}

bool Sync(const char* path) {
  FileDescriptor folder;
  return OpenFolder(path, &folder) && syncfs(folder.Get()) == 0;
}

int CopyInto(const char* source, const char* target) {
  const char* const command[] = {"/usr/bin/cp", "-a", "--no-target-directory", "--", source, target, nullptr};
  const int status = RunProgram(command, kCopySeconds);
  if (status == 0 && Sync(target)) return 0;
  const int failure = status < 0 ? -ErrorCodeOf(errno) : CopyFailure(target);
  syslog(LOG_ERR, "copying %s to %s failed (%d)", source, target, status);
  return failure;
}

int Copy(const char* source, const char* target) {
  FileDescriptor folder;
  if (!OpenFolder(source, &folder)) return Failure("copying", source);
  if (Exists(target)) return -kErrorTaken;
  const int failure = CopyInto(source, target);
  if (failure != 0) Remove(target);
  return failure;
}

}  // namespace
}  // namespace kest

const KestFoldersModule* KestFoldersModuleTable(void) {
  static constexpr KestFoldersModule kTable = {
      kest::Exists,      kest::Make,         kest::Rename,      kest::Copy,        kest::CopyInto,  kest::Remove,
      kest::RemoveEmpty, kest::RenderFolder, kest::IsRendered,  kest::RenderBelow, kest::MakeVault, kest::CheckVaultKey,
      kest::OpenVault,   kest::CloseVault,   kest::IsOpenVault, kest::StoreKey,    kest::LoadKey,   kest::RemoveKey};
  return &kTable;
}
