#ifndef TARVEL_GROUP_H
#define TARVEL_GROUP_H

#include <json/value.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/kestdir.h"
#include "tarvel_export.h"

/// @file
/// Groups of user accounts.

namespace SDK {

/// The order of names in sets: without regard to case, as KLIBUnicodeUTF8StrCaseCmp() compares. Names that differ in
/// case only are one entry, in the spelling that came first.
///
///     std::set<std::string, SDK::LTOBJ> names = {"bob", "Bob"};  // {"bob"}
struct TARVEL_EXPORT LTOBJ {
  /// Whether `a` comes before `b`.
  bool operator()(const std::string& a, const std::string& b) const;
};

/// One group of the group database: looked up, made, changed, listed.
///
///     SDK::Group* group = SDK::Group::LoadGroup("editors");  // null: there is none
///     group->AddMember("alice");
///     const bool stored = group->Save();
///     SDK::Group::Release(group);
///
///     Json::Value page;  // {"total": 3, "items": [{"join": true, "name": "editors", "descr": ""}, ...]}
///     SDK::Group::EnumGroups(0, 50, AUTH_TYPE_LOCAL, nullptr, "alice", page);
///
/// The group "users", spelt so, is the built-in group of every account: its members are those of the user database and
/// are never written, and it cannot be renamed.
///
/// An object is **new** until it was made from a record of the platform, and then **stored**. Its changes reach the
/// database with Save(). Objects that a function returns belong to the caller, who gives them back with Release().
/// Members are account names, unique without regard to case and ordered by LTOBJ. Texts are UTF-8.
///
/// **Errors** are told by the results alone, nothing here throws (memory exhaustion apart). What is logged goes to
/// syslog at LOG_ERR, begins with the source name `group` and the line number, and is named at each operation;
/// operations that name no message log nothing.
class TARVEL_EXPORT Group {
 public:
  /// @name Making and releasing
  /// @{

  /// A new group without members and description, of the source 1 (local accounts). The database is not asked.
  explicit Group(const std::string& name);

  /// A stored group. Its description is asked for; when it cannot be read, that is logged ("Failed to get group info
  /// for %s") and the group has none.
  ///
  /// @param record  of the platform, never null; it is copied. A null array of members is none
  explicit Group(KESTGROUP* record);

  ~Group();

  Group(const Group&) = delete;
  Group& operator=(const Group&) = delete;

  /// The group with a name, which is found without regard to case.
  ///
  /// @return a stored group; null unless the platform answers exactly 0
  static Group* LoadGroup(const std::string& name);

  /// A new group, unless there is one of that name. Only Save() stores it.
  ///
  /// @return the group; null when there is one
  static Group* CreateGroup(const std::string& name);

  /// Whether there is a group of that name; false also when the database cannot be read.
  static bool IsGroupExist(const std::string& name);

  /// Gives a group back; null is ignored.
  static void Release(Group* group);

  /// @}
  /// @name Fields
  /// @{

  /// The group's name.
  std::string GetName() const;

  /// The description.
  std::string GetDesc() const;

  /// The group's number; -1 for a new group, also after its Save().
  int GetGID() const;

  /// The source of the group's accounts.
  AUTH_TYPE GetAuthType() const;

  /// Another name; nothing happens to the group "users". A stored group is renamed by Save(), which knows its old name.
  void SetName(std::string& name);

  /// Another description. The same one, byte for byte, is no change: Save() then need not write it.
  void SetDesc(const std::string& desc);

  /// @}
  /// @name Members
  /// @{

  /// Whether a user is a member; of "users" every account is.
  bool IsMember(const std::string& user);

  /// The position of a member in the order of names, from 0; -1 when he is none, and always for "users".
  int GetMemberPos(const std::string& user);

  /// The number of members; for "users" the number of accounts of the group's source.
  int GetMemberCount();

  /// Adds a member. One that is there already keeps his spelling; nothing happens to "users".
  void AddMember(const std::string& user);

  /// Removes a member, if he is one; nothing happens to "users".
  void RemoveMember(const std::string& user);

  /// The members in order; none for "users".
  std::vector<std::string> GetMembers() const;

  /// @}
  /// @name Storage
  /// @{

  /// Stores the group: makes a new one, otherwise changes the one that was loaded and renames it when the name has
  /// changed. The description is written for a new group, for a renamed one, whose old one is removed, and when it was
  /// changed. Of "users" only the description is stored. The object stays as it is, so a second Save() does the same
  /// again.
  ///
  /// @return false when the platform refuses (logged: "KESTGroupSet failed") or memory is short (logged: "Failed to
  ///         allocate memory"): the description is then as before. Whether the description could be written is not told
  bool Save();

  /// @}
  /// @name Listing
  /// @{

  /// Where a group stands among those of its source, so that a list can open on the page that shows it.
  ///
  /// @param name      found without regard to case
  /// @param type      the source of the groups
  /// @param position  receives the position, from 0; the number of all groups when there is none of that name; may be
  ///                  null
  /// @return 1; 0 when the database cannot be opened (logged: "Failed to open user db", the words of the accounts):
  ///         `position` is then as before
  static int GetGroupLocation(const std::string& name, AUTH_TYPE type, int* position);

  /// One page of groups for a list of the pages.
  ///
  /// | member        | type    | value                                                          |
  /// |---------------|---------|----------------------------------------------------------------|
  /// | "total"       | integer | the number of all groups or matches, whatever the page holds   |
  /// | "items"       | array   | the page, perhaps empty                                        |
  /// | "items/join"  | bool    | whether `user` is a member; absent when that is null           |
  /// | "items/name"  | string  | the group's name                                               |
  /// | "items/descr" | string  | its description                                                |
  ///
  /// A group whose description cannot be read is left out and counted (logged: "Failed to get group info for %s" with a
  /// prefix, "Failed to get group descr for %s" without).
  ///
  /// @param offset  position of the first group, from 0; negative ones count as positions before it
  /// @param limit   how many positions at most; negative: all
  /// @param type    the source of the groups
  /// @param prefix  only groups whose names begin with it, compared without regard to case; null: all
  /// @param user    account whose memberships are told, or null
  /// @param out     null or an object: "total" and "items" are set in it, others stay
  /// @return 1; 0 when the database cannot be searched or opened (logged: "Failed to enum groups by prefix", "Failed to
  ///         open group db") or memory is short: `out` is then as before
  static int EnumGroups(int offset, int limit, AUTH_TYPE type, const char* prefix, const char* user, Json::Value& out);

  /// @}

 private:
  struct Body;
  std::unique_ptr<Body> body_;
};

}  // namespace SDK

#endif  // TARVEL_GROUP_H
