#include "host/storage/storage_module.h"

#include <libmount/libmount.h>
#include <sys/sysmacros.h>

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

const char* TextOf(const char* text) { return text == nullptr ? "" : text; }

KestMount Described(libmnt_fs* mount) {
  const dev_t device = mnt_fs_get_devno(mount);
  // Read-only is the mount or the file system below it.
  const bool writable = !HasReadOnly(mnt_fs_get_vfs_options(mount)) && !HasReadOnly(mnt_fs_get_fs_options(mount));
  return {TextOf(mnt_fs_get_target(mount)),
          TextOf(mnt_fs_get_source(mount)),
          TextOf(mnt_fs_get_fstype(mount)),
          writable,
          major(device),
          minor(device)};
}

int VisitMounts(const char* path, void (*visit)(const KestMount* mount, void* data), void* data) {
  const std::unique_ptr<libmnt_table, UnrefTable> table(mnt_new_table_from_file(path));
  const std::unique_ptr<libmnt_iter, FreeIterator> iterator(mnt_new_iter(MNT_ITER_FORWARD));
  if (table == nullptr || iterator == nullptr) return -1;
  libmnt_fs* mount = nullptr;
  while (mnt_table_next_fs(table.get(), iterator.get(), &mount) == 0) {
    const KestMount described = Described(mount);
    visit(&described, data);
  }
  return 0;
}

}  // namespace

const KestStorageModule* KestStorageModuleTable(void) {
  static constexpr KestStorageModule kTable = {VisitMounts};
  return &kTable;
}
