#include "storage.h"

#include <climits>
#include <cstring>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "support/allocations.h"
#include "support/mock_kestdir.h"
#include "support/mock_kestsched.h"
#include "support/mock_keststorage.h"
#include "support/mock_klib.h"
#include "support/platform_test.h"

namespace tarvel_test {
namespace {

using ::testing::_;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::NotNull;
using ::testing::Return;
using ::testing::StrEq;

constexpr char kProgress[] = "/tmp/usbdiskapplying";

template <size_t kBytes>
void Set(char (&field)[kBytes], const std::string& text) {
  std::snprintf(field, kBytes, "%s", text.c_str());
}

class FormatTest : public PlatformTest {
 protected:
  FormatTest() {
    Set(info_.shareName, "usbshare1");
    Set(info_.sharePath, "/volumeUSB1/usbshare");
    Set(info_.volumeName, "Stick");
  }

  void Formats(int result) { EXPECT_CALL(storage(), KESTUSBVolInit(device_, _)).WillOnce(Return(result)); }
  void ReadsVolume(int result) {
    EXPECT_CALL(storage(), KESTDiskUSBDevGetVolInfo(device_, NotNull()))
        .WillOnce([this, result](char*, EXTVOLINFO* info) {
          *info = info_;
          return result;
        });
  }
  void ExpectProgress(const char* word, int result = 0) {
    EXPECT_CALL(klib(), KLIBFileSetKeyValue(StrEq(kProgress), StrEq("sdq1"), StrEq(word), StrEq("%s=\"%s\"\n")))
        .WillOnce(Return(result));
  }
  void ExpectEvent(int level, int event, const std::string& label, const char* fs = "EXT3") {
    EXPECT_CALL(sched(), KESTLogSet1(1, level, event, StrEq(label), StrEq(fs), StrEq(""), StrEq("")))
        .WillOnce(Return(-1));
  }
  void ExpectDone(const std::string& label) {
    ExpectProgress("success");
    ExpectEvent(1, 0x12300005, label);
  }
  void ShareGets(int result, bool delivered = true) {
    EXPECT_CALL(dir(), ShareDefaultGet(_, _)).WillOnce([=](SHAREDEFAULTREQ* request, KESTSHARE** slot) {
      EXPECT_STREQ("usbshare1", request->name);
      EXPECT_STREQ("/volumeUSB1/usbshare", request->path);
      EXPECT_EQ(device_, request->dev);
      EXPECT_EQ(nullptr, *slot);
      if (delivered) *slot = &share_;
      return result;
    });
  }
  void ExpectPublished(int set = 0, int nfs = 0) {
    EXPECT_CALL(dir(), KESTShareSet(StrEq("usbshare1"), &share_, nullptr)).WillOnce(Return(set));
    EXPECT_CALL(storage(), KESTNFSRuleSetAll(StrEq("/volumeUSB1/usbshare"), 0)).WillOnce(Return(nfs));
    EXPECT_CALL(storage(), ErrServicesHup());
  }
  bool Init(int size = 132) { return SDK::Storage::InitExtDisk(device_, 1, 2, share_name_, size); }

  char device_[5] = "sdq1";
  char share_name_[132] = "as before";
  EXTVOLINFO info_ = {};
  KESTSHARE share_ = {};
};

TEST_F(FormatTest, AUsbDiskIsFormattedAndItsSharePublished) {
  Formats(0);
  ReadsVolume(0);
  ExpectDone("Stick");
  ShareGets(0);
  ExpectPublished();
  EXPECT_TRUE(Init());
  EXPECT_STREQ("usbshare1", share_name_);
  EXPECT_THAT(Calls(),
              ElementsAre("KESTUSBVolInit", "KESTDiskUSBDevGetVolInfo", "KLIBFileSetKeyValue", "KESTLogSet1",
                          "ShareDefaultGet", "KESTShareSet", "KESTNFSRuleSetAll", "ErrServicesHup", "KESTShareFree"));
}

TEST_F(FormatTest, TheSataDiskHasCallsOfItsOwn) {
  EXPECT_CALL(storage(), KESTSATAVolInit(device_, 2, 1)).WillOnce(Return(0));
  EXPECT_CALL(storage(), KESTSATAGetVolInfo(device_, _)).WillOnce([this](char*, EXTVOLINFO* info) {
    *info = info_;
    return 0;
  });
  ExpectDone("Stick");
  ShareGets(0);
  ExpectPublished();
  EXPECT_TRUE(SDK::Storage::InitExtDisk(device_, 2, 2, share_name_, sizeof share_name_));
  EXPECT_STREQ("usbshare1", share_name_);
  EXPECT_THAT(Calls(),
              ElementsAre("KESTSATAVolInit", "KESTSATAGetVolInfo", "KLIBFileSetKeyValue", "KESTLogSet1",
                          "ShareDefaultGet", "KESTShareSet", "KESTNFSRuleSetAll", "ErrServicesHup", "KESTShareFree"));
}

TEST_F(FormatTest, TheSataDiskMayFailToo) {
  EXPECT_CALL(storage(), KESTSATAVolInit(device_, 2, 1)).WillOnce(Return(-1));
  EXPECT_CALL(storage(), KESTSATAGetVolInfo(device_, _)).WillOnce(Return(-1));
  EXPECT_CALL(klib(), KLIBErrGet()).WillOnce(Return(11));
  ExpectProgress("fail");
  ExpectEvent(3, 0x12300004, "");
  EXPECT_FALSE(SDK::Storage::InitExtDisk(device_, 2, 2, share_name_, sizeof share_name_));
  ExpectLogged("storage:# format type=[2] sdq1  Failed. Error Code:11");
  EXPECT_STREQ("", share_name_);
  EXPECT_THAT(Calls(),
              ElementsAre("KESTSATAVolInit", "KESTSATAGetVolInfo", "KLIBErrGet", "KLIBFileSetKeyValue", "KESTLogSet1"));
}

TEST_F(FormatTest, EachFileSystemHasItsName) {
  const char* const names[] = {"FAT", "EXT3", "EXT4"};
  info_.shareName[0] = '\0';
  for (int type = 1; type <= 3; ++type) {
    EXPECT_CALL(storage(), KESTUSBVolInit(device_, type)).WillOnce(Return(0));
    ReadsVolume(0);
    ExpectProgress("success");
    ExpectEvent(1, 0x12300005, "Stick", names[type - 1]);
    EXPECT_TRUE(SDK::Storage::InitExtDisk(device_, 1, type, share_name_, sizeof share_name_));
  }
}

TEST_F(FormatTest, AFailureIsLoggedToldAndReportedWithTheSharesName) {
  for (const int result : {1, -1, INT_MIN}) {
    Formats(result);
    ReadsVolume(0);
    EXPECT_CALL(klib(), KLIBErrGet()).WillOnce(Return(-0x8100));
    ExpectProgress("fail");
    ExpectEvent(3, 0x12300004, "Stick");
    EXPECT_FALSE(Init());
    ExpectLogged("storage:# format type=[2] sdq1  Failed. Error Code:-33024");
    EXPECT_STREQ("usbshare1", share_name_);
    EXPECT_THAT(Calls(), ElementsAre("KESTUSBVolInit", "KESTDiskUSBDevGetVolInfo", "KLIBErrGet", "KLIBFileSetKeyValue",
                                     "KESTLogSet1"));
  }
}

TEST_F(FormatTest, AVolumeThatCannotBeReadHasNeitherShareNorLabel) {
  for (const int result : {1, -1}) {
    std::strcpy(share_name_, "as before");
    Formats(0);
    ReadsVolume(result);
    ExpectDone("");
    EXPECT_TRUE(Init());
    EXPECT_STREQ("", share_name_);
  }
}

TEST_F(FormatTest, ThePlatformIsAskedForTheVolumeWithAnEmptyRecord) {
  Formats(0);
  EXPECT_CALL(storage(), KESTDiskUSBDevGetVolInfo(device_, _)).WillOnce([](char*, EXTVOLINFO* info) {
    const EXTVOLINFO empty = {};
    EXPECT_EQ(0, std::memcmp(&empty, info, sizeof empty));
    return 0;
  });
  ExpectDone("");
  EXPECT_TRUE(Init());
}

TEST_F(FormatTest, AVolumeWithoutAShareIsNotPublished) {
  info_.shareName[0] = '\0';
  Formats(0);
  ReadsVolume(0);
  ExpectDone("Stick");
  EXPECT_TRUE(Init());
  EXPECT_STREQ("", share_name_);
  EXPECT_THAT(Calls(), ElementsAre("KESTUSBVolInit", "KESTDiskUSBDevGetVolInfo", "KLIBFileSetKeyValue", "KESTLogSet1"));
}

TEST_F(FormatTest, ALabelHas31BytesAtMost) {
  info_.shareName[0] = '\0';
  for (const size_t length : {31U, 32U, 63U}) {
    Set(info_.volumeName, std::string(length, 'l'));
    Formats(0);
    ReadsVolume(0);
    ExpectDone(std::string(31, 'l'));
    EXPECT_TRUE(Init());
  }
}

TEST_F(FormatTest, TheSharesNameIsCutToItsBufferAndOnlyThere) {
  const struct {
    int size;
    const char* name;
  } rows[] = {{10, "usbshare1"}, {9, "usbshare"}, {4, "usb"}, {1, ""}};
  for (const auto& row : rows) {
    Formats(0);
    ReadsVolume(0);
    ExpectDone("Stick");
    ShareGets(0);
    ExpectPublished();
    EXPECT_TRUE(Init(row.size));
    EXPECT_STREQ(row.name, share_name_);
  }
}

TEST_F(FormatTest, WithoutABufferItsSizeIsOfNoAccount) {
  for (const int size : {132, 0, -1}) {
    Formats(0);
    ReadsVolume(0);
    ExpectDone("Stick");
    ShareGets(0);
    ExpectPublished();
    EXPECT_TRUE(SDK::Storage::InitExtDisk(device_, 1, 2, nullptr, size));
  }
}

TEST_F(FormatTest, AProgressThatCannotBeWrittenIsNotMissed) {
  info_.shareName[0] = '\0';
  Formats(0);
  ReadsVolume(0);
  ExpectProgress("success", -1);
  ExpectEvent(1, 0x12300005, "Stick");
  EXPECT_TRUE(Init());
}

TEST_F(FormatTest, WithoutAShareRecordTheFormattedDiskIsAFailure) {
  for (const bool delivered : {false, true}) {
    Formats(0);
    ReadsVolume(0);
    ExpectDone("Stick");
    ShareGets(-1, delivered);
    EXPECT_FALSE(Init());
    ExpectLogged("storage:# Failed to get default share access right by usbshare1");
    EXPECT_STREQ("usbshare1", share_name_);
    const auto calls = Calls();
    EXPECT_EQ(delivered ? "KESTShareFree" : "ShareDefaultGet", calls.back());
  }
}

TEST_F(FormatTest, OnlyANegativeAnswerIsNoShareRecord) {
  Formats(0);
  ReadsVolume(0);
  ExpectDone("Stick");
  ShareGets(1);
  ExpectPublished();
  EXPECT_TRUE(Init());
}

TEST_F(FormatTest, AShareThatCannotBeStoredIsLoggedAndTheRestIsDone) {
  for (const int result : {1, -1}) {
    Formats(0);
    ReadsVolume(0);
    ExpectDone("Stick");
    ShareGets(0);
    ExpectPublished(result, 0);
    EXPECT_CALL(klib(), KLIBErrGet()).WillOnce(Return(0x3));
    EXPECT_TRUE(Init());
    ExpectLogged("storage:# Failed to set share. szShareName=[usbshare1], errno=[0x0003]");
  }
}

TEST_F(FormatTest, ExportsThatCannotBeStoredAreLoggedAndTheServicesAreTold) {
  for (const int result : {1, -1}) {
    Formats(0);
    ReadsVolume(0);
    ExpectDone("Stick");
    ShareGets(0);
    ExpectPublished(0, result);
    EXPECT_TRUE(Init());
    ExpectLogged("storage:# Failed to set NFS setting of share. szSharePath=[/volumeUSB1/usbshare]");
  }
}

TEST_F(FormatTest, BothMayFail) {
  Formats(0);
  ReadsVolume(0);
  ExpectDone("Stick");
  ShareGets(0);
  ExpectPublished(-1, -1);
  EXPECT_CALL(klib(), KLIBErrGet()).WillOnce(Return(0x12345));
  EXPECT_TRUE(Init());
  ExpectLogged("storage:# Failed to set share. szShareName=[usbshare1], errno=[0x12345]");
  ExpectLogged("storage:# Failed to set NFS setting of share. szSharePath=[/volumeUSB1/usbshare]");
  EXPECT_THAT(Calls(), ElementsAre("KESTUSBVolInit", "KESTDiskUSBDevGetVolInfo", "KLIBFileSetKeyValue", "KESTLogSet1",
                                   "ShareDefaultGet", "KESTShareSet", "KLIBErrGet", "KESTNFSRuleSetAll",
                                   "ErrServicesHup", "KESTShareFree"));
}

TEST_F(FormatTest, ArgumentsOutOfRangeAreRefusedBeforeAnythingIsTouched) {
  const struct {
    char* device;
    int bus;
    int fs_type;
    char* share;
    int size;
  } rows[] = {{nullptr, 1, 2, share_name_, 132},  {device_, 0, 2, share_name_, 132}, {device_, 3, 2, share_name_, 132},
              {device_, -1, 2, share_name_, 132}, {device_, 1, 0, share_name_, 132}, {device_, 2, 4, share_name_, 132},
              {device_, 1, -1, share_name_, 132}, {device_, 1, 2, share_name_, 0},   {device_, 1, 2, share_name_, -1},
              {nullptr, 0, 0, nullptr, 0}};
  for (const auto& row : rows) {
    EXPECT_FALSE(SDK::Storage::InitExtDisk(row.device, row.bus, row.fs_type, row.share, row.size));
    ExpectLogged("storage:# Bad parameters!!");
  }
  EXPECT_STREQ("as before", share_name_);
  EXPECT_THAT(Calls(), IsEmpty());
}

class QuotaTest : public PlatformTest {
 protected:
  _tag_KEST_QUOTA_ quota_ = {};
};

TEST_F(QuotaTest, ThePlatformIsAskedByPathAndName) {
  EXPECT_CALL(storage(), KESTQuotaGet(StrEq("/volume1/a"), StrEq("anna"), &quota_)).WillOnce(Return(0));
  EXPECT_TRUE(SDK::Storage::GetQuota("anna", "/volume1/a", &quota_));
  EXPECT_CALL(storage(), KESTQuotaSet(StrEq("/volume1/b"), StrEq("bernd"), &quota_)).WillOnce(Return(0));
  EXPECT_TRUE(SDK::Storage::SetQuota("bernd", "/volume1/b", &quota_));
  EXPECT_THAT(Calls(), ElementsAre("KESTQuotaGet", "KESTQuotaSet"));
}

TEST_F(QuotaTest, OnlyZeroIsASuccess) {
  for (const int result : {1, -1, INT_MAX, INT_MIN}) {
    EXPECT_CALL(storage(), KESTQuotaGet(_, _, _)).WillOnce(Return(result));
    EXPECT_FALSE(SDK::Storage::GetQuota("anna", "/volume1", &quota_));
    EXPECT_CALL(storage(), KESTQuotaSet(_, _, _)).WillOnce(Return(result));
    EXPECT_FALSE(SDK::Storage::SetQuota("anna", "/volume1", &quota_));
  }
}

TEST_F(QuotaTest, APathHas491BytesAtMost) {
  for (const size_t length : {491U, 492U, 4096U}) {
    EXPECT_CALL(storage(), KESTQuotaGet(StrEq(std::string(491, 'p')), _, _)).WillOnce(Return(0));
    EXPECT_TRUE(SDK::Storage::GetQuota("anna", std::string(length, 'p'), &quota_));
    EXPECT_CALL(storage(), KESTQuotaSet(StrEq(std::string(491, 'p')), _, _)).WillOnce(Return(0));
    EXPECT_TRUE(SDK::Storage::SetQuota("anna", std::string(length, 'p'), &quota_));
  }
}

class VolumeIdListTest : public PlatformTest {
 protected:
  std::vector<std::string> ListOf(std::vector<KESTMOUNTVOL> volumes, bool writable_only) {
    for (size_t i = 1; i < volumes.size(); ++i) volumes[i - 1].next = &volumes[i];
    EXPECT_CALL(storage(), KESTMountVolInfoEnum(0)).WillOnce(Return(volumes.empty() ? nullptr : volumes.data()));
    return SDK::Storage::EnumVolumeID(writable_only);
  }
  static KESTMOUNTVOL Mounted(const char* path, int writable) {
    KESTMOUNTVOL volume = {};
    Set(volume.path, path);
    volume.writable = writable;
    return volume;
  }
};

TEST_F(VolumeIdListTest, EveryVolumeIsListedInOrder) {
  EXPECT_THAT(ListOf({Mounted("/volume2", 1), Mounted("/volume1", 0), Mounted("/volumeUSB1/usbshare", -1),
                      Mounted("/volumeUSB1", 1), Mounted("/volume12", 1)},
                     false),
              ElementsAre("2", "1", "U1", "U1_native", "1"));
  EXPECT_THAT(Calls(), ElementsAre("KESTMountVolInfoEnum", "KESTMountVolInfoFree"));
}

TEST_F(VolumeIdListTest, OrOnlyTheWritableOnes) {
  EXPECT_THAT(ListOf({Mounted("/volume2", 1), Mounted("/volume1", 0), Mounted("/volumeSATA", -1)}, true),
              ElementsAre("2", "S_native"));
}

TEST_F(VolumeIdListTest, AVolumeWithoutIdentifierIsLeftOut) {
  EXPECT_THAT(ListOf({Mounted("/mnt", 1), Mounted("/volume1", 1), Mounted("", 1)}, false), ElementsAre("1"));
}

TEST_F(VolumeIdListTest, WithoutMemoryTheListIsGivenBackAllTheSame) {
  constexpr int kVolumes = 16;  // each takes memory, so that every failure below is met
  std::vector<KESTMOUNTVOL> volumes(kVolumes, Mounted("/volumeUSB1/usbshare", 1));
  for (size_t i = 1; i < volumes.size(); ++i) volumes[i - 1].next = &volumes[i];
  for (int successes = 0; successes < kVolumes; ++successes) {
    std::optional<FailingNew> failing;
    EXPECT_CALL(storage(), KESTMountVolInfoEnum(0)).WillOnce([&](int) {
      failing.emplace(successes);
      return volumes.data();
    });
    EXPECT_THROW(SDK::Storage::EnumVolumeID(false), std::bad_alloc) << successes;
  }
}

TEST_F(VolumeIdListTest, WithoutVolumesItIsEmpty) {
  EXPECT_THAT(ListOf({}, false), IsEmpty());
  EXPECT_THAT(ListOf({}, true), IsEmpty());
  EXPECT_THAT(Calls(), ElementsAre("KESTMountVolInfoEnum", "KESTMountVolInfoFree", "KESTMountVolInfoEnum",
                                   "KESTMountVolInfoFree"));
}

}  // namespace
}  // namespace tarvel_test
