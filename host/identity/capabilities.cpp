#include "host/identity/capabilities.h"

#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>

namespace kest {
namespace {

using CapabilitySets = __user_cap_data_struct[_LINUX_CAPABILITY_U32S_3];

long SetCapabilities(const CapabilitySets& sets) {
  __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
  return syscall(SYS_capset, &header, sets);
}

bool ReadCapabilities(CapabilitySets& sets) {
  __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
  return syscall(SYS_capget, &header, sets) == 0;
}

// Takes the right to empty the bounding set, which only a process that came from root has: everybody else has a
// bounding set that was emptied before, or is kept from using it by no_new_privs.
void EmptyBoundingSet() {
  CapabilitySets sets = {};
  constexpr unsigned kSetpcap = CAP_TO_MASK(CAP_SETPCAP);
  if (!ReadCapabilities(sets) || (sets[0].permitted & kSetpcap) == 0) return;
  sets[0].effective |= kSetpcap;
  if (SetCapabilities(sets) != 0) return;
  for (unsigned long capability = 0; prctl(PR_CAPBSET_DROP, capability, 0UL, 0UL, 0UL) == 0; ++capability) {
  }
}

}  // namespace

bool HasCapabilities() {
  CapabilitySets sets = {};
  if (!ReadCapabilities(sets)) return true;
  return std::any_of(std::begin(sets), std::end(sets),
                     [](const auto& set) { return (set.effective | set.permitted | set.inheritable) != 0; });
}

void KeepCapabilitiesFromChildren() { prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_CLEAR_ALL, 0UL, 0UL, 0UL); }

void DropCapabilities() {
  EmptyBoundingSet();
  KeepCapabilitiesFromChildren();
  const CapabilitySets none = {};
  SetCapabilities(none);
  prctl(PR_SET_NO_NEW_PRIVS, 1UL, 0UL, 0UL, 0UL);
}

}  // namespace kest
