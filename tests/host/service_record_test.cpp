#include "host/storage/service_record.h"

#include <string>

#include "folder.h"
#include "host/storage/skipped_file_system.h"

namespace kest {
namespace {

class ServiceRecordTest : public testing::Test {
 protected:
  // What the record of the web service comes to.
  int Read(const std::string& current, const std::string& factory = "") {
    info_ = {};
    return ReadServiceRecord(folder_.Put("current", current).c_str(), folder_.Put("factory", factory).c_str(),
                             KEST_SERVICE_WEB, &info_);
  }

  const Folder folder_;
  SERVICEINFO info_ = {};
};

TEST_F(ServiceRecordTest, NothingSaidIsNothingAssigned) {
  ASSERT_EQ(0, Read(""));
  EXPECT_EQ(0, info_.hasVolume);
  EXPECT_EQ(0, info_.decided);
  EXPECT_STREQ("", info_.path);
  EXPECT_EQ(0u, info_.locationMask);
  EXPECT_EQ(0, info_.skipFsType);
  EXPECT_EQ(0, info_.externalAllowed);
}

TEST_F(ServiceRecordTest, AVolumeIsDecidedUnlessTheRecordSaysOtherwise) {
  ASSERT_EQ(0, Read("web_volume=\"/volumeUSB1/usbshare\"\n"));
  EXPECT_EQ(1, info_.hasVolume);
  EXPECT_EQ(1, info_.decided);
  EXPECT_STREQ("/volumeUSB1/usbshare", info_.path);
  ASSERT_EQ(0, Read("web_volume=\"/volume1\"\nweb_decided=\"no\"\n"));
  EXPECT_EQ(1, info_.hasVolume);
  EXPECT_EQ(0, info_.decided);
  ASSERT_EQ(0, Read("web_decided=\"yes\"\n"));
  EXPECT_EQ(0, info_.hasVolume);
  EXPECT_EQ(1, info_.decided);
}

TEST_F(ServiceRecordTest, LocationsAndFileSystemsAreSets) {
  ASSERT_EQ(0, Read("web_locations=\"sata,internal\"\nweb_skip=\"ntfs\"\nweb_external=\"yes\"\n"));
  EXPECT_EQ(9u, info_.locationMask);
  EXPECT_EQ(kSkipNtfs, info_.skipFsType);
  EXPECT_EQ(1, info_.externalAllowed);
  ASSERT_EQ(0, Read("web_locations=\"internal,expansion,usb,sata\"\nweb_skip=\"fat,ntfs\"\n"));
  EXPECT_EQ(15u, info_.locationMask);
  EXPECT_EQ(kSkipFat | kSkipNtfs, info_.skipFsType);
}

TEST_F(ServiceRecordTest, TheCurrentRecordWinsKeyByKey) {
  ASSERT_EQ(0, Read("web_locations=\"usb\"\n", "web_locations=\"internal\"\nweb_skip=\"fat\"\nhomes_skip=\"ntfs\"\n"));
  EXPECT_EQ(4u, info_.locationMask);
  EXPECT_EQ(kSkipFat, info_.skipFsType);
  ASSERT_EQ(0, Read("web_volume=\"\"\n", "web_volume=\"/volume1\"\n"));
  EXPECT_EQ(0, info_.hasVolume);
}

TEST_F(ServiceRecordTest, AValueThatIsNoneFailsAndLeavesTheRecord) {
  for (const char* line :
       {"web_volume=\"/etc\"", "web_volume=\"/volume1/share\"", "web_volume=\"volume1\"", "web_volume=\"/volume01\"",
        "web_decided=\"maybe\"", "web_decided=\"YES\"", "web_locations=\"moon\"", "web_locations=\"internal,,usb\"",
        "web_locations=\"internal usb\"", "web_skip=\"ext4\"", "web_skip=\"fat;ntfs\"", "web_external=\"1\""}) {
    const std::string current = folder_.Put("current", std::string(line) + "\n");
    SERVICEINFO info = {};
    info.skipFsType = 77;
    EXPECT_GT(0, ReadServiceRecord(current.c_str(), "/nonexistent", KEST_SERVICE_WEB, &info)) << line;
    EXPECT_EQ(77, info.skipFsType) << line;
    EXPECT_EQ(0, ReadServiceRecord(current.c_str(), "/nonexistent", KEST_SERVICE_HOMES, &info)) << line;
  }
}

TEST_F(ServiceRecordTest, EveryServiceHasAName) {
  const std::string current = folder_.Put(
      "current",
      "web_volume=\"/volume1\"\nhomes_volume=\"/volume2\"\nbackup_volume=\"/volume3\"\ndownload_volume=\"/volume4\"\n"
      "surveillance_volume=\"/volume5\"\naudio_volume=\"/volume6\"\n");
  for (int service = KEST_SERVICE_WEB; service <= KEST_SERVICE_AUDIO; ++service) {
    ASSERT_EQ(0, ReadServiceRecord(current.c_str(), "/nonexistent", service, &info_));
    EXPECT_EQ("/volume" + std::to_string(service), info_.path);
  }
}

TEST_F(ServiceRecordTest, HostileFilesAreReadOrRefused) {
  EXPECT_EQ(0, Read(std::string("\0\0\0web_volume=\"/volume1\"\n", 26)));
  EXPECT_EQ(0, info_.hasVolume);  // a line with a NUL says nothing
  EXPECT_EQ(0, Read("web_volume=\"/volume1\"\r\nweb_skip=fat"));
  EXPECT_STREQ("/volume1", info_.path);
  EXPECT_EQ(kSkipFat, info_.skipFsType);
  EXPECT_GT(0, Read("web_volume=\"/volume" + std::string(1024 * 1000, '1') + "\"\n"));
  EXPECT_GT(0, ReadServiceRecord(folder_.File("").c_str(), "/nonexistent", KEST_SERVICE_WEB, &info_));
  EXPECT_GT(0, ReadServiceRecord("/nonexistent", folder_.File("").c_str(), KEST_SERVICE_WEB, &info_));
  EXPECT_EQ(0, ReadServiceRecord("/nonexistent", "/nonexistent", KEST_SERVICE_WEB, &info_));
}

class ChooseVolumeTest : public testing::Test {
 protected:
  // Two internal volumes, one in an expansion unit, one USB disk: all of them folders that are there.
  ChooseVolumeTest() {
    volumes_[0] = {1, KEST_VOL_INTERNAL, 1, "/", 1, 100, 1000, &volumes_[1]};
    volumes_[1] = {2, KEST_VOL_INTERNAL, 1, "/tmp", 1, 300, 1000, &volumes_[2]};
    volumes_[2] = {1, KEST_VOL_EXPANSION, 1, "/usr", 1, 500, 1000, &volumes_[3]};
    volumes_[3] = {1, KEST_VOL_USB, 1, "/var", 1, 900, 1000, nullptr};
  }

  std::string Choose(int locations, int external = 0, int skip = 0) {
    SERVICEINFO info = {};
    info.locationMask = static_cast<uint32_t>(locations);
    info.externalAllowed = external;
    info.skipFsType = skip;
    const KESTMOUNTVOL* const chosen = ChooseVolume(volumes_, info);
    return chosen == nullptr ? "none" : chosen->path;
  }

  KESTMOUNTVOL volumes_[4];
};

TEST_F(ChooseVolumeTest, TheMostFreeBytesOfThoseAllowedWin) {
  EXPECT_EQ("/tmp", Choose(0));
  EXPECT_EQ("/tmp", Choose(KEST_VOL_INTERNAL));
  EXPECT_EQ("/usr", Choose(KEST_VOL_INTERNAL | KEST_VOL_EXPANSION));
  EXPECT_EQ("/usr", Choose(15));
  EXPECT_EQ("/var", Choose(15, 1));
  EXPECT_EQ("none", Choose(KEST_VOL_USB));
  EXPECT_EQ("none", Choose(KEST_VOL_SATA, 1));
}

TEST_F(ChooseVolumeTest, OfEqualOnesTheFirstWins) {
  volumes_[0].freeBytes = volumes_[1].freeBytes;
  EXPECT_EQ("/", Choose(0));
}

TEST_F(ChooseVolumeTest, WhatCannotBeWrittenOrExaminedIsPassedOver) {
  volumes_[1].writable = 0;
  EXPECT_EQ("/", Choose(0));
  volumes_[0].mounted = 0;
  EXPECT_EQ("none", Choose(0));
  snprintf(volumes_[2].path, sizeof(volumes_[2].path), "/nonexistent");
  EXPECT_EQ("none", Choose(KEST_VOL_EXPANSION, 0, kSkipFat));
}

TEST(SkippedFileSystemTest, EachKindIsToldByItsMagicNumber) {
  constexpr uint32_t kFat[] = {0x4d44, 0x2011bab0};
  constexpr uint32_t kNtfs[] = {0x5346544e, 0x7366746e, 0x65735546};
  constexpr uint32_t kOthers[] = {0xef53, 0x9123683e, 0x01021994, 0};
  for (const uint32_t magic : kFat) {
    EXPECT_TRUE(LeavesOut(magic, kSkipFat)) << magic;
    EXPECT_TRUE(LeavesOut(magic, kSkipFat | kSkipNtfs)) << magic;
    EXPECT_FALSE(LeavesOut(magic, kSkipNtfs)) << magic;
  }
  for (const uint32_t magic : kNtfs) {
    EXPECT_TRUE(LeavesOut(magic, kSkipNtfs)) << magic;
    EXPECT_FALSE(LeavesOut(magic, kSkipFat)) << magic;
  }
  for (const uint32_t magic : kOthers) EXPECT_FALSE(LeavesOut(magic, kSkipFat | kSkipNtfs)) << magic;
}

}  // namespace
}  // namespace kest
