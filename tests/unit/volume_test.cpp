// Volumes: the object of a service, and the volume of that service.

#include "volume.h"

#include <climits>
#include <cstring>
#include <string>

#include "volume_fixture.h"

namespace tarvel_test {
namespace {

using ::testing::_;
using ::testing::DoAll;
using ::testing::ElementsAre;
using ::testing::InSequence;
using ::testing::IsEmpty;
using ::testing::Return;
using ::testing::SetArgPointee;
using ::testing::StrEq;

class VolumeObjectTest : public VolumeTest {};

TEST_F(VolumeObjectTest, WithoutAServiceInternalAndExpansionVolumesAreListedAndGivenBack) {
  HasVolumes({Internal(1), Expansion(1)});
  {
    EXPECT_CALL(storage(), KESTMountVolAllEnum(0, 3)).WillOnce(Return(MountedList()));
    const Volume volumes;
    EXPECT_THAT(Calls(), ElementsAre("KESTMountVolAllEnum"));
    EXPECT_CALL(storage(), KESTMountVolInfoFree(MountedList()));
  }
  EXPECT_THAT(Calls(), ElementsAre("KESTMountVolInfoFree"));
}

TEST_F(VolumeObjectTest, AnEmptyListIsNotGivenBack) {
  AnyVolumes();
  EndVolumes();
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(VolumeObjectTest, WithoutAServiceTheRecordIsZero) {
  char path[64] = "as before";
  EXPECT_TRUE(AnyVolumes().VolumeCurrentPathGet(false, path, sizeof path));
  EXPECT_STREQ("", path);
  EXPECT_FALSE(AnyVolumes().IsVolumeChanged("/volume1"));
}

TEST_F(VolumeObjectTest, AServicesVolumesAreThoseAtItsLocations) {
  for (const uint32_t mask : {1U, 2U, 3U, 12U, 15U, 0x80000001U}) {
    HasVolumes({Internal(1)});
    Calls();
    EXPECT_CALL(storage(), KESTServiceInfoGet(static_cast<_tag_SERVICE_ID_>(4711), _))
        .WillOnce(DoAll(SetArgPointee<1>(Service("", mask)), Return(0)));
    EXPECT_CALL(storage(), KESTMountVolAllEnum(0, static_cast<int>(mask))).WillOnce(Return(MountedList()));
    const Volume volumes(static_cast<_tag_SERVICE_ID_>(4711));
    EXPECT_THAT(Calls(), ElementsAre("KESTServiceInfoGet", "KESTMountVolAllEnum"));
    EXPECT_CALL(storage(), KESTMountVolInfoFree(MountedList()));
  }
}

TEST_F(VolumeObjectTest, AServiceThatNamesNoLocationIsInternal) {
  EXPECT_CALL(storage(), KESTServiceInfoGet(_, _)).WillOnce(DoAll(SetArgPointee<1>(Service("", 0)), Return(1)));
  EXPECT_CALL(storage(), KESTMountVolAllEnum(0, 1)).WillOnce(Return(nullptr));
  const Volume volumes(KEST_SERVICE_WEB);
}

TEST_F(VolumeObjectTest, ThePlatformIsAskedWithAZeroedRecord) {
  EXPECT_CALL(storage(), KESTServiceInfoGet(_, _)).WillOnce([](_tag_SERVICE_ID_, SERVICEINFO* info) {
    const SERVICEINFO zero = {};
    EXPECT_EQ(0, std::memcmp(&zero, info, sizeof zero));
    return 0;
  });
  EXPECT_CALL(storage(), KESTMountVolAllEnum(0, 1)).WillOnce(Return(nullptr));
  const Volume volumes(KEST_SERVICE_WEB);
}

TEST_F(VolumeObjectTest, AnUnknownServiceIsLoggedAndHasAZeroedRecord) {
  HasVolumes({Internal(1)});
  EXPECT_CALL(storage(), KESTServiceInfoGet(_, _))
      .WillOnce(DoAll(SetArgPointee<1>(Service("/volume1", 15)), Return(-1)));
  EXPECT_CALL(storage(), KESTMountVolAllEnum(0, 1)).WillOnce(Return(MountedList()));
  Volume volumes(KEST_SERVICE_WEB);
  ExpectLogged("volume # Failed to get service info");
  EXPECT_THAT(Calls(), ElementsAre("KESTServiceInfoGet", "KESTMountVolAllEnum"));
  char path[64] = "as before";
  EXPECT_TRUE(volumes.VolumeCurrentPathGet(false, path, sizeof path));
  EXPECT_STREQ("", path);
}

// Whether a service's volume counts as lost shows in the type of its display: 3 when it does, else 0, as the one volume
// is on a skipped file system by then.
class ExternalVolumeTest : public VolumeTest {
 protected:
  bool IsLost(Volume& volumes) {
    volumes.SetCheckExtVolume(true);
    EXPECT_CALL(storage(), FSIsMatchSkipFS(_, 7)).WillRepeatedly(Return(1));
    int type = -1;
    EXPECT_TRUE(volumes.VolumeDisplayTypeGet(nullptr, &type, true));
    EXPECT_TRUE(type == 3 || type == 0) << type;
    return type == 3;
  }
};

TEST_F(ExternalVolumeTest, OneThatIsMountedAndWritableIsThere) {
  HasVolumes({Internal(1), Usb(1)});
  Skips("/volumeUSB1/usbshare", 7, 0);
  Volume& volumes = VolumesOf(Service("/volumeUSB1/usbshare"));
  EXPECT_FALSE(IsLost(volumes));
}

TEST_F(ExternalVolumeTest, OnlyTheServicesOwnPathIsLookedAtAndTheSearchEndsThere) {
  HasVolumes({Internal(1), Usb(1), Usb(1)});
  EXPECT_CALL(storage(), FSIsMatchSkipFS(StrEq("/volumeUSB1/usbshare"), 7)).WillOnce(Return(0));
  EXPECT_CALL(storage(), KESTServiceInfoGet(_, _))
      .WillOnce(DoAll(SetArgPointee<1>(Service("/volumeUSB1/usbshare")), Return(0)));
  EXPECT_CALL(storage(), KESTMountVolAllEnum(0, 15)).WillOnce(Return(MountedList()));
  const Volume volumes(KEST_SERVICE_BACKUP);
  EXPECT_THAT(Calls(), ElementsAre("KESTServiceInfoGet", "KESTMountVolAllEnum", "FSIsMatchSkipFS"));
}

TEST_F(ExternalVolumeTest, OneThatIsNotMountedIsLost) {
  HasVolumes({Internal(1), Usb(2)});
  EXPECT_TRUE(IsLost(VolumesOf(Service("/volumeUSB1/usbshare"))));
}

TEST_F(ExternalVolumeTest, WithoutAnyVolumeItIsLost) {
  EXPECT_TRUE(IsLost(VolumesOf(Service("/volumeUSB1/usbshare"))));
}

TEST_F(ExternalVolumeTest, PathsAreComparedExactly) {
  HasVolumes({Mounted(1, KEST_VOL_USB, "/volumeUSB1"), Mounted(1, KEST_VOL_USB, "/volumeusb1/usbshare"),
              Mounted(1, KEST_VOL_USB, "/volumeUSB1/usbshare/")});
  EXPECT_TRUE(IsLost(VolumesOf(Service("/volumeUSB1/usbshare"))));
}

TEST_F(ExternalVolumeTest, OneThatIsNotWritableIsLost) {
  HasVolumes({ReadOnly(Usb(1))});
  Skips("/volumeUSB1/usbshare", 7, 0);
  EXPECT_TRUE(IsLost(VolumesOf(Service("/volumeUSB1/usbshare"))));
}

TEST_F(ExternalVolumeTest, OneOnASkippedFileSystemIsLost) {
  for (const int answer : {1, -1}) {
    HasVolumes({Usb(1)});
    Skips("/volumeUSB1/usbshare", 7, answer);
    EXPECT_TRUE(IsLost(VolumesOf(Service("/volumeUSB1/usbshare"))));
  }
}

TEST_F(ExternalVolumeTest, BehindASkippedOneTheSearchGoesOn) {
  for (const bool writable : {true, false}) {
    HasVolumes({ReadOnly(Usb(1)), Internal(1), writable ? Usb(1) : ReadOnly(Usb(1))});
    InSequence in_order;
    EXPECT_CALL(storage(), KESTServiceInfoGet(_, _))
        .WillOnce(DoAll(SetArgPointee<1>(Service("/volumeUSB1/usbshare")), Return(0)));
    EXPECT_CALL(storage(), KESTMountVolAllEnum(0, 15)).WillOnce(Return(MountedList()));
    EXPECT_CALL(storage(), FSIsMatchSkipFS(StrEq("/volumeUSB1/usbshare"), 7)).WillOnce(Return(1));
    EXPECT_CALL(storage(), FSIsMatchSkipFS(StrEq("/volumeUSB1/usbshare"), 7)).WillOnce(Return(0));
    Volume volumes(KEST_SERVICE_BACKUP);
    EXPECT_EQ(!writable, IsLost(volumes));
  }
}

TEST_F(ExternalVolumeTest, AServiceThatMayNotLiveOnOneIsNotLookedAt) {
  SERVICEINFO service = Service("/volumeUSB1/usbshare");
  service.externalAllowed = 0;
  EXPECT_FALSE(IsLost(VolumesOf(service)));
}

TEST_F(ExternalVolumeTest, NeitherIsAServiceWithoutAVolume) {
  EXPECT_FALSE(IsLost(VolumesOf(Service(""))));
  EXPECT_TRUE(IsLost(VolumesOf(Service("/")))) << "the shortest path is one";
}

TEST_F(ExternalVolumeTest, OnceLostItStaysLost) {
  HasVolumes({Usb(1)});
  EXPECT_CALL(storage(), FSIsMatchSkipFS(_, _)).WillOnce(Return(1)).WillOnce(Return(0));
  Volume& volumes = VolumesOf(Service("/volumeUSB1/usbshare"));
  volumes.CheckExtVolumeStatus();
  EXPECT_TRUE(IsLost(volumes));
}

TEST_F(ExternalVolumeTest, AnotherLookFindsItLost) {
  HasVolumes({Usb(1)});
  EXPECT_CALL(storage(), FSIsMatchSkipFS(_, _)).WillOnce(Return(0)).WillOnce(Return(1));
  Volume& volumes = VolumesOf(Service("/volumeUSB1/usbshare"));
  volumes.CheckExtVolumeStatus();
  EXPECT_TRUE(IsLost(volumes));
}

class CurrentPathTest : public VolumeTest {
 protected:
  // A service whose volume is not decided.
  Volume& Undecided(const std::string& path) {
    SERVICEINFO service = Service(path, 1);
    service.decided = 0;
    service.externalAllowed = 0;
    return VolumesOf(service);
  }
  void Chooses(const char* path, int result) {
    EXPECT_CALL(storage(), KESTServiceNewVolumeDecide(_, _, 64))
        .WillOnce([path, result](SERVICEINFO* service, char* buf, int) {
          EXPECT_EQ(7, service->skipFsType);
          EXPECT_STREQ("/volume1", service->path);
          std::strcpy(buf, path);
          return result;
        });
  }

  char path_[64] = "as before";
};

TEST_F(CurrentPathTest, IsTheOneOfTheServicesRecord) {
  SERVICEINFO service = Service("/volume1", 1);
  service.externalAllowed = 0;
  for (const int decided : {1, -1}) {
    service.decided = decided;
    for (const bool decide : {true, false}) {
      EXPECT_TRUE(VolumesOf(service).VolumeCurrentPathGet(decide, path_, sizeof path_));
      EXPECT_STREQ("/volume1", path_);
      EXPECT_THAT(Calls(), IsEmpty());
    }
  }
}

TEST_F(CurrentPathTest, NobodyIsAskedToDecideUnlessTheCallerWants) {
  EXPECT_TRUE(Undecided("/volume1").VolumeCurrentPathGet(false, path_, sizeof path_));
  EXPECT_STREQ("/volume1", path_);
}

TEST_F(CurrentPathTest, OfAnUndecidedServiceIsWhatThePlatformWouldChoose) {
  for (const int result : {1, 2, INT_MAX}) {
    Chooses("/volume2", result);
    EXPECT_TRUE(Undecided("/volume1").VolumeCurrentPathGet(true, path_, sizeof path_));
    EXPECT_STREQ("/volume2", path_);
  }
}

TEST_F(CurrentPathTest, WhenThePlatformChoosesNoneNothingIsWritten) {
  for (const int result : {0, -1, INT_MIN}) {
    Chooses("/volume2", result);
    EXPECT_FALSE(Undecided("/volume1").VolumeCurrentPathGet(true, path_, sizeof path_));
    EXPECT_STREQ("as before", path_);
  }
}

TEST_F(CurrentPathTest, IsCutToItsBuffer) {
  char small[8];
  EXPECT_TRUE(Undecided("/volume1").VolumeCurrentPathGet(false, small, sizeof small));
  EXPECT_STREQ("/volume", small);
  Chooses("/VOLUME1", 1);
  EXPECT_TRUE(Undecided("/volume1").VolumeCurrentPathGet(true, small, sizeof small));
  EXPECT_STREQ("/VOLUME", small);
}

TEST_F(CurrentPathTest, WithoutABufferTheAnswerIsTheSameAndThePlatformIsAsked) {
  EXPECT_TRUE(Undecided("/volume1").VolumeCurrentPathGet(false, nullptr, 64));
  EXPECT_TRUE(Undecided("/volume1").VolumeCurrentPathGet(false, path_, 0));
  EXPECT_TRUE(Undecided("/volume1").VolumeCurrentPathGet(false, path_, -1));
  for (const int size : {64, 0, -1}) {
    Chooses("/volume2", 1);
    EXPECT_TRUE(Undecided("/volume1").VolumeCurrentPathGet(true, size == 64 ? nullptr : path_, size));
    Chooses("/volume2", 0);
    EXPECT_FALSE(Undecided("/volume1").VolumeCurrentPathGet(true, size == 64 ? nullptr : path_, size));
  }
  EXPECT_STREQ("as before", path_);
}

struct ChangeRow {
  int line;
  int decided;
  const char* current;
  const char* old_path;
  bool changed;
};

constexpr ChangeRow kChangeRows[] = {
    {__LINE__, 1, "/volume1", "", false},
    {__LINE__, 0, "", "", false},
    {__LINE__, 1, "/volume1", "/volume1", false},
    {__LINE__, 1, "/volume1", "/volume2", true},
    {__LINE__, 1, "/volume1", "/volume1/", true},
    {__LINE__, 1, "/volume1", "/volume", true},
    {__LINE__, 1, "/volume1", "/VOLUME1", true},
    {__LINE__, 1, "", "/volume1", true},
    {__LINE__, -1, "", "/volume1", true},
    {__LINE__, 0, "", "/volume1", false},
    {__LINE__, 0, "/volume1", "/volume2", true},
    {__LINE__, 0, "/volume1", "/volume1", false},
    {__LINE__, 0, "/", "/volume1", true},
    {__LINE__, 1, "/123456789/123456789/123456789/123456789/123456789/",
     "/123456789/123456789/123456789/123456789/123456789/", false},
    {__LINE__, 1, "/123456789/123456789/123456789/123456789/123456789/1",
     "/123456789/123456789/123456789/123456789/123456789/1", true},
};

TEST_F(CurrentPathTest, ChangesWhenItDiffersFromTheOldOne) {
  for (const ChangeRow& row : kChangeRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line);
    SERVICEINFO service = Service(row.current, 1);
    service.decided = row.decided;
    service.externalAllowed = 0;
    EXPECT_EQ(row.changed, VolumesOf(service).IsVolumeChanged(row.old_path));
    EXPECT_THAT(Calls(), IsEmpty());
  }
}

TEST_F(CurrentPathTest, OfMoreThan51BytesTheCutOneIsCompared) {
  SERVICEINFO service = Service(std::string(60, 'p'), 1);
  service.externalAllowed = 0;
  EXPECT_TRUE(VolumesOf(service).IsVolumeChanged(std::string(60, 'p')));
  EXPECT_TRUE(VolumesOf(service).IsVolumeChanged(std::string(52, 'p')));
  EXPECT_FALSE(VolumesOf(service).IsVolumeChanged(std::string(51, 'p')));
}

class WritableVolumeTest : public VolumeTest {
 protected:
  void Answers(int writable, int result) {
    EXPECT_CALL(storage(), KESTMountVolInfoGet(StrEq("/volume1/a"), _))
        .WillOnce([writable, result](const char*, KESTMOUNTVOL* info) {
          info->writable = writable;
          return result;
        });
  }
};

TEST_F(WritableVolumeTest, IsOneWithTheFlag) {
  for (const int result : {0, 1}) {
    for (const int writable : {1, 2, -1}) {
      Answers(writable, result);
      EXPECT_TRUE(Volume::IsVolumeWritable("/volume1/a"));
    }
    Answers(0, result);
    EXPECT_FALSE(Volume::IsVolumeWritable("/volume1/a"));
  }
}

TEST_F(WritableVolumeTest, OneThatIsUnknownIsNotAndIsLogged) {
  for (const int result : {-1, INT_MIN}) {
    Answers(1, result);
    EXPECT_FALSE(Volume::IsVolumeWritable("/volume1/a"));
    ExpectLogged("volume:# Failed to get volume info /volume1/a");
  }
}

}  // namespace
}  // namespace tarvel_test
