#ifndef TESTS_UNIT_SUPPORT_MOCK_KESTNET_H
#define TESTS_UNIT_SUPPORT_MOCK_KESTNET_H

#include <gmock/gmock.h>

#include "platform/kestnet.h"
#include "support/current_mock.h"

namespace tarvel_test {

/// platform/kestnet.h. A list of zones must be freed exactly once. Few tests need it, so it is no member of every
/// PlatformTest: a fixture has its own, after the PlatformTest in it.
class MockKestNet : public CurrentMock<MockKestNet> {
 public:
  MOCK_METHOD(int, WINIQuery1, (char* name, int size, int* flag_a, int* flag_b));
  MOCK_METHOD(int, KESTWinADSJoined, ());
  MOCK_METHOD(int, KESTWinTestJoin, (int kind));
  MOCK_METHOD(int, KESTMailSendEventToUser, (const char* event, PSZHASH values, const char* recipient));
  MOCK_METHOD(int, KESTZoneEnum, (char* buf, int size, int* needed));
  MOCK_METHOD(int, KESTAppleZoneGet, (const char* iface, KESTAPPLEZONE** list));
};

}  // namespace tarvel_test

#endif  // TESTS_UNIT_SUPPORT_MOCK_KESTNET_H
