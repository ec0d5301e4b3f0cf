// Volumes: paths, identifiers, spaces and labels.

#include <climits>
#include <cstring>
#include <map>
#include <random>
#include <stdexcept>
#include <string>

#include "volume_fixture.h"

namespace tarvel_test {
namespace {

using ::testing::_;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StrEq;

constexpr auto kNowhere = static_cast<_tag_vol_location_>(0);
constexpr auto kNoType = static_cast<_space_type_>(0x5a);
constexpr _tag_vol_id_ kUntouched = {4711, KEST_VOL_LOCATION_FILLER_};

// A path or identifier as a text of the caller's.
template <size_t kBytes>
class Buffer {
 public:
  Buffer() { std::memset(text_, '#', sizeof text_), text_[kBytes - 1] = '\0'; }
  explicit Buffer(const char* text) { std::snprintf(text_, sizeof text_, "%s", text); }
  char* get() { return text_; }
  int size() const { return static_cast<int>(kBytes); }
  std::string text() const { return text_; }

 private:
  char text_[kBytes];
};

class VolumeIdTest : public VolumeTest {};

struct IdRow {
  int line;
  const char* path;
  const char* id;  // null: refused
};

constexpr IdRow kIdRows[] = {
    {__LINE__, "/volume1", "1"},
    {__LINE__, "/volume1/share", "1"},
    {__LINE__, "/volume12", "1"},
    {__LINE__, "/volume12/x", "1"},
    {__LINE__, "/volume", ""},
    {__LINE__, "/volume/", "/"},
    {__LINE__, "/volumes", "s"},
    {__LINE__, "/volumex1", "x"},
    {__LINE__, "/volumeU1", "U"},
    {__LINE__, "/volumeSAT", "S"},
    {__LINE__, "/volume1/usbshare", "1"},
    {__LINE__, "/volumeX2", "X2"},
    {__LINE__, "/volumeX2/x", "X2"},
    {__LINE__, "/volumeX12", "X1"},
    {__LINE__, "/volumeX", "X"},
    {__LINE__, "/volumeX/a", "X/"},
    {__LINE__, "/volumeX1/usbshare", "X1"},
    {__LINE__, "/volumeUSB2/usbshare", "U2"},
    {__LINE__, "/volumeUSB2/usbshare/x", "U2"},
    {__LINE__, "/volumeUSB2/a/usbshare", "U2"},
    {__LINE__, "/volumeUSB2/myusbshares", "U2"},
    {__LINE__, "/volumeUSB2", "U2_native"},
    {__LINE__, "/volumeUSB2/USBSHARE", "U2_native"},
    {__LINE__, "/volumeUSB2/satashare", "U2_native"},
    {__LINE__, "/volumeUSB12", "U1_native"},
    {__LINE__, "/volumeUSB", "U_native"},
    {__LINE__, "/volumeUSB/usbshare", "U/"},
    {__LINE__, "/volumeUSBusbshare", "Uu"},
    {__LINE__, "/volumeSATA/satashare", "S"},
    {__LINE__, "/volumeSATA", "S_native"},
    {__LINE__, "/volumeSATA1/usbshare", "S_native"},
    {__LINE__, "/volumeSATAsatashare", "S"},
    {__LINE__, "", nullptr},
    {__LINE__, "/", nullptr},
    {__LINE__, "/volum", nullptr},
    {__LINE__, "/Volume1", nullptr},
    {__LINE__, "volume1", nullptr},
    {__LINE__, " /volume1", nullptr},
    {__LINE__, "/mnt/volume1", nullptr},
    {__LINE__, "/home/usbshare", nullptr},
};

TEST_F(VolumeIdTest, APathIsToldByItsPrefixAndOneCharacterOfTheNumber) {
  for (const IdRow& row : kIdRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line << ": " << row.path);
    std::string id = "as before";
    EXPECT_EQ(row.id != nullptr, Volume::CGIRenderVolID(row.path, id));
    EXPECT_EQ(row.id != nullptr ? row.id : "as before", id);
  }
  EXPECT_THAT(Calls(), IsEmpty());
}

struct PathRow {
  int line;
  const char* id;
  const char* path;
  _tag_vol_id_ parsed;
};

constexpr PathRow kPathRows[] = {
    {__LINE__, "1", "/volume1", {1, KEST_VOL_INTERNAL}},
    {__LINE__, "12", "/volume12", {12, KEST_VOL_INTERNAL}},
    {__LINE__, "01", "/volume1", {1, KEST_VOL_INTERNAL}},
    {__LINE__, "-3", "/volume-3", {-3, KEST_VOL_INTERNAL}},
    {__LINE__, "1_native", "/volume1", {1, KEST_VOL_INTERNAL}},
    {__LINE__, "x2", "/volume0", {0, KEST_VOL_INTERNAL}},
    {__LINE__, "u2", "/volume0", {0, KEST_VOL_INTERNAL}},
    {__LINE__, "s", "/volume0", {0, KEST_VOL_INTERNAL}},
    {__LINE__, " X2", "/volume0", {0, KEST_VOL_INTERNAL}},
    {__LINE__, "../etc", "/volume0", {0, KEST_VOL_INTERNAL}},
    {__LINE__, "99999999999999999999", "/volume2147483647", {INT_MAX, KEST_VOL_INTERNAL}},
    {__LINE__, "4294967297", "/volume2147483647", {INT_MAX, KEST_VOL_INTERNAL}},
    {__LINE__, "X2", "/volumeX2", {2, KEST_VOL_EXPANSION}},
    {__LINE__, "X12", "/volumeX12", {12, KEST_VOL_EXPANSION}},
    {__LINE__, "X2_native", "/volumeX2", {2, KEST_VOL_EXPANSION}},
    {__LINE__, "X/", "/volumeX0", {0, KEST_VOL_EXPANSION}},
    {__LINE__, "X-4294967297", "/volumeX-2147483648", {INT_MIN, KEST_VOL_EXPANSION}},
    {__LINE__, "U2", "/volumeUSB2/usbshare", {2, KEST_VOL_USB}},
    {__LINE__, "U12", "/volumeUSB12/usbshare", {12, KEST_VOL_USB}},
    {__LINE__, "U2_native", "/volumeUSB2", {2, KEST_VOL_USB}},
    {__LINE__, "U_native", "/volumeUSB0", {0, KEST_VOL_USB}},
    {__LINE__, "U2x_nativex", "/volumeUSB2", {2, KEST_VOL_USB}},
    {__LINE__, "U2_Native", "/volumeUSB2/usbshare", {2, KEST_VOL_USB}},
    {__LINE__, "U4294967297", "/volumeUSB2147483647/usbshare", {INT_MAX, KEST_VOL_USB}},
    {__LINE__, "S", "/volumeSATA/satashare", {0, KEST_VOL_SATA}},
    {__LINE__, "S1", "/volumeSATA/satashare", {0, KEST_VOL_SATA}},
    {__LINE__, "S_native", "/volumeSATA", {0, KEST_VOL_SATA}},
    {__LINE__, "S9/_native", "/volumeSATA", {0, KEST_VOL_SATA}},
};

TEST_F(VolumeIdTest, AnIdentifierIsAPathWithItsWholeNumber) {
  for (const PathRow& row : kPathRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line << ": " << row.id);
    _tag_vol_id_ parsed = kUntouched;
    Buffer<64> path;
    EXPECT_TRUE(Volume::CGIRenderVolPath(std::string(row.id), path.get(), path.size(), parsed));
    EXPECT_EQ(row.path, path.text());
    EXPECT_EQ(row.parsed.number, parsed.number);
    EXPECT_EQ(row.parsed.location, parsed.location);
    Buffer<64> again;
    EXPECT_TRUE(Volume::CGIRenderVolPath(std::string(row.id), again.get(), again.size()));
    EXPECT_EQ(row.path, again.text());
  }
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(VolumeIdTest, WithoutABufferNumberAndLocationAreToldAllTheSame) {
  for (const PathRow& row : kPathRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line << ": " << row.id);
    Buffer<64> path("as before");
    const std::string id = row.id;
    for (const int way : {0, 1, 2}) {
      _tag_vol_id_ parsed = kUntouched;
      EXPECT_TRUE(Volume::CGIRenderVolPath(id, way == 0 ? nullptr : path.get(),
                                           way == 1   ? 0
                                           : way == 2 ? -1
                                                      : 64,
                                           parsed));
      EXPECT_EQ(row.parsed.number, parsed.number);
      EXPECT_EQ(row.parsed.location, parsed.location);
      EXPECT_EQ("as before", path.text());
    }
    EXPECT_TRUE(Volume::CGIRenderVolPath(id, static_cast<char*>(nullptr), 64));
    EXPECT_TRUE(Volume::CGIRenderVolPath(id, path.get(), 0));
    EXPECT_EQ("as before", path.text());
  }
}

TEST_F(VolumeIdTest, APathIsCutToItsBuffer) {
  const struct {
    const char* id;
    const char* path;
  } rows[] = {{"123", "/volume12"}, {"X12", "/volumeX1"}, {"U1", "/volumeUS"}, {"S", "/volumeSA"}};
  for (const auto& row : rows) {
    Buffer<10> path;
    EXPECT_TRUE(Volume::CGIRenderVolPath(std::string(row.id), path.get(), path.size()));
    EXPECT_EQ(row.path, path.text());
    EXPECT_TRUE(Volume::CGIRenderVolPath(std::string(row.id), path.get(), 1));
    EXPECT_EQ("", path.text());
  }
}

TEST_F(VolumeIdTest, AnEmptyIdentifierIsRefusedSilently) {
  _tag_vol_id_ parsed = kUntouched;
  Buffer<64> path("as before");
  EXPECT_FALSE(Volume::CGIRenderVolPath(std::string(), path.get(), path.size(), parsed));
  EXPECT_FALSE(Volume::CGIRenderVolPath(std::string(), path.get(), path.size()));
  EXPECT_EQ("as before", path.text());
  EXPECT_EQ(kUntouched.number, parsed.number);
  EXPECT_EQ(kUntouched.location, parsed.location);
}

TEST_F(VolumeIdTest, ALetterWithoutNumberIsRefused) {
  for (const std::string id : {"X", "U"}) {
    _tag_vol_id_ parsed = kUntouched;
    Buffer<64> path("as before");
    EXPECT_FALSE(Volume::CGIRenderVolPath(id, path.get(), path.size(), parsed));
    ExpectLogged("volume:# Bad parameters: " + id);
    EXPECT_FALSE(Volume::CGIRenderVolPath(id, path.get(), path.size()));
    ExpectLogged("volume:# Bad parameters: " + id);
    EXPECT_EQ("as before", path.text());
    EXPECT_EQ(kUntouched.number, parsed.number);
    EXPECT_EQ(kUntouched.location, parsed.location);
  }
}

// Path to identifier and back, and the other way round.
void ExpectThereAndBack(const std::string& path, const std::string& id) {
  std::string told = "none";
  Buffer<64> back;
  EXPECT_TRUE(Volume::CGIRenderVolID(path, told)) << path;
  EXPECT_EQ(id, told);
  EXPECT_TRUE(Volume::CGIRenderVolPath(id, back.get(), back.size())) << id;
  EXPECT_EQ(path, back.text());
}

TEST_F(VolumeIdTest, PathsAndIdentifiersOfOneDigitConvertThereAndBack) {
  for (int number = 0; number <= 9; ++number) {
    const std::string digit = std::to_string(number);
    ExpectThereAndBack("/volume" + digit, digit);
    ExpectThereAndBack("/volumeX" + digit, "X" + digit);
    ExpectThereAndBack("/volumeUSB" + digit + "/usbshare", "U" + digit);
    ExpectThereAndBack("/volumeUSB" + digit, "U" + digit + "_native");
  }
  ExpectThereAndBack("/volumeSATA/satashare", "S");
  ExpectThereAndBack("/volumeSATA", "S_native");
}

TEST_F(VolumeIdTest, AFolderOnAVolumeComesBackAsTheVolume) {
  for (const auto& [path, volume] : std::map<std::string, std::string>{
           {"/volume1/share", "/volume1"}, {"/volumeX3/a/b", "/volumeX3"}, {"/volumeUSB2/a", "/volumeUSB2"}}) {
    std::string id;
    Buffer<64> back;
    EXPECT_TRUE(Volume::CGIRenderVolID(path, id));
    EXPECT_TRUE(Volume::CGIRenderVolPath(id, back.get(), back.size()));
    EXPECT_EQ(volume, back.text());
  }
}

// Identifiers of pages have one digit; a longer number goes from the identifier to the path whole, and back by its
// first digit only.
TEST_F(VolumeIdTest, AVolumeAboveNineComesBackAsItsFirstDigit) {
  std::mt19937 random(4711);
  for (int round = 0; round < 200; ++round) {
    const std::string number = std::to_string(std::uniform_int_distribution<int>(10, INT_MAX)(random));
    const std::string first = number.substr(0, 1);
    const struct {
      std::string letter, before, behind;
    } forms[] = {{"", "/volume", ""}, {"X", "/volumeX", ""}, {"U", "/volumeUSB", "/usbshare"}};
    for (const auto& form : forms) {
      Buffer<64> whole, back;
      std::string id;
      EXPECT_TRUE(Volume::CGIRenderVolPath(form.letter + number, whole.get(), whole.size()));
      EXPECT_EQ(form.before + number + form.behind, whole.text());
      EXPECT_TRUE(Volume::CGIRenderVolID(whole.text(), id));
      EXPECT_EQ(form.letter + first, id);
      EXPECT_TRUE(Volume::CGIRenderVolPath(id, back.get(), back.size()));
      EXPECT_EQ(form.before + first + form.behind, back.text());
    }
  }
}

class FilePathTest : public VolumeTest {};

TEST_F(FilePathTest, TheFolderIsWhatStandsBeforeTheLastSlash) {
  const struct {
    const char* path;
    const char* folder;
  } rows[] = {{"/volume1/a/b.txt", "/volume1/a"},
              {"/volume1/a/", "/volume1/a"},
              {"/volume1", ""},
              {"a/b", "a"},
              {"/", ""},
              {"//", "/"}};
  for (const auto& row : rows) {
    Buffer<32> path(row.path);
    Buffer<64> folder;
    EXPECT_TRUE(Volume::CGIRenderVolPath(path.get(), folder.get(), folder.size())) << row.path;
    EXPECT_EQ(row.folder, folder.text());
    EXPECT_EQ(row.path, path.text()) << "the caller's path is as before";
  }
}

TEST_F(FilePathTest, TheFolderIsCutToItsBuffer) {
  Buffer<32> path("/volume12/a");
  Buffer<9> folder;
  EXPECT_TRUE(Volume::CGIRenderVolPath(path.get(), folder.get(), folder.size()));
  EXPECT_EQ("/volume1", folder.text());
}

TEST_F(FilePathTest, PathAndBufferMayBeTheSameAndThePathMayBeConstant) {
  Buffer<32> path("/volume12/a");
  EXPECT_TRUE(Volume::CGIRenderVolPath(path.get(), path.get(), path.size()));
  EXPECT_EQ("/volume12", path.text());
  Buffer<32> folder;
  EXPECT_TRUE(Volume::CGIRenderVolPath(const_cast<char*>("/volume3/b"), folder.get(), folder.size()));
  EXPECT_EQ("/volume3", folder.text());
}

TEST_F(FilePathTest, WithoutPathBufferOrSlashThereIsNoFolder) {
  Buffer<32> path("/volume1/a"), name("a.txt"), folder("as before");
  EXPECT_FALSE(Volume::CGIRenderVolPath(static_cast<char*>(nullptr), folder.get(), folder.size()));
  EXPECT_FALSE(Volume::CGIRenderVolPath(path.get(), nullptr, 64));
  EXPECT_FALSE(Volume::CGIRenderVolPath(path.get(), folder.get(), 0));
  EXPECT_FALSE(Volume::CGIRenderVolPath(path.get(), folder.get(), -1));
  EXPECT_FALSE(Volume::CGIRenderVolPath(name.get(), folder.get(), folder.size()));
  EXPECT_EQ("as before", folder.text());
}

TEST_F(FilePathTest, TheIdentifierIsThatOfTheFolder) {
  const struct {
    const char* path;
    const char* id;
  } rows[] = {{"/volume1/a/b", "1"},
              {"/volumeX2/a", "X2"},
              {"/volumeUSB2/usbshare/a", "U2"},
              {"/volumeUSB2/usbshare", "U2_native"},
              {"/volumeSATA/satashare", "S_native"}};
  for (const auto& row : rows) {
    Buffer<32> path(row.path);
    std::string id;
    EXPECT_TRUE(Volume::CGIRenderVolPath(path.get(), id)) << row.path;
    EXPECT_EQ(row.id, id);
    EXPECT_EQ(row.path, path.text());
  }
}

TEST_F(FilePathTest, WithoutAFolderOnAVolumeThereIsNoIdentifier) {
  std::string id = "as before";
  EXPECT_FALSE(Volume::CGIRenderVolPath(static_cast<char*>(nullptr), id));
  for (const char* text : {"volume1", "/volume1", "/etc/passwd", ""}) {
    Buffer<32> path(text);
    EXPECT_FALSE(Volume::CGIRenderVolPath(path.get(), id)) << text;
  }
  EXPECT_EQ("as before", id);
}

TEST_F(FilePathTest, OfTheFolder63BytesAreLookedAt) {
  const std::string in_front = "/volumeUSB1/" + std::string(63 - 12 - 8, 'a');
  for (const bool fits : {true, false}) {
    std::string path = in_front + (fits ? "" : "a") + "usbshare/x";
    std::string id;
    EXPECT_TRUE(Volume::CGIRenderVolPath(path.data(), id));
    EXPECT_EQ(fits ? "U1" : "U1_native", id);
  }
}

class SpaceIdTest : public VolumeTest {};

TEST_F(SpaceIdTest, AVolumeIsToldByItsPath) {
  Parses("/volume1", 1, {1, KEST_VOL_INTERNAL});
  EXPECT_EQ("volume_1", Volume::ToUISpaceID(KEST_SPACE_VOLUME, "/volume1"));
  Parses("/volumeX3", 1, {3, KEST_VOL_EXPANSION});
  EXPECT_EQ("volumeX_3", Volume::ToUISpaceID(KEST_SPACE_VOLUME, "/volumeX3"));
  Parses("/volume12", 7, {12, KEST_VOL_INTERNAL});
  EXPECT_EQ("volume_12", Volume::ToUISpaceID(KEST_SPACE_VOLUME, "/volume12"));
}

TEST_F(SpaceIdTest, APathThatIsNoVolumesHasNoneSilently) {
  for (const int result : {0, -1, INT_MIN}) {
    Parses("/etc", result, {});
    EXPECT_EQ("", Volume::ToUISpaceID(KEST_SPACE_VOLUME, "/etc"));
  }
}

TEST_F(SpaceIdTest, VolumesElsewhereHaveNone) {
  for (const int location : {4, 8, 0, 3, 0x7fffffff}) {
    Parses("/volumeUSB1", 1, {1, static_cast<_tag_vol_location_>(location)});
    EXPECT_EQ("", Volume::ToUISpaceID(KEST_SPACE_VOLUME, "/volumeUSB1"));
    ExpectLogged("volume:# unsupported volume location: '" + std::to_string(location) + "'");
  }
}

TEST_F(SpaceIdTest, AnIscsiLunIsToldByItsNameWithoutThePlatform) {
  EXPECT_EQ("iscsi_lun7", Volume::ToUISpaceID(KEST_SPACE_ISCSI, "lun7"));
  EXPECT_EQ("iscsi_", Volume::ToUISpaceID(KEST_SPACE_ISCSI, ""));
  EXPECT_EQ("iscsi_", Volume::ToUISpaceID(KEST_SPACE_ISCSI, nullptr));
  EXPECT_EQ("iscsi_%s/\"", Volume::ToUISpaceID(KEST_SPACE_ISCSI, "%s/\""));
  EXPECT_EQ("iscsi_" + std::string(249, 'l'), Volume::ToUISpaceID(KEST_SPACE_ISCSI, std::string(249, 'l').c_str()));
  EXPECT_EQ("iscsi_" + std::string(249, 'l'), Volume::ToUISpaceID(KEST_SPACE_ISCSI, std::string(300, 'l').c_str()));
}

TEST_F(SpaceIdTest, NoPathCountsAsAnEmptyOne) {
  Parses("", 0, {});
  EXPECT_EQ("", Volume::ToUISpaceID(KEST_SPACE_VOLUME, nullptr));
}

TEST_F(SpaceIdTest, OtherSpacesHaveNone) {
  for (const int type : {0, 3, 0x7fffffff}) {
    EXPECT_EQ("", Volume::ToUISpaceID(static_cast<_space_type_>(type), "/volume1"));
    ExpectLogged("volume:# unsupported space type: '" + std::to_string(type) + "'");
  }
}

struct SpaceRow {
  int line;
  const char* id;
  const char* path;
  _space_type_ type;
};

constexpr SpaceRow kSpaceRows[] = {
    {__LINE__, "volume_1", "/volume1", KEST_SPACE_VOLUME},
    {__LINE__, "volume_12", "/volume12", KEST_SPACE_VOLUME},
    {__LINE__, "volume_", "/volume0", KEST_SPACE_VOLUME},
    {__LINE__, "volume_x", "/volume0", KEST_SPACE_VOLUME},
    {__LINE__, "volume_3x", "/volume3", KEST_SPACE_VOLUME},
    {__LINE__, "volume_-3", "/volume-3", KEST_SPACE_VOLUME},
    {__LINE__, "volume_4294967297", "/volume2147483647", KEST_SPACE_VOLUME},
    {__LINE__, "volumeX_3", "/volumeX3", KEST_SPACE_VOLUME},
    {__LINE__, "volumeX_", "/volumeX0", KEST_SPACE_VOLUME},
    {__LINE__, "volumeX_012 a", "/volumeX12", KEST_SPACE_VOLUME},
    {__LINE__, "iscsi_lun7", "lun7", KEST_SPACE_ISCSI},
    {__LINE__, "iscsi_x", "x", KEST_SPACE_ISCSI},
    {__LINE__, "iscsi_%d volume_1", "%d volume_1", KEST_SPACE_ISCSI},
};

TEST_F(SpaceIdTest, ConvertsBackToPathOrName) {
  for (const SpaceRow& row : kSpaceRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line << ": " << row.id);
    Buffer<64> path;
    _space_type_ type = kNoType;
    EXPECT_TRUE(Volume::ToSpacePath(row.id, path.get(), path.size(), type));
    EXPECT_EQ(row.path, path.text());
    EXPECT_EQ(row.type, type);
    Json::Value member = row.id;
    Buffer<64> again;
    type = kNoType;
    EXPECT_TRUE(Volume::ToSpacePath(member, again.get(), again.size(), type));
    EXPECT_EQ(row.path, again.text());
    EXPECT_EQ(row.type, type);
    EXPECT_EQ(Json::Value(row.id), member);
  }
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(SpaceIdTest, ShortAndUnknownOnesAreRefusedWithOneMessage) {
  for (const std::string id : {"", "iscsi", "iscsi_", "volume", "abcdefg", "Volume_1", "volumeY_1", "volume1",
                               "ISCSI_a", " volume_1", "volumeX1"}) {
    Buffer<64> path("as before");
    _space_type_ type = kNoType;
    EXPECT_FALSE(Volume::ToSpacePath(id.c_str(), path.get(), path.size(), type));
    ExpectLogged("volume:# bad parameters type: space: " + id);
    Json::Value member = id;
    EXPECT_FALSE(Volume::ToSpacePath(member, path.get(), path.size(), type));
    ExpectLogged("volume:# bad parameters type: space: " + id);
    EXPECT_EQ("as before", path.text());
    EXPECT_EQ(kNoType, type);
  }
}

TEST_F(SpaceIdTest, WithoutIdentifierOrBufferAllArgumentsAreLogged) {
  Buffer<64> path("as before");
  _space_type_ type = kNoType;
  EXPECT_FALSE(Volume::ToSpacePath(nullptr, path.get(), 64, type));
  ExpectLogged("volume:# bad parameters type: space id: NULL, szSpaceID: as before, size: 64");
  EXPECT_FALSE(Volume::ToSpacePath("volume_1", nullptr, 64, type));
  ExpectLogged("volume:# bad parameters type: space id: volume_1, szSpaceID: NULL, size: 64");
  EXPECT_FALSE(Volume::ToSpacePath("volume_1", path.get(), 0, type));
  ExpectLogged("volume:# bad parameters type: space id: volume_1, szSpaceID: as before, size: 0");
  EXPECT_FALSE(Volume::ToSpacePath("abc", path.get(), -1, type));
  ExpectLogged("volume:# bad parameters type: space id: abc, szSpaceID: as before, size: -1");
  EXPECT_FALSE(Volume::ToSpacePath(nullptr, nullptr, 0, type));
  ExpectLogged("volume:# bad parameters type: space id: NULL, szSpaceID: NULL, size: 0");
  EXPECT_EQ("as before", path.text());
  EXPECT_EQ(kNoType, type);
}

TEST_F(SpaceIdTest, AMemberThatIsNoStringIsRefused) {
  for (const char* text : {"7", "null", "true", "[]", "{}", "1.5"}) {
    Json::Value member = Doc("[" + std::string(text) + "]")[0];
    Buffer<64> path("as before");
    _space_type_ type = kNoType;
    EXPECT_FALSE(Volume::ToSpacePath(member, path.get(), path.size(), type)) << text;
    ExpectLogged("volume:# bad parameters type: space type");
    EXPECT_EQ("as before", path.text());
    EXPECT_EQ(kNoType, type);
  }
}

TEST_F(SpaceIdTest, PathsAreCutToTheirBufferAndNamesTo255BytesOfTheIdentifier) {
  _space_type_ type = kNoType;
  Buffer<8> small;
  EXPECT_TRUE(Volume::ToSpacePath("volume_1", small.get(), small.size(), type));
  EXPECT_EQ("/volume", small.text());
  EXPECT_TRUE(Volume::ToSpacePath("iscsi_lun7890123", small.get(), small.size(), type));
  EXPECT_EQ("lun7890", small.text());
  EXPECT_TRUE(Volume::ToSpacePath("iscsi_lun7", small.get(), 1, type));
  EXPECT_EQ("", small.text());
  Buffer<512> large;
  EXPECT_TRUE(Volume::ToSpacePath(("iscsi_" + std::string(249, 'l') + "x").c_str(), large.get(), large.size(), type));
  EXPECT_EQ(std::string(249, 'l'), large.text());
}

TEST_F(SpaceIdTest, EveryVolumesPathConvertsThereAndBack) {
  std::mt19937 random(4711);
  for (int round = 0; round < 200; ++round) {
    const int number = round < 12 ? round : std::uniform_int_distribution<int>(12, INT_MAX)(random);
    for (const auto location : {KEST_VOL_INTERNAL, KEST_VOL_EXPANSION}) {
      const std::string path = (location == KEST_VOL_INTERNAL ? "/volume" : "/volumeX") + std::to_string(number);
      Parses(path, 1, {number, location});
      Buffer<64> back;
      _space_type_ type = kNoType;
      const std::string id = Volume::ToUISpaceID(KEST_SPACE_VOLUME, path.c_str());
      EXPECT_TRUE(Volume::ToSpacePath(id.c_str(), back.get(), back.size(), type)) << id;
      EXPECT_EQ(path, back.text());
      EXPECT_EQ(KEST_SPACE_VOLUME, type);
    }
  }
}

// Every byte but NUL; an empty name is the one that does not come back, and a long one comes back cut.
TEST_F(SpaceIdTest, NamesOfLunsOfAnyBytesConvertThereAndBack) {
  std::mt19937 random(4711);
  for (size_t length = 1; length < 300; ++length) {
    std::string name;
    while (name.size() < length) name += static_cast<char>(std::uniform_int_distribution<int>(1, 255)(random));
    Buffer<512> back;
    _space_type_ type = kNoType;
    const std::string id = Volume::ToUISpaceID(KEST_SPACE_ISCSI, name.c_str());
    EXPECT_TRUE(Volume::ToSpacePath(id.c_str(), back.get(), back.size(), type)) << id;
    EXPECT_EQ(name.substr(0, 249), back.text());
    EXPECT_EQ(KEST_SPACE_ISCSI, type);
  }
  Buffer<512> back("as before");
  _space_type_ type = kNoType;
  EXPECT_FALSE(Volume::ToSpacePath(Volume::ToUISpaceID(KEST_SPACE_ISCSI, "").c_str(), back.get(), back.size(), type));
  ExpectLogged("volume:# bad parameters type: space: iscsi_");
  EXPECT_EQ("as before", back.text());
}

class VolumeLabelTest : public VolumeTest {
 protected:
  VolumeLabelTest() { HasTexts({{"volume", "Volume "}, {"volume_disk_source_ebox", "Expansion Unit"}}); }
};

TEST_F(VolumeLabelTest, AnInternalVolumeIsWordAndNumber) {
  Buffer<64> label;
  ExpectTextsOpened("volume");
  EXPECT_EQ(1, Volume::ToUIVolumeStr(3, KEST_VOL_INTERNAL, label.get(), label.size()));
  EXPECT_EQ("Volume 3", label.text());
  EXPECT_THAT(Calls(), ElementsAre("KestCgiInit", "KestCgiLoadText", "KestCgiGetText", "KestCgiFree"));
}

TEST_F(VolumeLabelTest, AVolumeOfAnExpansionUnitNamesIt) {
  Buffer<64> label;
  ExpectTextsOpened("volume");
  EXPECT_EQ(1, Volume::ToUIVolumeStr(3, KEST_VOL_EXPANSION, label.get(), label.size()));
  EXPECT_EQ("Volume 3(Expansion Unit)", label.text());
}

TEST_F(VolumeLabelTest, VolumesElsewhereLeaveTheBufferAsItWas) {
  for (const int location : {4, 8, 0, 3, 0x7fffffff}) {
    Buffer<64> label("as before");
    EXPECT_EQ(1, Volume::ToUIVolumeStr(3, static_cast<_tag_vol_location_>(location), label.get(), label.size()));
    EXPECT_EQ("as before", label.text());
    EXPECT_EQ("", Volume::ToUIVolumeStr(3, static_cast<_tag_vol_location_>(location)));
  }
}

TEST_F(VolumeLabelTest, WithoutABufferItIsABadParameter) {
  Buffer<64> label("as before");
  EXPECT_EQ(0, Volume::ToUIVolumeStr(3, KEST_VOL_INTERNAL, nullptr, 64));
  ExpectLogged("volume:# Bad parameter");
  for (const int size : {0, -1}) {
    EXPECT_EQ(0, Volume::ToUIVolumeStr(3, KEST_VOL_USB, label.get(), size));
    ExpectLogged("volume:# Bad parameter");
  }
  EXPECT_EQ("as before", label.text());
}

TEST_F(VolumeLabelTest, ALabelIsCutToItsBuffer) {
  Buffer<8> label;
  ExpectTextsOpened("volume");
  EXPECT_EQ(1, Volume::ToUIVolumeStr(123, KEST_VOL_INTERNAL, label.get(), label.size()));
  EXPECT_EQ("Volume ", label.text());
}

TEST_F(VolumeLabelTest, AMissingTextIsEmpty) {
  HasTexts({});
  ExpectTextsOpened("volume");
  EXPECT_EQ("-4", Volume::ToUIVolumeStr(-4, KEST_VOL_INTERNAL));
  ExpectTextsOpened("volume");
  EXPECT_EQ("4()", Volume::ToUIVolumeStr(4, KEST_VOL_EXPANSION));
}

TEST_F(VolumeLabelTest, AsAStringItHas127BytesAtMost) {
  HasTexts({{"volume", std::string(127, 'v')}});
  ExpectTextsOpened("volume");
  EXPECT_EQ(std::string(127, 'v'), Volume::ToUIVolumeStr(1, KEST_VOL_INTERNAL));
  HasTexts({{"volume", std::string(126, 'v')}});
  ExpectTextsOpened("volume");
  EXPECT_EQ(std::string(126, 'v') + "1", Volume::ToUIVolumeStr(12, KEST_VOL_INTERNAL));
}

TEST_F(VolumeLabelTest, APathIsParsedByThePlatform) {
  Parses("/volumeX2/a", 1, {2, KEST_VOL_EXPANSION});
  ExpectTextsOpened("volume");
  EXPECT_EQ("Volume 2(Expansion Unit)", Volume::ToUIVolumeStr("/volumeX2/a"));
}

TEST_F(VolumeLabelTest, ThePlatformsAnswerIsNotLookedAt) {
  EXPECT_CALL(storage(), VolumePathParse(StrEq("/x"), _)).WillOnce([](const char*, _tag_vol_id_* id) {
    EXPECT_EQ(0, id->number);
    EXPECT_EQ(kNowhere, id->location);
    *id = {5, KEST_VOL_INTERNAL};
    return -1;
  });
  ExpectTextsOpened("volume");
  EXPECT_EQ("Volume 5", Volume::ToUIVolumeStr("/x"));
}

TEST_F(VolumeLabelTest, APathThatIsNoVolumesHasAnEmptyOne) {
  Parses("/etc", 0, {});
  EXPECT_EQ("", Volume::ToUIVolumeStr("/etc"));
}

TEST_F(VolumeLabelTest, ANullPathIsLoggedAndThrows) {
  EXPECT_THROW(Volume::ToUIVolumeStr(nullptr), std::logic_error);
  ExpectLogged("volume:# Bad parameter");
  EXPECT_THAT(Calls(), IsEmpty());
}

}  // namespace
}  // namespace tarvel_test
