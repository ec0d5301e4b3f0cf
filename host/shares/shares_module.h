// What libkest.so asks of the shared folders' half of libkest_accounts.so, and what that half asks of the folders.
#ifndef KEST_HOST_SHARES_SHARES_MODULE_H_
#define KEST_HOST_SHARES_SHARES_MODULE_H_

#include <stdint.h>

#include "host/module/module.h"
#include "host/shares/folders_module.h"
#include "platform/kestdir.h"

// As much of a share as an enumeration has to know; the texts are valid while it is visited.
struct KestShareLine {
  const char* name;
  const char* path;
  int encryption;
};

// A share to be stored.
struct KestShareChange {
  const char* existing;     // NULL makes one
  const KESTSHARE* record;  // no text of it is NULL
  const char* volume;       // mount path of the volume that holds the record's path; "" when it stays where it is
  const char* old_volume;   // the same of the share's folder now, when that is encrypted
  bool move;                // the folder is moved along to another place, another volume too
  bool make_when_absent;    // an `existing` that is not there is made
};

// Results: 0, or the negative of an ErrorCode.
struct KestSharesModule {
  // A record in one block of malloc(), for free(). The encryption state is as stored: 2 and 4.
  int (*record)(const char* name, KESTSHARE** out);
  // All of them, by folded name, ended by NULL: a block of malloc() with the pointers, each of which is a block as
  // well.
  int (*records)(KESTSHARE*** out);
  // Visits those whose folded name begins with the prefix, by folded name.
  int (*visit)(const char* prefix, void (*visit)(const KestShareLine* line, void* data), void* data);
  int (*set)(const KestShareChange* change, const KestFoldersModule* folders);
  // A step of KESTShareEncryptionAction(). `volume` is the mount path of the volume that holds the share's folder.
  int (*encrypt)(const char* name, int step, const char* passphrase, const char* volume,
                 const KestFoldersModule* folders);
  // 1 when the account is a member of the group, 0 when not.
  int (*is_member)(const char* user, const char* group);
  // Renders the folders anew that a change of a group's members may concern.
  int (*members_changed)(const KestFoldersModule* folders);
  // 1 when a killed process has left a change half done; it is finished or taken back by `recover`.
  int (*is_interrupted)();
  int (*recover)(const KestFoldersModule* folders);
};

KEST_MODULE_TABLE(KestSharesModule, KestSharesModuleTable);

namespace kest {

// The tables; nullptr when a module is not installed (logged). The shares lie in the accounts' module: whoever needs
// the one needs the other as a rule, and one copy of the database library is enough.
inline const KestSharesModule* Shares() { return KEST_MODULE(KestSharesModule, "accounts", KestSharesModuleTable); }

inline const KestFoldersModule* Folders() { return KEST_MODULE(KestFoldersModule, "folders", KestFoldersModuleTable); }

}  // namespace kest

#endif  // KEST_HOST_SHARES_SHARES_MODULE_H_
