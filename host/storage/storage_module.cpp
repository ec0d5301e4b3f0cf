#include "host/storage/storage_module.h"

#include <libmount/libmount.h>

#include <memory>

namespace {

struct UnrefTable {
  void operator()(libmnt_table* table) const { mnt_unref_table(table); }
};
struct FreeIterator {
  void operator()(libmnt_iter* iterator) const { mnt_free_iter(iterator); }
};

bool HasReadOnly(const char* options) {
  return options != nullptr && mnt_optstr_get_option(options, "ro", nullptr, nullptr) == 0;
}

int VisitMounts(void (*visit)(const char* path, bool writable, void* data), void* data) {
  const std::unique_ptr<libmnt_table, UnrefTable> table(mnt_new_table_from_file("/proc/self/mountinfo"));
  const std::unique_ptr<libmnt_iter, FreeIterator> iterator(mnt_new_iter(MNT_ITER_FORWARD));
  if (table == nullptr || iterator == nullptr) return -1;
  libmnt_fs* mount = nullptr;
  while (mnt_table_next_fs(table.get(), iterator.get(), &mount) == 0) {
    const char* const path = mnt_fs_get_target(mount);
    // Read-only is the mount or the file system below it.
    const bool writable = !HasReadOnly(mnt_fs_get_vfs_options(mount)) && !HasReadOnly(mnt_fs_get_fs_options(mount));
    if (path != nullptr) visit(path, writable, data);
  }
  return 0;
}

}  // namespace

const KestStorageModule* KestStorageModuleTable(void) {
  static constexpr KestStorageModule kTable = {VisitMounts};
  return &kTable;
}
