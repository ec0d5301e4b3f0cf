// Shared folders as the directory interface gives them out. What needs the database asks the shares' module.
#include <stdlib.h>
#include <sys/stat.h>

#include <string>

#include "host/klib/error_code.h"
#include "host/shares/share_names.h"
#include "host/shares/shares_module.h"
#include "host/storage/guarded_call.h"
#include "host/storage/mounted_volumes.h"
#include "host/storage/volume_path.h"

// A walk over all shares as they were when it began.
struct KESTSHAREDB {
  explicit KESTSHAREDB(KESTSHARE** all) : records(all), next(all) {}
  ~KESTSHAREDB() {
    while (*next != nullptr) KESTShareFree(*next++);
    free(records);
  }
  KESTSHAREDB(const KESTSHAREDB&) = delete;
  KESTSHAREDB& operator=(const KESTSHAREDB&) = delete;

  KESTSHARE** records;
  KESTSHARE** next;
};

namespace kest {
namespace {

constexpr int kLocked = 1, kEncrypted = 2;

int Answer(int result) { return result < 0 ? FailWith(static_cast<ErrorCode>(-result)) : result; }

// The module, with nothing in its database that a killed process has left half done; nullptr with the reason recorded.
const KestSharesModule* Ready() {
  const KestSharesModule* const shares = Shares();
  if (shares == nullptr) {
    FailWith(kErrorSystem);
    return nullptr;
  }
  const int interrupted = shares->is_interrupted();
  if (interrupted < 0) {
    Answer(interrupted);
    return nullptr;
  }
  // What cannot be ended now is ended another time; the shares can be read meanwhile.
  const KestFoldersModule* const folders = interrupted == 1 ? Folders() : nullptr;
  if (folders != nullptr) shares->recover(folders);
  return shares;
}

// Whether an encrypted folder shows what is in it: then another file system is mounted there.
bool IsUnlocked(const std::string& path) {
  struct stat folder, parent;
  return stat(path.c_str(), &folder) == 0 && stat((path + "/..").c_str(), &parent) == 0 &&
         folder.st_dev != parent.st_dev;
}

// The state that a record tells: as it is stored, and whether the folder can be looked into now.
int EncryptionOf(const char* path, int stored) {
  if ((stored & kEncrypted) == 0) return stored;
  return IsUnlocked(path) ? stored & ~kLocked : stored | kLocked;
}

// Which of the places of KEST_SHARE_ENUM a share is in.
int PlaceOf(const KestShareLine& line) {
  _tag_vol_id_ id;
  const bool known = ParseVolumePath(line.path, &id);
  if (known && (id.location & (KEST_VOL_USB | KEST_VOL_SATA)) != 0) return KEST_SHARE_ENUM_EXTERNAL;
  return IsServiceShareName(line.name) ? KEST_SHARE_ENUM_SERVICE : KEST_SHARE_ENUM_LOCAL;
}

bool IsOnMountedVolume(const Volumes& volumes, const char* path) {
  for (const KESTMOUNTVOL* volume = volumes.get(); volume != nullptr; volume = volume->next) {
    if (LiesIn(path, volume->path)) return true;
  }
  return false;
}

// The names of an enumeration on their way into the caller's list.
struct Enumeration {
  PSZLIST* list;
  int type;
  Volumes volumes;
  int count;
  bool out_of_memory;
};

bool IsSelected(const Enumeration& wanted, const KestShareLine& line) {
  if ((wanted.type & PlaceOf(line)) == 0) return false;
  const bool encrypted = (line.encryption & kEncrypted) != 0;
  if (encrypted && (wanted.type & KEST_SHARE_ENUM_ENCRYPTED) == 0) return false;
  if ((wanted.type & KEST_SHARE_ENUM_OFFLINE) != 0) return true;
  return IsOnMountedVolume(wanted.volumes, line.path) && (!encrypted || IsUnlocked(line.path));
}

void Push(const KestShareLine* line, void* data) {
  auto* const wanted = static_cast<Enumeration*>(data);
  if (!IsSelected(*wanted, *line)) return;
  if (KLIBSzListPush(wanted->list, line->name) < 0) {
    wanted->out_of_memory = true;
  } else {
    ++wanted->count;
  }
}

int Enumerate(PSZLIST* list, KEST_SHARE_ENUM type, const char* prefix) {
  if (list == nullptr || *list == nullptr || prefix == nullptr) return FailWith(kErrorBadParameter);
  const KestSharesModule* const shares = Ready();
  if (shares == nullptr) return -1;
  Enumeration wanted = {list, type, nullptr, 0, false};
  const bool asks_for_volumes = (type & KEST_SHARE_ENUM_OFFLINE) == 0;
  if (asks_for_volumes && !ListVolumes(kMountTable, kEveryLocation, &wanted.volumes)) return -1;
  const int result = shares->visit(prefix, Push, &wanted);
  if (result < 0) return Answer(result);
  return wanted.out_of_memory ? FailWith(kErrorNoMemory) : wanted.count;
}

void Deliver(KESTSHARE* record, KESTSHARE** slot) {
  record->enc = EncryptionOf(record->path, record->enc);
  KESTShareFree(*slot);
  *slot = record;
}

}  // namespace
}  // namespace kest

int KESTShareGet(const char* name, KESTSHARE** slot) {
  if (name == nullptr || slot == nullptr) return kest::FailWith(kest::kErrorBadParameter);
  return kest::Guarded([&] {
    const KestSharesModule* const shares = kest::Ready();
    if (shares == nullptr) return -1;
    KESTSHARE* record = nullptr;
    const int result = shares->record(name, &record);
    if (result == 0) kest::Deliver(record, slot);
    return kest::Answer(result);
  });
}

void KESTShareFree(KESTSHARE* share) { free(share); }

int KESTShareEnum(PSZLIST* list, KEST_SHARE_ENUM type) {
  return kest::Guarded([&] { return kest::Enumerate(list, type, ""); });
}

int KESTShareEnumByPrefix(PSZLIST* list, KEST_SHARE_ENUM type, const char* prefix, int /*one*/) {
  return kest::Guarded([&] { return kest::Enumerate(list, type, prefix); });
}

KESTSHAREDB* KESTShareDBOpen(void) {
  KESTSHAREDB* walk = nullptr;
  kest::Guarded([&] {
    const KestSharesModule* const shares = kest::Ready();
    KESTSHARE** records = nullptr;
    if (shares == nullptr || kest::Answer(shares->records(&records)) < 0) return -1;
    walk = new (std::nothrow) KESTSHAREDB(records);
    if (walk == nullptr) KESTSHAREDB{records};
    return walk == nullptr ? kest::FailWith(kest::kErrorNoMemory) : 0;
  });
  return walk;
}

int KESTShareDBCursorGet(KESTSHAREDB* db, KESTSHARE** slot) {
  if (db == nullptr || slot == nullptr) return kest::FailWith(kest::kErrorBadParameter);
  if (*db->next == nullptr) return 1;
  kest::Deliver(*db->next++, slot);
  return 0;
}

int KESTShareDBClose(KESTSHAREDB* db) {
  delete db;
  return 0;
}
