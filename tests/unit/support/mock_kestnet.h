#ifndef TESTS_UNIT_SUPPORT_MOCK_KESTNET_H
#define TESTS_UNIT_SUPPORT_MOCK_KESTNET_H

#include "platform/kestnet.h"
#include "support/current_mock.h"
#include "support/mocked_call.h"

namespace tarvel_test {

/// platform/kestnet.h. A list of zones must be freed exactly once. Few tests need it, so it is no member of every
/// PlatformTest: a fixture has its own, after the PlatformTest in it.
class MockKestNet : public CurrentMock<MockKestNet> {
 public:
  MockKestNet();

  MOCKED_CALL(int, WINIQuery1, (char* name, int size, int* flag_a, int* flag_b));
  MOCKED_CALL(int, KESTWinADSJoined, ());
  MOCKED_CALL(int, KESTWinTestJoin, (int kind));
  MOCKED_CALL(int, KESTMailSendEventToUser, (const char* event, PSZHASH values, const char* recipient));
  MOCKED_CALL(int, KESTZoneEnum, (char* buf, int size, int* needed));
  MOCKED_CALL(int, KESTAppleZoneGet, (const char* iface, KESTAPPLEZONE** list));
};

}  // namespace tarvel_test

#endif  // TESTS_UNIT_SUPPORT_MOCK_KESTNET_H
