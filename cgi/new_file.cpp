#include "new_file.h"

#include <acl/libacl.h>
#include <fcntl.h>
#include <sys/acl.h>
#include <sys/sendfile.h>

#include <cerrno>
#include <cstdio>
#include <memory>

namespace site {

namespace {

constexpr mode_t kMode = 0666;  // less the umask, or what the folder hands down
constexpr size_t kPiece = 1 << 20;

struct FreeAcl {
  void operator()(void* acl) const { acl_free(acl); }
};
using Acl = std::unique_ptr<std::remove_pointer_t<acl_t>, FreeAcl>;

mode_t Umask() {
  const mode_t mask = umask(022);
  umask(mask);
  return mask;
}

// A file is made without the right to execute it, whatever the folder hands down.
int WithoutExecuting(acl_t acl) {
  acl_entry_t entry;
  for (int which = ACL_FIRST_ENTRY; acl_get_entry(acl, which, &entry) == 1; which = ACL_NEXT_ENTRY) {
    acl_permset_t permissions;
    if (acl_get_permset(entry, &permissions) != 0 || acl_delete_perm(permissions, ACL_EXECUTE) != 0) return -1;
  }
  return 0;
}

// What a file gets that is made in the folder; a file that is moved there keeps what it had.
int HandDown(const FoundFile& folder, int file) {
  const Acl acl(acl_get_file(folder.Self().c_str(), ACL_TYPE_DEFAULT));
  if (!acl && errno != ENOTSUP) return errno;
  if (!acl || acl_entries(acl.get()) == 0) return fchmod(file, kMode & ~Umask()) == 0 ? 0 : errno;
  return WithoutExecuting(acl.get()) == 0 && acl_set_fd(file, acl.get()) == 0 ? 0 : errno;
}

int CopyInto(const FoundFile& folder, const char* name, int from) {
  const Descriptor to(openat(folder.place.get(), ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, kMode));
  if (!to.IsOpen()) return errno;
  ssize_t sent;
  while ((sent = sendfile(to.get(), from, nullptr, kPiece)) > 0 || (sent < 0 && errno == EINTR)) {
  }
  if (sent < 0) return errno;
  const std::string self = "/proc/self/fd/" + std::to_string(to.get());
  return linkat(AT_FDCWD, self.c_str(), folder.place.get(), name, AT_SYMLINK_FOLLOW) == 0 ? 0 : errno;
}

}  // namespace

std::string StagingFolder(const FoundFile& folder) {
  const std::string path = folder.volume + "/@tmp";
  return faccessat(AT_FDCWD, path.c_str(), W_OK | X_OK, AT_EACCESS) == 0 ? path : "";
}

int MoveInto(const FoundFile& folder, const char* name, const char* staged) {
  const Descriptor file(open(staged, O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
  if (!file.IsOpen()) return errno;
  if (const int error = HandDown(folder, file.get())) return error;
  if (renameat2(AT_FDCWD, staged, folder.place.get(), name, RENAME_NOREPLACE) == 0) return 0;
  return errno == EXDEV ? CopyInto(folder, name, file.get()) : errno;
}

}  // namespace site
