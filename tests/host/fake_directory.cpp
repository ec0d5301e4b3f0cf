#include "fake_directory.h"

#include <cstdlib>
#include <cstring>

#include "host/accounts/accounts_module.h"

FakeDirectory& TheDirectory() {
  static FakeDirectory directory;
  return directory;
}

namespace {

int FindByUid(int uid, KestAccountState* out) {
  const FakeDirectory& directory = TheDirectory();
  if (directory.broken) return -1;
  if (uid != directory.uid) return 0;
  out->uid = directory.uid;
  out->gid = directory.gid;
  return 1;
}

char* Copy(char** at, const std::string& text) {
  char* const copy = *at;
  memcpy(copy, text.c_str(), text.size() + 1);
  *at += text.size() + 1;
  return copy;
}

int Account(KESTUSER** out) {
  const FakeDirectory& directory = TheDirectory();
  if (directory.broken) return -1;
  *out = static_cast<KESTUSER*>(calloc(1, sizeof(KESTUSER) + 256));
  char* at = reinterpret_cast<char*>(*out + 1);
  (*out)->uid = directory.uid;
  (*out)->gid = directory.gid;
  (*out)->name = Copy(&at, directory.name);
  (*out)->desc = Copy(&at, directory.description);
  (*out)->home = Copy(&at, "/var/services/homes/anna");
  (*out)->shell = Copy(&at, "/sbin/nologin");
  return 1;
}

int Record(const char* name, KESTUSER** out) { return name == TheDirectory().name ? Account(out) : 0; }

int RecordByUid(int uid, KESTUSER** out) { return uid == TheDirectory().uid ? Account(out) : 0; }

int GroupsOf(const char*, uint32_t** gids) {
  const std::vector<uint32_t>& groups = TheDirectory().groups_of;
  if (TheDirectory().broken) return -1;
  *gids = static_cast<uint32_t*>(calloc(groups.size() + 1, sizeof(uint32_t)));
  for (size_t i = 0; i < groups.size(); ++i) (*gids)[i] = groups[i];
  return static_cast<int>(groups.size());
}

int GroupEntryByGid(int gid, KestGroupEntry** out) {
  const FakeDirectory& directory = TheDirectory();
  if (directory.broken) return -1;
  if (gid != directory.group) return 0;
  *out = static_cast<KestGroupEntry*>(calloc(1, sizeof(KestGroupEntry) + 4096));
  char* at = reinterpret_cast<char*>(*out + 1);
  (*out)->gid = gid;
  (*out)->member_count = static_cast<int>(directory.members.size());
  (*out)->name = Copy(&at, "gardeners");
  (*out)->members = at;
  for (const std::string& member : directory.members) Copy(&at, member);
  return 1;
}

int GroupEntry(const char* name, KestGroupEntry** out) {
  return strcmp(name, "gardeners") == 0 ? GroupEntryByGid(TheDirectory().group, out) : 0;
}

}  // namespace

const KestAccountsModule* KestAccountsModuleTable(void) {
  static const KestAccountsModule table = [] {
    KestAccountsModule made = {};
    made.find_by_uid = FindByUid;
    made.record = Record;
    made.record_by_uid = RecordByUid;
    made.groups_of = GroupsOf;
    made.group_entry = GroupEntry;
    made.group_entry_by_gid = GroupEntryByGid;
    return made;
  }();
  return &table;
}
