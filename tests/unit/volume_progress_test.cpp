// Volumes: the progress of building one.

#include <cstddef>
#include <cstring>
#include <memory>
#include <string>

#include "support/mock_keststorage.h"
#include "support/mock_klib.h"
#include "tarvel_fixture.h"
#include "volume.h"

namespace tarvel_test {
namespace {

using ::testing::_;
using ::testing::Return;

constexpr char kRecord[] = "/tmp/tarvel/modules/volume";
constexpr char kLost[] = "volume:# Failed to read 'volume' progress files, some member is lost";

static_assert(offsetof(_tag_cgi_volume_action_, pid) == 0 && offsetof(_tag_cgi_volume_action_, volPath) == 4 &&
              offsetof(_tag_cgi_volume_action_, inProgressDevPath) == 68 &&
              offsetof(_tag_cgi_volume_action_, action) == 324 && offsetof(_tag_cgi_volume_action_, step) == 328 &&
              offsetof(_tag_cgi_volume_action_, status) == 332 && offsetof(_tag_cgi_volume_action_, errSection) == 336);

// All fields in one text.
std::string Show(const _tag_cgi_volume_action_& action) {
  return std::to_string(action.pid) + " " + action.volPath + " " + action.inProgressDevPath + " " +
         std::to_string(action.action) + " " + std::to_string(action.step) + " " + std::to_string(action.status) + " " +
         action.errSection + " " + action.errKey + " " + std::to_string(action.errLine);
}

class VolumeProgressTest : public TarvelTest {
 protected:
  VolumeProgressTest() {
    action_.pid = 9;
    std::strcpy(action_.volPath, "path");
    std::strcpy(action_.inProgressDevPath, "dev");
    action_.action = action_.step = action_.status = action_.errLine = 8;
    action_.errSection = "section";
    action_.errKey = "key";
  }

  void Records(const std::string& text) { WriteFile(kRecord, text); }
  void RecordsDoc(const std::string& text) { Records(Doc(text).toStyledString()); }
  bool Read() { return Volume::ReadActionFile(Request(), action_); }

  _tag_cgi_volume_action_ action_;
};

constexpr char kUntouched[] = "9 path dev 8 8 8 section key 8";
constexpr char kMinimal[] = "{'pid': 7, 'vol_path': '/volume1', 'action': 2, 'step': 3, 'status': 1}";

TEST_F(VolumeProgressTest, ARecordIsRead) {
  RecordsDoc(
      "{'pid': 7, 'vol_path': '/volume1', 'action': 2, 'step': 3, 'status': 1, 'in_progress_devpath': '/dev/sda3'}");
  EXPECT_TRUE(Read());
  EXPECT_EQ("7 /volume1 /dev/sda3 2 3 1 section key 8", Show(action_));
}

TEST_F(VolumeProgressTest, WhatIsLeftOutStaysAsItWas) {
  RecordsDoc(kMinimal);
  EXPECT_TRUE(Read());
  EXPECT_EQ("7 /volume1 dev 2 3 1 section key 8", Show(action_));
}

TEST_F(VolumeProgressTest, AFailureSaysWhereItsTextIs) {
  RecordsDoc(
      "{'pid': 7, 'vol_path': '/volume1', 'action': 2, 'step': 3, 'status': 3,"
      " 'errno': {'section': 'volume', 'key': 'broken', 'line': 123}}");
  EXPECT_TRUE(Read());
  EXPECT_EQ("7 /volume1 dev 2 3 3 volume broken 123", Show(action_));
}

TEST_F(VolumeProgressTest, AFailureWithoutATextLeavesItAsItWas) {
  RecordsDoc("{'pid': 7, 'vol_path': '/volume1', 'action': 2, 'step': 3, 'status': 3}");
  EXPECT_TRUE(Read());
  EXPECT_EQ("7 /volume1 dev 2 3 3 section key 8", Show(action_));
}

TEST_F(VolumeProgressTest, AFailuresTextMayBePartlyMissing) {
  RecordsDoc("{'pid': 7, 'vol_path': '/volume1', 'action': 2, 'step': 3, 'status': 3, 'errno': {'key': 'broken'}}");
  EXPECT_TRUE(Read());
  EXPECT_EQ("7 /volume1 dev 2 3 3  broken 0", Show(action_));
}

TEST_F(VolumeProgressTest, OnlyAFailuresTextIsRead) {
  for (const char* status : {"0", "1", "2", "4", "-1"}) {
    RecordsDoc("{'pid': 7, 'vol_path': '/volume1', 'action': 2, 'step': 3, 'errno': [], 'status': " +
               std::string(status) + "}");
    EXPECT_TRUE(Read());
    EXPECT_EQ("7 /volume1 dev 2 3 " + std::string(status) + " section key 8", Show(action_));
  }
}

TEST_F(VolumeProgressTest, TextsAreCutToTheirRoom) {
  RecordsDoc("{'pid': 4294967295, 'vol_path': '" + std::string(70, 'v') +
             "', 'action': -2147483648, 'step': 2147483647, 'status': 0, 'in_progress_devpath': '" +
             std::string(300, 'd') + "'}");
  EXPECT_TRUE(Read());
  EXPECT_EQ(
      "4294967295 " + std::string(63, 'v') + " " + std::string(255, 'd') + " -2147483648 2147483647 0 section key 8",
      Show(action_));
}

TEST_F(VolumeProgressTest, WithoutARecordNothingIsReadAndNothingLogged) {
  EXPECT_FALSE(Read());
  for (const char* text : {"", "{", "no record", "{\"pid\": 7"}) {
    Records(text);
    EXPECT_FALSE(Read()) << text;
  }
  EXPECT_EQ(kUntouched, Show(action_));
}

TEST_F(VolumeProgressTest, EachOfTheFiveMembersMustBeThere) {
  for (const char* key : {"pid", "vol_path", "action", "step", "status"}) {
    Json::Value record = Doc(kMinimal);
    record.removeMember(key);
    Records(record.toStyledString());
    EXPECT_FALSE(Read()) << key;
    ExpectLogged(kLost);
  }
  EXPECT_EQ(kUntouched, Show(action_));
}

TEST_F(VolumeProgressTest, WhatIsNoObjectIsNoRecord) {
  for (const char* text : {"[]", "[1]", "7", "null", "\"pid\"", "{}", "true"}) {
    Records(text);
    EXPECT_FALSE(Read()) << text;
    ExpectLogged(kLost);
  }
  EXPECT_EQ(kUntouched, Show(action_));
}

struct MemberRow {
  int line;
  const char* key;
  const char* value;
};

constexpr MemberRow kWrongMembers[] = {
    {__LINE__, "pid", "-1"},
    {__LINE__, "pid", "4294967296"},
    {__LINE__, "pid", "'7'"},
    {__LINE__, "pid", "[7]"},
    {__LINE__, "pid", "{}"},
    {__LINE__, "vol_path", "[]"},
    {__LINE__, "vol_path", "{}"},
    {__LINE__, "action", "2147483648"},
    {__LINE__, "action", "'2'"},
    {__LINE__, "action", "[]"},
    {__LINE__, "step", "-2147483649"},
    {__LINE__, "step", "'2'"},
    {__LINE__, "step", "{}"},
    {__LINE__, "status", "1e300"},
    {__LINE__, "status", "'1'"},
    {__LINE__, "status", "[1]"},
    {__LINE__, "in_progress_devpath", "[]"},
    {__LINE__, "in_progress_devpath", "{'a': 1}"},
    {__LINE__, "errno", "[]"},
    {__LINE__, "errno", "7"},
    {__LINE__, "errno", "'x'"},
    {__LINE__, "errno", "{'section': []}"},
    {__LINE__, "errno", "{'key': {}}"},
    {__LINE__, "errno", "{'line': 'x'}"},
    {__LINE__, "errno", "{'section': 's', 'key': 'k', 'line': 2147483648}"},
};

TEST_F(VolumeProgressTest, AMemberThatCannotBeConvertedIsLostAndNothingIsFilled) {
  for (const MemberRow& row : kWrongMembers) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line);
    Json::Value record = Doc(kMinimal);
    record["status"] = 3;
    record[row.key] = Doc("[" + std::string(row.value) + "]")[0];
    Records(record.toStyledString());
    EXPECT_FALSE(Read());
    ExpectLogged(kLost);
    EXPECT_EQ(kUntouched, Show(action_));
  }
}

TEST_F(VolumeProgressTest, WhatCanBeConvertedIsTaken) {
  RecordsDoc("{'pid': 7.0, 'vol_path': 5, 'action': null, 'step': true, 'status': 1.5, 'in_progress_devpath': null}");
  EXPECT_TRUE(Read());
  EXPECT_EQ("7 5  0 1 1 section key 8", Show(action_));
}

TEST_F(VolumeProgressTest, ARecordThatIsTooDeepIsNone) {
  Records("{\"pid\": " + std::string(1500, '[') + std::string(1500, ']') + "}");
  EXPECT_FALSE(Read());
  EXPECT_EQ(kUntouched, Show(action_));
}

TEST_F(VolumeProgressTest, AVolumeIsBuiltWhileItsWorkerLives) {
  RecordsDoc(kMinimal);
  for (const int alive : {1, -1, 0}) {
    EXPECT_CALL(klib(), BlKLIBProcAlive(7)).WillOnce(Return(alive));
    EXPECT_EQ(alive != 0, Volume::IsVolBuilding(Request(), action_));
    EXPECT_EQ("7 /volume1 dev 2 3 1 section key 8", Show(action_));
    EXPECT_CALL(klib(), BlKLIBProcAlive(7)).WillOnce(Return(alive));
    EXPECT_EQ(alive != 0, Volume::IsVolBuilding(Request()));
  }
}

TEST_F(VolumeProgressTest, AVolumeInAnotherStateIsNotBuiltAndNobodyIsLookedFor) {
  for (const char* status : {"0", "2", "3", "-1"}) {
    RecordsDoc("{'pid': 7, 'vol_path': '/volume1', 'action': 2, 'step': 3, 'status': " + std::string(status) + "}");
    EXPECT_FALSE(Volume::IsVolBuilding(Request(), action_));
    EXPECT_EQ("7 /volume1 dev 2 3 " + std::string(status) + " section key 8", Show(action_));
    EXPECT_FALSE(Volume::IsVolBuilding(Request()));
  }
}

TEST_F(VolumeProgressTest, WithoutARecordNothingIsBuilt) {
  EXPECT_FALSE(Volume::IsVolBuilding(Request(), action_));
  EXPECT_FALSE(Volume::IsVolBuilding(Request()));
  Records("{}");
  EXPECT_FALSE(Volume::IsVolBuilding(Request(), action_));
  ExpectLogged(kLost);
  EXPECT_FALSE(Volume::IsVolBuilding(Request()));
  ExpectLogged(kLost);
  EXPECT_EQ(kUntouched, Show(action_));
}

TEST_F(VolumeProgressTest, AnyVolumeObjectAnswersToo) {
  RecordsDoc(kMinimal);
  EXPECT_CALL(storage(), KESTMountVolAllEnum(0, 3)).WillOnce(Return(nullptr));
  EXPECT_CALL(klib(), BlKLIBProcAlive(7)).WillOnce(Return(1));
  Volume volumes;
  EXPECT_TRUE(volumes.IsVolBuilding(Request()));
}

}  // namespace
}  // namespace tarvel_test
