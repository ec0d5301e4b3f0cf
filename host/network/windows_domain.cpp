#include <cstring>

#include "host/klib/error_code.h"
#include "host/network/samba_membership.h"
#include "host/storage/guarded_call.h"
#include "platform/kestnet.h"

namespace kest {
namespace {

// Read once by a process that lives for one request: each look starts a program.
int Look(Membership* out) {
  static Membership known;
  static bool is_known = false;
  if (!is_known) {
    const int read = ReadMembership({}, &known);
    if (read != 0) return read;
    is_known = true;
  }
  *out = known;
  return 0;
}

int Query(char* name, int size, int* domain, int* testable) {
  Membership membership;
  if (Look(&membership) != 0) return -1;
  if (membership.workgroup.size() >= static_cast<size_t>(size)) return FailWith(kErrorBadParameter);
  memcpy(name, membership.workgroup.c_str(), membership.workgroup.size() + 1);
  *domain = membership.kind == DomainKind::kNone ? 0 : 1;
  // Active Directory cannot be joined without its realm.
  const bool has_realm = membership.kind == DomainKind::kWindowsNt || !membership.realm.empty();
  if (testable != nullptr) *testable = *domain != 0 && has_realm ? 1 : 0;
  return 0;
}

}  // namespace
}  // namespace kest

int WINIQuery1(char* name, int size, int* flagA, int* flagB) {
  if (name == nullptr || size < 1 || flagA == nullptr) return kest::FailWith(kest::kErrorBadParameter);
  return kest::Guarded([=] { return kest::Query(name, size, flagA, flagB); });
}

int KESTWinADSJoined(void) {
  return kest::Guarded([] {
    kest::Membership membership;
    return kest::Look(&membership) == 0 ? static_cast<int>(membership.kind) : 0;
  });
}

int KESTWinTestJoin(int kind) { return kest::TestJoin({}, static_cast<kest::DomainKind>(kind)); }
