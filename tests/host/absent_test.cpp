// What this platform does not have fails and says why.

#include <gtest/gtest.h>

#include "platform/kestnet.h"
#include "platform/klib.h"

namespace {

class AbsentTest : public ::testing::Test {
 protected:
  // A failure that says that there is no such thing.
  static void IsRefused(int result) {
    EXPECT_GT(0, result);
    EXPECT_EQ(0x600, KLIBErrGet());
    KLIBErrSet(0);
  }
};

TEST_F(AbsentTest, NoAppleTalk) {
  KESTAPPLEZONE* zones = nullptr;
  IsRefused(KESTAppleZoneGet(nullptr, &zones));
  EXPECT_EQ(nullptr, zones);
  KESTAppleZoneFree(zones);
}

}  // namespace
