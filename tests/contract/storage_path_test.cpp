// Mount paths, and what a file system is.
#include <gtest/gtest.h>

#include <string>

#include "platform/keststorage.h"
#include "platform/klib.h"
#include "scratch_directory.h"

namespace {

struct Parsed {
  const char* path;
  int number;
  int location;
};

TEST(StoragePath, AVolumesPathIsANumberAndALocation) {
  constexpr Parsed kRows[] = {
      {"/volume1", 1, KEST_VOL_INTERNAL},
      {"/volume12", 12, KEST_VOL_INTERNAL},
      {"/volume1/", 1, KEST_VOL_INTERNAL},
      {"/volume1/share/deep", 1, KEST_VOL_INTERNAL},
      {"/volumeX3", 3, KEST_VOL_EXPANSION},
      {"/volumeX3/a", 3, KEST_VOL_EXPANSION},
      {"/volumeUSB2", 2, KEST_VOL_USB},
      {"/volumeUSB2/usbshare", 2, KEST_VOL_USB},
      {"/volumeSATA", 0, KEST_VOL_SATA},
      {"/volumeSATA/satashare", 0, KEST_VOL_SATA},
      {"/volume999999999", 999999999, KEST_VOL_INTERNAL},
  };
  for (const Parsed& row : kRows) {
    _tag_vol_id_ id = {-5, KEST_VOL_LOCATION_FILLER_};
    EXPECT_LT(0, VolumePathParse(row.path, &id)) << row.path;
    EXPECT_EQ(row.number, id.number) << row.path;
    EXPECT_EQ(row.location, id.location) << row.path;
  }
}

TEST(StoragePath, AnyOtherPathIsNotParsedAndLeavesTheRecord) {
  for (const char* path :
       {"",          "/",         "/volume",   "/volumeX",          "/volumeUSB",   "/volume0",         "/volume01",
        "/volume1a", "/volume-1", "/volume+1", "/volume 1",         "/volumeSATA1", "/volumeSATAx",     "/volumesata",
        "/VOLUME1",  "volume1",   "//volume1", "/volume9999999999", "/volumeUSBX",  "/volume1\xC3\xA9", "/etc",
        "/volumes/1"}) {
    _tag_vol_id_ id = {-5, KEST_VOL_LOCATION_FILLER_};
    EXPECT_GE(0, VolumePathParse(path, &id)) << path;
    EXPECT_EQ(-5, id.number) << path;
    EXPECT_EQ(KEST_VOL_LOCATION_FILLER_, id.location) << path;
  }
}

TEST(StoragePath, NothingToParseIsRefused) {
  _tag_vol_id_ id = {-5, KEST_VOL_LOCATION_FILLER_};
  EXPECT_GE(0, VolumePathParse(nullptr, &id));
  EXPECT_GE(0, VolumePathParse("/volume1", nullptr));
}

TEST(StorageFileSystem, AServiceThatLeavesOutNothingTakesEveryPath) {
  const ScratchDirectory folder;
  EXPECT_EQ(0, FSIsMatchSkipFS(folder.Path().c_str(), 0));
}

TEST(StorageFileSystem, AFileSystemThatIsNeitherFatNorNtfsIsTaken) {
  // Of the kernel's own: no disk of any kind.
  EXPECT_EQ(0, FSIsMatchSkipFS("/proc", 1));
  EXPECT_EQ(0, FSIsMatchSkipFS("/proc", 2));
}

TEST(StorageFileSystem, WhatCannotBeExaminedIsLeftOut) {
  const ScratchDirectory folder;
  KLIBErrSet(0);
  EXPECT_NE(0, FSIsMatchSkipFS(folder.Path("missing").c_str(), 1));
  EXPECT_NE(0, KLIBErrGet());
  EXPECT_NE(0, FSIsMatchSkipFS(nullptr, 0));
  EXPECT_NE(0, FSIsMatchSkipFS("/proc", -1));
}

TEST(StorageRaid, TheRecordIsReadWhereThereIsRaidAndReleasedEverywhere) {
  _tag_raid_for_system_* raid = nullptr;
  KLIBErrSet(0);
  if (KESTSupportRAID() == 0) {
    EXPECT_GT(0, RAIDSystemGet(&raid));
    EXPECT_NE(0, KLIBErrGet());
    EXPECT_EQ(nullptr, raid);
  } else {
    ASSERT_LE(0, RAIDSystemGet(&raid));
    for (const KESTRAIDENTRY& entry : raid->entry) {
      EXPECT_LE(KEST_RAID_NONE, entry.state);
      EXPECT_GE(KEST_RAID_CRASHED, entry.state);
    }
  }
  RAIDSystemFree(raid);
  RAIDSystemFree(nullptr);
  EXPECT_GT(0, RAIDSystemGet(nullptr));
}

}  // namespace
