// Without its module nobody is told that a job was stored or removed.

#include <gtest/gtest.h>

#include "platform/kestsched.h"
#include "platform/klib.h"

namespace {

TEST(SchedulerTest, WithoutItsModuleEveryCallFails) {
  _tag_KEST_SCHEDULE job = {};
  job.hour = 7;
  const auto code = [] {
    const int last = KLIBErrGet();
    KLIBErrSet(0);
    return last;
  };
  EXPECT_GT(0, KESTScheduleGet("/bin/true", &job));
  EXPECT_EQ(0x8100, code());
  EXPECT_EQ(7, job.hour);
  EXPECT_GT(0, KESTScheduleSet(&job));
  EXPECT_EQ(0x8100, code());
  EXPECT_GT(0, KESTScheduleRemove("/bin/true"));
  EXPECT_EQ(0x8100, code());
  EXPECT_GT(0, KESTLogSet1(5, 1, 1, "", "", "", ""));
  EXPECT_EQ(0x8100, code());
}

}  // namespace
