#include "host/module/module.h"

#include <dlfcn.h>
#include <stdio.h>
#include <syslog.h>

#ifndef KEST_STATIC

namespace kest {

const void* LoadModuleTable(const char* name, const char* function) {
  char file[64];
  snprintf(file, sizeof(file), "libkest_%s.so", name);
  // A bare file name makes the loader search the RUNPATH of the object that calls, which is ours.
  void* handle = dlopen(file, RTLD_NOW | RTLD_LOCAL);
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
