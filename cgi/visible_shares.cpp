#include "visible_shares.h"

#include <tarvel/file_share.h>

#include <memory>

// The library asks for the account's record as the platform has it, and gives a list of the platform.
#include "platform/kestdir.h"
#include "platform/klib.h"

namespace site {

namespace {

struct FreeUser {
  void operator()(KESTUSER* user) const { KESTUserFree(user); }
};

struct FreeList {
  void operator()(PSZLIST list) const { KLIBSzListFree(list); }
};

}  // namespace

std::optional<std::vector<std::string>> VisibleShares(const std::string& user) {
  KESTUSER* slot = nullptr;
  const int found = KESTUserGet(user.c_str(), &slot);
  const std::unique_ptr<KESTUSER, FreeUser> account(slot);
  if (found < 0) return std::nullopt;
  std::string name = user;
  const std::unique_ptr<std::remove_pointer_t<PSZLIST>, FreeList> list(
      TarvelFileShare().WfmLibValidShareGen(name.data(), TRUE, TRUE, account.get()));
  if (!list) return std::nullopt;
  std::vector<std::string> names;
  for (int i = 0; const char* text = SzKLIBSzListGet(list.get(), i); ++i) names.emplace_back(text);
  return names;
}

}  // namespace site
