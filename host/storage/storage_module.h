#ifndef KEST_HOST_STORAGE_STORAGE_MODULE_H_
#define KEST_HOST_STORAGE_STORAGE_MODULE_H_

#include "host/module/module.h"

// The mount table, mapped when somebody asks for volumes.
struct KestStorageModule {
  // Visits every mount point of this process's namespace in the table's order, so that of two at one place the later
  // one covers the earlier.
  // @return 0, or negative when the table cannot be read
  int (*visit_mounts)(void (*visit)(const char* path, bool writable, void* data), void* data);
};
KEST_MODULE_TABLE(KestStorageModule, KestStorageModuleTable);

#endif  // KEST_HOST_STORAGE_STORAGE_MODULE_H_
