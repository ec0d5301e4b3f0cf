#include "support/mock_kestdir.h"

int IsDomainUG(const char* name) { return tarvel_test::MockKestDir::Called("IsDomainUG").IsDomainUG(name); }

int KESTUserPrivilegeGet(const char* name) {
  return tarvel_test::MockKestDir::Called("KESTUserPrivilegeGet").KESTUserPrivilegeGet(name);
}
