#ifndef TESTS_MODEL_DIRECTORY_H
#define TESTS_MODEL_DIRECTORY_H

#include <map>
#include <set>
#include <string>
#include <vector>

#include "spelling.h"

/// What accounts, groups and shares are to be: a plain picture in memory, and what each save does to it.
namespace model {

struct Person {
  std::string name, desc, email, home, shell;
  int gid = 100, expire = -1, attributes = 1, privilege = 3;
  bool keeps_password = false;
};

struct Team {
  std::string name, desc;
  std::set<int> members;  ///< numbers of accounts
};

/// Whom an entry of an access list means.
struct Entry {
  bool is_team;
  int number;
};

enum List { kNoAccess, kReadWrite, kReadOnly, kLists };

struct Folder {
  std::string name, desc, path;
  std::vector<Entry> lists[kLists];
  int attributes = 2, restrictions = 0;
  bool browseable = true;
};

/// Names of one set, by their folded form, in the spelling that came first.
using Names = std::map<std::string, std::string>;

/// What one object of the library holds of an account, a group or a share. A number of -1 is a new one.
struct PersonObject {
  Person fields;
  std::string loaded;
  int uid = -1;
};

struct TeamObject {
  std::string name, loaded, desc;
  Names members;
  int gid = -1;
  bool described = false;
};

struct FolderObject {
  std::string name, loaded, desc, path;
  Names sets[kLists];
  Texts stored_lists[kLists];
  int state = 0, attributes = 2, restrictions = 0;
  bool browseable = true, moves = false;
};

/// Why a save is refused: codes of KLIBErrGet(), any of which will do. Empty: it is not.
using Refusals = std::set<int>;

constexpr int kTaken = 0x700, kUnknown = 0x600, kBad = 0xd00, kDenied = 0x300;

struct Directory {
  std::map<int, Person> people;
  std::map<int, Team> teams;
  std::map<int, Folder> folders;
  std::set<std::string> paths;  ///< folders below the volume

  /// Numbers; -1 when there is none.
  int FindPerson(const std::string& name) const;
  int FindTeam(const std::string& name) const;
  int FindFolder(const std::string& name) const;

  Refusals Save(const PersonObject& object);
  /// The number that the platform gave the account that Save() has made.
  void Number(const std::string& name, int uid);
  Refusals Save(const TeamObject& object);
  void Describe(const std::string& team, const std::string& desc);
  Refusals Save(FolderObject& object);

  Names MembersOf(int gid) const;
  bool IsMember(const std::string& person, const std::string& team) const;
  Texts Listed(const std::vector<Entry>& entries) const;

 private:
  bool IsPersonTaken(const std::string& name, int but) const;
};

constexpr int kUsers = 100, kAdministrators = 101;
constexpr int kUnnumbered = 1 << 30;

}  // namespace model

#endif  // TESTS_MODEL_DIRECTORY_H
