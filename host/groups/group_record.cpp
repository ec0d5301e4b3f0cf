#include "host/groups/group_record.h"

#include <stdlib.h>
#include <string.h>

#include <string>

#include "host/database/database_error.h"
#include "host/klib/error_code.h"

namespace kest {
namespace {

// The block: record, pointers to the members' names, NULL, the group's name, the members' names one behind the other.
KESTGROUP* NewRecord(int gid, const std::string& name, const std::string& members, size_t count) {
  const size_t pointers = (count + 1) * sizeof(char*);
  auto* record = static_cast<KESTGROUP*>(malloc(sizeof(KESTGROUP) + pointers + name.size() + 1 + members.size()));
  if (record == nullptr) return nullptr;
  *record = {};
  record->gid = gid;
  record->source = AUTH_TYPE_LOCAL;
  record->members = reinterpret_cast<char**>(record + 1);
  record->name = reinterpret_cast<char*>(record->members + count + 1);
  memcpy(record->name, name.c_str(), name.size() + 1);
  char* at = record->name + name.size() + 1;
  memcpy(at, members.data(), members.size());
  for (size_t i = 0; i < count; ++i, at += strlen(at) + 1) record->members[i] = at;
  record->members[count] = nullptr;
  return record;
}

}  // namespace

int ReadGroupRecord(Database& database, const Statement& row, KESTGROUP** out) {
  Statement query(database, "SELECT a.name FROM members m JOIN accounts a ON a.uid = m.uid WHERE m.gid = ?");
  query.Bind(1, row.Int(0));
  std::string members;
  size_t count = 0;
  for (; query.Row(); ++count) members.append(query.View(0)).push_back('\0');
  if (query.failed()) return DatabaseFailure();
  *out = NewRecord(row.Int(0), row.Text(1), members, count);
  return *out == nullptr ? -kErrorNoMemory : 0;
}

}  // namespace kest
