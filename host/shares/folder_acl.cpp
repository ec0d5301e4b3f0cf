#include "host/shares/folder_acl.h"

#include <acl/libacl.h>
#include <dirent.h>
#include <fcntl.h>
#include <string.h>
#include <sys/acl.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <memory>
#include <string>

#include "host/accounts/account_paths.h"
#include "host/identity/one_id.h"
#include "host/klib/error_code.h"
#include "host/shares/open_folder.h"

namespace kest {
namespace {

constexpr unsigned kRead = 4, kWrite = 2, kEnter = 1, kEverything = 7;

struct FreeAcl {
  void operator()(void* acl) const { acl_free(acl); }
};
using Acl = std::unique_ptr<std::remove_pointer_t<acl_t>, FreeAcl>;

bool Add(acl_t* acl, acl_tag_t tag, const unsigned* id, unsigned rights) {
  acl_entry_t entry;
  acl_permset_t permissions;
  if (acl_create_entry(acl, &entry) != 0 || acl_set_tag_type(entry, tag) != 0) return false;
  if (id != nullptr && acl_set_qualifier(entry, id) != 0) return false;
  if (acl_get_permset(entry, &permissions) != 0) return false;
  if ((rights & kRead) != 0) acl_add_perm(permissions, ACL_READ);
  if ((rights & kWrite) != 0) acl_add_perm(permissions, ACL_WRITE);
  if ((rights & kEnter) != 0) acl_add_perm(permissions, ACL_EXECUTE);
  return true;
}

// What the owner may, the most that an entry gets, and what everybody else may.
struct Frame {
  unsigned owner;
  unsigned most;
  unsigned others;
};

bool Fill(acl_t* acl, const Frame& frame, unsigned appliance, const KestAcl& wanted) {
  bool filled = Add(acl, ACL_USER_OBJ, nullptr, frame.owner) && Add(acl, ACL_GROUP_OBJ, nullptr, frame.others) &&
                Add(acl, ACL_OTHER, nullptr, frame.others) && Add(acl, ACL_MASK, nullptr, frame.most) &&
                Add(acl, ACL_USER, &appliance, frame.most);
  for (size_t i = 0; filled && i < wanted.count; ++i) {
    const KestAclEntry& entry = wanted.entries[i];
    filled = Add(acl, entry.is_group ? ACL_GROUP : ACL_USER, &entry.id, entry.rights & frame.most);
  }
  return filled;
}

// nullptr without memory. The appliance itself always may: what is in a share does not belong to it, but to whoever
// wrote it there.
Acl NewAcl(const Frame& frame, unsigned appliance, const KestAcl& wanted) {
  acl_t acl = acl_init(static_cast<int>(wanted.count) + 5);
  const bool filled = acl != nullptr && Fill(&acl, frame, appliance, wanted);
  Acl owned(acl);
  if (!filled) owned.reset();
  return owned;
}

Acl ForFolder(unsigned appliance, const KestAcl& wanted) {
  return NewAcl({kEverything, kEverything, wanted.holds_homes ? kEnter : 0}, appliance, wanted);
}

// What is made in a folder inherits its list, but a home is nobody's but its owner's.
Acl ForNewOnes(unsigned appliance, const KestAcl& wanted) {
  if (wanted.holds_homes) return NewAcl({kEverything, kEnter, 0}, appliance, {nullptr, 0, true});
  return ForFolder(appliance, wanted);
}

// Who the appliance is: the owner of its accounts.
struct stat Appliance() {
  struct stat owner = {};
  if (stat(kAccountsPath, &owner) != 0) {
    owner.st_uid = geteuid();
    owner.st_gid = getegid();
  }
  return owner;
}

std::string PathOf(const FileDescriptor& file) { return "/proc/self/fd/" + std::to_string(file.Get()); }

bool IsSet(const std::string& path, acl_type_t type, acl_t wanted) {
  const Acl present(acl_get_file(path.c_str(), type));
  return present != nullptr && acl_cmp(present.get(), wanted) == 0;
}

// 1 changed, 0 as it was, -1 with errno.
int Set(const std::string& path, acl_type_t type, acl_t wanted) {
  if (IsSet(path, type, wanted)) return 0;
  return acl_set_file(path.c_str(), type, wanted) == 0 ? 1 : -1;
}

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};

// A tree whose entries get the same lists.
class Tree {
 public:
  Tree(unsigned appliance, const KestAcl& wanted)
      : folder_(ForFolder(appliance, wanted)), file_(NewAcl({kRead | kWrite, kRead | kWrite, 0}, appliance, wanted)) {}

  bool IsMade() const { return folder_ != nullptr && file_ != nullptr; }

  void RenderBelow(int folder, int depth) {
    const std::unique_ptr<DIR, CloseFolder> entries(fdopendir(folder));
    if (entries == nullptr) {
      Count(-1);
      close(folder);
      return;
    }
    while (const dirent* entry = readdir(entries.get())) {
      if (strcmp(entry->d_name, ".") != 0 && strcmp(entry->d_name, "..") != 0) {
        Render(dirfd(entries.get()), entry->d_name, depth);
      }
    }
  }

  size_t failed() const { return failed_; }
  // The negative of an ErrorCode when something failed that may go well another time; 0 otherwise.
  int result() const { return result_; }

 private:
  static constexpr int kDepthMax = 200;  // of open folders

  void Render(int parent, const char* name, int depth) {
    struct stat status;
    const FileDescriptor file(openat(parent, name, O_PATH | O_NOFOLLOW | O_CLOEXEC));
    if (!file.IsOpen() || fstat(file.Get(), &status) != 0) {
      Count(-1);
    } else if (S_ISDIR(status.st_mode)) {
      RenderFolder(file, depth);
    } else if (S_ISREG(status.st_mode)) {
      // A program stays one.
      const bool is_program = (status.st_mode & S_IXUSR) != 0;
      Count(Set(PathOf(file), ACL_TYPE_ACCESS, is_program ? folder_.get() : file_.get()));
    }
  }

  void RenderFolder(const FileDescriptor& folder, int depth) {
    Count(Set(PathOf(folder), ACL_TYPE_ACCESS, folder_.get()));
    Count(Set(PathOf(folder), ACL_TYPE_DEFAULT, folder_.get()));
    errno = EPERM;
    const int below = depth < kDepthMax ? open(PathOf(folder).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC) : -1;
    if (below < 0) {
      Count(-1);
    } else {
      RenderBelow(below, depth + 1);
    }
  }

  void Count(int result) {
    if (result >= 0) return;
    ++failed_;
    // That a file is somebody else's does not change.
    if (errno != EPERM && errno != ENOTSUP) result_ = -ErrorCodeOf(errno);
  }

  const Acl folder_, file_;
  size_t failed_ = 0;
  int result_ = 0;
};

int Failure(const char* path) {
  const int error = errno;
  syslog(LOG_ERR, "access list of %s: %s", path, strerror(error));
  return -ErrorCodeOf(error);
}

// A file system without access lists, or a machine whose accounts have no ids that could stand in one.
bool IsKept(const char* path) {
  if (errno != ENOTSUP && (errno != EINVAL || !MapsOneId("/proc/self/uid_map"))) return false;
  syslog(LOG_WARNING, "%s keeps its mode: it can have no access list here", path);
  return true;
}

}  // namespace

int RenderFolder(const char* path, const KestAcl* wanted, bool* changed) {
  *changed = false;
  FileDescriptor folder;
  if (!OpenFolder(path, &folder)) return Failure(path);
  const struct stat appliance = Appliance();
  // Only root may; on a file system without owners nobody.
  if (geteuid() == 0 && fchown(folder.Get(), appliance.st_uid, appliance.st_gid) != 0 && errno != EPERM) {
    return Failure(path);
  }
  const Acl access = ForFolder(appliance.st_uid, *wanted), inherited = ForNewOnes(appliance.st_uid, *wanted);
  if (access == nullptr || inherited == nullptr) return -kErrorNoMemory;
  const int own = Set(PathOf(folder), ACL_TYPE_ACCESS, access.get());
  const int passed_on = own < 0 ? own : Set(PathOf(folder), ACL_TYPE_DEFAULT, inherited.get());
  if (passed_on < 0) return IsKept(path) ? 0 : Failure(path);
  *changed = own > 0 || passed_on > 0;
  return 0;
}

bool IsRendered(const char* path, const KestAcl* wanted) {
  FileDescriptor folder;
  if (!OpenFolder(path, &folder)) return false;
  const struct stat appliance = Appliance();
  const Acl access = ForFolder(appliance.st_uid, *wanted), inherited = ForNewOnes(appliance.st_uid, *wanted);
  return access != nullptr && inherited != nullptr && IsSet(PathOf(folder), ACL_TYPE_ACCESS, access.get()) &&
         IsSet(PathOf(folder), ACL_TYPE_DEFAULT, inherited.get());
}

int RenderBelow(const char* path, const KestAcl* wanted) {
  if (wanted->holds_homes) return 0;
  Tree tree(Appliance().st_uid, *wanted);
  if (!tree.IsMade()) return -kErrorNoMemory;
  FileDescriptor folder;
  if (!OpenFolder(path, &folder)) return Failure(path);
  tree.RenderBelow(fcntl(folder.Get(), F_DUPFD_CLOEXEC, 0), 0);
  if (tree.failed() != 0) syslog(LOG_ERR, "%s: %zu access lists below could not be set", path, tree.failed());
  return tree.result();
}

}  // namespace kest
