#include "backup_task.h"

#include <clocale>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <cwctype>

#include "name_text.h"

namespace site {

namespace {

constexpr size_t kNameBytes = 64;
constexpr size_t kSummaryBytes = 256;

bool IsNameCharacter(wchar_t character) {
  return iswalnum(static_cast<wint_t>(character)) != 0 ||
         (character < 128 && std::wcschr(L" -_.", character) != nullptr);
}

// As BkpScheduleSet() takes it, to be enabled.
Json::Value ScheduleInfo(const BackupSchedule& schedule) {
  Json::Value info;
  char time[32];
  info["enable"] = true;
  info["type"] = schedule.advanced ? "advanced" : "basic";
  info["days"] = schedule.days;
  std::snprintf(time, sizeof time, "%02d:%02d", schedule.hour, schedule.minute);
  info["starttime"] = time;
  std::snprintf(time, sizeof time, "%02d:00", schedule.last_hour);
  info["endtime"] = time;
  info["freq"] = schedule.every;
  return info;
}

}  // namespace

const BackupKind* FindBackupKind(const std::string& word) {
  for (const BackupKind& kind : kBackupKinds) {
    if (word == kind.word) return &kind;
  }
  return nullptr;
}

bool IsTaskName(const std::string& name) {
  if (name.empty() || name.size() > kNameBytes || std::strchr(" -.", name[0]) != nullptr || name.back() == ' ')
    return false;
  setlocale(LC_CTYPE, "C.UTF-8");
  std::mbstate_t state = {};
  for (size_t at = 0; at < name.size();) {
    wchar_t character;
    const size_t bytes = std::mbrtowc(&character, name.data() + at, name.size() - at, &state);
    // No character, or half of one at the end.
    if (bytes == 0 || bytes > name.size() - at || !IsNameCharacter(character)) return false;
    at += bytes;
  }
  return true;
}

bool AskScheduler(const std::string& name, const BackupKind& kind, bool& enabled, BackupSchedule& schedule) {
  Json::Value known;
  if (!BkpScheduleGet(known, name.c_str(), kind.type)) return false;
  enabled = known["schedule_enable"].asBool();
  if (!enabled) return true;
  schedule.advanced = known["schedule"].asString() != "basic";
  schedule.days = known["weekday"].asInt();
  schedule.hour = known["hour"].asInt();
  schedule.minute = known["minute"].asInt();
  schedule.every = known["frequency"].asInt();
  schedule.last_hour = known["lasttime"].asInt();
  return true;
}

bool EnableTask(const std::string& name, const BackupTask& task) {
  Json::Value info = ScheduleInfo(task.schedule);
  // No old task: the library would remove its job first.
  return BkpScheduleSet(info, nullptr, name.c_str(), task.kind->type) == 1;
}

bool DisableTask(const std::string& name, const BackupKind& kind) {
  Json::Value info;
  info["enable"] = false;
  return BkpScheduleSet(info, name.c_str(), name.c_str(), kind.type) == 1;
}

std::string Summary(const BackupSchedule& schedule) {
  _tag_KEST_SCHEDULE job = {};
  job.weekdays = schedule.days;
  job.hour = schedule.hour;
  job.minute = schedule.minute;
  job.freq = schedule.every;
  job.lastHour = schedule.last_hour;
  char line[kSummaryBytes];
  if (!BkpSchedulePrint(job, line, sizeof line)) return "";
  // The line begins with a blank, and may have been cut inside a character.
  return AsUtf8(line + std::strspn(line, " "));
}

}  // namespace site
