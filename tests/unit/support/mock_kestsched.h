#ifndef TESTS_UNIT_SUPPORT_MOCK_KESTSCHED_H
#define TESTS_UNIT_SUPPORT_MOCK_KESTSCHED_H

#include "platform/kestsched.h"
#include "support/current_mock.h"
#include "support/mocked_call.h"

namespace tarvel_test {

/// platform/kestsched.h.
class MockKestSched : public CurrentMock<MockKestSched> {
 public:
  MockKestSched();

  MOCKED_CALL(int, KESTScheduleGet, (const char* cmd, _tag_KEST_SCHEDULE* job));
  MOCKED_CALL(int, KESTScheduleSet, (_tag_KEST_SCHEDULE * job));
  MOCKED_CALL(int, KESTScheduleRemove, (const char* cmd));
  MOCKED_CALL(int, KESTLogSet1,
              (int category, int level, int event, const char* text1, const char* text2, const char* text3,
               const char* text4));
};

}  // namespace tarvel_test

#endif  // TESTS_UNIT_SUPPORT_MOCK_KESTSCHED_H
