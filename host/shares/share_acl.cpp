#include "host/shares/share_acl.h"

#include "host/accounts/directory_schema.h"
#include "host/accounts/fold_name.h"

namespace kest {
namespace {

constexpr unsigned kMayRead = 4 | 1, kMayWrite = 4 | 2 | 1;

// A list by its numbers: whom it names, and who is in the groups that it names.
struct Covered {
  std::set<int64_t> uids, gids, members;
  bool everybody = false;

  bool Has(int64_t uid) const { return everybody || uids.count(uid) != 0 || members.count(uid) != 0; }
};

bool Read(ShareDatabase& shares, int64_t share, ShareList list, Covered* out) {
  if (!shares.Named(share, list, &out->uids, &out->gids)) return false;
  out->everybody = out->gids.count(kUsersGid) != 0;
  for (const int64_t gid : out->gids) {
    if (!shares.MembersOf(gid, &out->members)) return false;
  }
  return true;
}

void AddAccount(int64_t uid, unsigned rights, std::vector<KestAclEntry>* out) {
  out->push_back({false, static_cast<unsigned>(uid), rights});
}

bool EntriesOf(ShareDatabase& shares, int64_t share, std::vector<KestAclEntry>* out) {
  Covered none, write, read;
  if (!Read(shares, share, kNoAccess, &none) || !Read(shares, share, kReadWrite, &write) ||
      !Read(shares, share, kReadOnly, &read)) {
    return false;
  }
  if (none.everybody) return true;
  std::set<int64_t> denied = none.uids;
  denied.insert(none.members.begin(), none.members.end());
  for (const int64_t uid : denied) {
    if (write.Has(uid) || read.Has(uid)) AddAccount(uid, 0, out);
  }
  std::set<int64_t> named = write.uids;
  named.insert(read.uids.begin(), read.uids.end());
  for (const int64_t uid : named) {
    if (denied.count(uid) == 0) AddAccount(uid, write.Has(uid) ? kMayWrite : kMayRead, out);
  }
  for (const int64_t gid : write.gids) {
    if (none.gids.count(gid) == 0) out->push_back({true, static_cast<unsigned>(gid), kMayWrite});
  }
  for (const int64_t gid : read.gids) {
    if (none.gids.count(gid) == 0 && write.gids.count(gid) == 0) {
      out->push_back({true, static_cast<unsigned>(gid), kMayRead});
    }
  }
  return true;
}

// Names may be looked at where homes are, and nothing be put.
void OnlyToRead(std::vector<KestAclEntry>* entries) {
  for (KestAclEntry& entry : *entries) entry.rights &= kMayRead;
}

}  // namespace

bool ShareAcl::HoldsHomes(const Share& share) { return FoldName(share.name) == "homes"; }

bool ShareAcl::Read(ShareDatabase& shares, const Share& share) {
  entries_.clear();
  if (!EntriesOf(shares, share.id, &entries_)) return false;
  holds_homes_ = HoldsHomes(share);
  if (holds_homes_) OnlyToRead(&entries_);
  return true;
}

}  // namespace kest
