// The record of a volume's building, of any bytes, against rules written a second time.
#include <fcntl.h>

#include <cstdarg>
#include <cstring>

#include "fuzz_input.h"
#include "scratch_folder.h"
#include "tarvel.h"
#include "volume.h"

extern "C" {
void SilentSyslog(int, const char*, ...) __asm__("__wrap_syslog");
int RealOpen(const char* path, int flags, ...) __asm__("__real_open64");
int OpenRecord(const char* path, int flags, ...) __asm__("__wrap_open64");
}

void SilentSyslog(int, const char*, ...) {}

namespace {

// The record's path is fixed; it is found in the folder of this process.
const ScratchFolder& Folder() {
  static const ScratchFolder folder;
  return folder;
}

const Json::Value& Member(const Json::Value& record, const char* key) { return record[key]; }

bool IsText(const Json::Value& value) { return value.isConvertibleTo(Json::stringValue); }
bool IsInt(const Json::Value& value) { return value.isConvertibleTo(Json::intValue); }

bool IsErrorText(const Json::Value& error) {
  if (error.isNull()) return true;
  return error.isObject() && IsText(Member(error, "section")) && IsText(Member(error, "key")) &&
         IsInt(Member(error, "line"));
}

bool IsRecord(const Json::Value& record) {
  if (!record.isObject()) return false;
  for (const char* key : {"pid", "vol_path", "action", "step", "status"}) {
    if (!record.isMember(key)) return false;
  }
  if (!Member(record, "pid").isConvertibleTo(Json::uintValue) || !IsText(Member(record, "vol_path"))) return false;
  if (!IsInt(Member(record, "action")) || !IsInt(Member(record, "step")) || !IsInt(Member(record, "status")))
    return false;
  if (record.isMember("in_progress_devpath") && !IsText(Member(record, "in_progress_devpath"))) return false;
  return Member(record, "status").asInt() != 3 || !record.isMember("errno") || IsErrorText(Member(record, "errno"));
}

// What a field of so many bytes holds of a text.
std::string Cut(const Json::Value& text, size_t bytes) {
  return std::string(text.asString().c_str()).substr(0, bytes - 1);
}

_tag_cgi_volume_action_ Before() {
  _tag_cgi_volume_action_ action;
  action.pid = 1;
  std::strcpy(action.volPath, "path");
  std::strcpy(action.inProgressDevPath, "device");
  action.action = action.step = action.status = action.errLine = 2;
  action.errSection = "section";
  action.errKey = "key";
  return action;
}

bool operator==(const _tag_cgi_volume_action_& a, const _tag_cgi_volume_action_& b) {
  return a.pid == b.pid && std::strcmp(a.volPath, b.volPath) == 0 &&
         std::strcmp(a.inProgressDevPath, b.inProgressDevPath) == 0 && a.action == b.action && a.step == b.step &&
         a.status == b.status && a.errSection == b.errSection && a.errKey == b.errKey && a.errLine == b.errLine;
}

_tag_cgi_volume_action_ Expected(const Json::Value& record) {
  _tag_cgi_volume_action_ action = Before();
  action.pid = Member(record, "pid").asUInt();
  std::strcpy(action.volPath, Cut(Member(record, "vol_path"), sizeof action.volPath).c_str());
  action.action = Member(record, "action").asInt();
  action.step = Member(record, "step").asInt();
  action.status = Member(record, "status").asInt();
  if (record.isMember("in_progress_devpath"))
    std::strcpy(action.inProgressDevPath,
                Cut(Member(record, "in_progress_devpath"), sizeof action.inProgressDevPath).c_str());
  if (action.status != 3 || !record.isMember("errno")) return action;
  const Json::Value& error = Member(record, "errno");
  action.errSection = Member(error, "section").asString();
  action.errKey = Member(error, "key").asString();
  action.errLine = Member(error, "line").asInt();
  return action;
}

}  // namespace

int OpenRecord(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  const bool is_record = std::strcmp(path, "/tmp/tarvel/modules/volume") == 0;
  return RealOpen(is_record ? Folder().File("volume").c_str() : path, flags, mode);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Folder().Put("volume", FuzzInput(data, size).Rest());
  Tarvel request(false);
  Json::Value record;
  const bool readable = request.ReadModuleData("volume", record);
  const bool expected = readable && IsRecord(static_cast<const Json::Value&>(record));

  _tag_cgi_volume_action_ action = Before();
  Require(Volume::ReadActionFile(request, action) == expected);
  Require(action == (expected ? Expected(record) : Before()));

  _tag_cgi_volume_action_ again = Before();
  const bool building = Volume::IsVolBuilding(request, again);
  Require(again == action);
  Require(!building || action.status == 1);
  return 0;
}
