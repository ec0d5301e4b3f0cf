// The mounted volumes. The appliance has /volume1; its test adds a memory disk as /volume3.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "platform/keststorage.h"
#include "platform/klib.h"

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

TEST(StorageVolume, APathTellsItsVolume) {
  for (const char* path : {"/volume3", "/volume3/", "/volume3/a/b", "/volume3/..a/b..", "/volume3/missing"}) {
    KESTMOUNTVOL info;
    memset(&info, 0x5A, sizeof(info));
    ASSERT_EQ(0, KESTMountVolInfoGet(path, &info)) << path;
    EXPECT_EQ(3, info.number);
    EXPECT_EQ(KEST_VOL_INTERNAL, info.location);
    EXPECT_STREQ("/volume3", info.path);
    EXPECT_NE(0, info.mounted);
    EXPECT_NE(0, info.writable);
    EXPECT_EQ(1048576u, info.totalBytes);
    EXPECT_EQ(nullptr, info.next);
  }
}

TEST(StorageVolume, WhatIsToldOfOneIsNoList) {
  KESTMOUNTVOL info;
  ASSERT_EQ(0, KESTMountVolInfoGet("/volume1/a", &info));
  EXPECT_EQ(1, info.number);
  EXPECT_EQ(nullptr, info.next) << "although another internal volume follows";
}

TEST(StorageVolume, AReadOnlyVolumeSaysSo) {
  KESTMOUNTVOL info;
  ASSERT_EQ(0, KESTMountVolInfoGet("/volumeUSB2/doc", &info));
  EXPECT_EQ(0, info.writable);
}

TEST(StorageVolume, APathOnNoMountedVolumeIsRefused) {
  for (const char* path : {"", "/", "/etc", "volume1", "/volume2", "/volume33", "/volumeX1", "/volumeUSB1",
                           "/volumeSATA", "/volume1/../etc", "/volume1/..", "/volume", "/tmp/volume1"}) {
    KESTMOUNTVOL info = {};
    info.number = -5;
    KLIBErrSet(0);
    EXPECT_GT(0, KESTMountVolInfoGet(path, &info)) << path;
    EXPECT_NE(0, KLIBErrGet()) << path;
    EXPECT_EQ(-5, info.number) << path;
  }
  KESTMOUNTVOL info;
  EXPECT_GT(0, KESTMountVolInfoGet(nullptr, &info));
  EXPECT_GT(0, KESTMountVolInfoGet("/volume1", nullptr));
}

}  // namespace
