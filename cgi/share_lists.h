// The access lists of a shared folder as its form carries them: for each list a field with names between commas.
#ifndef CGI_SHARE_LISTS_H
#define CGI_SHARE_LISTS_H

#include <tarvel/share.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

namespace site {

struct ReleaseShare {
  void operator()(SDK::Share* share) const { SDK::Share::Release(share); }
};
using Share = std::unique_ptr<SDK::Share, ReleaseShare>;

struct AccessList {
  const char* field;
  char* KESTSHARE::*text;
  void (SDK::Share::*add)(const std::string&);
  void (SDK::Share::*remove)(const std::string&);
  bool (SDK::Share::*has)(const std::string&) const;
};

inline constexpr AccessList kAccessLists[] = {
    {"na", &KESTSHARE::na, &SDK::Share::AddToNA, &SDK::Share::RemoveFromNA, &SDK::Share::InNA},
    {"rw", &KESTSHARE::rw, &SDK::Share::AddToRW, &SDK::Share::RemoveFromRW, &SDK::Share::InRW},
    {"ro", &KESTSHARE::ro, &SDK::Share::AddToRO, &SDK::Share::RemoveFromRO, &SDK::Share::InRO},
};
inline constexpr size_t kAccessListCount = 3;

/// The names of each of kAccessLists, in its order.
using ListedNames = std::array<std::vector<std::string>, kAccessListCount>;

/// A share of the database with the names in its lists: the library tells whether a name is in one, not which are.
struct StoredShare {
  Share share;  ///< null when it could not be loaded; KLIBErrGet() says why
  ListedNames names;
};

StoredShare LoadStoredShare(const std::string& name);

/// Gives the share's lists other names. Only its Save() stores them.
void SetNames(SDK::Share& share, const ListedNames& before, const ListedNames& wanted);

/// Whether there is an account, or behind "@" a group, of that name.
bool IsKnownName(const std::string& name);

/// A name of a list that stands in another list, too; null when there is none.
const std::string* FindTwice(const SDK::Share& share, const ListedNames& names, size_t list);

}  // namespace site

#endif  // CGI_SHARE_LISTS_H
