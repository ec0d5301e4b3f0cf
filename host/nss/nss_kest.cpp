// The name service "kest": accounts and groups of the directory for getpwnam(), getgrgid(), initgroups() and the
// programs that use them. What the interface of such a module is stands in the manual of the C library, "Extending
// NSS".
//
// Answers are found by name or number; there is no walk through all accounts, so `getent passwd` alone does not list
// them. A process that may not read the directory, as one that has taken on an account, is told that there is no such
// service.
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <grp.h>
#include <nss.h>
#include <pthread.h>
#include <pwd.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "host/accounts/account_paths.h"
#include "host/accounts/accounts_module.h"

namespace {

// Below lie the ids of the system: the directory must not be able to give another name to one of them, or root's number
// to anybody.
constexpr int kFirstAccount = 1024;
constexpr int kFirstGroup = 100;

// Texts and pointers of an answer, in the memory that the caller brought.
class Room {
 public:
  Room(char* memory, size_t size) : at_(memory), left_(size) {}

  bool fits() const { return fits_; }

  char* Text(const char* text) {
    const size_t length = strlen(text) + 1;
    char* const copy = Take(length);
    return copy == nullptr ? nullptr : static_cast<char*>(memcpy(copy, text, length));
  }

  char** Pointers(size_t count) {
    const size_t astray = reinterpret_cast<uintptr_t>(at_) % alignof(char*);
    if (astray != 0) Take(alignof(char*) - astray);
    return reinterpret_cast<char**>(Take(count * sizeof(char*)));
  }

 private:
  char* Take(size_t length) {
    fits_ = fits_ && length <= left_;
    if (!fits_) return nullptr;
    char* const taken = at_;
    at_ += length;
    left_ -= length;
    return taken;
  }

  char* at_;
  size_t left_;
  bool fits_ = true;
};

bool MayLoadModule() {
#ifdef KEST_SANITIZED
  return dlsym(RTLD_DEFAULT, "__asan_init") != nullptr;
#else
  return true;
#endif
}

// The directory for one question. The module serves one thread at a time; a program may have more.
class Directory {
 public:
  Directory() {
    pthread_mutex_lock(&mutex);
    if (MayLoadModule() && MayOpen()) module_ = kest::Accounts();
  }
  ~Directory() { pthread_mutex_unlock(&mutex); }
  Directory(const Directory&) = delete;
  Directory& operator=(const Directory&) = delete;

  explicit operator bool() const { return module_ != nullptr; }
  const KestAccountsModule* operator->() const { return module_; }

  // The module keeps its connection: who has got an answer once gets them also after taking on another id.
  static int Answered(int result) {
    if (result >= 0) served = getpid();
    return result;
  }

 private:
  // Asked first, because the module logs what it cannot open, and every `ls` of an account would be such a line.
  static bool MayOpen() {
    return served == getpid() || faccessat(AT_FDCWD, kest::kAccountsPath, R_OK | W_OK, AT_EACCESS) == 0;
  }

  static pthread_mutex_t mutex;
  static pid_t served;
  const KestAccountsModule* module_ = nullptr;
};

pthread_mutex_t Directory::mutex = PTHREAD_MUTEX_INITIALIZER;
pid_t Directory::served = 0;

nss_status Unavailable(int* error) {
  *error = ENOENT;
  return NSS_STATUS_UNAVAIL;
}

nss_status NotFound(int* error) {
  *error = ENOENT;
  return NSS_STATUS_NOTFOUND;
}

// The caller comes again with more memory.
nss_status TooSmall(int* error) {
  *error = ERANGE;
  return NSS_STATUS_TRYAGAIN;
}

// A description is anybody's text, and what reads lines of accounts must not take it for more of them.
char* OneField(char* text) {
  for (char* at = text; at != nullptr && *at != '\0'; ++at) {
    if (*at == ':' || (*at >= 1 && *at < 0x20)) *at = ' ';
  }
  return text;
}

// Takes a record over.
nss_status FillAccount(int found, KESTUSER* record, passwd* out, char* memory, size_t size, int* error) {
  if (found < 0) return Unavailable(error);
  if (found == 0) return NotFound(error);
  Room room(memory, size);
  out->pw_name = room.Text(record->name);
  out->pw_passwd = room.Text("*");  // nobody logs in to the machine itself with it
  out->pw_uid = static_cast<uid_t>(record->uid);
  out->pw_gid = static_cast<gid_t>(record->gid);
  out->pw_gecos = OneField(room.Text(record->desc));
  out->pw_dir = room.Text(record->home);
  out->pw_shell = room.Text(record->shell);
  const bool is_account = record->uid >= kFirstAccount && record->gid >= kFirstGroup;
  free(record);
  if (!is_account) return NotFound(error);
  return room.fits() ? NSS_STATUS_SUCCESS : TooSmall(error);
}

nss_status FillGroup(int found, KestGroupEntry* entry, group* out, char* memory, size_t size, int* error) {
  if (found < 0) return Unavailable(error);
  if (found == 0) return NotFound(error);
  Room room(memory, size);
  out->gr_name = room.Text(entry->name);
  out->gr_passwd = room.Text("*");
  out->gr_gid = static_cast<gid_t>(entry->gid);
  const auto count = static_cast<size_t>(entry->member_count);
  out->gr_mem = room.Pointers(count + 1);
  const char* name = entry->members;
  for (size_t i = 0; i < count && room.fits(); ++i, name += strlen(name) + 1) out->gr_mem[i] = room.Text(name);
  if (room.fits()) out->gr_mem[count] = nullptr;
  const bool is_group = entry->gid >= kFirstGroup;
  free(entry);
  if (!is_group) return NotFound(error);
  return room.fits() ? NSS_STATUS_SUCCESS : TooSmall(error);
}

// The groups gathered so far, in the C library's own memory, which grows up to a limit.
struct GroupList {
  long* used;
  long* room;
  gid_t** groups;
  long limit;

  // False when memory ran out. What is above the limit is left out, as the C library's own service does.
  bool Add(gid_t gid) {
    if (*used == *room && !Grow()) return limit > 0 && *room >= limit;
    (*groups)[(*used)++] = gid;
    return true;
  }

 private:
  bool Grow() {
    long wanted = *room * 2;
    if (limit > 0 && wanted > limit) wanted = limit;
    if (wanted <= *room) return false;
    void* const larger = realloc(*groups, static_cast<size_t>(wanted) * sizeof(gid_t));
    if (larger == nullptr) return false;
    *groups = static_cast<gid_t*>(larger);
    *room = wanted;
    return true;
  }
};

}  // namespace

#define KEST_NAME_SERVICE extern "C" __attribute__((visibility("default"))) nss_status

KEST_NAME_SERVICE _nss_kest_getpwnam_r(const char* name, passwd* out, char* memory, size_t size, int* error) {
  const Directory directory;
  if (!directory) return Unavailable(error);
  KESTUSER* record = nullptr;
  const int found = Directory::Answered(directory->record(name, &record));
  return FillAccount(found, record, out, memory, size, error);
}

KEST_NAME_SERVICE _nss_kest_getpwuid_r(uid_t uid, passwd* out, char* memory, size_t size, int* error) {
  const Directory directory;
  if (!directory) return Unavailable(error);
  KESTUSER* record = nullptr;
  const int found = Directory::Answered(directory->record_by_uid(static_cast<int>(uid), &record));
  return FillAccount(found, record, out, memory, size, error);
}

KEST_NAME_SERVICE _nss_kest_getgrnam_r(const char* name, group* out, char* memory, size_t size, int* error) {
  const Directory directory;
  if (!directory) return Unavailable(error);
  KestGroupEntry* entry = nullptr;
  const int found = Directory::Answered(directory->group_entry(name, &entry));
  return FillGroup(found, entry, out, memory, size, error);
}

KEST_NAME_SERVICE _nss_kest_getgrgid_r(gid_t gid, group* out, char* memory, size_t size, int* error) {
  const Directory directory;
  if (!directory) return Unavailable(error);
  KestGroupEntry* entry = nullptr;
  const int found = Directory::Answered(directory->group_entry_by_gid(static_cast<int>(gid), &entry));
  return FillGroup(found, entry, out, memory, size, error);
}

KEST_NAME_SERVICE _nss_kest_initgroups_dyn(const char* name, gid_t primary, long* used, long* room, gid_t** groups,
                                           long limit, int* error) {
  const Directory directory;
  if (!directory) return Unavailable(error);
  uint32_t* gids = nullptr;
  const int count = Directory::Answered(directory->groups_of(name, &gids));
  if (count < 0) return Unavailable(error);
  GroupList list = {used, room, groups, limit};
  bool added = true;
  for (int i = 0; i < count && added; ++i) {
    if (gids[i] != primary && gids[i] >= static_cast<uint32_t>(kFirstGroup)) added = list.Add(gids[i]);
  }
  free(gids);
  if (added) return NSS_STATUS_SUCCESS;
  *error = ENOMEM;
  return NSS_STATUS_TRYAGAIN;
}
