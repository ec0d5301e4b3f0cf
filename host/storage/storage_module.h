#ifndef KEST_HOST_STORAGE_STORAGE_MODULE_H_
#define KEST_HOST_STORAGE_STORAGE_MODULE_H_

#include "host/module/module.h"

// One line of a mount table; the texts are the table's.
struct KestMount {
  const char* path;
  const char* source;  // what is mounted, a device's path as a rule; "" for none
  const char* type;    // the file system's name
  bool writable;
  unsigned major;  // number of the device; major 0 stands for none
  unsigned minor;
};

// The mount table, mapped when somebody asks for volumes.
struct KestStorageModule {
  // Visits every mount point of a table (a mountinfo file of the kernel) in its order, so that of two at one place the
  // later one covers the earlier. Lines that are none are passed over.
  // @return 0, or negative when the table cannot be read
  int (*visit_mounts)(const char* table, void (*visit)(const KestMount* mount, void* data), void* data);
};
KEST_MODULE_TABLE(KestStorageModule, KestStorageModuleTable);

#endif  // KEST_HOST_STORAGE_STORAGE_MODULE_H_
