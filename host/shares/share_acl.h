#ifndef KEST_HOST_SHARES_SHARE_ACL_H_
#define KEST_HOST_SHARES_SHARE_ACL_H_

#include <vector>

#include "host/shares/folders_module.h"
#include "host/shares/share_database.h"

namespace kest {

// What a share's stored lists mean to the kernel, in which an entry of an account comes before all those of groups:
// no access before read and write before read only, by name or by group alike.
//
// An account without access that a group would let in is named with no right at all; so is one that is named as a
// reader and a member of a group of writers, with its rights as a writer. Only these two depend on who the members of a
// group are; every other change of members needs nothing but the group's own entry.
class ShareAcl {
 public:
  // Whether the share's folder is the one that holds homes.
  static bool HoldsHomes(const Share& share);
  // False when the database failed.
  bool Read(ShareDatabase& shares, const Share& share);
  KestAcl Get() const { return {entries_.data(), entries_.size(), holds_homes_}; }

 private:
  std::vector<KestAclEntry> entries_;
  bool holds_homes_ = false;
};

}  // namespace kest

#endif  // KEST_HOST_SHARES_SHARE_ACL_H_
