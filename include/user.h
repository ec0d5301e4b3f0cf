#ifndef TARVEL_USER_H
#define TARVEL_USER_H

#include <json/value.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/kestdir.h"
#include "tarvel_export.h"

/// @file
/// User accounts.

namespace SDK {

/// One account of the user database: looked up, made, changed, listed.
///
///     SDK::User* user = SDK::User::CreateUser("alice");  // null: there is one
///     user->SetDesc("Alice, accounting");
///     user->SetPasswd("a long one");
///     const bool stored = user->Save();
///     SDK::User::Release(user);
///
///     Json::Value page;  // {"total": 2, "items": [{"name": "alice", "descr": "Alice, accounting", ...}, ...]}
///     SDK::User::EnumUsers(0, 50, AUTH_TYPE_LOCAL, nullptr, page);
///
/// An object is **new** while its uid is -1 and **stored** once it was made from a record of the platform. Setters
/// change the object alone; the database changes with Save(). Objects that a function returns or appends belong to the
/// caller, who gives them back with Release() or ReleaseUserList().
///
/// Texts are UTF-8. An expiry day is -1 (never), 0 or 1 (the account is disabled), or the last valid day, counted from
/// 1970-01-01 UTC.
///
/// **Pages.** The listing functions walk the accounts in the platform's order and deliver those at the positions from
/// `offset` on, `limit` of them at most, all when `limit` is negative. They count every account, delivered or not.
///
/// **Errors** are told by the results alone, nothing here throws (memory exhaustion apart). What is logged goes to
/// syslog at LOG_ERR, begins with the source name `user` and the line number, and is named at each operation;
/// operations that name no message log nothing.
class TARVEL_EXPORT User {
 public:
  /// @name Making and releasing
  /// @{

  /// A new account. The database is not asked.
  ///
  /// | field                    | value                                                                      |
  /// |--------------------------|----------------------------------------------------------------------------|
  /// | uid, gid                 | -1, 100                                                                    |
  /// | home                     | "/var/services/homes/" and the name, 523 bytes at most; "/" for "rsync"    |
  /// | shell                    | "/sbin/nologin"; "/bin/sh" for "rsync", in any case of letters             |
  /// | expiry, privilege        | never, 3                                                                   |
  /// | description, mail, password | empty                                                                   |
  ///
  /// @param name  the account's name, of any length
  explicit User(const std::string& name);

  /// A stored account.
  ///
  /// @param record  of the platform, never null; it is copied, null texts as ""
  explicit User(KESTUSER* record);

  ~User();

  User(const User&) = delete;
  User& operator=(const User&) = delete;

  /// The account with a user id.
  ///
  /// @return a stored account; null when there is none or the database cannot be read
  static User* LoadUser(int uid);

  /// The account with a name, which is found without regard to case.
  ///
  /// @param name  for a domain account the domain, a backslash and the name
  /// @return a stored account; null when there is none or the database cannot be read
  static User* LoadUser(const std::string& name);

  /// A new account, unless there is one of that name. Only Save() stores it.
  ///
  /// @return the account; null when there is one
  static User* CreateUser(const std::string& name);

  /// Whether there is an account of that name; false also when the database cannot be read.
  static bool IsUserExist(const std::string& name);

  /// Gives an account back; null is ignored.
  static void Release(User* user);

  /// Gives all accounts of a list back and empties it.
  static void ReleaseUserList(std::vector<User*>& users);

  /// @}
  /// @name Fields
  /// @{

  /// The account's name.
  std::string GetName() const;

  /// The description.
  std::string GetDesc() const;

  /// The mail address.
  std::string GetEmail() const;

  /// The home directory.
  std::string GetUserHome() const;

  /// The user id; -1 for a new account, also after its Save().
  int GetUID() const;

  /// The id of the primary group.
  int GetGID() const;

  /// The expiry day.
  int GetExpire() const;

  /// The mask of application privileges; its bits are the platform's.
  int GetAppPrivilege() const;

  /// Whether the user may not change his own password.
  bool IsDisallowChPasswd() const;

  /// Another name. A stored account is renamed by Save(), which knows its old name.
  void SetName(const std::string& name);

  /// Another description.
  void SetDesc(const std::string& desc);

  /// Another mail address.
  void SetEmail(const std::string& email);

  /// The password that Save() sets, in clear; "" leaves the account's as it is.
  void SetPasswd(const std::string& passwd);

  /// Another expiry day.
  void SetExpire(int expire);

  /// Another mask of application privileges.
  void SetPrivilege(int privilege);

  /// Whether the user may not change his own password.
  void SetDisallowChPasswd(bool disallow);

  /// @}
  /// @name Records of the platform
  /// @{

  /// Fills a record with the account's fields; its last field stays as it is.
  ///
  /// @param record  receives the fields. Its texts are this object's: they hold until it is changed or released
  /// @return 0; -1 when `record` is null (logged: "Bad parameters")
  int ConvertToSDKUSER(KESTUSER* record) const;

  /// Takes all fields over from a record, except for the name under which the account is stored.
  ///
  /// @param record  a record whose texts are all there; they may be this object's own
  /// @return 0; -1 when `record` is null (logged: "Bad parameters")
  int ConvertFromSDKUSER(KESTUSER* record);

  /// @}
  /// @name State and storage
  /// @{

  /// Stores the account: makes it when its uid is -1, otherwise changes the one that was loaded and renames it when the
  /// name has changed. The object stays as it is, so a second Save() of a new account makes it again, which fails, and
  /// one of a renamed account looks for the old name.
  ///
  /// @return false when the platform refuses (logged: "Failed to create/set user %s, %d" with the name and
  ///         KLIBErrGet()) or memory is short (logged: "Bad parameters", "Failed to convert to PKESTUSER")
  bool Save();

  /// Whether the account is disabled or its expiry day is past; false when the platform cannot tell.
  bool IsExpired() const;

  /// The account's state as pages show it.
  ///
  /// | expiry day | text                                                                                  |
  /// |------------|---------------------------------------------------------------------------------------|
  /// | negative   | "Normal"                                                                              |
  /// | 0, 1       | "Disable"                                                                             |
  /// | above      | "Expired", or the day as year/month/day without leading zeros: "2024/3/9"             |
  /// | above      | "Unknow Status" when the platform cannot tell (logged: "Fail to check user expiration") |
  std::string GetStatus();

  /// The expiry day in the platform's form of a date.
  ///
  /// @return the date, "" when the account never expires; "" also when there is none and when memory is short (logged:
  ///         "Bad parameters", "Failed to convert to PKESTUSER")
  std::string GetExpiredDate();

  /// Another expiry day, as a date.
  ///
  /// @param date  in the platform's form; "" is never
  /// @return 0; -1 when it is no such date (logged: "Failed to set expire date on %s") or memory is short (logged: "Bad
  ///         parameters", "Failed to convert to PKESTUSER"): the object is then as before
  int SetExpiredDate(std::string date);

  /// @}
  /// @name Listing
  /// @{

  /// Where an account stands among those of its source, so that a list can open on the page that shows it.
  ///
  /// @param name      found without regard to case
  /// @param type      the source of the accounts
  /// @param position  receives the position, from 0; the number of all accounts when there is none of that name; may be
  ///                  null
  /// @return 1; 0 when the database cannot be opened (logged: "Failed to open user db"): `position` is then as before
  static int GetUserLocation(const std::string& name, AUTH_TYPE type, int* position);

  /// One page of all accounts of a source. What the platform knows of a domain's accounts is not refreshed.
  ///
  /// @param offset  position of the first account, from 0; negative ones count as positions before it
  /// @param limit   how many positions at most; negative: all
  /// @param type    the source of the accounts
  /// @param out     the page is appended
  /// @return the number of all accounts; 0 when the database cannot be opened (logged: "Failed to open user db")
  static int EnumAllUsers(int offset, int limit, AUTH_TYPE type, std::vector<User*>& out);

  /// One page of the accounts whose names begin with a prefix.
  ///
  /// What the platform knows of a domain's accounts is refreshed first. A prefix without a backslash then gets the name
  /// of the joined domain and a backslash in front: domain accounts are named so.
  ///
  /// @param offset  position of the first account, from 0
  /// @param limit   how many positions at most; negative: all
  /// @param type    the source of the accounts; 2 is the joined domain
  /// @param prefix  compared without regard to case; "" is all; null: as EnumAllUsers()
  /// @param out     the page is appended; an account that cannot be read is left out (logged: "Failed to get user info
  ///                for %s")
  /// @return the number of all matches; 0 when the domain cannot be refreshed (logged:
  ///         "[%X]KESTUserDBDomainRebuild failed" with KLIBErrGet()) or memory is short; the platform's negative result
  ///         when it cannot search (logged: "Failed to enum users by prefix")
  static int EnumUsers(int offset, int limit, AUTH_TYPE type, const char* prefix, std::vector<User*>& out);

  /// The same page for a list of the pages.
  ///
  /// | member           | type    | value                                            |
  /// |------------------|---------|--------------------------------------------------|
  /// | "total"          | integer | result of the other form, perhaps negative       |
  /// | "items"          | array   | the page, perhaps empty                          |
  /// | "items/name"     | string  | GetName()                                        |
  /// | "items/descr"    | string  | GetDesc()                                        |
  /// | "items/email"    | string  | GetEmail()                                       |
  /// | "items/disabled" | string  | GetStatus(), not a boolean                       |
  ///
  /// @param offset  as for the other form
  /// @param limit   as for the other form
  /// @param type    as for the other form
  /// @param prefix  as for the other form
  /// @param out     null or an object: the members above are set in it, others stay
  /// @return 1
  static int EnumUsers(int offset, int limit, AUTH_TYPE type, const char* prefix, Json::Value& out);

  /// @}

 private:
  struct Body;
  std::unique_ptr<Body> body_;
};

}  // namespace SDK

#endif  // TARVEL_USER_H
