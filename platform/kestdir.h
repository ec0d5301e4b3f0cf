/// @file kestdir.h
/// Directory databases of the platform: user accounts, groups and shared folders.
///
/// All texts are NUL-terminated UTF-8. Names are found without regard to case (KLIBUnicodeUTF8StrCaseCmp()) and stored
/// as given. A failure records its reason for KLIBErrGet().
///
/// A "slot" is a caller's pointer that starts as NULL. A call that delivers a record into it replaces what it holds
/// (frees or reuses it); a call that fails leaves it NULL or with a record that is still to be freed. The caller frees
/// it once, at the end. Texts of a delivered record belong to the record.
///
/// A new name of an account or a group has 1 to 255 bytes of UTF-8 without control characters and without , : @ \ / ",
/// does not begin with "-" or a blank, does not end with a blank and is neither "." nor "..". It differs from every
/// other account's (or group's) by more than case; accounts and groups do not share their names. A name of an account
/// of the system itself ("root") counts as taken. Other texts are UTF-8 of at most 4096 bytes; home and shell are
/// absolute paths without ":", and they and the mail address have no control characters.
#ifndef PLATFORM_KESTDIR_H_
#define PLATFORM_KESTDIR_H_

#include <stdint.h>

#include "klib.h"

#ifdef __cplusplus
extern "C" {
#endif

/// Source of accounts. Any other value may be cast into it and is judged by the platform.
typedef enum AUTH_TYPE {
  AUTH_TYPE_LOCAL = 1,      ///< accounts of the appliance
  AUTH_TYPE_DOMAIN = 2,     ///< accounts of the domain that the appliance has joined
  AUTH_TYPE_DIRECTORY = 4,  ///< accounts of a directory server
  AUTH_TYPE_FILLER_ = 0x7fffffff
} AUTH_TYPE;

/// Selects the shares of an enumeration; values may be or-ed. A share is delivered when its place (1, 2, 4) is selected
/// and each of its states (256, 512) is admitted.
typedef enum KEST_SHARE_ENUM {
  KEST_SHARE_ENUM_LOCAL = 1,        ///< on internal and expansion volumes
  KEST_SHARE_ENUM_EXTERNAL = 2,     ///< on USB and SATA disks
  KEST_SHARE_ENUM_SERVICE = 4,      ///< made by a service of the appliance
  KEST_SHARE_ENUM_ENCRYPTED = 256,  ///< encrypted ones too
  KEST_SHARE_ENUM_OFFLINE = 512,    ///< ones whose volume or encrypted folder is not mounted too
  KEST_SHARE_ENUM_COUNTED = 769,    ///< all user shares that count against the limit of shares
  KEST_SHARE_ENUM_FILLER_ = 0x7fffffff
} KEST_SHARE_ENUM;

/// One account. Every pointer may be NULL, which reads as "".
typedef struct KESTUSER {
  char* name;      ///< unique without regard to case
  char* passwd;    ///< in: password in clear for KESTUserSet(), NULL or "" leaves it as it is; out: never a password
  int uid;         ///< -1 in a new account: the platform assigns one
  int gid;         ///< primary group
  char* desc;      ///< description
  char* home;      ///< home directory, absolute path
  char* shell;     ///< login shell, absolute path
  int expire;      ///< -1 never; 0 and 1 disabled; else the last valid day, in days since 1970-01-01 UTC
  int noChPasswd;  ///< non-zero: the account may not change its password
  char* email;     ///< mail address
  int attr;        ///< of the platform; carried unchanged by callers
  int privilege;   ///< mask of application privileges; of the platform
  int unused;      ///< 0
} KESTUSER;

/// One group.
typedef struct KESTGROUP {
  char* name;      ///< unique without regard to case
  int gid;         ///< -1 in a new group: the platform assigns one
  char** members;  ///< account names, ended by NULL; the array itself may be NULL, which is no members
  int source;      ///< out: an AUTH_TYPE; in: 0
  int zero;        ///< 0
} KESTGROUP;

/// One shared folder. Every pointer may be NULL, which reads as "". A list text is names separated by ",", without
/// blanks; "@NAME" stands for all members of the group NAME.
typedef struct KESTSHARE {
  char* name;      ///< unique without regard to case
  char* desc;      ///< description
  char* path;      ///< absolute path of the folder, the volume's mount path first
  char* na;        ///< list text: no access
  char* rw;        ///< list text: read and write
  char* ro;        ///< list text: read only
  int attr;        ///< of the platform; carried unchanged by callers
  int browseable;  ///< non-zero: shown in listings
  int ftp;         ///< transfer restrictions: value 1 no listing, 2 no modification, 4 no download
  int enc;         ///< encryption state: 0 clear; value 1 not mounted now, 2 encrypted, 4 mounted automatically
  int zero1;       ///< 0
  int zero2;       ///< 0
} KESTSHARE;

/// How a folder is moved when a share's path changes; of the platform.
typedef struct KESTCOPYARGS {
  uint32_t word[8];  ///< carried unchanged by callers
} KESTCOPYARGS;

/// Steps of KESTShareEncryptionAction().
typedef enum KEST_SHARE_ENC_STEP {
  KEST_SHARE_ENC_STORE = 2,   ///< store the key, so that the folder is mounted at start; before step 5 unchecked
  KEST_SHARE_ENC_VERIFY = 3,  ///< check the passphrase
  KEST_SHARE_ENC_REMOVE = 4,  ///< remove the stored key
  KEST_SHARE_ENC_START = 5,   ///< encrypt the folder; mount one that is encrypted, without passphrase by the stored key
  KEST_SHARE_ENC_STEP_FILLER_ = 0x7fffffff
} KEST_SHARE_ENC_STEP;

/// Request of KESTShareEncryptionAction(). Zeroed as a whole before its fields are set.
typedef struct _tag_KEST_SHARE_ENC_ {
  char name[492];        ///< share name, at most 491 bytes
  char reserved1[8190];  ///< 0
  char pass[64];         ///< passphrase, at most 63 bytes; "" when the step needs none
  char reserved2[2];     ///< 0
  int32_t step;          ///< a KEST_SHARE_ENC_STEP
  char reserved3[4];     ///< 0
} _tag_KEST_SHARE_ENC_;

/// Question of ShareDefaultGet().
typedef struct SHAREDEFAULTREQ {
  const char* name;  ///< name of the share to be made
  const char* path;  ///< its folder
  const char* dev;   ///< device that holds it
} SHAREDEFAULTREQ;

/// Cursor over the accounts; opaque.
typedef struct KESTUSERDB KESTUSERDB;
/// Cursor over the groups; opaque.
typedef struct KESTGROUPDB KESTGROUPDB;
/// Cursor over the shares; opaque.
typedef struct KESTSHAREDB KESTSHAREDB;

/// Looks an account up by name.
/// @param name  account name; for a domain account the domain, a backslash and the name
/// @param slot  receives the record
/// @return 0 when delivered; negative when there is none or the database cannot be read
int KESTUserGet(const char* name, KESTUSER** slot);

/// Looks an account up by its number.
/// @param uid   user id
/// @param slot  receives the record
/// @return as KESTUserGet()
int KESTUserGetByUID(int uid, KESTUSER** slot);

/// Releases a record that the platform delivered, with its texts.
/// @param user  the record; NULL is accepted
void KESTUserFree(KESTUSER* user);

/// Creates or changes accounts, all of them or none. Records that callers build hold borrowed texts; nothing is kept of
/// them. Memberships and access lists follow a renamed account, and so does a home that lies where that of its old name
/// does. A new password ends the account's sessions.
/// @param existing  array of `count` names; NULL at an index creates an account, a name changes (and, when the record's
///                  name differs, renames) that one
/// @param records   array of `count` records
/// @param count     1
/// @return 0 when stored; negative on failure: a missing or taken name, a value out of range (also a uid that is not
/// that
///         of the account, or not -1 in a new one), the database cannot be written
int KESTUserSet(const char** existing, KESTUSER** records, int count);

/// Tells whether an expiry day lies in the past.
/// @param day  as KESTUSER.expire
/// @return 1 expired (0 and 1, the disabled values, too); 0 not expired; anything else an error (a day below -1)
int KESTUserIsExpired(int day);

/// Expiry day of a record as text.
/// @param user  the record; only its `expire` is read
/// @param buf   receives "YYYY/MM/DD" (UTC), or "" when the account never expires
/// @param size  bytes of `buf`; 11 suffice
/// @return 0 when written; -1 and only -1 on failure: an argument is NULL, the text does not fit, or the day is below
/// -1, 0 or
///         1 (disabled is no date)
int KESTUserExpiredDateGet(const KESTUSER* user, char* buf, int size);

/// Sets a record's expiry day from text. Nothing is stored.
/// @param user  the record; only its `expire` changes
/// @param date  the text form of KESTUserExpiredDateGet(); "" means never
/// @return 0 when set; -1 and only -1 on failure: an argument is NULL, no date of the calendar, or one before
///         1970/01/03; the record is then as before
int KESTUserExpiredDateFill(KESTUSER* user, const char* date);

/// Opens a cursor over the accounts.
/// @return the cursor, to be closed with KESTUserDBClose(); NULL when the database cannot be read
KESTUSERDB* KESTUserDBOpen(void);

/// Delivers the next account. The order is that of KESTUserEnumByPrefix(). A walk sees the accounts as they were when
/// it delivered the first, whatever changes meanwhile.
/// @param db    the cursor
/// @param slot  receives the record
/// @param type  source of the accounts wanted
/// @param zero  reserved, 0
/// @return 0 when a record was delivered; 1 at the end; negative on failure
int KESTUserDBGetByCursor(KESTUSERDB* db, KESTUSER** slot, AUTH_TYPE type, int zero);

/// Closes a cursor. Records delivered stay valid.
/// @param db  the cursor; NULL is accepted
/// @return 0; callers ignore it
int KESTUserDBClose(KESTUSERDB* db);

/// Refreshes what the platform keeps of the domain's accounts.
/// @param zero  reserved, 0
/// @return 0 when refreshed; negative on failure, also when no domain is joined
int KESTUserDBDomainRebuild(int zero);

/// Appends the names of the accounts that begin with a prefix, in ascending order without regard to case: by the code
/// points of their case folding, so that "z" stands before a letter with an accent.
/// @param list    address of an existing list; after a failure it holds what it held
/// @param type    source of the accounts
/// @param prefix  compared without regard to case; "" is all, and what is no UTF-8 begins no name
/// @param one     reserved, 1
/// @return number of names appended, 0 or more; negative on failure
int KESTUserEnumByPrefix(PSZLIST* list, AUTH_TYPE type, const char* prefix, int one);

/// Counts the accounts of a source.
/// @param type  the source
/// @return their number; 0 also when the database cannot be read
int KESTUserTotalNum(AUTH_TYPE type);

/// Mask of an account's application privileges.
/// @param name  account name
/// @return the mask, which may be negative; -1 and only -1 on failure
int KESTUserPrivilegeGet(const char* name);

/// Looks a group up.
/// @param name  group name
/// @param slot  receives the record
/// @return 0 when delivered; negative when there is none or the database cannot be read
int KESTGroupGet(const char* name, KESTGROUP** slot);

/// Releases a record that the platform delivered, with its texts and members.
/// @param group  the record; NULL is accepted
void KESTGroupFree(KESTGROUP* group);

/// Creates or changes a group with its members. Its description is kept apart: KESTGroupDescSet(). Members,
/// description and access lists follow a renamed group. Everybody is in the group "users", which has no members to be
/// stored; it and "administrators", whose members are those who administer the appliance, cannot be renamed.
/// @param existing  NULL creates a group, a name changes (and, when the record's name differs, renames) that one
/// @param group     the record; its texts are borrowed
/// @return 0 when stored; negative on failure: a missing or taken name, an unknown member, the database cannot be
///         written
int KESTGroupSet(const char* existing, KESTGROUP* group);

/// Reads a group's description.
/// @param name    group name
/// @param text    receives the text, to be released with free(); NULL on success means ""
/// @param second  receives a number of the platform; callers ignore it
/// @return 0 when read; negative on failure: `text` is then as before
int KESTGroupDescGet(const char* name, char** text, int* second);

/// Sets or removes a group's description.
/// @param name        group name; "" and unknown names change nothing
/// @param textOrNull  the description; NULL removes it
/// @return 0 when stored; negative on failure; callers ignore it
int KESTGroupDescSet(const char* name, const char* textOrNull);

/// Opens a cursor over the groups.
/// @return the cursor, to be closed with KESTGroupDBClose(); NULL when the database cannot be read
KESTGROUPDB* KESTGroupDBOpen(void);

/// Delivers the next group, as KESTUserDBGetByCursor() does.
/// @param db    the cursor
/// @param slot  receives the record
/// @param type  source of the groups wanted
/// @param zero  reserved, 0
/// @return 0 when a record was delivered; 1 at the end; negative on failure
int KESTGroupDBGetByCursor(KESTGROUPDB* db, KESTGROUP** slot, AUTH_TYPE type, int zero);

/// Closes a cursor. Records delivered stay valid.
/// @param db  the cursor; NULL is accepted
/// @return 0; callers ignore it
int KESTGroupDBClose(KESTGROUPDB* db);

/// As KESTUserEnumByPrefix(), over the groups.
/// @param list    address of an existing list
/// @param type    source of the groups
/// @param prefix  compared without regard to case; "" is all
/// @param one     reserved, 1
/// @return number of names appended, 0 or more; negative on failure
int KESTGroupEnumByPrefix(PSZLIST* list, AUTH_TYPE type, const char* prefix, int one);

/// Looks a share up.
/// @param name  share name
/// @param slot  receives the record
/// @return 0 when delivered; negative when there is none or the database cannot be read
int KESTShareGet(const char* name, KESTSHARE** slot);

/// Releases a record that the platform delivered, with its texts.
/// @param share  the record; NULL is accepted
void KESTShareFree(KESTSHARE* share);

/// Creates or changes a share.
/// @param existing    NULL creates a share, a name changes (and, when the record's name differs, renames) that one
/// @param share       the record; its texts are borrowed
/// @param moveOrNull  not NULL: the folder is moved along when the path changes
/// @return 0 when stored; negative on failure: a missing or taken name, an unusable path, the database cannot be
///         written
int KESTShareSet(const char* existing, KESTSHARE* share, KESTCOPYARGS* moveOrNull);

/// Appends the names of shares.
/// @param list  address of an existing list
/// @param type  selects the shares
/// @return number of names appended, 0 or more; negative on failure
int KESTShareEnum(PSZLIST* list, KEST_SHARE_ENUM type);

/// Appends the names of the shares that begin with a prefix.
/// @param list    address of an existing list
/// @param type    selects the shares
/// @param prefix  compared without regard to case; "" is all
/// @param one     reserved, 1
/// @return number of names appended, 0 or more; negative on failure
int KESTShareEnumByPrefix(PSZLIST* list, KEST_SHARE_ENUM type, const char* prefix, int one);

/// Opens a cursor over all shares.
/// @return the cursor, to be closed with KESTShareDBClose(); NULL when the database cannot be read
KESTSHAREDB* KESTShareDBOpen(void);

/// Delivers the next share.
/// @param db    the cursor
/// @param slot  receives the record
/// @return 0 when a record was delivered; 1 at the end; negative on failure
int KESTShareDBCursorGet(KESTSHAREDB* db, KESTSHARE** slot);

/// Closes a cursor. Records delivered stay valid.
/// @param db  the cursor; NULL is accepted
/// @return 0; callers ignore it
int KESTShareDBClose(KESTSHAREDB* db);

/// Carries out one step of a change of a share's encryption.
/// @param op       3 changes something (steps 2, 4 and 5), 4 only checks (step 3)
/// @param request  share, passphrase and step
/// @return 0 when done; anything else is a failure: nothing changed then
int KESTShareEncryptionAction(int op, _tag_KEST_SHARE_ENC_* request);

/// The record, with default access rights, of a share that does not exist yet.
/// @param request  what the share will be
/// @param slot     receives the record
/// @return 0 when delivered; negative on failure
int ShareDefaultGet(SHAREDEFAULTREQ* request, KESTSHARE** slot);

/// What a share name means to the platform.
/// @param name  share name
/// @return a mask: value 1 is set for the name of a service's share; further bits are the platform's. 0 for NULL
int ShareNameCheck(const char* name);

/// Tells whether a share name belongs to an external SATA disk.
/// @param name  share name
/// @return non-zero when it does, else 0
int BlShareIIsSATASection(const char* name);

/// Tells whether a share name belongs to a USB disk.
/// @param name  share name
/// @return non-zero when it does, else 0
int BlShareIIsUsbSection(const char* name);

/// Tells whether a list text covers an account, by its name or by a group ("@NAME") that it is a member of.
/// @param user      account name, compared without regard to case
/// @param listText  see KESTSHARE; NULL covers nobody
/// @return non-zero when covered, else 0
int BlSDKUserIsInList(const char* user, const char* listText);

/// Tells whether three access lists contradict each other: one name, without regard to case, stands in two of them.
/// @param na  no access
/// @param rw  read and write
/// @param ro  read only
/// @return positive when they do; 0 when not; negative when an argument is NULL
int UserCheckRights(PSZLIST* na, PSZLIST* rw, PSZLIST* ro);

/// Tells what kind of account a name means.
/// @param name  user or group name
/// @return exactly 2 for a domain account; another value for any other name, unknown ones and NULL included
int IsDomainUG(const char* name);

#ifdef __cplusplus
}
#endif

#endif  // PLATFORM_KESTDIR_H_
