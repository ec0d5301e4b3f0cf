#include "share_lists.h"

#include <tarvel/group.h>
#include <tarvel/user.h>
#include <tarvel/webutils.h>

namespace site {

namespace {

struct FreeRecord {
  void operator()(KESTSHARE* record) const { KESTShareFree(record); }
};

}  // namespace

StoredShare LoadStoredShare(const std::string& name) {
  KESTSHARE* slot = nullptr;
  const int found = KESTShareGet(name.c_str(), &slot);
  const std::unique_ptr<KESTSHARE, FreeRecord> record(slot);
  StoredShare stored;
  if (found != 0 || !record) return stored;
  stored.share.reset(SDK::Share::ConvertShare(record.get()));
  for (size_t i = 0; i < kAccessListCount; ++i) {
    const char* const text = record.get()->*kAccessLists[i].text;
    if (text != nullptr) stored.names[i] = WebUtils::StringExplode(text, ",");
  }
  return stored;
}

void SetNames(SDK::Share& share, const ListedNames& before, const ListedNames& wanted) {
  for (size_t i = 0; i < kAccessListCount; ++i) {
    const AccessList& list = kAccessLists[i];
    for (const std::string& name : before[i]) (share.*list.remove)(name);
    for (const std::string& name : wanted[i]) (share.*list.add)(name);
  }
}

bool IsKnownName(const std::string& name) {
  return name[0] == '@' ? SDK::Group::IsGroupExist(name.substr(1)) : SDK::User::IsUserExist(name);
}

const std::string* FindTwice(const SDK::Share& share, const ListedNames& names, size_t list) {
  for (const std::string& name : names[list]) {
    for (const AccessList& other : kAccessLists) {
      if (&other != &kAccessLists[list] && (share.*other.has)(name)) return &name;
    }
  }
  return nullptr;
}

}  // namespace site
