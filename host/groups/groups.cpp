// Groups as the directory interface gives them out. All of it is asked of the accounts module.
#include <stdlib.h>

#include "host/accounts/directory_lists.h"
#include "host/groups/groups_module.h"
#include "host/shares/share_render.h"

namespace kest {
namespace {

const KestGroupsModule* Groups() { return KEST_MODULE(KestGroupsModule, "accounts", KestGroupsModuleTable); }

}  // namespace
}  // namespace kest

using kest::AnswerOf;
using kest::FailWith;
using kest::Groups;
using kest::kErrorBadParameter;
using kest::kErrorSystem;

int KESTGroupGet(const char* name, KESTGROUP** slot) {
  if (name == nullptr || slot == nullptr) return FailWith(kErrorBadParameter);
  const KestGroupsModule* groups = Groups();
  KESTGROUP* record = nullptr;
  if (AnswerOf(groups == nullptr ? -kErrorSystem : groups->record(name, &record)) < 0) return -1;
  KESTGroupFree(*slot);
  *slot = record;
  return 0;
}

void KESTGroupFree(KESTGROUP* group) { free(group); }

int KESTGroupSet(const char* existing, KESTGROUP* group) {
  if (group == nullptr) return FailWith(kErrorBadParameter);
  const KestGroupsModule* groups = Groups();
  bool changed = false;
  if (AnswerOf(groups == nullptr ? -kErrorSystem : groups->save(existing, group, &changed)) < 0) return -1;
  if (changed) kest::GroupMembersChanged();
  return 0;
}

int KESTGroupDescGet(const char* name, char** text, int* second) {
  if (name == nullptr || text == nullptr) return FailWith(kErrorBadParameter);
  const KestGroupsModule* groups = Groups();
  char* description = nullptr;
  int gid = 0;
  if (AnswerOf(groups == nullptr ? -kErrorSystem : groups->read_description(name, &description, &gid)) < 0) return -1;
  *text = description;
  if (second != nullptr) *second = gid;
  return 0;
}

int KESTGroupDescSet(const char* name, const char* textOrNull) {
  if (name == nullptr) return FailWith(kErrorBadParameter);
  const KestGroupsModule* groups = Groups();
  return groups == nullptr ? FailWith(kErrorSystem) : AnswerOf(groups->write_description(name, textOrNull));
}

KESTGROUPDB* KESTGroupDBOpen(void) {
  const KestGroupsModule* groups = Groups();
  KESTGROUPDB* cursor = nullptr;
  const int failed = groups == nullptr ? -kErrorSystem : groups->open_cursor(&cursor);
  return AnswerOf(failed) < 0 ? nullptr : cursor;
}

int KESTGroupDBGetByCursor(KESTGROUPDB* db, KESTGROUP** slot, AUTH_TYPE type, int) {
  const KestGroupsModule* groups = Groups();
  if (groups == nullptr) return FailWith(kErrorSystem);
  return kest::Advance(groups->next, db, slot, type, KESTGroupFree);
}

int KESTGroupDBClose(KESTGROUPDB* db) {
  // A cursor that was opened came from the module.
  if (db != nullptr) Groups()->close_cursor(db);
  return 0;
}

int KESTGroupEnumByPrefix(PSZLIST* list, AUTH_TYPE type, const char* prefix, int) {
  const KestGroupsModule* groups = Groups();
  if (groups == nullptr) return FailWith(kErrorSystem);
  return kest::AppendNames(list, type, prefix, groups->names);
}
