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

}  // namespace
