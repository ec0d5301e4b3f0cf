// The calls by which folders are changed, made to fail as system_faults.h has it. "allocation" is every piece of
// memory.
#include <spawn.h>
#include <sys/acl.h>
#include <sys/types.h>

#include <cerrno>
#include <cstdlib>
#include <new>

#include "system_faults.h"

extern "C" {

int __real_mkdirat(int folder, const char* path, mode_t mode);
int __real_renameat2(int from, const char* source, int to, const char* target, unsigned flags);
int __real_acl_set_file(const char* path, acl_type_t type, acl_t acl);
int __real_syncfs(int file);
int __real_posix_spawn(pid_t* pid, const char* path, const posix_spawn_file_actions_t* actions,
                       const posix_spawnattr_t* attributes, char* const* arguments, char* const* environment);
void* __real_calloc(size_t count, size_t size);

int __wrap_mkdirat(int folder, const char* path, mode_t mode) {
  return FaultStrikes("mkdirat") ? -1 : __real_mkdirat(folder, path, mode);
}
int __wrap_renameat2(int from, const char* source, int to, const char* target, unsigned flags) {
  return FaultStrikes("renameat2") ? -1 : __real_renameat2(from, source, to, target, flags);
}
int __wrap_acl_set_file(const char* path, acl_type_t type, acl_t acl) {
  return FaultStrikes("acl_set_file") ? -1 : __real_acl_set_file(path, type, acl);
}
int __wrap_syncfs(int file) { return FaultStrikes("syncfs") ? -1 : __real_syncfs(file); }
int __wrap_posix_spawn(pid_t* pid, const char* path, const posix_spawn_file_actions_t* actions,
                       const posix_spawnattr_t* attributes, char* const* arguments, char* const* environment) {
  if (FaultStrikes("posix_spawn")) return errno;
  return __real_posix_spawn(pid, path, actions, attributes, arguments, environment);
}
void* __wrap_calloc(size_t count, size_t size) {
  return FaultStrikes("allocation") ? nullptr : __real_calloc(count, size);
}

}  // extern "C"

void* operator new(size_t size) {
  void* const memory = FaultStrikes("allocation") ? nullptr : malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void operator delete(void* memory) noexcept { free(memory); }
void operator delete(void* memory, size_t) noexcept { free(memory); }
