// One share: how it is made, loaded, changed, moved and stored.

#include "share.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <string>

#include "share_fixture.h"
#include "support/allocations.h"

namespace tarvel_test {
namespace {

using ::testing::_;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Return;
using ::testing::StrEq;

static_assert(sizeof(SDK::Share) == sizeof(void*));

class ShareSaveTest : public ShareTest {
 protected:
  // What the platform is given, with the texts copied.
  struct Given {
    std::string name, desc, path, na, rw, ro;
    KESTSHARE record;
  };
  void ExpectStored(const char* before, int result = 0) {
    EXPECT_CALL(dir(), KESTShareSet(_, _, _)).WillOnce([=](const char* existing, KESTSHARE* share, KESTCOPYARGS* move) {
      EXPECT_STREQ(before, existing);
      given_ = {share->name, share->desc, share->path, share->na, share->rw, share->ro, *share};
      moved_ = move != nullptr;
      if (moved_) move_ = *move;
      return result;
    });
  }

  Given given_ = {};
  bool moved_ = false;
  KESTCOPYARGS move_ = {};
};

TEST_F(ShareTest, AShareMadeByNameHasTheDefaultsAndTouchesNothing) {
  for (const bool browseable : {true, false}) {
    const SDK::Share share("photo", "/volume1/photo", browseable);
    EXPECT_EQ("photo", share.GetName());
    EXPECT_EQ("", share.GetDesc());
    EXPECT_EQ("/volume1/photo", share.GetFullPath());
    EXPECT_EQ(0, share.GetStatus());
    EXPECT_EQ(0, share.GetFTPPrivilege());
    EXPECT_EQ(browseable, share.GetBrowseable());
    EXPECT_FALSE(share.InRW("anna") || share.InRO("anna") || share.InNA("anna"));
  }
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(ShareTest, AShareMadeFromARecordHasItsFieldsAndLists) {
  const SDK::Share share(Record("photo"));
  EXPECT_EQ("photo", share.GetName());
  EXPECT_EQ("description of photo", share.GetDesc());
  EXPECT_EQ("/volume1/photo", share.GetFullPath());
  EXPECT_EQ(6, share.GetStatus());
  EXPECT_EQ(5, share.GetFTPPrivilege());
  EXPECT_TRUE(share.GetBrowseable());
  EXPECT_TRUE(share.InRW("anna") && share.InRW("BOB") && !share.InRW("carl"));
  EXPECT_TRUE(share.InRO("@guests") && !share.InRO("guests"));
  EXPECT_TRUE(share.InNA("carl") && share.InNA("dora") && !share.InNA("bob"));
}

TEST_F(ShareTest, NullTextsOfARecordAreEmpty) {
  KESTSHARE record = {};
  const SDK::Share share(&record);
  EXPECT_EQ("", share.GetName());
  EXPECT_EQ("", share.GetDesc());
  EXPECT_EQ("", share.GetFullPath());
  EXPECT_FALSE(share.GetBrowseable());
  EXPECT_FALSE(share.InRW(""));
}

TEST_F(ShareTest, AnyNumberButZeroIsBrowseable) {
  for (const int number : {INT_MIN, -1, 0, 1, 2}) {
    KESTSHARE* record = Record("photo");
    record->browseable = number;
    EXPECT_EQ(number != 0, SDK::Share(record).GetBrowseable()) << number;
  }
}

TEST_F(ShareTest, ARecordIsConvertedAndNothingIsNothing) {
  EXPECT_EQ(nullptr, SDK::Share::ConvertShare(nullptr));
  const OwnedShare share(SDK::Share::ConvertShare(Record("photo")));
  EXPECT_EQ("photo", share->GetName());
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(ShareTest, IsLoadedOnlyWhenThePlatformAnswersZero) {
  Finds("PHOTO", Record("photo"));
  const OwnedShare share(SDK::Share::LoadShare("PHOTO"));
  EXPECT_EQ("photo", share->GetName());
  EXPECT_THAT(Calls(), ElementsAre("KESTShareGet", "KESTShareFree"));
  for (const int result : {1, -1}) {
    for (KESTSHARE* record : {Record("photo"), static_cast<KESTSHARE*>(nullptr)}) {
      Finds("photo", record, result);
      EXPECT_EQ(nullptr, SDK::Share::LoadShare("photo"));
    }
  }
}

TEST_F(ShareTest, ExistsUnlessThePlatformAnswersNegatively) {
  for (const int result : {0, 1}) {
    Finds("photo", Record("photo"), result);
    EXPECT_TRUE(SDK::Share::IsShareExist("photo"));
    EXPECT_THAT(Calls(), ElementsAre("KESTShareGet", "KESTShareFree"));
  }
  Finds("photo", nullptr, -1);
  EXPECT_FALSE(SDK::Share::IsShareExist("photo"));
}

TEST_F(ShareTest, OnlyACreatableNameBecomesAShare) {
  EXPECT_CALL(klib(), BlKLIBIsShareName(StrEq("a/b"))).WillOnce(Return(0));
  EXPECT_EQ(nullptr, SDK::Share::CreateShare("a/b", "/volume1/a/b", true));
  EXPECT_CALL(klib(), BlKLIBIsShareName(StrEq("photo"))).WillOnce(Return(1));
  Finds("photo", nullptr, -1);
  HasUserHomes("yes");
  const OwnedShare share(SDK::Share::CreateShare("photo", "/volume1/photo", false));
  EXPECT_EQ("/volume1/photo", share->GetFullPath());
  EXPECT_FALSE(share->GetBrowseable());
}

TEST_F(ShareTest, ReleasingNothingIsAllowed) {
  const long before = LiveAllocations();
  SDK::Share::Release(nullptr);
  SDK::Share::Release(new SDK::Share("photo", "/volume1/photo", true));
  EXPECT_EQ(before, LiveAllocations());
}

TEST_F(ShareTest, EachSetterChangesItsFieldOfTheObjectAlone) {
  SDK::Share share("photo", "/volume1/photo", true);
  share.SetDesc("pictures");
  share.SetFTPPrivilege(7);
  share.SetBrowseable(false);
  EXPECT_EQ("pictures", share.GetDesc());
  EXPECT_EQ(7, share.GetFTPPrivilege());
  EXPECT_FALSE(share.GetBrowseable());
  share.SetPath("/volume2", "other");
  EXPECT_EQ("/volume2/other", share.GetFullPath());
  EXPECT_EQ("photo", share.GetName());
  EXPECT_THAT(Calls(), IsEmpty());
}

struct VolumeRow {
  int line;
  const char* path;
  int size;
  const char* volume;
};

constexpr VolumeRow kVolumeRows[] = {
    {__LINE__, "/volume1/photo", 64, "/volume1"},
    {__LINE__, "/volume1/photo", 15, "/volume1"},
    {__LINE__, "/volume1/photo", 10, "/volume1"},
    {__LINE__, "/volume1/photo", 9, ""},
    {__LINE__, "/volume1/photo", 5, ""},
    {__LINE__, "/volume1/photo", 1, ""},
    {__LINE__, "/volumeUSB1/usbshare/a", 64, "/volumeUSB1/usbshare"},
    {__LINE__, "/volume1/", 64, "/volume1"},
    {__LINE__, "photo", 64, "photo"},
    {__LINE__, "photo", 3, "ph"},
    {__LINE__, "/", 64, ""},
    {__LINE__, "", 64, ""},
};

TEST_F(ShareTest, TheVolumesPathEndsAtTheLastSlashOfWhatFits) {
  for (const VolumeRow& row : kVolumeRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line);
    const SDK::Share share("photo", row.path, true);
    char path[64];
    std::memset(path, 'x', sizeof path);
    share.GetVolumePath(path, row.size);
    EXPECT_STREQ(row.volume, path);
    if (row.size < 64) {
      EXPECT_EQ('x', path[row.size]);
    }
  }
}

TEST_F(ShareTest, WithoutABufferNoVolumesPathIsWritten) {
  const SDK::Share share("photo", "/volume1/photo", true);
  char path[8] = "bef/ore";
  share.GetVolumePath(nullptr, 64);
  share.GetVolumePath(path, 0);
  share.GetVolumePath(path, -1);
  EXPECT_STREQ("bef/ore", path);
}

TEST_F(ShareTest, AnotherNameIsAnotherFolderOnTheSameVolume) {
  SDK::Share share("photo", "/volume1/photo", true);
  share.ChangeName("pictures");
  EXPECT_EQ("pictures", share.GetName());
  EXPECT_EQ("/volume1/pictures", share.GetFullPath());
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(ShareTest, OfTheFolderBefore63BytesCountForAnotherName) {
  const std::string volume = "/" + std::string(57, 'v');
  SDK::Share fits("photo", volume + "/abcd", true);
  fits.ChangeName("new");
  EXPECT_EQ(volume + "/new", fits.GetFullPath());
  SDK::Share long_name("photo", volume + "/abcdefghij", true);
  long_name.ChangeName("new");
  EXPECT_EQ(volume + "/new", long_name.GetFullPath());
  for (const size_t length : {60U, 61U}) {
    SDK::Share long_volume("photo", "/a/" + std::string(length, 'v') + "/photo", true);
    long_volume.ChangeName("new");
    EXPECT_EQ("/a/new", long_volume.GetFullPath());
  }
}

TEST_F(ShareSaveTest, ANewShareIsMadeWithAllItsFields) {
  SDK::Share share("photo", "/volume1/photo", true);
  share.SetDesc("pictures");
  share.SetFTPPrivilege(3);
  share.CreateEncryption(6, "passphrase");
  share.AddToRW("bob");
  share.AddToRW("Anna");
  share.AddToRO("@guests");
  ExpectStored(nullptr);
  EXPECT_TRUE(share.Save());
  EXPECT_EQ("photo", given_.name);
  EXPECT_EQ("pictures", given_.desc);
  EXPECT_EQ("/volume1/photo", given_.path);
  EXPECT_EQ("", given_.na);
  EXPECT_EQ("Anna,bob", given_.rw);
  EXPECT_EQ("@guests", given_.ro);
  EXPECT_EQ(2, given_.record.attr);
  EXPECT_EQ(1, given_.record.browseable);
  EXPECT_EQ(3, given_.record.ftp);
  EXPECT_EQ(6, given_.record.enc);
  EXPECT_EQ(0, given_.record.zero1);
  EXPECT_EQ(0, given_.record.zero2);
  EXPECT_FALSE(moved_);
  EXPECT_THAT(Calls(), ElementsAre("KESTShareSet"));
}

TEST_F(ShareSaveTest, ANewShareStaysNewAndIsMadeAgain) {
  SDK::Share share("photo", "/volume1/photo", false);
  for (int i = 0; i < 2; ++i) {
    ExpectStored(nullptr);
    EXPECT_TRUE(share.Save());
    EXPECT_EQ(0, given_.record.browseable);
  }
}

TEST_F(ShareSaveTest, AStoredShareIsChangedUnderItsName) {
  const OwnedShare share = Loaded(Record("photo"));
  ExpectStored("photo");
  EXPECT_TRUE(share->Save());
  EXPECT_EQ("photo", given_.name);
  EXPECT_EQ("carl,Dora", given_.na);
  EXPECT_EQ("anna,bob", given_.rw);
  EXPECT_EQ("@guests", given_.ro);
  EXPECT_EQ(77, given_.record.attr);
  EXPECT_EQ(5, given_.record.ftp);
  EXPECT_EQ(6, given_.record.enc);
  EXPECT_EQ(0, given_.record.zero1);
}

TEST_F(ShareSaveTest, ARenamedShareGivesItsOldNameEachTime) {
  const OwnedShare share = Loaded(Record("photo"));
  share->ChangeName("pictures");
  for (int i = 0; i < 2; ++i) {
    ExpectStored("photo");
    EXPECT_TRUE(share->Save());
    EXPECT_EQ("pictures", given_.name);
    EXPECT_EQ("/volume1/pictures", given_.path);
  }
}

TEST_F(ShareSaveTest, HowTheFolderIsMovedIsCopiedAndHandedOnEachTime) {
  const OwnedShare share = Loaded(Record("photo"));
  {
    KESTCOPYARGS args = {{1, 2, 3, 4, 5, 6, 7, 0xffffffffU}};
    share->SetMoveArgs(&args);
    args = {};
  }
  share->SetMoveArgs(nullptr);
  for (int i = 0; i < 2; ++i) {
    ExpectStored("photo");
    EXPECT_TRUE(share->Save());
    EXPECT_TRUE(moved_);
    EXPECT_THAT(move_.word, ElementsAre(1, 2, 3, 4, 5, 6, 7, 0xffffffffU));
  }
}

TEST_F(ShareSaveTest, AnotherMoveTakesThePlaceOfTheOneBefore) {
  SDK::Share share("photo", "/volume1/photo", true);
  KESTCOPYARGS args = {{1}};
  share.SetMoveArgs(&args);
  args.word[0] = 2;
  share.SetMoveArgs(&args);
  EXPECT_THAT(Calls(), ElementsAre("malloc 32", "malloc 32", "free"));
  ExpectStored(nullptr);
  EXPECT_TRUE(share.Save());
  EXPECT_EQ(2u, move_.word[0]);
}

TEST_F(ShareSaveTest, WithoutMemoryTheMoveBeforeStaysAndThatIsLogged) {
  SDK::Share share("photo", "/volume1/photo", true);
  KESTCOPYARGS args = {{1}};
  share.SetMoveArgs(&args);
  args.word[0] = 2;
  machine().FailNext("malloc", ENOMEM);
  share.SetMoveArgs(&args);
  ExpectLogged(std::string("share:# Failed to calloc for KESTCOPYARGS, errno=") + std::strerror(ENOMEM));
  ExpectStored(nullptr);
  EXPECT_TRUE(share.Save());
  EXPECT_EQ(1u, move_.word[0]);
}

TEST_F(ShareSaveTest, OnlyANegativeResultIsAFailureAndItsCodeIsLogged) {
  SDK::Share share("photo", "/volume1/photo", true);
  ExpectStored(nullptr, 1);
  EXPECT_TRUE(share.Save());
  for (const int result : {-1, INT_MIN}) {
    ExpectStored(nullptr, result);
    EXPECT_CALL(klib(), KLIBErrGet()).WillOnce(Return(0x8a00));
    EXPECT_FALSE(share.Save());
    ExpectLogged("share:# KESTShareSet failed[8A00]");
  }
}

TEST_F(ShareTest, LackOfMemoryPassesAndLeaksNothing) {
  const std::string name(100, 'n');
  KESTSHARE* record = Record(name);
  EXPECT_CALL(dir(), KESTShareGet(_, _)).WillRepeatedly([=](const char*, KESTSHARE** slot) {
    *slot = record;
    return 0;
  });
  EXPECT_LE(12, FailuresUntilItSucceeds([&] { const OwnedShare share(SDK::Share::LoadShare(name)); }));
  EXPECT_LE(3, FailuresUntilItSucceeds([&] { const SDK::Share share(name, name, true); }));
}

TEST_F(ShareSaveTest, LackOfMemoryWhileSavingLeavesTheStoredLists) {
  const std::string member(100, 'm');
  const OwnedShare share = Loaded(Record("photo"));
  share->AddToRW(member);
  EXPECT_CALL(dir(), KESTShareSet(_, _, _)).WillRepeatedly(Return(0));
  share->Save();
  EXPECT_LE(3, FailuresUntilItSucceeds([&] { share->Save(); }));
  EXPECT_CALL(dir(), BlSDKUserIsInList(_, StrEq("anna,bob," + member))).WillOnce(Return(1));
  EXPECT_CALL(dir(), BlSDKUserIsInList(_, StrEq("carl,Dora"))).WillOnce(Return(0));
  share->AddToRW("zoe");
  {
    const FailingNew failing(0);
    EXPECT_THROW(share->Save(), std::bad_alloc);
  }
  EXPECT_EQ(2, share->GetAccessRight("anna"));
}

}  // namespace
}  // namespace tarvel_test
