#include "kernel_rights.h"

#include <sys/xattr.h>

#include <cstdint>
#include <cstring>
#include <vector>

namespace model {

namespace {

enum Tag : uint16_t { kAccount = 2, kGroup = 8, kMask = 16, kOthers = 32 };

struct AclEntry {
  uint16_t tag, rights;
  uint32_t id;
};

// Without a list nobody is let in.
std::vector<AclEntry> EntriesOf(const std::string& folder) {
  char bytes[4096];
  const ssize_t size = getxattr(folder.c_str(), "system.posix_acl_access", bytes, sizeof bytes);
  std::vector<AclEntry> entries(size < 4 ? 0 : (static_cast<size_t>(size) - 4) / sizeof(AclEntry));
  if (!entries.empty()) std::memcpy(entries.data(), bytes + 4, entries.size() * sizeof(AclEntry));
  return entries;
}

}  // namespace

int KernelRight(const std::string& folder, unsigned uid, const std::set<unsigned>& gids) {
  constexpr unsigned kReadAndEnter = 5, kEverything = 7;
  unsigned own = 0, groups = 0, others = 0, mask = kEverything;
  bool is_named = false, is_in_group = false;
  for (const AclEntry& entry : EntriesOf(folder)) {
    if (entry.tag == kMask) mask = entry.rights;
    if (entry.tag == kOthers) others = entry.rights;
    if (entry.tag == kAccount && entry.id == uid) is_named = true, own = entry.rights;
    // The entries differ in one right only, so the best of them is all of them together.
    if (entry.tag == kGroup && gids.count(entry.id) != 0) is_in_group = true, groups |= entry.rights;
  }
  const unsigned rights = is_named ? own & mask : is_in_group ? groups & mask : others;
  return rights == kEverything ? 2 : rights == kReadAndEnter ? 1 : 0;
}

}  // namespace model
