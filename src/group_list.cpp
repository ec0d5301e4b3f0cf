// Where groups stand in the database, and pages of them.
#include <memory>

#include "group.h"
#include "internal/buffer.h"
#include "internal/database_walk.h"
#include "internal/log.h"
#include "internal/platform_record.h"
#include "internal/text_of.h"

namespace {

constexpr char kLogSource[] = "group";

constexpr int kNamesBytes = 2048;

using tarvel_internal::Page;
using GroupWalk = tarvel_internal::DatabaseWalk<KESTGROUPDB, KESTGROUP, KESTGroupDBOpen, KESTGroupDBGetByCursor,
                                                KESTGroupDBClose, KESTGroupFree>;

bool Joins(const char* user, const char* name) {
  const std::unique_ptr<SDK::Group> group(SDK::Group::LoadGroup(name));
  return group && group->IsMember(user);
}

// Appends the item of one group; false when its description cannot be read.
bool Append(Json::Value& items, const char* name, const char* user) {
  char* text = nullptr;
  int ignored = 0;
  const int result = KESTGroupDescGet(name, &text, &ignored);
  const tarvel_internal::Buffer desc(text);
  if (result < 0) return false;
  Json::Value item;
  // Absent without a user, on purpose: pages then show no mark.
  if (user != nullptr) item["join"] = Joins(user, name);
  item["name"] = name;
  item["descr"] = tarvel_internal::TextOf(desc.get());
  items.append(item);
  return true;
}

// Both give the number of all candidates, or a negative one after a failure.
int SearchGroups(PSZLIST* names, AUTH_TYPE type, const char* prefix) {
  const int count = KESTGroupEnumByPrefix(names, type, prefix, 1);
  if (count < 0) LogError("%s:%d: Failed to enum groups by prefix");
  return count;
}

int AppendSearched(tarvel_internal::TextList& names, AUTH_TYPE type, const char* prefix, const char* user, Page page,
                   Json::Value& items) {
  const int count = SearchGroups(names.Slot(), type, prefix);
  for (int i = 0; i < count; ++i) {
    if (!page.Shows(i)) continue;
    const char* const name = names.At(i);
    if (!Append(items, name, user)) LogError("%s:%d: Failed to get group info for %s", name);
  }
  return count;
}

int AppendWalked(AUTH_TYPE type, const char* user, Page page, Json::Value& items) {
  GroupWalk walk(type);
  if (!walk) {
    LogError("%s:%d Failed to open group db");
    return -1;
  }
  int count = 0;
  for (; walk.Next(); ++count) {
    if (!page.Shows(count)) continue;
    const char* const name = walk.record()->name;
    if (!Append(items, name, user)) LogError("%s:%d Failed to get group descr for %s", name);
  }
  return count;
}

}  // namespace

int SDK::Group::GetGroupLocation(const std::string& name, AUTH_TYPE type, int* position) {
  GroupWalk walk(type);
  if (!walk) {
    // The words of the accounts, on purpose.
    LogError("%s:%d Failed to open user db");
    return 0;
  }
  const int found = walk.PositionOf(name.c_str());
  if (position != nullptr) *position = found;
  return 1;
}

int SDK::Group::EnumGroups(int offset, int limit, AUTH_TYPE type, const char* prefix, const char* user,
                           Json::Value& out) {
  Json::Value items(Json::arrayValue);
  // Made without a prefix too, on purpose.
  tarvel_internal::TextList names(kNamesBytes);
  if (!names) return 0;
  const Page page = {offset, limit};
  const int total = prefix != nullptr ? AppendSearched(names, type, prefix, user, page, items)
                                      : AppendWalked(type, user, page, items);
  if (total < 0) return 0;
  out["total"] = total;
  out["items"] = items;
  return 1;
}
