// What the programs of the accounts and groups have in common.
#ifndef CGI_DIRECTORY_H
#define CGI_DIRECTORY_H

#include <tarvel/group.h>
#include <tarvel/tarvel.h>
#include <tarvel/user.h>

#include <initializer_list>
#include <memory>
#include <string>

#include "descriptor.h"

namespace site {

/// Rows of one page of a list.
inline constexpr int kRows = 50;

/// Bytes of a new name.
inline constexpr unsigned int kNameBytes = 255;

/// Bytes of a description.
inline constexpr unsigned int kDescriptionBytes = 1024;

/// The group of every account, and that of those who may administer the appliance.
inline constexpr char kEverybody[] = "users";
inline constexpr char kAdministrators[] = "administrators";

struct ReleaseDirectoryObject {
  void operator()(SDK::User* user) const { SDK::User::Release(user); }
  void operator()(SDK::Group* group) const { SDK::Group::Release(group); }
};
using User = std::unique_ptr<SDK::User, ReleaseDirectoryObject>;
using Group = std::unique_ptr<SDK::Group, ReleaseDirectoryObject>;

/// Where the page begins that a request asks for: its "offset", 0 for anything else than a number.
int OffsetOf(Tarvel& request);

/// The page that shows a position.
inline int PageOf(int position) { return position / kRows * kRows; }

/// Whether a new account or group may have this name: UTF-8 without control characters, without the marks that lists,
/// paths and command lines give a meaning of their own, without a blank at either end. Marks that turn the direction of
/// text are none either: with them one name is read as another.
bool IsDirectoryName(const std::string& name);

/// Whether two names are one to the appliance, which does not regard case.
bool IsSameName(const std::string& a, const std::string& b);

/// What tells whether somebody else has changed an object since a form was filled with these values.
std::string VersionOf(std::initializer_list<std::string> values);

/// The key, section "error", of why the platform has refused what it was just asked.
struct SaveFailures {
  const char* taken;   ///< the name is another's
  const char* name;    ///< no name for anything
  const char* gone;    ///< it, or what it refers to, is not there
  const char* denied;  ///< it may not be
  const char* failed;  ///< anything else
};
const char* WhyNotSaved(const SaveFailures& failures);

/// The key, section "error", of why the platform has just not given an account or group: `gone` when there is none,
/// `failed` when it could not look.
const char* WhyNotFound(const char* gone, const char* failed);

/// The turn to change accounts and groups: what a form has looked at stays so until it has saved. Lasts as long as the
/// object.
class DirectoryTurn {
 public:
  DirectoryTurn();
  bool IsOpen() const { return is_open_; }

 private:
  Descriptor lock_;
  bool is_open_;
};

}  // namespace site

#endif  // CGI_DIRECTORY_H
