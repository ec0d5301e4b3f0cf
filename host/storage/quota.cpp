#include "host/storage/quota.h"

#include <limits.h>
#include <string.h>
#include <sys/quota.h>

#include <cerrno>

#include "host/accounts/accounts_module.h"
#include "host/klib/error_code.h"
#include "host/storage/guarded_call.h"
#include "host/storage/mounted_volumes.h"

namespace kest {
namespace {

constexpr uint64_t kBlockBytes = 1024;  // of a limit, whatever the file system's blocks are

struct Search {
  const char* mount_path;
  char* device;
  size_t size;
  bool found;
};

// Of several mounts at one place the last one counts.
void Visit(const KestMount* mount, void* data) {
  auto* const search = static_cast<Search*>(data);
  if (strcmp(mount->path, search->mount_path) != 0) return;
  const size_t length = strlen(mount->source);
  search->found = mount->source[0] == '/' && length < search->size;
  if (search->found) memcpy(search->device, mount->source, length + 1);
}

// The account's user id; negative when there is none (the reason is recorded).
int FindUid(const char* name) {
  const KestAccountsModule* const accounts = Accounts();
  if (accounts == nullptr) return FailWith(kErrorSystem);
  KestAccountState account;
  const int found = accounts->find(name, &account);
  if (found == 1) return account.uid;
  return FailWith(found == 0 ? kErrorNoSuchObject : kErrorSystem);
}

int QuotaCall(int command, const char* device, int uid, struct dqblk* block) {
  if (quotactl(QCMD(command, USRQUOTA), device, uid, reinterpret_cast<caddr_t>(block)) == 0) return 0;
  return FailWith(ErrorCodeOf(errno));
}

int FindDevice(const char* mount_table, const char* path, char* device, size_t size) {
  KESTMOUNTVOL volume;
  if (FindVolume(mount_table, path, &volume) != 0) return -1;
  Search search = {volume.path, device, size, false};
  if (!VisitMounts(mount_table, Visit, &search)) return -1;
  return search.found ? 0 : FailWith(kErrorNoSuchObject);
}

int CallWith(const char* mount_table, const char* path, const char* name, int command, struct dqblk* block) {
  if (path == nullptr || name == nullptr || *name == '\0' || strlen(path) > kQuotaPathMax) {
    return FailWith(kErrorBadParameter);
  }
  char device[PATH_MAX];
  if (FindDevice(mount_table, path, device, sizeof(device)) != 0) return -1;
  const int uid = FindUid(name);
  return uid < 0 ? -1 : QuotaCall(command, device, uid, block);
}

}  // namespace

int GetQuota(const char* mount_table, const char* path, const char* name, _tag_KEST_QUOTA_* quota) {
  if (quota == nullptr) return FailWith(kErrorBadParameter);
  struct dqblk block = {};
  if (CallWith(mount_table, path, name, Q_GETQUOTA, &block) != 0) return -1;
  quota->limitBytes = block.dqb_bhardlimit * kBlockBytes;
  quota->usedBytes = block.dqb_curspace;
  return 0;
}

int SetQuota(const char* mount_table, const char* path, const char* name, const _tag_KEST_QUOTA_* quota) {
  if (quota == nullptr) return FailWith(kErrorBadParameter);
  struct dqblk block = {};
  block.dqb_bhardlimit = quota->limitBytes / kBlockBytes + (quota->limitBytes % kBlockBytes == 0 ? 0 : 1);
  block.dqb_bsoftlimit = block.dqb_bhardlimit;
  block.dqb_valid = QIF_BLIMITS;
  return CallWith(mount_table, path, name, Q_SETQUOTA, &block);
}

}  // namespace kest

int KESTQuotaGet(const char* path, const char* name, _tag_KEST_QUOTA_* quota) {
  return kest::Guarded([=] { return kest::GetQuota(kest::kMountTable, path, name, quota); });
}

int KESTQuotaSet(const char* path, const char* name, _tag_KEST_QUOTA_* quota) {
  return kest::Guarded([=] { return kest::SetQuota(kest::kMountTable, path, name, quota); });
}
