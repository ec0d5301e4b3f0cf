// Volumes: the progress of building one.

#include <sys/stat.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <memory>
#include <new>
#include <string>

#include "support/allocations.h"
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
              offsetof(_tag_cgi_volume_action_, status) == 332 &&
              offsetof(_tag_cgi_volume_action_, errSection) == 336 &&
              offsetof(_tag_cgi_volume_action_, errKey) == 336 + sizeof(std::string) &&
              offsetof(_tag_cgi_volume_action_, errLine) == 336 + 2 * sizeof(std::string));

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

TEST_F(VolumeProgressTest, AFailuresTextMayBeNull) {
  RecordsDoc("{'pid': 7, 'vol_path': '/volume1', 'action': 2, 'step': 3, 'status': 3, 'errno': null}");
  EXPECT_TRUE(Read());
  EXPECT_EQ("7 /volume1 dev 2 3 3   0", Show(action_));
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

// A record as others may have written it: its bytes, and whether it is read all the same.
struct FileRow {
  int line;
  std::string bytes;
  bool read;
};

TEST_F(VolumeProgressTest, ARecordMayHaveAnyShapeOfAFile) {
  const std::string record = Doc(kMinimal).toStyledString();
  std::string dos_lines;
  for (const char byte : record) dos_lines += byte == '\n' ? std::string("\r\n") : std::string(1, byte);
  const std::string one_line = R"({"pid":7,"vol_path":"/volume1","action":2,"step":3,"status":1,"pad":")";
  const std::string padding(1048576 - one_line.size() - 2, 'x');
  const FileRow rows[] = {
      {__LINE__, record, true},
      {__LINE__, record.substr(0, record.size() - 1), true},  // no final newline
      {__LINE__, dos_lines, true},
      {__LINE__, "// the worker's own note\n" + record, true},
      {__LINE__, record + record, true},  // the reader ends with the first document
      {__LINE__, record + std::string(1, '\0') + "rest", true},
      {__LINE__, one_line + padding + "\"}", true},  // a line of 1 MiB
      {__LINE__, record.substr(0, record.size() / 2), false},
      {__LINE__, std::string(1, '\0') + record, false},
      {__LINE__, record.substr(0, 20) + std::string(1, '\0') + record.substr(20), false},
      {__LINE__, "\xef\xbb\xbf" + record, false},  // a byte-order mark
      {__LINE__, "'" + record, false},
  };
  for (const FileRow& row : rows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line);
    _tag_cgi_volume_action_ action;
    Records(row.bytes);
    EXPECT_EQ(row.read, Volume::ReadActionFile(Request(), action));
    EXPECT_EQ(row.read ? "7 /volume1  2 3 1   0" : "0   0 0 0   0", Show(action));
  }
  Records(one_line + padding + "x\"}");
  EXPECT_FALSE(Read());
  ExpectLogged("tarvel (#) Can't read file > 1MB.");
  EXPECT_EQ(kUntouched, Show(action_));
}

TEST_F(VolumeProgressTest, ARecordThatCannotBeReadIsNone) {
  RecordsDoc(kMinimal);
  const std::string bytes = std::to_string(FileContent(kRecord).size());
  const struct {
    const char* call;
    std::string message;
  } rows[] = {{"open", "Failed to open /tmp/tarvel/modules/volume. (Input/output error)"},
              {"fstat", "Failed to stat file. (Input/output error)"},
              {"malloc", "Failed to malloc(" + bytes + ")."},
              {"read", "read file failed. (-1) != (" + bytes + "), errno=Input/output error"}};
  for (const auto& row : rows) {
    machine().FailNext(row.call, EIO);
    EXPECT_FALSE(Read()) << row.call;
    ExpectLogged("tarvel (#) " + row.message);
    machine().FailNext(row.call, EIO);
    EXPECT_FALSE(Volume::IsVolBuilding(Request())) << row.call;
    ExpectLogged("tarvel (#) " + row.message);
  }
  EXPECT_EQ(kUntouched, Show(action_));
}

TEST_F(VolumeProgressTest, AFolderIsNoRecord) {
  const std::string folder = machine().RealPath(kRecord);
  std::filesystem::create_directories(folder);
  struct stat info;
  ASSERT_EQ(0, stat(folder.c_str(), &info));
  EXPECT_FALSE(Read());
  ExpectLogged("tarvel (#) read file failed. (-1) != (" + std::to_string(info.st_size) + "), errno=Is a directory");
  EXPECT_EQ(kUntouched, Show(action_));
}

TEST_F(VolumeProgressTest, TextsEndAtANul) {
  Records(R"({"pid": 7, "vol_path": "/vol\u0000ume1", "action": 2, "step": 3, "status": 1})");
  EXPECT_TRUE(Read());
  EXPECT_EQ("7 /vol dev 2 3 1 section key 8", Show(action_));
}

TEST_F(VolumeProgressTest, WithoutMemoryTheFieldsStayAsTheyWere) {
  const std::string section(40, 's'), key(40, 'k');
  RecordsDoc("{'pid': 7, 'vol_path': '/volume1', 'action': 2, 'step': 3, 'status': 3, 'errno': {'section': '" +
             section + "', 'key': '" + key + "', 'line': 5}}");
  Tarvel& request = Request();
  int failures = 0;
  for (bool failed = true; failed; ++failures) {
    ASSERT_LT(failures, 1000);
    EXPECT_EQ(kUntouched, Show(action_));
    try {
      const FailingNew failing(failures);
      failed = false;
      EXPECT_TRUE(Volume::ReadActionFile(request, action_));
    } catch (const std::bad_alloc&) {
      failed = true;
    }
  }
  EXPECT_GE(failures, 20);
  EXPECT_EQ("7 /volume1 dev 2 3 3 " + section + " " + key + " 5", Show(action_));
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
