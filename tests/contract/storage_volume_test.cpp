// The list of mounted volumes. The appliance has /volume1; its test adds a memory disk as /volume3.
#include <gtest/gtest.h>

#include <string>

#include "platform/keststorage.h"

namespace {

std::string Paths(KESTMOUNTVOL* list) {
  std::string paths;
  for (const KESTMOUNTVOL* volume = list; volume != nullptr; volume = volume->next)
    paths += std::string(volume->path) + " ";
  KESTMountVolInfoFree(list);
  return paths;
}

TEST(StorageVolume, MountedVolumesAreListedByTheirNumber) {
  EXPECT_EQ("/volume1 /volume3 /volumeUSB2 ", Paths(KESTMountVolInfoEnum(0)));
}

TEST(StorageVolume, EachTellsWhatItIs) {
  KESTMOUNTVOL* const list = KESTMountVolInfoEnum(0);
  const KESTMOUNTVOL* usb = list;
  while (usb != nullptr && usb->location != KEST_VOL_USB) usb = usb->next;
  ASSERT_NE(nullptr, list);
  ASSERT_NE(nullptr, usb);
  EXPECT_EQ(1, list->number);
  EXPECT_EQ(KEST_VOL_INTERNAL, list->location);
  EXPECT_NE(0, list->mounted);
  EXPECT_NE(0, list->writable);
  EXPECT_EQ(2, usb->number);
  EXPECT_NE(0, usb->mounted);
  EXPECT_EQ(0, usb->writable);
  EXPECT_EQ(1048576u, list->next->totalBytes);
  EXPECT_LE(list->next->freeBytes, list->next->totalBytes);
  EXPECT_GT(list->next->freeBytes, 0u);
  KESTMountVolInfoFree(list);
}

TEST(StorageVolume, ALocationMaskPicksVolumes) {
  EXPECT_EQ("/volume1 /volume3 ", Paths(KESTMountVolAllEnum(0, KEST_VOL_INTERNAL)));
  EXPECT_EQ("/volumeUSB2 ", Paths(KESTMountVolAllEnum(0, KEST_VOL_USB | KEST_VOL_SATA)));
  EXPECT_EQ(nullptr, KESTMountVolAllEnum(0, KEST_VOL_EXPANSION));
  EXPECT_EQ(nullptr, KESTMountVolAllEnum(0, 0));
}

TEST(StorageVolume, NoListIsReleasedToo) { KESTMountVolInfoFree(nullptr); }

struct PathRow {
  int line;
  const char* path;
  int number;
  int location;  // 0: no volume's path
};

constexpr PathRow kPathRows[] = {
    {__LINE__, "/volume1", 1, 1},
    {__LINE__, "/volume12/a/b", 12, 1},
    {__LINE__, "/volumeX2/", 2, 2},
    {__LINE__, "/volumeUSB3/usbshare", 3, 4},
    {__LINE__, "/volumeSATA", 0, 8},
    {__LINE__, "/volumeSATA/satashare", 0, 8},
    {__LINE__, "/volume", 0, 0},
    {__LINE__, "/volume0", 0, 0},
    {__LINE__, "/volume01", 0, 0},
    {__LINE__, "/volume1x", 0, 0},
    {__LINE__, "/volumeSATA1", 0, 0},
    {__LINE__, "/Volume1", 0, 0},
    {__LINE__, "volume1", 0, 0},
    {__LINE__, "//volume1", 0, 0},
    {__LINE__, "/etc/volume1", 0, 0},
    {__LINE__, "/", 0, 0},
    {__LINE__, "", 0, 0},
};

TEST(StorageVolume, APathNamesItsVolumeWhetherThereIsOneOrNot) {
  for (const PathRow& row : kPathRows) {
    _tag_vol_id_ id = {4711, KEST_VOL_LOCATION_FILLER_};
    EXPECT_EQ(row.location != 0, VolumePathParse(row.path, &id) > 0) << __FILE__ << ":" << row.line;
    EXPECT_EQ(row.location != 0 ? row.number : 4711, id.number) << row.path;
    EXPECT_EQ(row.location != 0 ? row.location : static_cast<int>(KEST_VOL_LOCATION_FILLER_), id.location) << row.path;
  }
}

TEST(StorageVolume, OneIsFoundByAPathOnIt) {
  for (const char* path : {"/volume3", "/volume3/a/b"}) {
    KESTMOUNTVOL info = {};
    info.next = &info;
    EXPECT_EQ(0, KESTMountVolInfoGet(path, &info));
    EXPECT_EQ(3, info.number);
    EXPECT_STREQ("/volume3", info.path);
    EXPECT_EQ(1048576u, info.totalBytes);
    EXPECT_EQ(nullptr, info.next);
  }
}

TEST(StorageVolume, OneThatIsNotMountedIsNotFound) {
  for (const char* path : {"/volume2", "/volume33", "/etc", "/", ""}) {
    KESTMOUNTVOL info = {};
    info.number = 4711;
    EXPECT_GT(0, KESTMountVolInfoGet(path, &info)) << path;
    EXPECT_EQ(4711, info.number);
  }
}

TEST(StorageVolume, AFileSystemIsLeftOutWhenItIsOfTheKindOrCannotBeExamined) {
  EXPECT_EQ(0, FSIsMatchSkipFS("/volume1", 0));
  EXPECT_EQ(0, FSIsMatchSkipFS("/volume2", 0));
  EXPECT_EQ(0, FSIsMatchSkipFS("/volume1", 3)) << "neither FAT nor NTFS";
  EXPECT_NE(0, FSIsMatchSkipFS("/volume2", 3)) << "not there";
}

}  // namespace
