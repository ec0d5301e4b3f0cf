// What this platform does not have fails, says why and writes nothing: nobody is told that a share was made.

#include <gtest/gtest.h>

#include <climits>

#include "platform/kestdir.h"
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

  char device_[4] = "sda";
};

TEST_F(AbsentTest, NoShares) {
  SHAREDEFAULTREQ request = {"usbshare1", "/volumeUSB1/usbshare", device_};
  KESTSHARE* slot = nullptr;
  KESTSHARE share = {};
  IsRefused(ShareDefaultGet(&request, &slot));
  EXPECT_EQ(nullptr, slot);
  IsRefused(KESTShareSet(nullptr, &share, nullptr));
  KESTShareFree(slot);
}

TEST_F(AbsentTest, NoAppleTalk) {
  KESTAPPLEZONE* zones = nullptr;
  IsRefused(KESTAppleZoneGet(nullptr, &zones));
  EXPECT_EQ(nullptr, zones);
  KESTAppleZoneFree(zones);
}

}  // namespace
