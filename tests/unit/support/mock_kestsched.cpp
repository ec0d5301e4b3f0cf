#include "support/mock_kestsched.h"

#include "support/mocked_call_impl.h"

using tarvel_test::MockKestSched;

MockKestSched::MockKestSched() = default;

int KESTScheduleGet(const char* cmd, _tag_KEST_SCHEDULE* job) {
  return MockKestSched::Called("KESTScheduleGet").KESTScheduleGet(cmd, job);
}

int KESTScheduleSet(_tag_KEST_SCHEDULE* job) { return MockKestSched::Called("KESTScheduleSet").KESTScheduleSet(job); }

int KESTScheduleRemove(const char* cmd) { return MockKestSched::Called("KESTScheduleRemove").KESTScheduleRemove(cmd); }

int KESTLogSet1(int category, int level, int event, const char* text1, const char* text2, const char* text3,
                const char* text4) {
  return MockKestSched::Called("KESTLogSet1").KESTLogSet1(category, level, event, text1, text2, text3, text4);
}
