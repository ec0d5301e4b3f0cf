// Questions about access lists.
#include <string.h>

#include <string>

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

// Texts of a list from an index on, whether one of them is the name.
bool Holds(PSZLIST list, const char* name) {
  for (int i = 0; const char* text = SzKLIBSzListGet(list, i); ++i) {
    if (IsEqual(text, name)) return true;
  }
  return false;
}

bool Overlap(PSZLIST a, PSZLIST b) {
  for (int i = 0; const char* text = SzKLIBSzListGet(a, i); ++i) {
    if (Holds(b, text)) return true;
  }
  return false;
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
  return kest::Guarded(
      [&] { return kest::Overlap(*na, *rw) || kest::Overlap(*na, *ro) || kest::Overlap(*rw, *ro) ? 1 : 0; });
}
