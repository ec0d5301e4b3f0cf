#include "host/groups/groups_module.h"

#include <string.h>

#include "host/accounts/directory.h"
#include "host/accounts/directory_question.h"
#include "host/groups/group_store.h"

namespace kest {
namespace {

int Record(const char* name, KESTGROUP** out) {
  return AskDirectory([=](Database& database) { return FindGroupRecord(database, name, out); });
}

int Save(const char* existing_or_null, const KESTGROUP* group, bool* changed) {
  return AskDirectory([=](Database& database) { return SaveGroup(database, existing_or_null, *group, changed); });
}

int ReadDescription(const char* name, char** text, int* gid) {
  return AskDirectory([=](Database& database) {
    std::string description;
    if (const int failed = ReadGroupDescription(database, name, &description, gid)) return failed;
    *text = strdup(description.c_str());
    return *text == nullptr ? -kErrorNoMemory : 0;
  });
}

int WriteDescription(const char* name, const char* text_or_null) {
  return AskDirectory([=](Database& database) {
    return WriteGroupDescription(database, name, text_or_null == nullptr ? "" : text_or_null);
  });
}

int OpenCursor(KESTGROUPDB** cursor) { return OpenWalk(cursor); }

int Next(KESTGROUPDB* cursor, KESTGROUP** out) {
  return Contained([=] { return cursor->Next(out); });
}

void CloseCursor(KESTGROUPDB* cursor) { delete cursor; }

int Names(const char* prefix, NameSink sink, void* context) {
  constexpr const char* kSql = "SELECT name FROM groups WHERE folded >= ?1 AND folded < ?2 ORDER BY folded";
  return AskDirectory([=](Database& database) { return NamesByPrefix(database, kSql, prefix, sink, context); });
}

}  // namespace
}  // namespace kest

const KestGroupsModule* KestGroupsModuleTable(void) {
  static constexpr KestGroupsModule kTable = {kest::Record,           kest::Save,       kest::ReadDescription,
                                              kest::WriteDescription, kest::OpenCursor, kest::Next,
                                              kest::CloseCursor,      kest::Names};
  return &kTable;
}
