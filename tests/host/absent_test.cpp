// What this platform does not have fails, says why and writes nothing: nobody is told that a disk was formatted, a
// share made or a mail sent.

#include <gtest/gtest.h>

#include <climits>
#include <cstring>

#include "platform/kestdir.h"
#include "platform/kestnet.h"
#include "platform/keststorage.h"
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
  template <class Record>
  static Record Filled() {
    Record record;
    std::memset(&record, 0x5a, sizeof record);
    return record;
  }
  template <class Record>
  static bool IsUntouched(const Record& record) {
    const Record filled = Filled<Record>();
    return std::memcmp(&filled, &record, sizeof record) == 0;
  }

  char device_[4] = "sda";
};

TEST_F(AbsentTest, NeitherServicesVolumesNorRaidNorExpansionUnits) {
  auto service = Filled<SERVICEINFO>();
  char path[64] = "as before";
  IsRefused(KESTServiceInfoGet(KEST_SERVICE_WEB, &service));
  EXPECT_TRUE(IsUntouched(service));
  IsRefused(KESTServiceNewVolumeDecide(&service, path, sizeof path));
  EXPECT_STREQ("as before", path);
  EXPECT_EQ(0, KESTSupportRAID());
  EXPECT_EQ(0, SupportEBox());
  _tag_raid_for_system_* raids = nullptr;
  IsRefused(RAIDSystemGet(&raids));
  EXPECT_EQ(nullptr, raids);
  RAIDSystemFree(raids);
}

TEST_F(AbsentTest, NoDisks) {
  const SPACEDISKREQ request = {device_, nullptr, nullptr};
  auto reply = Filled<SPACEDISKREPLY>();
  auto info = Filled<EXTVOLINFO>();
  IsRefused(KESTSpaceDiskStatusGet(&request, &reply));
  IsRefused(KESTUSBVolInit(device_, 1));
  IsRefused(KESTSATAVolInit(device_, 1, 1));
  IsRefused(KESTDiskUSBDevGetVolInfo(device_, &info));
  IsRefused(KESTSATAGetVolInfo(device_, &info));
  EXPECT_TRUE(IsUntouched(reply));
  EXPECT_TRUE(IsUntouched(info));
}

TEST_F(AbsentTest, NeitherQuotasNorSharesNorExports) {
  auto quota = Filled<_tag_KEST_QUOTA_>();
  SHAREDEFAULTREQ request = {"usbshare1", "/volumeUSB1/usbshare", device_};
  KESTSHARE* slot = nullptr;
  KESTSHARE share = {};
  IsRefused(KESTQuotaGet("/volume1", "anna", &quota));
  IsRefused(KESTQuotaSet("/volume1", "anna", &quota));
  EXPECT_TRUE(IsUntouched(quota));
  IsRefused(KESTNFSRuleSetAll("/volume1", 0));
  IsRefused(ShareDefaultGet(&request, &slot));
  EXPECT_EQ(nullptr, slot);
  IsRefused(KESTShareSet(nullptr, &share, nullptr));
  KESTShareFree(slot);
  ErrServicesHup();
}

TEST_F(AbsentTest, NeitherDomainsNorMailNorZones) {
  char name[64] = "as before";
  int flag_a = 7, flag_b = 7, needed = 7;
  IsRefused(WINIQuery1(name, sizeof name, &flag_a, &flag_b));
  EXPECT_STREQ("as before", name);
  EXPECT_EQ(14, flag_a + flag_b);
  IsRefused(KESTWinTestJoin(KESTWinADSJoined()));
  IsRefused(KESTMailSendEventToUser("event", nullptr, "anna@example.org"));
  IsRefused(KESTZoneEnum(nullptr, 0, &needed));
  EXPECT_EQ(7, needed);
  KESTAPPLEZONE* zones = nullptr;
  IsRefused(KESTAppleZoneGet(nullptr, &zones));
  EXPECT_EQ(nullptr, zones);
  KESTAppleZoneFree(zones);
}

}  // namespace
