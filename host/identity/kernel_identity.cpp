#include "host/identity/kernel_identity.h"

#include <errno.h>
#include <grp.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <vector>

#include "host/identity/capabilities.h"

namespace kest {
namespace {

bool HasUser(uid_t uid) {
  uid_t real = 0, effective = 0, saved = 0;
  return getresuid(&real, &effective, &saved) == 0 && real == uid && effective == uid && saved == uid;
}

// Asks the kernel instead of believing what the calls returned.
bool IsUserForGood(uid_t uid, uid_t before) {
  if (!HasUser(uid) || HasCapabilities()) return false;
  const bool regained = before != uid && setresuid(before, before, before) == 0;
  return !regained && setuid(0) != 0;
}

// The report of leaks at the end of a sanitized program traces it, which the kernel refuses after a change of the id.
void StayTraceableUnderSanitizers() {
#ifdef __SANITIZE_ADDRESS__
  prctl(PR_SET_DUMPABLE, 1UL, 0UL, 0UL, 0UL);
#endif
}

std::vector<gid_t> GroupsOfProcess() {
  std::vector<gid_t> groups;
  const int count = getgroups(0, nullptr);
  if (count <= 0) return groups;
  groups.resize(static_cast<size_t>(count));
  const int got = getgroups(count, groups.data());
  groups.resize(got > 0 ? static_cast<size_t>(got) : 0);
  return groups;
}

std::vector<gid_t> GroupsOfAccount(const char* user, gid_t gid) {
  constexpr int kMost = 65536;  // the kernel's own bound
  std::vector<gid_t> groups(64);
  int count = static_cast<int>(groups.size());
  while (getgrouplist(user, gid, groups.data(), &count) < 0 && groups.size() < kMost) {
    groups.resize(std::max(groups.size() * 2, static_cast<size_t>(std::max(count, 0))));
    count = static_cast<int>(groups.size());
  }
  groups.resize(std::min(groups.size(), static_cast<size_t>(std::max(count, 0))));
  return groups;
}

bool Fail(const char* what, unsigned id) {
  syslog(LOG_ERR, "identity: taking on %s %u failed: %m", what, id);
  return false;
}

}  // namespace

bool KeepOnlyGroupsOf(const char* user, gid_t gid) {
  const std::vector<gid_t> present = GroupsOfProcess();
  const auto is_primary = [gid](gid_t group) { return group == gid; };
  // The usual account has no other: nothing to look up.
  if (std::all_of(present.begin(), present.end(), is_primary)) return true;
  const std::vector<gid_t> account = GroupsOfAccount(user, gid);
  std::vector<gid_t> kept;
  std::copy_if(present.begin(), present.end(), std::back_inserter(kept),
               [&account](gid_t group) { return std::find(account.begin(), account.end(), group) != account.end(); });
  return kept.size() == present.size() || setgroups(kept.size(), kept.data()) == 0 || Fail("only the groups of", gid);
}

bool HasGroup(gid_t gid) {
  gid_t real = 0, effective = 0, saved = 0;
  return getresgid(&real, &effective, &saved) == 0 && real == gid && effective == gid && saved == gid;
}

bool TakeGroup(gid_t gid) { return (setresgid(gid, gid, gid) == 0 && HasGroup(gid)) || Fail("group", gid); }

bool TakeUser(uid_t uid) {
  const uid_t before = getuid();
  // A change from root would take the capabilities at once, and with them the right to empty the bounding set.
  prctl(PR_SET_KEEPCAPS, 1UL, 0UL, 0UL, 0UL);
  const bool taken = setresuid(uid, uid, uid) == 0;
  const int error = errno;
  if (taken) DropCapabilities();
  prctl(PR_SET_KEEPCAPS, 0UL, 0UL, 0UL, 0UL);
  if (!taken) {
    errno = error;
    return Fail("user", uid);
  }
  if (!IsUserForGood(uid, before)) {
    syslog(LOG_CRIT, "identity: user %u could be left again; the program ends", static_cast<unsigned>(uid));
    abort();
  }
  StayTraceableUnderSanitizers();
  return true;
}

}  // namespace kest
