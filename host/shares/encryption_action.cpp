// Steps of a share's encryption. What needs the database and the folders asks their modules.
#include <string.h>

#include "host/klib/error_code.h"
#include "host/shares/shares_module.h"
#include "host/storage/guarded_call.h"
#include "host/storage/mounted_volumes.h"

namespace kest {
namespace {

constexpr int kChange = 3, kCheck = 4;

bool IsComplete(int op, const _tag_KEST_SHARE_ENC_& request) {
  if (memchr(request.name, '\0', sizeof(request.name)) == nullptr) return false;
  if (memchr(request.pass, '\0', sizeof(request.pass)) == nullptr) return false;
  // gocryptfs reads a line.
  if (strpbrk(request.pass, "\r\n") != nullptr) return false;
  return op == (request.step == KEST_SHARE_ENC_VERIFY ? kCheck : kChange);
}

int Act(const _tag_KEST_SHARE_ENC_& request) {
  const KestSharesModule* const shares = Shares();
  const KestFoldersModule* const folders = Folders();
  if (shares == nullptr || folders == nullptr) return FailWith(kErrorSystem);
  KESTSHARE* slot = nullptr;
  if (KESTShareGet(request.name, &slot) < 0) return -1;
  KESTMOUNTVOL volume = {};
  const int found = FindVolume(kMountTable, slot->path, &volume);
  KESTShareFree(slot);
  if (found < 0) return -1;
  const int result = shares->encrypt(request.name, request.step, request.pass, volume.path, folders);
  return result < 0 ? FailWith(static_cast<ErrorCode>(-result)) : 0;
}

}  // namespace
}  // namespace kest

int KESTShareEncryptionAction(int op, _tag_KEST_SHARE_ENC_* request) {
  if (request == nullptr || !kest::IsComplete(op, *request)) return kest::FailWith(kest::kErrorBadParameter);
  return kest::Guarded([&] { return kest::Act(*request); });
}
