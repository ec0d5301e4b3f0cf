// Questions about access lists.
#include <string.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "host/klib/error_code.h"
#include "host/shares/list_text.h"
#include "host/shares/shares_module.h"
#include "host/storage/guarded_call.h"

namespace kest {
namespace {

bool IsEqual(const std::string& a, const char* b) { return KLIBUnicodeUTF8StrCaseCmp(a.c_str(), b) == 0; }

// Everybody who has an account of this machine is in "users"; nobody is entered there.
bool IsInGroup(const char* user, const std::string& group) {
  if (IsEqual(group, "users")) return strchr(user, '\\') == nullptr;
  const KestSharesModule* const shares = Shares();
  return shares != nullptr && shares->is_member(user, group.c_str()) == 1;
}

bool Covers(std::string_view entry, const char* user) {
  const std::string name(entry);
  return name[0] == '@' ? IsInGroup(user, name.substr(1)) : IsEqual(name, user);
}

// A name, and which of the lists it stands in.
struct Entry {
  const char* name;
  int list;
};

void Append(PSZLIST list, int number, std::vector<Entry>* out) {
  for (int i = 0; const char* text = SzKLIBSzListGet(list, i); ++i) out->push_back({text, number});
}

// Sorted, what is equal stands side by side: lists may hold thousands.
bool Contradict(std::vector<Entry> entries) {
  const auto before = [](const Entry& a, const Entry& b) { return KLIBUnicodeUTF8StrCaseCmp(a.name, b.name) < 0; };
  std::sort(entries.begin(), entries.end(), before);
  const auto twice = std::adjacent_find(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
    return a.list != b.list && IsEqual(a.name, b.name);
  });
  return twice != entries.end();
}

}  // namespace
}  // namespace kest

int BlSDKUserIsInList(const char* user, const char* listText) {
  if (user == nullptr || *user == '\0' || listText == nullptr) return 0;
  bool covered = false;
  kest::Guarded([&] {
    // Names before groups: they need no database.
    for (const bool groups : {false, true}) {
      kest::ForEachName(listText, [&](std::string_view entry) {
        if ((entry[0] == '@') == groups) covered = covered || kest::Covers(entry, user);
      });
    }
    return 0;
  });
  return covered ? 1 : 0;
}

int UserCheckRights(PSZLIST* na, PSZLIST* rw, PSZLIST* ro) {
  if (na == nullptr || rw == nullptr || ro == nullptr) return kest::FailWith(kest::kErrorBadParameter);
  return kest::Guarded([&] {
    std::vector<kest::Entry> entries;
    int number = 0;
    for (const PSZLIST list : {*na, *rw, *ro}) kest::Append(list, number++, &entries);
    return kest::Contradict(std::move(entries)) ? 1 : 0;
  });
}
