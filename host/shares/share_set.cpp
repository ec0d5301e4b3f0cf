// Storing shares: what can be judged without the database, and where the folder is to be.
#include <string.h>

#include <string>

#include "host/klib/error_code.h"
#include "host/shares/share_names.h"
#include "host/shares/shares_module.h"
#include "host/storage/guarded_call.h"
#include "host/storage/mounted_volumes.h"
#include "host/storage/volume_path.h"

namespace kest {
namespace {

constexpr size_t kPathMax = 4094;  // what callers' buffers hold

char kNothing[] = "";

// A copy of the record without NULL.
KESTSHARE WithTexts(const KESTSHARE& record) {
  KESTSHARE whole = record;
  for (char** text : {&whole.name, &whole.desc, &whole.path, &whole.na, &whole.rw, &whole.ro}) {
    if (*text == nullptr) *text = kNothing;
  }
  return whole;
}

// Absolute, without "." and "..", empty components and control characters.
bool IsCleanPath(const std::string& path) {
  if (path.size() > kPathMax || !IsPlainPath(path) || path.back() == '/') return false;
  for (const char c : path) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) return false;
  }
  const std::string closed = path + "/";
  return closed.find("//") == std::string::npos && closed.find("/./") == std::string::npos;
}

// Folders of the appliance's own at the root of a volume: uploads, shares on the move, disks' images.
bool IsOfAppliance(const std::string& below) {
  return below[1] == '@' || below == "/lost+found" || below.compare(0, 12, "/lost+found/") == 0;
}

// Where a share's folder may be: below a mounted volume, or an external disk as a whole.
int CheckPath(const std::string& path, bool is_external, KESTMOUNTVOL* volume) {
  if (!IsCleanPath(path)) return FailWith(kErrorBadParameter);
  if (FindVolume(kMountTable, path.c_str(), volume) < 0) return -1;
  const std::string below = path.substr(strlen(volume->path));
  if (below.empty()) {
    const bool is_disk = (volume->location & (KEST_VOL_USB | KEST_VOL_SATA)) != 0;
    return is_external && is_disk ? 0 : FailWith(kErrorBadParameter);
  }
  return IsOfAppliance(below) ? FailWith(kErrorBadParameter) : 0;
}

// What is known of the share as it is before it is changed.
struct Before {
  bool stays_in_place = false;  // then the folder's volume need not be there
  KESTMOUNTVOL volume = {};     // of an encrypted folder
};

Before Look(const KestSharesModule& shares, const char* existing, const char* path) {
  Before before;
  KESTSHARE* stored = nullptr;
  if (existing == nullptr || shares.record(existing, &stored) != 0) return before;
  before.stays_in_place = strcmp(stored->path, path) == 0;
  // One that is not mounted has no path.
  if (stored->enc != 0) FindVolume(kMountTable, stored->path, &before.volume);
  KESTShareFree(stored);
  return before;
}

int Store(const char* existing, const KESTSHARE& record, bool move) {
  const bool is_external = IsExternalShareName(record.name);
  if (!BlKLIBIsShareName(record.name) || (existing != nullptr && *existing == '\0'))
    return FailWith(kErrorBadParameter);
  const KestSharesModule* const shares = Shares();
  const KestFoldersModule* const folders = Folders();
  if (shares == nullptr || folders == nullptr) return FailWith(kErrorSystem);
  KESTMOUNTVOL volume = {};
  const Before before = Look(*shares, existing, record.path);
  if (!before.stays_in_place && CheckPath(record.path, is_external, &volume) < 0) return -1;
  // Whoever publishes a disk names its share both ways, and does not know whether it was there before.
  const bool is_published = is_external && existing != nullptr && strcmp(existing, record.name) == 0;
  const KestShareChange change = {existing, &record, volume.path, before.volume.path, move, is_published};
  const int result = shares->set(&change, folders);
  return result < 0 ? FailWith(static_cast<ErrorCode>(-result)) : 0;
}

// The record of a new share on an external disk. The administrators may use it, and let in whom they like.
int Default(const SHAREDEFAULTREQ& request, KESTSHARE** slot) {
  const std::string name = request.name, path = request.path, writers = "@administrators";
  auto* const record =
      static_cast<KESTSHARE*>(calloc(1, sizeof(KESTSHARE) + name.size() + path.size() + writers.size() + 4));
  if (record == nullptr) return FailWith(kErrorNoMemory);
  char* at = reinterpret_cast<char*>(record + 1);
  const auto put = [&at](const std::string& text) {
    char* const start = at;
    at += text.size() + 1;
    return static_cast<char*>(memcpy(start, text.c_str(), text.size() + 1));
  };
  record->name = put(name);
  record->path = put(path);
  record->rw = put(writers);
  record->desc = record->na = record->ro = put("");
  record->attr = 2;
  record->browseable = 1;
  KESTShareFree(*slot);
  *slot = record;
  return 0;
}

}  // namespace
}  // namespace kest

int KESTShareSet(const char* existing, KESTSHARE* share, KESTCOPYARGS* moveOrNull) {
  if (share == nullptr) return kest::FailWith(kest::kErrorBadParameter);
  return kest::Guarded([&] { return kest::Store(existing, kest::WithTexts(*share), moveOrNull != nullptr); });
}

int ShareDefaultGet(SHAREDEFAULTREQ* request, KESTSHARE** slot) {
  if (request == nullptr || request->name == nullptr || request->path == nullptr || slot == nullptr) {
    return kest::FailWith(kest::kErrorBadParameter);
  }
  return kest::Guarded([&] { return kest::Default(*request, slot); });
}
