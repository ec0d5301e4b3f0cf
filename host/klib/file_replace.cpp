#include "host/klib/file_replace.h"

#include <fcntl.h>
#include <sys/file.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>

namespace kest {
namespace {

constexpr long kLockPollNanoseconds = 2 * 1000 * 1000;

bool Fail(int error) {
  errno = error;
  return false;
}

bool WriteAll(int fd, std::string_view text) {
  while (!text.empty()) {
    const ssize_t done = write(fd, text.data(), text.size());
    if (done < 0 && errno == EINTR) continue;
    if (done < 0) return false;
    text.remove_prefix(static_cast<size_t>(done));
  }
  return true;
}

// As far as the process may: only root can give a file away, and others only to their own groups. The set-id bits go
// with an owner that could not be kept. Owner before mode, because a change of owner clears those bits.
bool CopyOwnerAndMode(int fd, const struct stat& from) {
  struct stat now;
  if (fstat(fd, &now) != 0) return false;
  bool kept = now.st_uid == from.st_uid && now.st_gid == from.st_gid;
  if (!kept) kept = fchown(fd, from.st_uid, from.st_gid) == 0;
  if (!kept && fchown(fd, static_cast<uid_t>(-1), from.st_gid) != 0 && errno != EPERM) return false;
  return fchmod(fd, from.st_mode & (kept ? 07777 : 0777)) == 0;
}

bool Fill(int fd, const struct stat& like, std::string_view text) {
  return CopyOwnerAndMode(fd, like) && WriteAll(fd, text) && fsync(fd) == 0;
}

void UnlinkKeepingErrno(const char* path) {
  const int error = errno;
  unlink(path);
  errno = error;
}

}  // namespace

FileReplace::~FileReplace() {
  if (created_) UnlinkKeepingErrno(path_.c_str());
}

bool FileReplace::Resolve(const char* path) {
  struct stat status;
  if (lstat(path, &status) != 0 || !S_ISLNK(status.st_mode)) {
    path_ = path;
    return true;
  }
  if (status.st_uid != 0 && status.st_uid != geteuid()) return Fail(ELOOP);
  char target[PATH_MAX];
  if (realpath(path, target) == nullptr) return false;
  path_ = target;
  return true;
}

bool FileReplace::OpenOrCreate(mode_t new_file_mode) {
  // Opened for writing although only the sibling is written: a file that forbids writing is not to be replaced either.
  constexpr int kFlags = O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
  created_ = false;
  lock_.Reset(open(path_.c_str(), kFlags));
  if (lock_.IsOpen()) return true;
  if (errno != ENOENT) return false;
  lock_.Reset(open(path_.c_str(), kFlags | O_CREAT | O_EXCL, new_file_mode));
  created_ = lock_.IsOpen();
  return lock_.IsOpen() || errno == EEXIST;  // somebody else created it meanwhile: the next round opens theirs
}

// One attempt. The lock counts only while its file still has the name: the writer before us has replaced it otherwise.
bool FileReplace::TryLock(mode_t new_file_mode, bool* busy) {
  *busy = true;
  if (!lock_.IsOpen() && !OpenOrCreate(new_file_mode)) return false;
  if (!lock_.IsOpen()) return true;
  if (fstat(lock_.Get(), &status_) != 0) return false;
  if (!S_ISREG(status_.st_mode)) return Fail(EINVAL);
  if (flock(lock_.Get(), LOCK_EX | LOCK_NB) != 0) return errno == EWOULDBLOCK;
  struct stat named;
  if (lstat(path_.c_str(), &named) == 0 && named.st_dev == status_.st_dev && named.st_ino == status_.st_ino) {
    *busy = false;
    return true;
  }
  created_ = false;
  lock_.Reset();
  return true;
}

bool FileReplace::Open(const char* path, mode_t new_file_mode) {
  if (!Resolve(path)) return false;
  struct timespec start;
  clock_gettime(CLOCK_MONOTONIC, &start);
  const struct timespec poll = {0, kLockPollNanoseconds};
  for (;;) {
    bool busy = false;
    if (!TryLock(new_file_mode, &busy)) return false;
    if (!busy) return true;
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    if (now.tv_sec - start.tv_sec > kLockWaitSeconds) break;
    nanosleep(&poll, nullptr);
  }
  created_ = false;
  return Fail(ETIMEDOUT);
}

std::string FileReplace::Directory() const {
  const size_t slash = path_.rfind('/');
  return slash == std::string::npos ? "." : path_.substr(0, slash + 1);
}

bool FileReplace::Commit(std::string_view text) {
  const std::string directory = Directory();
  std::string sibling = directory + "/.kestXXXXXX";
  const FileDescriptor file(mkostemp(&sibling[0], O_CLOEXEC));
  if (!file.IsOpen()) return false;
  if (!Fill(file.Get(), status_, text) || rename(sibling.c_str(), path_.c_str()) != 0) {
    UnlinkKeepingErrno(sibling.c_str());
    return false;
  }
  created_ = false;
  // The new bytes are complete on the disk under either name, so a directory that cannot be synchronised is no failure.
  const FileDescriptor folder(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (folder.IsOpen()) fsync(folder.Get());
  return true;
}

}  // namespace kest
