// The folders of shares on their volumes: everything that is done to the file system for them. A module of its own,
// because only saving needs it.
#ifndef KEST_HOST_SHARES_FOLDERS_MODULE_H_
#define KEST_HOST_SHARES_FOLDERS_MODULE_H_

#include <stddef.h>
#include <sys/types.h>

#include "host/module/module.h"
#include "host/shares/key_store.h"

// What one account or group may do: a mask of 4 read, 2 write, 1 enter.
struct KestAclEntry {
  bool is_group;
  unsigned id;
  unsigned rights;
};

struct KestAcl {
  const KestAclEntry* entries;
  size_t count;
  // The folder that holds homes: everybody may pass through it, each home is its account's alone, and the lists decide
  // only who may look at the names.
  bool holds_homes;
};

// Results: 0, or the negative of an ErrorCode. Paths are absolute, of plain components, and below a volume.
struct KestFoldersModule {
  bool (*exists)(const char* path);
  // Makes the folder; one that is there already is taken as it is. Its parents have to be there, and links are not
  // followed. *made tells whether it is new.
  int (*make)(const char* path, bool* made);
  // Renames a folder within its volume; what stands at the target is never replaced (kErrorTaken).
  int (*rename)(const char* source, const char* target);
  // Copies a folder to a new place with owners, modes, times and access lists; on the disk when this returns. On
  // failure nothing is left of the copy.
  int (*copy)(const char* source, const char* target);
  // The same into a folder that is there; a copy that fails stays.
  int (*copy_into)(const char* source, const char* target);
  // Removes a folder with all that is in it; one that is not there is done already.
  int (*remove)(const char* path);
  int (*remove_empty)(const char* path);
  // Gives the folder to the appliance and lets in whom the entries name, and nobody else; what is made in it later
  // inherits that. *changed tells whether anything was different. A file system without access lists is logged and
  // keeps what it has.
  int (*render)(const char* path, const KestAcl* acl, bool* changed);
  // Whether the folder's list, and the one that is inherited from it, are these already.
  bool (*is_rendered)(const char* path, const KestAcl* acl);
  // The same as render() for everything below it. What cannot be changed is counted in the log and passed over; a
  // failure is what may go well another time.
  int (*render_below)(const char* path, const KestAcl* acl);

  // Encrypted folders: vault.h. An open vault is a mount.
  int (*make_vault)(const char* vault, const char* passphrase);
  int (*check_vault_key)(const char* vault, const char* passphrase);
  int (*open_vault)(const char* vault, const char* folder, const char* passphrase);
  int (*close_vault)(const char* folder);
  bool (*is_open_vault)(const char* folder);

  // Stored passphrases: key_store.h.
  int (*store_key)(const kest::KeyFiles& files, int64_t share, const char* passphrase);
  int (*load_key)(const kest::KeyFiles& files, int64_t share, char (&passphrase)[kest::kPassphraseBytes]);
  int (*remove_key)(const kest::KeyFiles& files, int64_t share);
};
KEST_MODULE_TABLE(KestFoldersModule, KestFoldersModuleTable);

#endif  // KEST_HOST_SHARES_FOLDERS_MODULE_H_
