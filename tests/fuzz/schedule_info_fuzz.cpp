// Schedules as clients submit them: JSON of any shape, against the rules of each field; and the summary of what was
// read in buffers of any size.
#include <json/reader.h>

#include <cstdlib>
#include <cstring>
#include <memory>

#include "fuzz_input.h"
#include "schedule.h"

extern "C" void SilentSyslog(int, const char*, ...) __asm__("__wrap_syslog");
void SilentSyslog(int, const char*, ...) {}

namespace {

constexpr size_t kTimeBytes = 7;
constexpr int kMark = 77;

_tag_schedule_info_ Marked() {
  _tag_schedule_info_ info;
  info.days = info.startHour = info.startMinute = info.endHour = info.endMinute = info.freq = info.iteration = kMark;
  std::strcpy(info.startTime, "m");
  std::strcpy(info.endTime, "m");
  return info;
}

bool SameBut(const _tag_schedule_info_& a, const _tag_schedule_info_& b) {
  return a.advanced == b.advanced && a.days == b.days && a.startHour == b.startHour && a.startMinute == b.startMinute &&
         a.endHour == b.endHour && a.endMinute == b.endMinute && a.freq == b.freq && a.iteration == b.iteration &&
         std::strcmp(a.startTime, b.startTime) == 0 && std::strcmp(a.endTime, b.endTime) == 0;
}

std::string TimeOf(const Json::Value& member) { return std::string(member.asString().c_str()).substr(0, kTimeBytes); }

// An hour or a minute has 7 digits at most, so every machine's long holds it.
void RequireTime(const std::string& time, int hour, int minute) {
  const size_t colon = time.find(':');
  Require(hour == std::strtol(time.substr(0, colon).c_str(), nullptr, 10));
  Require(minute == (colon == std::string::npos ? kMark : std::strtol(time.c_str() + colon + 1, nullptr, 10)));
}

void RequireRead(const Json::Value& info, const _tag_schedule_info_& out) {
  Require(out.advanced == (info["type"].asString() != "basic") && out.days == info["days"].asInt());
  Require(TimeOf(info["starttime"]) == out.startTime);
  RequireTime(out.startTime, out.startHour, out.startMinute);
  if (!out.advanced) {
    Require(out.endHour == kMark && out.endMinute == kMark && out.freq == kMark && out.iteration == kMark);
    return;
  }
  Require(TimeOf(info["endtime"]) == out.endTime);
  Require(out.freq == info["freq"].asInt() && out.iteration == info["iteration"].asInt());
  const long hour = std::strtol(out.endTime, nullptr, 10);
  RequireTime(out.endTime, static_cast<int>(hour), out.endMinute);
  Require(out.endHour == (hour == 0 ? out.startHour : hour));
}

// The same line, cut to the room that there is.
void RequireLine(const _tag_schedule_info_& info, int room) {
  _tag_KEST_SCHEDULE job = {};
  job.weekdays = info.days;
  job.hour = info.startHour;
  job.freq = info.freq;
  job.lastHour = info.endHour;
  job.minute = info.startMinute;
  char whole[4096];
  Require(BkpSchedulePrint(job, whole, sizeof whole) && whole[0] == ' ');
  std::string cut(static_cast<size_t>(room), '#');
  Require(BkpSchedulePrint(job, cut.data(), room));
  Require(cut.c_str() == std::string(whole).substr(0, cut.size() - 1));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput input(data, size);
  const int room = 1 + static_cast<int>(input.Choice(255));
  const std::string text = input.Rest();
  const Json::CharReaderBuilder builder;
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  Json::Value info;
  try {
    if (!reader->parse(text.data(), text.data() + text.size(), &info, nullptr)) return 0;
  } catch (const Json::Exception&) {
    return 0;
  }

  const Json::Value before = info;
  _tag_schedule_info_ out = Marked();
  const bool read = ParseScheduleInfo(info, out);
  Require(info == before);
  if (!read || !out.enable) {
    Require(!out.enable && SameBut(out, Marked()));
    return 0;
  }
  RequireRead(before, out);
  RequireLine(out, room);
  return 0;
}
