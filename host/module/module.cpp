#include "host/module/module.h"

#include <dlfcn.h>
#include <limits.h>
#include <stdio.h>
#include <string.h>
#include <syslog.h>

#ifndef KEST_STATIC

namespace kest {

namespace {

// The file's path beside this library. A bare name would be looked for along the RUNPATH of whoever calls dlopen, in
// several folders each; under sanitizers that is not even this library, but their runtime.
bool ModulePath(const char* name, char (&path)[PATH_MAX]) {
  Dl_info own;
  if (dladdr(reinterpret_cast<const void*>(&LoadModuleTable), &own) == 0) return false;
  const char* slash = strrchr(own.dli_fname, '/');
  const int folder = slash == nullptr ? 0 : static_cast<int>(slash + 1 - own.dli_fname);
  const int length = snprintf(path, sizeof(path), "%.*slibkest_%s.so", folder, own.dli_fname, name);
  return length > 0 && length < static_cast<int>(sizeof(path));
}

}  // namespace

const void* LoadModuleTable(const char* name, const char* function) {
  char path[PATH_MAX];
  void* handle = ModulePath(name, path) ? dlopen(path, RTLD_NOW | RTLD_LOCAL) : nullptr;
  using TableFunction = const void* (*)(void);
  auto table = handle == nullptr ? nullptr : reinterpret_cast<TableFunction>(dlsym(handle, function));
  if (table == nullptr) {
    syslog(LOG_ERR, "module %s is not available: %s", name, dlerror());
    return nullptr;
  }
  return table();
}

}  // namespace kest

#endif  // KEST_STATIC
