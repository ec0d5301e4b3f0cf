#include "host/accounts/membership.h"

#include "host/accounts/fold_name.h"

namespace kest {
namespace {

// The group that `group` finds, and its members, of one state of the directory.
Lookup Read(Database& directory, Statement& group, GroupWithMembers* out) {
  if (!group.Row()) return group.failed() ? Lookup::kFailed : Lookup::kAbsent;
  GroupWithMembers found;
  found.gid = group.Int(0);
  found.name = group.Text(1);
  Statement members(directory,
                    "SELECT a.name FROM members m JOIN accounts a USING (uid) WHERE m.gid = ? ORDER BY a.folded");
  members.Bind(1, found.gid);
  while (members.Row()) found.members.push_back(members.Text(0));
  if (members.failed()) return Lookup::kFailed;
  *out = std::move(found);
  return Lookup::kFound;
}

}  // namespace

Lookup FindGroup(Database& directory, const std::string& name, GroupWithMembers* out) {
  Statement group(directory, "SELECT gid, name FROM groups WHERE folded = ?");
  return Read(directory, group.Bind(1, FoldName(name)), out);
}

Lookup FindGroupByGid(Database& directory, int gid, GroupWithMembers* out) {
  Statement group(directory, "SELECT gid, name FROM groups WHERE gid = ?");
  return Read(directory, group.Bind(1, gid), out);
}

bool GroupsOf(Database& directory, const std::string& user, std::vector<uint32_t>* out) {
  Statement query(directory,
                  "SELECT m.gid FROM accounts a JOIN members m USING (uid) WHERE a.folded = ? ORDER BY m.gid");
  query.Bind(1, FoldName(user));
  std::vector<uint32_t> all;
  while (query.Row()) all.push_back(static_cast<uint32_t>(query.Int(0)));
  if (query.failed()) return false;
  out->swap(all);
  return true;
}

}  // namespace kest
