#include "support/mock_kestnet.h"

#include "support/mocked_call_impl.h"

using tarvel_test::Machine;
using tarvel_test::MockKestNet;

namespace {

constexpr char kZones[] = "list of zones";

MockKestNet& Called(const char* function) { return MockKestNet::Called(function); }

}  // namespace

MockKestNet::MockKestNet() = default;

int WINIQuery1(char* name, int size, int* flagA, int* flagB) {
  return Called("WINIQuery1").WINIQuery1(name, size, flagA, flagB);
}

int KESTWinADSJoined(void) { return Called("KESTWinADSJoined").KESTWinADSJoined(); }

int KESTWinTestJoin(int kind) { return Called("KESTWinTestJoin").KESTWinTestJoin(kind); }

int KESTMailSendEventToUser(const char* event, PSZHASH values, const char* recipient) {
  return Called("KESTMailSendEventToUser").KESTMailSendEventToUser(event, values, recipient);
}

int KESTZoneEnum(char* buf, int size, int* needed) { return Called("KESTZoneEnum").KESTZoneEnum(buf, size, needed); }

int KESTAppleZoneGet(const char* iface, KESTAPPLEZONE** list) {
  const int result = Called("KESTAppleZoneGet").KESTAppleZoneGet(iface, list);
  if (*list != nullptr) Machine::Current()->ledger().Take(kZones, *list);
  return result;
}

void KESTAppleZoneFree(KESTAPPLEZONE* list) {
  Called("KESTAppleZoneFree");
  Machine::Current()->ledger().Give(kZones, list);
}
