// Volumes: state, lists, and the state of disks.

#include <climits>
#include <cstring>
#include <string>

#include "support/mock_klib.h"
#include "volume_fixture.h"

namespace tarvel_test {
namespace {

using ::testing::_;
using ::testing::ElementsAre;
using ::testing::Invoke;
using ::testing::IsEmpty;
using ::testing::Return;
using ::testing::StrEq;

// A service on the internal volume 1, which may use everything.
SERVICEINFO InternalService() {
  SERVICEINFO service = Service("/volume1");
  service.externalAllowed = 0;
  return service;
}

class DisplayTypeTest : public VolumeTest {
 protected:
  int TypeOf(Volume& volumes, const char* path = nullptr, bool with_expansion = true) {
    int type = 4711;
    EXPECT_TRUE(volumes.VolumeDisplayTypeGet(path, &type, with_expansion));
    return type;
  }
  void Supports(int raid, int expansion) {
    EXPECT_CALL(storage(), KESTSupportRAID()).WillOnce(Return(raid));
    if (raid == 0) EXPECT_CALL(storage(), SupportEBox()).WillOnce(Return(expansion));
  }
};

TEST_F(DisplayTypeTest, WithoutAPlaceForItNothingIsAsked) {
  EXPECT_FALSE(VolumesOf(InternalService()).VolumeDisplayTypeGet("/volume1", nullptr, true));
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(DisplayTypeTest, AMachineWithNeitherRaidNorExpansionUnitsHasOneVolumeWhateverIsMounted) {
  for (const uint32_t mask : {0U, 1U, 3U, 4U, 8U, 7U, 11U}) {
    SERVICEINFO service = InternalService();
    service.locationMask = mask;
    Supports(0, 0);
    EXPECT_EQ(1, TypeOf(VolumesOf(service)));
    EXPECT_THAT(Calls(), ElementsAre("KESTSupportRAID", "SupportEBox"));
  }
}

TEST_F(DisplayTypeTest, AMachineWithOneOfThemLooksAtItsVolumes) {
  for (const int support : {1, -1}) {
    Supports(support, 0);
    EXPECT_EQ(0, TypeOf(AnyVolumes()));
    Supports(0, support);
    EXPECT_EQ(0, TypeOf(AnyVolumes()));
  }
}

TEST_F(DisplayTypeTest, AServiceThatMayUseBothExternalKindsIsNotBoundByTheMachine) {
  for (const uint32_t mask : {12U, 13U, 15U}) {
    SERVICEINFO service = InternalService();
    service.locationMask = mask;
    EXPECT_EQ(0, TypeOf(VolumesOf(service)));
    EXPECT_THAT(Calls(), IsEmpty());
  }
}

TEST_F(DisplayTypeTest, NoOneOrSeveralVolumesAreTold) {
  SkipsNothing();
  EXPECT_EQ(0, TypeOf(VolumesOf(InternalService())));
  HasVolumes({Internal(1)});
  EXPECT_EQ(1, TypeOf(VolumesOf(InternalService())));
  HasVolumes({Internal(1), Usb(1)});
  EXPECT_EQ(2, TypeOf(VolumesOf(InternalService())));
  HasVolumes({Internal(1), Expansion(1), Sata()});
  EXPECT_EQ(2, TypeOf(VolumesOf(InternalService())));
}

TEST_F(DisplayTypeTest, ExpansionUnitsCountOnlyWhenTheyAreWanted) {
  HasVolumes({Internal(1), Expansion(1)});
  Skips("/volume1", 7, 0);
  EXPECT_EQ(1, TypeOf(VolumesOf(InternalService()), nullptr, false));
  EXPECT_THAT(Calls(), ElementsAre("FSIsMatchSkipFS"));
  Skips("/volumeX1", 7, 0);
  EXPECT_EQ(2, TypeOf(VolumesOf(InternalService()), nullptr, true));
}

TEST_F(DisplayTypeTest, SkippedFileSystemsDoNotCount) {
  HasVolumes({Internal(1), Internal(2), Usb(1)});
  Skips("/volume1", 7, 1);
  Skips("/volume2", 7, 0);
  Skips("/volumeUSB1/usbshare", 7, -1);
  EXPECT_EQ(1, TypeOf(VolumesOf(InternalService())));
}

TEST_F(DisplayTypeTest, ReadOnlyVolumesDoNotCount) {
  SkipsNothing();
  HasVolumes({ReadOnly(Internal(1)), Internal(2)});
  EXPECT_EQ(1, TypeOf(VolumesOf(InternalService())));
  HasVolumes({ReadOnly(Internal(1))});
  EXPECT_EQ(0, TypeOf(VolumesOf(InternalService())));
}

TEST_F(DisplayTypeTest, TheGivenPathIsCrashedWhenItIsNotWritable) {
  SkipsNothing();
  HasVolumes({ReadOnly(Internal(1)), Internal(2), Internal(3)});
  Volume& volumes = VolumesOf(InternalService());
  EXPECT_EQ(3, TypeOf(volumes, "/volume1"));
  EXPECT_EQ(2, TypeOf(volumes, "/volume2"));
  EXPECT_EQ(2, TypeOf(volumes, "/volume"));
  EXPECT_EQ(2, TypeOf(volumes, "/volume1/"));
  EXPECT_EQ(2, TypeOf(volumes, "/VOLUME1"));
  EXPECT_EQ(2, TypeOf(volumes, ""));
  EXPECT_EQ(2, TypeOf(volumes, nullptr));
}

TEST_F(DisplayTypeTest, OneThatIsNotLookedAtCannotBeCrashed) {
  HasVolumes({ReadOnly(Internal(1)), ReadOnly(Expansion(1))});
  Skips("/volume1", 7, 1);
  EXPECT_EQ(0, TypeOf(VolumesOf(InternalService()), "/volume1", false));
  Skips("/volume1", 7, 0);
  EXPECT_EQ(0, TypeOf(VolumesOf(InternalService()), "/volumeX1", false));
  Skips("/volumeX1", 7, 0);
  EXPECT_EQ(3, TypeOf(VolumesOf(InternalService()), "/volumeX1", true));
}

TEST_F(DisplayTypeTest, WithAnExternalVolumeAllowedACrashIsHiddenByAnotherVolume) {
  SkipsNothing();
  HasVolumes({ReadOnly(Internal(1)), Internal(2)});
  SERVICEINFO service = Service("");
  EXPECT_EQ(1, TypeOf(VolumesOf(service), "/volume1"));
  HasVolumes({ReadOnly(Internal(1)), Internal(2), Internal(3)});
  EXPECT_EQ(2, TypeOf(VolumesOf(service), "/volume1"));
  HasVolumes({ReadOnly(Internal(1))});
  EXPECT_EQ(3, TypeOf(VolumesOf(service), "/volume1"));
}

struct LostRow {
  int line;
  int has_volume;
  int decided;
  bool mounted;   // the service's external volume
  int others;     // further volumes
  int unchecked;  // type without the check
  int checked;    // and with it
};

constexpr LostRow kLostRows[] = {
    {__LINE__, 1, 1, true, 0, 1, 1},  {__LINE__, 1, 1, true, 1, 2, 2},  {__LINE__, 1, 1, false, 0, 0, 3},
    {__LINE__, 1, 1, false, 1, 1, 2}, {__LINE__, 1, 1, false, 2, 2, 2}, {__LINE__, 0, 0, false, 0, 0, 3},
    {__LINE__, 0, 0, true, 0, 1, 1},  {__LINE__, 0, 1, true, 0, 1, 1},  {__LINE__, 1, 0, true, 0, 1, 2},
    {__LINE__, -1, 0, true, 0, 1, 2}, {__LINE__, 1, 0, true, 1, 2, 2},  {__LINE__, 1, -1, true, 0, 1, 1},
    {__LINE__, 1, 0, false, 0, 0, 3},
};

TEST_F(DisplayTypeTest, ALostExternalVolumeShowsOnlyWhenItIsChecked) {
  SkipsNothing();
  for (const LostRow& row : kLostRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line);
    SERVICEINFO service = Service("/volumeUSB1/usbshare");
    service.hasVolume = row.has_volume;
    service.decided = row.decided;
    KESTMOUNTVOL usb = row.mounted ? Usb(1) : ReadOnly(Usb(1));
    HasVolumes({usb, row.others > 0 ? Internal(1) : ReadOnly(Internal(1)),
                row.others > 1 ? Internal(2) : ReadOnly(Internal(2))});
    Volume& volumes = VolumesOf(service);
    EXPECT_EQ(row.unchecked, TypeOf(volumes));
    volumes.SetCheckExtVolume(true);
    EXPECT_EQ(row.checked, TypeOf(volumes));
    volumes.SetCheckExtVolume(false);
    EXPECT_EQ(row.unchecked, TypeOf(volumes));
  }
}

TEST_F(DisplayTypeTest, AServiceThatMayNotLiveOnAnExternalVolumeIsCrashedWithoutADecision) {
  SkipsNothing();
  HasVolumes({Internal(1), Internal(2)});
  SERVICEINFO service = InternalService();
  service.decided = 0;
  Volume& volumes = VolumesOf(service);
  EXPECT_EQ(2, TypeOf(volumes));
  volumes.SetCheckExtVolume(true);
  EXPECT_EQ(3, TypeOf(volumes));
}

class VolumeStatusTest : public VolumeTest {
 protected:
  VolumeStatusTest() { SkipsNothing(); }

  SERVICEINFO Undecided() {
    SERVICEINFO service = InternalService();
    service.decided = 0;
    return service;
  }
  void Chooses(const char* path, int result) {
    EXPECT_CALL(storage(), KESTServiceNewVolumeDecide(_, _, 64)).WillOnce([path, result](SERVICEINFO*, char* buf, int) {
      std::strcpy(buf, path);
      return result;
    });
  }
  Json::Value Words(Volume& volumes, bool localized) {
    Json::Value words = 4711;
    volumes.VolumeDisplayStatusToString(words, localized);
    return words;
  }
};

TEST_F(VolumeStatusTest, IsTheTypeForTheServicesOwnPath) {
  HasVolumes({ReadOnly(Internal(1)), Internal(2)});
  EXPECT_EQ(3, VolumesOf(InternalService()).VolumeStatusGet(true));
  SERVICEINFO elsewhere = Service("/volume2");
  elsewhere.externalAllowed = 0;
  EXPECT_EQ(1, VolumesOf(elsewhere).VolumeStatusGet(true));
}

TEST_F(VolumeStatusTest, ALongPathIsComparedWhole) {
  const std::string path = "/" + std::string(62, 'v');
  HasVolumes({ReadOnly(Mounted(1, KEST_VOL_INTERNAL, path)), Internal(2)});
  SERVICEINFO service = Service(path);
  service.externalAllowed = 0;
  EXPECT_EQ(3, VolumesOf(service).VolumeStatusGet(true));
}

TEST_F(VolumeStatusTest, WithoutVolumesIsNone) {
  EXPECT_EQ(0, VolumesOf(InternalService()).VolumeStatusGet(true));
  EXPECT_EQ(0, VolumesOf(InternalService()).VolumeStatusGet(false));
}

TEST_F(VolumeStatusTest, LeavesExpansionUnitsOut) {
  HasVolumes({Internal(1), Expansion(1)});
  EXPECT_EQ(1, VolumesOf(InternalService()).VolumeStatusGet(true));
}

TEST_F(VolumeStatusTest, OfAnUndecidedServiceIsThatOfThePathThatWouldBeChosen) {
  HasVolumes({ReadOnly(Internal(1)), ReadOnly(Internal(2)), Internal(3)});
  Chooses("/volume2", 1);
  EXPECT_EQ(3, VolumesOf(Undecided()).VolumeStatusGet(true));
  Chooses("/volume3", 1);
  EXPECT_EQ(1, VolumesOf(Undecided()).VolumeStatusGet(true));
  EXPECT_EQ(3, VolumesOf(Undecided()).VolumeStatusGet(false)) << "nobody is asked, /volume1 it is";
}

TEST_F(VolumeStatusTest, WhenNoneIsChosenThereIsNoPath) {
  HasVolumes({ReadOnly(Internal(1)), Mounted(0, KEST_VOL_INTERNAL, "")});
  Chooses("/volume1", 0);
  EXPECT_EQ(1, VolumesOf(Undecided()).VolumeStatusGet(true));
  HasVolumes({ReadOnly(Mounted(0, KEST_VOL_INTERNAL, ""))});
  Chooses("", 0);
  EXPECT_EQ(0, VolumesOf(Undecided()).VolumeStatusGet(true)) << "not even the empty one";
}

TEST_F(VolumeStatusTest, InWordsSaysWhatIsWrong) {
  EXPECT_EQ(Json::Value("no_volume"), Words(VolumesOf(InternalService()), false));
  HasVolumes({ReadOnly(Internal(1))});
  EXPECT_EQ(Json::Value("crashed"), Words(VolumesOf(InternalService()), false));
  HasVolumes({Internal(1)});
  EXPECT_EQ(Json::Value(""), Words(VolumesOf(InternalService()), false));
  HasVolumes({Internal(1), Internal(2)});
  EXPECT_EQ(Json::Value(""), Words(VolumesOf(InternalService()), false));
}

TEST_F(VolumeStatusTest, InTheUsersWordsIsATextOfTheVolumeSection) {
  HasTexts({{"volume_status_crashed", "Crashed!"}, {"volume_novolume", "No volume."}});
  ExpectTextsOpened("volume");
  EXPECT_EQ(Json::Value("No volume."), Words(VolumesOf(InternalService()), true));
  HasVolumes({ReadOnly(Internal(1))});
  ExpectTextsOpened("volume");
  EXPECT_EQ(Json::Value("Crashed!"), Words(VolumesOf(InternalService()), true));
  HasTexts({});
  ExpectTextsOpened("volume");
  EXPECT_EQ(Json::Value(""), Words(VolumesOf(InternalService()), true));
}

TEST_F(VolumeStatusTest, InTheUsersWordsNothingIsWrongWithoutWords) {
  HasVolumes({Internal(1)});
  EXPECT_EQ(Json::Value(""), Words(VolumesOf(InternalService()), true));
}

TEST_F(VolumeStatusTest, InWordsThePlatformIsAskedToDecide) {
  HasVolumes({ReadOnly(Internal(2))});
  Chooses("/volume2", 1);
  EXPECT_EQ(Json::Value("crashed"), Words(VolumesOf(Undecided()), false));
}

class VolumeListTest : public VolumeTest {
 protected:
  VolumeListTest() {
    HasTexts({{"volume", "Volume"},
              {"volume_disk_source_ebox", "Expansion Unit"},
              {"volume_freesize", "Available"},
              {"colon", ": "},
              {"volume_size", "GB"},
              {"volume_status_crashed", "Crashed"}});
  }

  Json::Value ListOf(Volume& volumes, bool with_expansion = true) {
    ExpectTextsOpened("common", "volume");
    Json::Value result;
    EXPECT_TRUE(volumes.VolumeListGet(result, with_expansion));
    return result;
  }
  std::string LabelOf(const KESTMOUNTVOL& volume) {
    HasVolumes({volume});
    const Json::Value result = ListOf(VolumesOf(InternalService()));
    EXPECT_EQ(1, result["volume_count"].asInt());
    return result["volume_list"][0]["display"].asString();
  }
};

constexpr uint64_t kGib = 1073741824;

TEST_F(VolumeListTest, WithoutVolumesIsEmpty) {
  EXPECT_EQ(Doc("{'volume_list': [], 'volume_count': 0}"), ListOf(AnyVolumes()));
  EXPECT_EQ(Doc("{'volume_list': [], 'volume_count': 0}"), ListOf(VolumesOf(InternalService())));
}

TEST_F(VolumeListTest, EachVolumeHasIdentifierLabelAndSizes) {
  SkipsNothing();
  HasVolumes({Mounted(1, KEST_VOL_INTERNAL, "/volume1", 1610612736, 4000000000),
              Mounted(2, KEST_VOL_EXPANSION, "/volumeX2", 0, 1),
              Mounted(3, KEST_VOL_USB, "/volumeUSB3/usbshare", UINT64_MAX, UINT64_MAX),
              Mounted(0, KEST_VOL_SATA, "/volumeSATA/satashare", 10 * kGib, 20 * kGib)});
  EXPECT_EQ(Doc("{'volume_list': ["
                "{'value': '1', 'display': 'Volume 1 (Available:  1.50 GB )', 'size_free': '1610612736',"
                " 'size_total': '4000000000'},"
                "{'value': 'X2', 'display': 'Volume 2 (Expansion Unit, Available:  0.00 GB )', 'size_free': '0',"
                " 'size_total': '1'},"
                "{'value': 'U3', 'display': 'usbshare3 (Available:  17179869184.00 GB )',"
                " 'size_free': '18446744073709551615', 'size_total': '18446744073709551615'},"
                "{'value': 'S', 'display': 'satashare (Available:  10.00 GB )', 'size_free': '10737418240',"
                " 'size_total': '21474836480'}],"
                "'volume_count': 4}"),
            ListOf(VolumesOf(InternalService())));
}

TEST_F(VolumeListTest, TheLabelGivesTheFreeSizeInGibibytes) {
  SkipsNothing();
  const struct {
    uint64_t free_bytes;
    const char* free_gib;
  } rows[] = {{0, "0.00"},
              {kGib / 100, "0.01"},
              {kGib / 1000, "0.00"},
              {kGib, "1.00"},
              {kGib * 3 / 2, "1.50"},
              {kGib * 999, "999.00"},
              {kGib * 12345, "12345.00"}};
  for (const auto& row : rows) {
    EXPECT_EQ("Volume 1 (Available:  " + std::string(row.free_gib) + " GB )",
              LabelOf(Mounted(1, KEST_VOL_INTERNAL, "/volume1", row.free_bytes)));
  }
}

TEST_F(VolumeListTest, AnUnknownLocationIsLabelledAsAnInternalOne) {
  SkipsNothing();
  for (const int location : {0, 3, 16}) {
    EXPECT_EQ("Volume 7 (Available:  1.00 GB )",
              LabelOf(Mounted(7, static_cast<_tag_vol_location_>(location), "/volume7", kGib)));
  }
}

TEST_F(VolumeListTest, MissingTextsAreEmpty) {
  SkipsNothing();
  HasTexts({});
  EXPECT_EQ(" 1 ( 1.00  )", LabelOf(Mounted(1, KEST_VOL_INTERNAL, "/volume1", kGib)));
  EXPECT_EQ(" 1 (,  1.00  )", LabelOf(Mounted(1, KEST_VOL_EXPANSION, "/volumeX1", kGib)));
  EXPECT_EQ("usbshare1 ( 1.00  )", LabelOf(Mounted(1, KEST_VOL_USB, "/volumeUSB1", kGib)));
  EXPECT_EQ("satashare ( 1.00  )", LabelOf(Mounted(1, KEST_VOL_SATA, "/volumeSATA", kGib)));
}

TEST_F(VolumeListTest, ALabelHas511BytesAtMost) {
  SkipsNothing();
  HasTexts({{"volume_freesize", std::string(600, 'f')}});
  EXPECT_EQ(" 1 (" + std::string(507, 'f'), LabelOf(Mounted(1, KEST_VOL_INTERNAL, "/volume1")));
  EXPECT_EQ("usbshare1 (" + std::string(500, 'f'), LabelOf(Mounted(1, KEST_VOL_USB, "/volumeUSB1")));
  EXPECT_EQ("satashare (" + std::string(500, 'f'), LabelOf(Mounted(1, KEST_VOL_SATA, "/volumeSATA")));
}

TEST_F(VolumeListTest, APathThatIsNoVolumesHasNoIdentifier) {
  SkipsNothing();
  HasVolumes({Mounted(2, KEST_VOL_INTERNAL, "/volume2"), Mounted(1, KEST_VOL_INTERNAL, "/mnt")});
  const Json::Value result = ListOf(VolumesOf(InternalService()));
  EXPECT_EQ(Json::Value("2"), result["volume_list"][0]["value"]);
  EXPECT_EQ(Json::Value(""), result["volume_list"][1]["value"]);
  EXPECT_EQ(Json::Value(2), result["volume_count"]);
}

TEST_F(VolumeListTest, ExpansionUnitsAreListedOnlyWhenTheyAreWanted) {
  HasVolumes({Expansion(1), Internal(1)});
  Skips("/volume1", 7, 0);
  Volume& volumes = VolumesOf(InternalService());
  EXPECT_EQ(1, ListOf(volumes, false)["volume_count"].asInt());
  Skips("/volumeX1", 7, 0);
  EXPECT_EQ(2, ListOf(volumes, true)["volume_count"].asInt());
}

TEST_F(VolumeListTest, ReadOnlyVolumesAndSkippedFileSystemsAreNotListed) {
  HasVolumes({ReadOnly(Internal(1)), Internal(2), Internal(3), Internal(4)});
  Skips("/volume2", 7, 1);
  Skips("/volume3", 7, 0);
  Skips("/volume4", 7, -1);
  const Json::Value result = ListOf(VolumesOf(InternalService()));
  EXPECT_EQ(Json::Value(1), result["volume_count"]);
  ASSERT_EQ(1U, result["volume_list"].size());
  EXPECT_EQ(Json::Value("3"), result["volume_list"][0]["value"]);
}

TEST_F(VolumeListTest, OtherMembersOfTheDocumentStayAndAnOldListGoes) {
  SkipsNothing();
  HasVolumes({Internal(1)});
  Json::Value result = Doc("{'success': true, 'volume_list': [1, 2, 3], 'volume_count': 'x'}");
  ExpectTextsOpened("common", "volume");
  EXPECT_TRUE(VolumesOf(InternalService()).VolumeListGet(result, true));
  EXPECT_EQ(Json::Value(true), result["success"]);
  EXPECT_EQ(1U, result["volume_list"].size());
  EXPECT_EQ(Json::Value(1), result["volume_count"]);
  EXPECT_EQ(3U, result.size());
}

TEST_F(VolumeListTest, TheTextsAreGivenBack) {
  HasVolumes({Internal(1)});
  SkipsNothing();
  ListOf(VolumesOf(InternalService()));
  EXPECT_THAT(Calls(),
              ElementsAre("KestCgiInit", "KestCgiLoadText", "KestCgiGetText", "KestCgiGetText", "KestCgiGetText",
                          "KestCgiGetText", "KestCgiGetText", "FSIsMatchSkipFS", "KestCgiFree"));
}

class CrashedVolumeTest : public VolumeListTest {
 protected:
  // The list of a service whose external volume is not mounted, beside one healthy volume.
  Json::Value ListBeside(const char* path, int result, _tag_vol_id_ id) {
    SkipsNothing();
    HasVolumes({Internal(1)});
    Volume& volumes = VolumesOf(Service(path));
    volumes.SetCheckExtVolume(true);
    ExpectTextsOpened("common", "volume");
    ExpectTextsOpened("volume");
    Parses(path, result, id);
    Json::Value list;
    EXPECT_TRUE(volumes.VolumeListGet(list, true));
    return list;
  }
};

TEST_F(CrashedVolumeTest, AUsbVolumeStandsFirstAndIsNotCounted) {
  EXPECT_EQ(Doc("{'external_volume_crashed': 1, 'volume_count': 1, 'volume_list': ["
                "{'value': 'U2_bad', 'display': 'usbshare2 (Crashed)'},"
                "{'value': '1', 'display': 'Volume 1 (Available:  0.00 GB )', 'size_free': '0', 'size_total': '0'}]}"),
            ListBeside("/volumeUSB2/usbshare", 1, {2, KEST_VOL_USB}));
}

TEST_F(CrashedVolumeTest, TheSataVolumeHasNoNumber) {
  const Json::Value list = ListBeside("/volumeSATA/satashare", 1, {0, KEST_VOL_SATA});
  EXPECT_EQ(Doc("{'value': 'S_bad', 'display': 'satashare (Crashed)'}"), list["volume_list"][0]);
  EXPECT_EQ(Json::Value(1), list["external_volume_crashed"]);
}

TEST_F(CrashedVolumeTest, WithoutItsShareFolderTheIdentifierSaysSo) {
  EXPECT_EQ(Json::Value("U2_native_bad"), ListBeside("/volumeUSB2", 3, {2, KEST_VOL_USB})["volume_list"][0]["value"]);
}

TEST_F(CrashedVolumeTest, TheIdentifierHasOneDigitAndTheLabelTheNumberThatWasParsed) {
  EXPECT_EQ(Doc("{'value': 'U1_bad', 'display': 'usbshare12 (Crashed)'}"),
            ListBeside("/volumeUSB12/usbshare", 1, {12, KEST_VOL_USB})["volume_list"][0]);
}

TEST_F(CrashedVolumeTest, AnInternalVolumeIsNotAdded) {
  for (const int location : {1, 2, 0, 12}) {
    const Json::Value list = ListBeside("/volume9", 1, {9, static_cast<_tag_vol_location_>(location)});
    EXPECT_EQ(1U, list["volume_list"].size());
    EXPECT_FALSE(list.isMember("external_volume_crashed"));
    EXPECT_EQ(4U, list["volume_list"][0].size());
  }
}

TEST_F(CrashedVolumeTest, APathThatIsNoVolumesIsLoggedAndNotAdded) {
  for (const int result : {0, -1}) {
    const Json::Value list = ListBeside("/elsewhere", result, {});
    ExpectLogged("volume:# Failed to parse volume path: /elsewhere");
    EXPECT_EQ(1U, list["volume_list"].size());
    EXPECT_FALSE(list.isMember("external_volume_crashed"));
  }
}

TEST_F(CrashedVolumeTest, OneThatWasNeverDecidedIsLostToo) {
  SkipsNothing();
  HasVolumes({Usb(1)});
  SERVICEINFO service = Service("/volumeUSB1/usbshare");
  service.decided = 0;
  Volume& volumes = VolumesOf(service);
  volumes.SetCheckExtVolume(true);
  ExpectTextsOpened("common", "volume");
  ExpectTextsOpened("volume");
  Parses("/volumeUSB1/usbshare", 1, {1, KEST_VOL_USB});
  Json::Value list;
  EXPECT_TRUE(volumes.VolumeListGet(list, true));
  EXPECT_EQ(2U, list["volume_list"].size());
  EXPECT_EQ(Json::Value(1), list["volume_count"]);
}

TEST_F(CrashedVolumeTest, NothingIsAddedUnlessItIsCheckedAllowedAndLost) {
  SkipsNothing();
  HasVolumes({Usb(1)});
  SERVICEINFO undecided = Service("/volumeUSB1/usbshare");
  undecided.decided = 0;
  EXPECT_EQ(1U, ListOf(VolumesOf(undecided))["volume_list"].size()) << "not checked";

  SERVICEINFO not_allowed = undecided;
  not_allowed.externalAllowed = 0;
  Volume& inside = VolumesOf(not_allowed);
  inside.SetCheckExtVolume(true);
  EXPECT_EQ(1U, ListOf(inside)["volume_list"].size()) << "not allowed";

  Volume& healthy = VolumesOf(Service("/volumeUSB1/usbshare"));
  healthy.SetCheckExtVolume(true);
  EXPECT_EQ(1U, ListOf(healthy)["volume_list"].size()) << "not lost";

  undecided.hasVolume = 0;
  Volume& without = VolumesOf(undecided);
  without.SetCheckExtVolume(true);
  EXPECT_EQ(1U, ListOf(without)["volume_list"].size()) << "it has none";
}

TEST_F(CrashedVolumeTest, TheEntryCanBeMadeAlone) {
  Volume& volumes = VolumesOf(Service("/volumeUSB2/usbshare"));
  Json::Value result, item;
  ExpectTextsOpened("volume");
  Parses("/volumeUSB2/usbshare", 1, {2, KEST_VOL_USB});
  EXPECT_TRUE(volumes.AddCrashedExternalVolToList(result, item));
  EXPECT_EQ(Doc("{'value': 'U2_bad', 'display': 'usbshare2 (Crashed)'}"), item);
  EXPECT_TRUE(result.isNull());
  EXPECT_THAT(Calls(),
              ElementsAre("KestCgiInit", "KestCgiLoadText", "VolumePathParse", "KestCgiGetText", "KestCgiFree"));
}

TEST_F(CrashedVolumeTest, AnEntryThatIsNotMadeLeavesTheItemAlone) {
  Volume& volumes = VolumesOf(Service("/volumeUSB2/usbshare"));
  Json::Value result, item = Doc("{'value': 'x'}");
  ExpectTextsOpened("volume");
  Parses("/volumeUSB2/usbshare", 1, {2, KEST_VOL_INTERNAL});
  EXPECT_FALSE(volumes.AddCrashedExternalVolToList(result, item));
  ExpectTextsOpened("volume");
  Parses("/volumeUSB2/usbshare", 0, {});
  EXPECT_FALSE(volumes.AddCrashedExternalVolToList(result, item));
  ExpectLogged("volume:# Failed to parse volume path: /volumeUSB2/usbshare");
  EXPECT_EQ(Doc("{'value': 'x'}"), item);
  EXPECT_TRUE(result.isNull());
}

class SystemVolumeTest : public VolumeTest {
 protected:
  void Setting(const char* value, int result) {
    EXPECT_CALL(klib(), KLIBFileGetKeyValue(StrEq("/etc.defaults/kestinfo.conf"), StrEq("supportraid"), _, 8, 0))
        .WillOnce([value, result](const char*, const char*, char* buf, int, int) {
          EXPECT_EQ(std::string(8, '\0'), std::string(buf, 8));
          std::strcpy(buf, value);
          return result;
        });
  }
  void Raids(int first, int second, int result) {
    raids_.entry[0].state = first;
    raids_.entry[1].state = second;
    EXPECT_CALL(storage(), RAIDSystemGet(_)).WillOnce([this, result](_tag_raid_for_system_** slot) {
      EXPECT_EQ(nullptr, *slot);
      *slot = &raids_;
      return result;
    });
  }

  _tag_raid_for_system_ raids_ = {};
};

TEST_F(SystemVolumeTest, IsCrashedWhenEitherRaidIs) {
  for (const int first : {0, 1, 2, 3, 4, -1}) {
    for (const int second : {0, 1, 2, 3, 4, -1}) {
      Setting("yes", 3);
      Raids(first, second, 0);
      EXPECT_EQ(first == 3 || second == 3, Volume::IsSystemVolCrashed()) << first << " " << second;
      EXPECT_THAT(Calls(), ElementsAre("KLIBFileGetKeyValue", "RAIDSystemGet", "RAIDSystemFree"));
    }
  }
}

TEST_F(SystemVolumeTest, IsNotAskedAboutWithoutRaid) {
  const struct {
    const char* value;
    int result;
  } rows[] = {{"", 0}, {"", -1}, {"yes", 0}, {"yes", -1}, {"no", 2}, {"yes ", 4}, {"ye", 2}, {"1", 1}, {"yesyes", 6}};
  for (const auto& row : rows) {
    Setting(row.value, row.result);
    EXPECT_FALSE(Volume::IsSystemVolCrashed()) << row.value;
    EXPECT_THAT(Calls(), ElementsAre("KLIBFileGetKeyValue"));
  }
}

TEST_F(SystemVolumeTest, TheSettingMayHaveAnyCase) {
  for (const char* value : {"YES", "Yes", "yES"}) {
    Setting(value, 1);
    Raids(3, 3, 1);
    EXPECT_TRUE(Volume::IsSystemVolCrashed());
  }
}

TEST_F(SystemVolumeTest, AStateThatCannotBeReadIsLoggedAndTheRecordGivenBack) {
  Setting("yes", 3);
  Raids(3, 3, -1);
  EXPECT_CALL(klib(), KLIBErrGet()).WillOnce(Return(0x8100));
  EXPECT_FALSE(Volume::IsSystemVolCrashed());
  ExpectLogged("volume:# Failed to get status of /dev/md0, errno=[8100]");
  EXPECT_THAT(Calls(), ElementsAre("KLIBFileGetKeyValue", "RAIDSystemGet", "KLIBErrGet", "RAIDSystemFree"));
}

TEST_F(SystemVolumeTest, AFailureWithoutARecordGivesNothingBackButSaysSo) {
  Setting("yes", 3);
  EXPECT_CALL(storage(), RAIDSystemGet(_)).WillOnce(Return(INT_MIN));
  EXPECT_CALL(klib(), KLIBErrGet()).WillOnce(Return(-1));
  EXPECT_CALL(storage(), RAIDSystemFree(nullptr));
  EXPECT_FALSE(Volume::IsSystemVolCrashed());
  ExpectLogged("volume:# Failed to get status of /dev/md0, errno=[FFFFFFFF]");
}

class DiskStatusTest : public VolumeTest {
 protected:
  void Supports(int raid) { EXPECT_CALL(storage(), KESTSupportRAID()).WillOnce(Return(raid)); }
  void Replies(int flags, _space_type_ type, const char* name, int result = 0) {
    EXPECT_CALL(storage(), KESTSpaceDiskStatusGet(_, _))
        .WillOnce([=](const SPACEDISKREQ* request, SPACEDISKREPLY* reply) {
          const SPACEDISKREPLY zero = {};
          EXPECT_EQ(0, std::memcmp(&zero, reply, sizeof zero));
          request_ = *request;
          reply->flags = flags;
          reply->spaceType = type;
          std::strcpy(reply->spaceName, name);
          return result;
        });
  }
  bool Get(const char* disk) { return Volume::GetDiskStatus(disk, &space_, &raid_, space_id_, status_); }

  _space_info_ space_ = {};
  _tag_raid_for_system_ raid_ = {};
  SPACEDISKREQ request_ = {};
  std::string space_id_ = "as before", status_ = "as before";
};

TEST_F(DiskStatusTest, NoDiskIsNotInstalledWithoutThePlatform) {
  EXPECT_TRUE(Get(nullptr));
  EXPECT_EQ("not_install", status_);
  EXPECT_EQ("", space_id_);
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(DiskStatusTest, ThePlatformIsAskedForTheDisk) {
  Supports(1);
  Replies(0, KEST_SPACE_VOLUME, "");
  EXPECT_TRUE(Get("/dev/sda"));
  EXPECT_STREQ("/dev/sda", request_.disk);
  EXPECT_EQ(&raid_, request_.raid);
  EXPECT_EQ(&space_, request_.space);
  EXPECT_THAT(Calls(), ElementsAre("KESTSupportRAID", "KESTSpaceDiskStatusGet"));
}

TEST_F(DiskStatusTest, WithoutRaidNoneIsNamed) {
  Supports(0);
  Replies(0, KEST_SPACE_VOLUME, "");
  EXPECT_TRUE(Get("/dev/sda"));
  EXPECT_EQ(nullptr, request_.raid);
  EXPECT_EQ(&space_, request_.space);
  Supports(-1);
  Replies(0, KEST_SPACE_VOLUME, "");
  EXPECT_TRUE(Get("/dev/sda"));
  EXPECT_EQ(&raid_, request_.raid);
}

TEST_F(DiskStatusTest, NoSpaceAndNoRaidAreHandedOnAsNull) {
  Supports(1);
  Replies(0, KEST_SPACE_VOLUME, "");
  EXPECT_TRUE(Volume::GetDiskStatus("/dev/sda", nullptr, nullptr, space_id_, status_));
  EXPECT_EQ(nullptr, request_.raid);
  EXPECT_EQ(nullptr, request_.space);
}

TEST_F(DiskStatusTest, OfTheFlagsTheWorstIsTold) {
  for (int flags = 0; flags < 64; ++flags) {
    const char* const expected = (flags & 2) != 0   ? "crashed"
                                 : (flags & 8) != 0 ? "system_crashed"
                                 : (flags & 1) != 0 ? "normal"
                                 : (flags & 4) != 0 ? "sys_partition_normal"
                                                    : "not_use";
    Supports(1);
    Replies(flags, KEST_SPACE_ISCSI, "lun7", flags % 2);
    EXPECT_TRUE(Get("/dev/sda"));
    EXPECT_EQ(expected, status_) << flags;
    EXPECT_EQ((flags & 3) != 0 ? "iscsi_lun7" : "", space_id_) << flags;
  }
}

TEST_F(DiskStatusTest, TheSpaceOfAVolumeIsToldByItsPath) {
  Supports(1);
  Replies(3, KEST_SPACE_VOLUME, "/volume2");
  Parses("/volume2", 1, {2, KEST_VOL_INTERNAL});
  EXPECT_TRUE(Get("/dev/sda"));
  EXPECT_EQ("crashed", status_);
  EXPECT_EQ("volume_2", space_id_);
}

TEST_F(DiskStatusTest, ASpaceThatHasNoIdentifierHasAnEmptyOne) {
  Supports(1);
  Replies(1, static_cast<_space_type_>(9), "x");
  EXPECT_TRUE(Get("/dev/sda"));
  ExpectLogged("volume:# unsupported space type: '9'");
  EXPECT_EQ("normal", status_);
  EXPECT_EQ("", space_id_);
}

TEST_F(DiskStatusTest, AStateThatCannotBeReadIsLogged) {
  for (const int result : {-1, INT_MIN}) {
    Supports(1);
    Replies(1, KEST_SPACE_ISCSI, "lun7", result);
    EXPECT_FALSE(Get("/dev/sda"));
    ExpectLogged("volume:# Failed to get disk status: [/dev/sda]");
    EXPECT_EQ("as before", status_);
    EXPECT_EQ("as before", space_id_);
  }
}

}  // namespace
}  // namespace tarvel_test
