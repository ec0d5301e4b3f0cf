#include "support/mock_keststorage.h"

using tarvel_test::Machine;
using tarvel_test::MockKestStorage;

namespace {

constexpr char kVolumes[] = "list of mounted volumes";

}  // namespace

KESTMOUNTVOL* KESTMountVolInfoEnum(int zero) {
  KESTMOUNTVOL* list = MockKestStorage::Called("KESTMountVolInfoEnum").KESTMountVolInfoEnum(zero);
  if (list != nullptr) Machine::Current()->ledger().Take(kVolumes, list);
  return list;
}

void KESTMountVolInfoFree(KESTMOUNTVOL* list) {
  MockKestStorage::Called("KESTMountVolInfoFree").KESTMountVolInfoFree(list);
  if (list != nullptr) Machine::Current()->ledger().Give(kVolumes, list);
}
