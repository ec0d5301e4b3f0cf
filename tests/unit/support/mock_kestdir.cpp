#include "support/mock_kestdir.h"

using tarvel_test::Machine;
using tarvel_test::MockKestDir;

namespace {

constexpr char kShare[] = "record of a share";

}  // namespace

int IsDomainUG(const char* name) { return tarvel_test::MockKestDir::Called("IsDomainUG").IsDomainUG(name); }

int KESTUserPrivilegeGet(const char* name) {
  return tarvel_test::MockKestDir::Called("KESTUserPrivilegeGet").KESTUserPrivilegeGet(name);
}

int ShareDefaultGet(SHAREDEFAULTREQ* request, KESTSHARE** slot) {
  const int result = MockKestDir::Called("ShareDefaultGet").ShareDefaultGet(request, slot);
  if (*slot != nullptr) Machine::Current()->ledger().Take(kShare, *slot);
  return result;
}

int KESTShareSet(const char* existing, KESTSHARE* share, KESTCOPYARGS* moveOrNull) {
  return MockKestDir::Called("KESTShareSet").KESTShareSet(existing, share, moveOrNull);
}

void KESTShareFree(KESTSHARE* share) {
  MockKestDir::Called("KESTShareFree").KESTShareFree(share);
  if (share != nullptr) Machine::Current()->ledger().Give(kShare, share);
}
