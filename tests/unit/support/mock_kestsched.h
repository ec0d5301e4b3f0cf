#ifndef TESTS_UNIT_SUPPORT_MOCK_KESTSCHED_H
#define TESTS_UNIT_SUPPORT_MOCK_KESTSCHED_H

#include <gmock/gmock.h>

#include "platform/kestsched.h"
#include "support/current_mock.h"

namespace tarvel_test {

/// platform/kestsched.h.
class MockKestSched : public CurrentMock<MockKestSched> {
 public:
  MOCK_METHOD(int, KESTScheduleGet, (const char* cmd, _tag_KEST_SCHEDULE* job));
  MOCK_METHOD(int, KESTScheduleSet, (_tag_KEST_SCHEDULE * job));
  MOCK_METHOD(int, KESTScheduleRemove, (const char* cmd));
  MOCK_METHOD(int, KESTLogSet1,
              (int category, int level, int event, const char* text1, const char* text2, const char* text3,
               const char* text4));
};

}  // namespace tarvel_test

#endif  // TESTS_UNIT_SUPPORT_MOCK_KESTSCHED_H
