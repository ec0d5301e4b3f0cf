#ifndef TARVEL_SHARE_H
#define TARVEL_SHARE_H

#include <json/value.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/kestdir.h"
#include "tarvel_export.h"

/// @file
/// Shared folders.

namespace SDK {

struct SharePriv;

/// One shared folder of the share database: named, made, changed, moved, listed; who may use it, and its encryption.
///
///     SDK::Share* share = SDK::Share::CreateShare("photo", "/volume1/photo", true);  // null: not to be created
///     share->AddToRW("alice");
///     share->AddToNA("@guests");
///     if (!share->isAccessRightConflict()) share->Save();
///     SDK::Share::Release(share);
///
///     Json::Value shown;  // {"total": 1, "items": [{"name": "photo", "hidden": false, "encryption": 0, ...}]}
///     SDK::Share::EnumShares(KEST_SHARE_ENUM_COUNTED, nullptr, shown);
///
/// An object is **new** until it was made from a record of the platform, and then **stored**. Whatever is changed
/// reaches the database with Save(), all at once. Objects that a function returns belong to the caller, who gives them
/// back with Release(). Texts are UTF-8.
///
/// **Encryption states** are numbers: 0 clear; value 2 encrypted; value 1 a second state of an encrypted share; value 4
/// the key is mounted automatically at start-up.
///
/// **Transfer restrictions** are a sum: 1 the folder is not listed, 2 not modified, 4 nothing is downloaded from it.
///
/// **Errors** are told by the results alone, nothing here throws (memory exhaustion apart). What is logged goes to
/// syslog at LOG_ERR unless said otherwise, begins with the source name `share` and the line number, and is named at
/// each operation; operations that name no message log nothing.
class TARVEL_EXPORT Share {
 public:
  /// @name Making and releasing
  /// @{

  /// A new, clear share without description, restrictions and access lists. Neither name nor path is checked.
  ///
  /// @param name        the share's name
  /// @param path        full path of its folder
  /// @param browseable  whether it is shown in listings
  Share(const std::string& name, const std::string& path, bool browseable);

  /// A stored share.
  ///
  /// @param record  of the platform, never null; it is copied, null texts as "". Entries of a list that differ in case
  ///                only are one
  explicit Share(KESTSHARE* record);

  ~Share();

  Share(const Share&) = delete;
  Share& operator=(const Share&) = delete;

  /// A stored share from a record; null from null.
  static Share* ConvertShare(KESTSHARE* record);

  /// The share with a name, which is found without regard to case.
  ///
  /// @return a stored share; null unless the platform answers exactly 0
  static Share* LoadShare(const std::string& name);

  /// A new share, unless IsShareCreatable() refuses its name. Only Save() stores it.
  ///
  /// @return the share; null when it is refused
  static Share* CreateShare(const std::string& name, const std::string& path, bool browseable);

  /// Whether there is a share of that name; false also when the database cannot be read.
  static bool IsShareExist(const std::string& name);

  /// Gives a share back; null is ignored.
  static void Release(Share* share);

  /// @}
  /// @name Fields
  /// @{

  /// The share's name.
  std::string GetName() const;

  /// The description.
  std::string GetDesc() const;

  /// Full path of the folder.
  std::string GetFullPath() const;

  /// The encryption state.
  int GetStatus() const;

  /// The transfer restrictions.
  int GetFTPPrivilege() const;

  /// Whether the share is shown in listings.
  bool GetBrowseable() const;

  /// Another description. It is not checked: see IsShareDescription().
  void SetDesc(std::string desc);

  /// Other transfer restrictions.
  void SetFTPPrivilege(int privilege);

  /// Whether the share is shown in listings.
  void SetBrowseable(bool browseable);

  /// @}
  /// @name Path and name
  /// @{

  /// Another folder: `volumePath`, "/" and `name`. The share's name stays.
  void SetPath(std::string volumePath, std::string name);

  /// The path of the volume: the folder's path, cut to `size`, before its last "/". A path without one stays whole.
  ///
  /// @param buf   receives the path; null is allowed
  /// @param size  bytes in `buf`; nothing is written when it is not positive
  void GetVolumePath(char* buf, int size) const;

  /// Another name, for the share and for its folder on the same volume. Of the folder's path before, 63 bytes count. A
  /// stored share is renamed by Save(), which knows its old name.
  void ChangeName(std::string newName);

  /// How the platform moves the folder when its path changes; each Save() hands it on.
  ///
  /// @param args  copied; null changes nothing. Without memory for the copy the ones before stay (logged: "Failed to
  ///              calloc for KESTCOPYARGS, errno=%s")
  void SetMoveArgs(KESTCOPYARGS* args);

  /// @}
  /// @name Rules for names
  /// @{

  /// Whether the platform takes the text as a name of a share.
  static bool IsShareName(const std::string& name);

  /// Whether a name is kept for the appliance: "global", "homes", "home", "printers", ".", "..", "usbbackup",
  /// "satabackup", and all that begin with "usbshare" or "satashare", in any case of letters. "homes" is free unless
  /// the setting "userHomeEnable" is "yes".
  static bool IsShareNameReserved(const std::string& name);

  /// Whether the name is that of the surveillance's recordings, "surveillance" in any case of letters.
  static bool UsedBySurveillance(const std::string& name);

  /// Whether the name is one for backups of external disks, "usbbackup" or "satabackup" in any case of letters.
  static bool IsShareForExternalBackup(const std::string& name);

  /// Whether access rights may be set: not for the two kinds above.
  static bool IsSharePermissionSetable(const std::string& name);

  /// Whether the platform says that the name is a service's.
  static bool IsServiceShare(std::string name);

  /// Whether a description is short enough: 64 characters at most.
  static bool IsShareDescription(std::string& desc);

  /// Whether the platform says that the share is on an external SATA disk.
  static bool IsSATAShare(char* name);

  /// Whether the platform says that the share is on a USB disk.
  static bool IsUSBShare(char* name);

  /// Whether a share may be created.
  ///
  /// @return 1 when it may; otherwise the first that holds: -2 no valid name, -1 a share of that name exists, -3 the
  ///         name is reserved or "surveillance"
  static int IsShareCreatable(const std::string& name);

  /// Whether a share may be renamed.
  ///
  /// @return -4 when both are the same, byte for byte; -2 when `to` is no valid name; -3 when `from` or `to` is
  ///         reserved or "surveillance"; -1 when another share is called `to`; otherwise 1, which a mere change of case
  ///         always is
  static int IsShareRenameTo(const std::string& from, const std::string& to);

  /// Whether there are as many shares as the factory allows ("maxshares", or 16). false also when memory is short
  /// (logged: "PslKLIBSzListAlloc failed [%X]" with KLIBErrGet()) and when the shares cannot be counted.
  static bool IsReachMaxShareCount();

  /// @}
  /// @name Access lists
  /// Names of accounts and, behind "@", of groups; those that differ in case only are one. A name may stand in several
  /// lists until somebody asks isAccessRightConflict().
  /// @{

  /// Adds a name to the read-write list; one that is there already keeps its spelling.
  void AddToRW(const std::string& name);
  /// Adds a name to the read-only list; one that is there already keeps its spelling.
  void AddToRO(const std::string& name);
  /// Adds a name to the no-access list; one that is there already keeps its spelling.
  void AddToNA(const std::string& name);

  /// Removes a name from the read-write list, if it is there.
  void RemoveFromRW(const std::string& name);
  /// Removes a name from the read-only list, if it is there.
  void RemoveFromRO(const std::string& name);
  /// Removes a name from the no-access list, if it is there.
  void RemoveFromNA(const std::string& name);

  /// Whether a name stands in the read-write list, stored or not.
  bool InRW(const std::string& name) const;
  /// Whether a name stands in the read-only list, stored or not.
  bool InRO(const std::string& name) const;
  /// Whether a name stands in the no-access list, stored or not.
  bool InNA(const std::string& name) const;

  /// What a user may do by the lists as they are stored, groups included.
  ///
  /// @return 4 no access, also for a user in no list; 2 read and write; 1 read only. No access goes before the others
  int GetAccessRight(const std::string& user);

  /// Whether the lists contradict each other, as the platform judges; false also when memory is short.
  bool isAccessRightConflict();

  /// @}
  /// @name Encryption
  /// @{

  /// State and passphrase of a share that is being created. The passphrase stays in the object.
  void CreateEncryption(int status, std::string passphrase);

  /// Changes the encryption state of an existing share; Save() stores the new one.
  ///
  /// | from                 | to                   | what happens                            |
  /// |----------------------|----------------------|-----------------------------------------|
  /// | 0                    | any other            | key stored, folder encrypted            |
  /// | encrypted            | 0                    | only the object changes                 |
  /// | encrypted, manual    | encrypted, automatic | passphrase verified, key stored         |
  /// | encrypted, automatic | encrypted, manual    | stored key removed                      |
  ///
  /// What begins is logged at LOG_DEBUG: "Change encrypted share to clear normal share, name=%s", "Change clear normal
  /// share to encrypted share, name=%s", "Change from manual to auto, name=%s", "Change from auto to manual, name=%s".
  ///
  /// @param status            the new state
  /// @param passphrase        of a share that is encrypted now, 63 bytes at most
  /// @param verifyPassphrase  of an encrypted share that shall be mounted automatically, 63 bytes at most
  /// @return 1 when done, and when there is nothing to do: the state is the same, or both its low values are set; 0
  ///         when the platform refuses (logged: "Key encrypt failed.", or "Key verify failed." when the passphrase is
  ///         wrong): the state is then as before
  int SetEncryption(int status, std::string passphrase, std::string verifyPassphrase);

  /// Whether another state would make a clear share encrypted or an encrypted one clear. Of those the states with
  /// value 1 are neither.
  bool IsEncryptionChanged(int status);

  /// @}
  /// @name Storage and listing
  /// @{

  /// Stores the share: makes a new one, otherwise changes the one that was loaded, renames it when the name has changed
  /// and moves its folder when SetMoveArgs() said how. A second Save() does the same again.
  ///
  /// @return false when the platform refuses (logged: "KESTShareSet failed[%X]" with KLIBErrGet()); only when stored do
  ///         the lists that GetAccessRight() asks become the new ones
  bool Save();

  /// The names of shares, in the platform's order; none when memory is short or they cannot be listed.
  ///
  /// @param type  selects the shares
  static std::vector<std::string> EnumShares(KEST_SHARE_ENUM type);

  /// The shares for a list of the pages, ordered by name without regard to case.
  ///
  /// | member                 | type    | value                                           |
  /// |------------------------|---------|-------------------------------------------------|
  /// | total                  | integer | the number of names                             |
  /// | items                  | array   | the shares, perhaps none                        |
  /// | items/name             | string  | name                                            |
  /// | items/descr            | string  | description                                     |
  /// | items/hidden           | bool    | it is not shown in listings                     |
  /// | items/disable_list     | bool    | the folder is not listed                        |
  /// | items/disable_modify   | bool    | it is not modified                              |
  /// | items/disable_download | bool    | nothing is downloaded                           |
  /// | items/enc_auto_mount   | bool    | the key is mounted automatically                |
  /// | items/encryption       | integer | 0 clear, 1 encrypted, second state, 2 encrypted |
  ///
  /// A share that cannot be read is left out and counted (logged: "Failed to get share info for %s").
  ///
  /// @param type    selects the shares
  /// @param prefix  only shares whose names begin with it; null: all
  /// @param out     null or an object: "total" and "items" are set in it, others stay
  /// @return 1; 0 when the shares cannot be listed (logged: "Failed to enum groups by prefix", the words of the groups,
  ///         or "Failed to enum shares") or memory is short: `out` is then as before
  static int EnumShares(KEST_SHARE_ENUM type, const char* prefix, Json::Value& out);

  /// @}

 private:
  std::unique_ptr<SharePriv> body_;
};

}  // namespace SDK

#endif  // TARVEL_SHARE_H
