// What services know of their volumes. Where their records lie is this platform's.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <string>

#include "platform/keststorage.h"
#include "platform/klib.h"
#include "system_file.h"

namespace {

constexpr int kInternalAndUsb = KEST_VOL_INTERNAL | KEST_VOL_USB;

class StorageService : public testing::Test {
 protected:
  SystemFile records_{"/usr/kest/etc/services.conf"};
};

TEST_F(StorageService, ARecordIsReadWhole) {
  records_.Write(
      "homes_volume=\"/volume3\"\nhomes_locations=\"internal,usb\"\nhomes_skip=\"fat,ntfs\"\nhomes_external=\"yes\"\n");
  SERVICEINFO info;
  memset(&info, 0x5A, sizeof(info));
  ASSERT_EQ(0, KESTServiceInfoGet(KEST_SERVICE_HOMES, &info));
  EXPECT_NE(0, info.hasVolume);
  EXPECT_NE(0, info.decided);
  EXPECT_STREQ("/volume3", info.path);
  EXPECT_EQ(static_cast<uint32_t>(kInternalAndUsb), info.locationMask);
  EXPECT_EQ(0, FSIsMatchSkipFS("/volume3", info.skipFsType));
  EXPECT_NE(0, info.externalAllowed);
}

TEST_F(StorageService, EveryServiceHasARecordWithoutAnybodyWritingOne) {
  for (int service = KEST_SERVICE_WEB; service <= KEST_SERVICE_AUDIO; ++service) {
    SERVICEINFO info;
    ASSERT_EQ(0, KESTServiceInfoGet(static_cast<_tag_SERVICE_ID_>(service), &info)) << service;
    EXPECT_EQ(0, info.hasVolume) << service;
    EXPECT_EQ(0, info.decided) << service;
    EXPECT_STREQ("", info.path) << service;
  }
}

TEST_F(StorageService, AnUnknownServiceIsRefusedAndLeavesTheRecord) {
  for (const int service : {0, 7, 1000, static_cast<int>(KEST_SERVICE_ID_FILLER_)}) {
    SERVICEINFO info = {};
    info.skipFsType = 77;
    KLIBErrSet(0);
    EXPECT_GT(0, KESTServiceInfoGet(static_cast<_tag_SERVICE_ID_>(service), &info)) << service;
    EXPECT_NE(0, KLIBErrGet()) << service;
    EXPECT_EQ(77, info.skipFsType) << service;
  }
  EXPECT_GT(0, KESTServiceInfoGet(KEST_SERVICE_WEB, nullptr));
}

TEST_F(StorageService, RecordsThatCannotBeReadAreAFailure) {
  SERVICEINFO info = {};
  records_.MakeDirectory();
  EXPECT_GT(0, KESTServiceInfoGet(KEST_SERVICE_WEB, &info));
  records_.Write(std::string(1024 * 1024 + 1, '#'));
  EXPECT_GT(0, KESTServiceInfoGet(KEST_SERVICE_WEB, &info));
}

SERVICEINFO ServiceAt(int locations) {
  SERVICEINFO info = {};
  info.locationMask = static_cast<uint32_t>(locations);
  return info;
}

std::string Chosen(SERVICEINFO info) {
  char path[64] = "untouched";
  return KESTServiceNewVolumeDecide(&info, path, sizeof(path)) < 1 && std::string(path) == "untouched" ? "none" : path;
}

TEST_F(StorageService, AVolumeIsChosenWhereTheServiceMayLive) {
  EXPECT_EQ("/volume1", Chosen(ServiceAt(0)));
  EXPECT_EQ("/volume1", Chosen(ServiceAt(KEST_VOL_INTERNAL | KEST_VOL_EXPANSION)));
  EXPECT_EQ("none", Chosen(ServiceAt(KEST_VOL_EXPANSION)));
  EXPECT_EQ("none", Chosen(ServiceAt(KEST_VOL_SATA)));
}

TEST_F(StorageService, AVolumeThatCannotBeWrittenSuitsNobody) {
  SERVICEINFO info = ServiceAt(KEST_VOL_USB);
  info.externalAllowed = 1;
  EXPECT_EQ("none", Chosen(info));
}

TEST_F(StorageService, ChoosingStoresNothing) {
  EXPECT_EQ("/volume1", Chosen(ServiceAt(0)));
  EXPECT_NE(0, access("/usr/kest/etc/services.conf", F_OK));
}

TEST_F(StorageService, APathThatDoesNotFitIsAFailure) {
  SERVICEINFO info = ServiceAt(0);
  char path[] = "untouched";
  EXPECT_EQ(1, KESTServiceNewVolumeDecide(&info, path, sizeof("/volume1")));
  EXPECT_STREQ("/volume1", path);
  for (const int size : {8, 1, 0, -1}) {
    char small[] = "untouched";
    EXPECT_GT(1, KESTServiceNewVolumeDecide(&info, small, size)) << size;
    EXPECT_STREQ("untouched", small) << size;
  }
  EXPECT_GT(1, KESTServiceNewVolumeDecide(&info, nullptr, 64));
  EXPECT_GT(1, KESTServiceNewVolumeDecide(nullptr, path, 64));
}

TEST_F(StorageService, AFullDiskIsTakenLast) {
  SERVICEINFO info = ServiceAt(KEST_VOL_INTERNAL);
  std::ofstream("/volume3/ballast") << std::string(2 * 1024 * 1024, 'x');
  EXPECT_EQ("/volume1", Chosen(info));
  KESTMOUNTVOL full;
  ASSERT_EQ(0, KESTMountVolInfoGet("/volume3", &full));
  EXPECT_EQ(0u, full.freeBytes);
  unlink("/volume3/ballast");
}

TEST(StorageExpansion, AUnitIsSupportedWhereTheFactorySaysSo) {
  SystemFile factory("/etc.defaults/kestinfo.conf");
  factory.Write("expansion_units=\"yes\"\n");
  EXPECT_NE(0, SupportEBox());
  factory.Write("expansion_units=\"no\"\n");
  EXPECT_EQ(0, SupportEBox());
  factory.Write("");
  EXPECT_EQ(0, SupportEBox());
  factory.Remove();
  EXPECT_EQ(0, SupportEBox());
}

}  // namespace
