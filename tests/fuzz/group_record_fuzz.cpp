// Groups of any bytes: what an object makes of a record, its members, and what it gives back, against rules written a
// second time.
#include <cstring>
#include <utility>
#include <vector>

#include "group.h"
#include "record_fields.h"

// The directory of these runs describes every group, takes everything and remembers the last of it.
extern "C" {
void SilentSyslog(int, const char*, ...) __asm__("__wrap_syslog");
int Store(const char* existing, KESTGROUP* group) __asm__("__wrap_KESTGroupSet");
int Describe(const char* name, char** text, int* second) __asm__("__wrap_KESTGroupDescGet");
int StoreDescription(const char* name, const char* text) __asm__("__wrap_KESTGroupDescSet");
}

namespace {

using Descriptions = std::vector<std::pair<std::string, Text>>;

struct Stored {
  Text existing;
  std::string name;
  int gid = 0;
  std::vector<std::string> members;
  Descriptions descriptions;
} stored;

bool IsSame(const std::string& a, const std::string& b) { return KLIBUnicodeUTF8StrCaseCmp(a.c_str(), b.c_str()) == 0; }

// Members in order, without regard to case and in the spelling that came first; how they are kept is another matter.
class Members {
 public:
  size_t Find(const std::string& name) const {
    size_t at = 0;
    while (at < names_.size() && !IsSame(names_[at], name)) ++at;
    return at;
  }
  void Add(const std::string& name) {
    if (Find(name) != names_.size()) return;
    size_t at = 0;
    while (at < names_.size() && KLIBUnicodeUTF8StrCaseCmp(names_[at].c_str(), name.c_str()) < 0) ++at;
    names_.insert(names_.begin() + static_cast<std::ptrdiff_t>(at), name);
  }
  void Remove(const std::string& name) {
    const size_t at = Find(name);
    if (at != names_.size()) names_.erase(names_.begin() + static_cast<std::ptrdiff_t>(at));
  }
  const std::vector<std::string>& names() const { return names_; }

 private:
  std::vector<std::string> names_;
};

void RequireMembers(SDK::Group& group, const Members& members, const std::string& asked) {
  Require(group.GetMembers() == members.names());
  if (group.GetName() == "users") return;
  const size_t at = members.Find(asked);
  const bool is_there = at != members.names().size();
  Require(group.GetMemberCount() == static_cast<int>(members.names().size()) && group.IsMember(asked) == is_there);
  Require(group.GetMemberPos(asked) == (is_there ? static_cast<int>(at) : -1));
}

void RequireSaved(SDK::Group& group, const std::string& loaded, const Members& members, bool described) {
  stored = {};
  Require(group.Save());
  const std::string name = group.GetName();
  Descriptions descriptions;
  if (name != loaded) descriptions.push_back({loaded, Text()});
  if (name != loaded || described) descriptions.push_back({name, group.GetDesc()});
  Require(stored.descriptions == descriptions);
  if (name == "users") return;
  Require(stored.existing == (loaded.empty() ? Text() : Text(loaded)) && stored.name == name);
  Require(stored.gid == group.GetGID() && stored.members == members.names());
}

void CheckGroup(FuzzInput& input) {
  std::vector<std::string> listed;
  for (unsigned left = input.Choice(8); left > 0; --left) listed.push_back(input.TextLine());
  std::vector<char*> pointers;
  Members members;
  for (std::string& name : listed) {
    pointers.push_back(name.data());
    members.Add(name);
  }
  pointers.push_back(nullptr);
  Text given = AnyText(input);
  KESTGROUP record = {Pointer(given), AnyNumber(input), listed.empty() ? nullptr : pointers.data(), 1, 0};
  SDK::Group group(&record);
  const std::string loaded = given.value_or("");
  std::string desc = "description of " + loaded;
  bool described = false;
  Require(group.GetDesc() == desc && group.GetGID() == record.gid && group.GetAuthType() == AUTH_TYPE_LOCAL);
  while (!input.Empty()) {
    const unsigned operation = input.Choice(4);
    std::string text = input.TextLine();
    const bool is_fixed = group.GetName() == "users";
    if (operation == 0) {
      group.AddMember(text);
      if (!is_fixed) members.Add(text);
    } else if (operation == 1) {
      group.RemoveMember(text);
      if (!is_fixed) members.Remove(text);
    } else if (operation == 2) {
      const std::string before = group.GetName();
      group.SetName(text);
      Require(group.GetName() == (is_fixed ? before : text));
    } else {
      group.SetDesc(text);
      described = described || text != desc;
      desc = text;
    }
    RequireMembers(group, members, text);
    RequireSaved(group, loaded, members, described);
  }
}

}  // namespace

void SilentSyslog(int, const char*, ...) {}

int Store(const char* existing, KESTGROUP* group) {
  stored.existing = OptionalText(existing);
  stored.name = group->name;
  stored.gid = group->gid;
  for (char** member = group->members; *member != nullptr; ++member) stored.members.emplace_back(*member);
  Require(group->source == 0 && group->zero == 0);
  return 0;
}

int Describe(const char* name, char** text, int*) {
  *text = strdup(("description of " + std::string(name)).c_str());
  return 0;
}

int StoreDescription(const char* name, const char* text) {
  stored.descriptions.emplace_back(name, OptionalText(text));
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput input(data, size);
  CheckGroup(input);
  return 0;
}
