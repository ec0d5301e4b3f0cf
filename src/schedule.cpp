#include "schedule.h"

#include <cstdio>
#include <cstring>
#include <string>

#include "internal/buffer.h"
#include "internal/log.h"
#include "internal/saturated_int.h"
#include "platform/klib.h"
#include "string_bundle.h"

namespace {

constexpr char kLogSource[] = "schedule";

// Shorter than the command line of a stored job, deliberately: a longer one is never found again.
constexpr size_t kLookupBytes = 224;
constexpr size_t kSummaryBytes = 128;
constexpr size_t kDaysBytes = 1024;
constexpr size_t kTimeBytes = 30;
constexpr size_t kIntervalBytes = 50;
constexpr int kDaily = 127;
constexpr int kInformation = 1;

using Job = _tag_KEST_SCHEDULE;

struct Backup {
  __tag_BACKUP_TYPE_ type;
  const char* program;
  const char* option;
  int category;
  int set_event;
  int removed_event;
};

constexpr Backup kBackups[] = {
    {BACKUP_TYPE_NETWORK, "/usr/kest/bin/kestnetbkp", "-a", 7, 0x12900032, 0x12900033},
    {BACKUP_TYPE_LOCAL, "/usr/kest/bin/kestlocalbkp", "-a", 5, 0x12400010, 0x12400011},
    {BACKUP_TYPE_S3, "/usr/kest/bin/kestnetbkps3", "--s3add", 5, 0x12400010, 0x12400011},
};

// In the order of the mask's bits. Each is a member of the shown document and a text's key as well.
constexpr const char* kDays[] = {
    "schedule_sun", "schedule_mon", "schedule_tue", "schedule_wed", "schedule_thu", "schedule_fri", "schedule_sat",
};
constexpr int kDayCount = sizeof kDays / sizeof kDays[0];

// Null for an unknown kind.
const Backup* BackupOf(__tag_BACKUP_TYPE_ type) {
  for (const Backup& backup : kBackups) {
    if (backup.type == type) return &backup;
  }
  return nullptr;
}

// The command line of a task; what finds no room is cut.
template <size_t kBytes>
void FormatCommand(const Backup& backup, const char* task, char (&command)[kBytes]) {
  std::snprintf(command, kBytes, "%s %s \"%s\"", backup.program, backup.option, task);
}

bool HasDay(const Job& job, int day) { return (job.weekdays >> day & 1) != 0; }

bool IsOnSeveralDays(const Job& job) {
  if (job.weekdays == kDaily) return false;
  int days = 0;
  for (int day = 0; day < kDayCount; ++day) days += HasDay(job, day) ? 1 : 0;
  return days > 1;
}

void Describe(const Job& job, Json::Value& out) {
  const bool basic = !IsOnSeveralDays(job) && job.freq < 1;
  out["schedule"] = basic ? "basic" : "advance";
  out["basic_weekday"] = basic ? job.weekdays : kDaily;
  out["hour"] = out["from_hr"] = job.hour;
  out["minute"] = out["from_min"] = job.minute;
  out["schedule_days"] = job.weekdays == kDaily ? "daily" : "manual";
  out["frequency"] = job.freq;
  out["lasttime"] = job.lastHour;
  out["weekday"] = job.weekdays;
  for (int day = 0; day < kDayCount; ++day) out[kDays[day]] = HasDay(job, day) ? 1 : 0;
}

template <size_t kBytes>
void CopyTime(const Json::Value& member, char (&time)[kBytes]) {
  std::snprintf(time, kBytes, "%s", member.asString().c_str());
}

// Without a colon the minute stays as it was. False when memory is short.
bool SplitTime(const char* time, int& hour, int& minute) {
  const tarvel_internal::Buffer copy(strdup(time));
  if (!copy) {
    LogError("%s:%d Failed to duplicate string");
    return false;
  }
  char* colon = std::strchr(copy.get(), ':');
  if (colon != nullptr) {
    *colon = '\0';
    minute = tarvel_internal::SaturatedInt(colon + 1);
  }
  hour = tarvel_internal::SaturatedInt(copy.get());
  return true;
}

bool ReadInfo(const Json::Value& info, _tag_schedule_info_& out) {
  out.enable = info["enable"].asBool();
  if (!out.enable) return true;
  out.advanced = info["type"].asString() != "basic";
  out.days = info["days"].asInt();
  CopyTime(info["starttime"], out.startTime);
  if (out.advanced) {
    CopyTime(info["endtime"], out.endTime);
    out.freq = info["freq"].asInt();
    out.iteration = info["iteration"].asInt();
    if (!SplitTime(out.endTime, out.endHour, out.endMinute)) return false;
  }
  if (!SplitTime(out.startTime, out.startHour, out.startMinute)) return false;
  // Midnight cannot be an end, deliberately: it counts as no end.
  if (out.endHour == 0) out.endHour = out.startHour;
  return true;
}

void Enter(const Backup& backup, int event, Job& job, const char* task) {
  char summary[kSummaryBytes];
  BkpSchedulePrint(job, summary, sizeof summary);
  KESTLogSet1(backup.category, kInformation, event, summary, task, "", "");
}

// `old` is the job as far as it was read, for the event log.
bool RemoveJob(const Backup* backup, const char* task, Job& old) {
  if (backup == nullptr) return false;
  char command[kLookupBytes];
  FormatCommand(*backup, task, command);
  if (KESTScheduleRemove(command) < 0) {
    LogError("%s:%d KESTScheduleRemove([%s]) failed!! kesterr=[0x%04X]", command, KLIBErrGet());
    return false;
  }
  Enter(*backup, backup->removed_event, old, task);
  return true;
}

bool SetJob(const Backup* backup, const char* task, Job& job) {
  if (backup == nullptr) return false;
  FormatCommand(*backup, task, job.cmd);
  if (KESTScheduleSet(&job) < 0) {
    LogError("%s:%d schedule setting is failed : %d,%d,%d,%d,%s, kesterr=[0x%04X]", job.hour, job.minute, job.freq,
             job.lastHour, job.cmd, KLIBErrGet());
    return false;
  }
  Enter(*backup, backup->set_event, job, task);
  return true;
}

int Rename(const Backup* backup, const char* old_task, const char* new_task) {
  if (old_task == nullptr) return 1;
  if (std::strcmp(old_task, new_task) == 0) return 0;
  if (backup == nullptr) return -1;
  char command[kLookupBytes];
  FormatCommand(*backup, old_task, command);
  Job job = {};
  const int found = KESTScheduleGet(command, &job);
  if (found < 0) {
    LogError("%s:%d Failed to get backup schedule. szCmd=[%s] kesterr=[0x%04X]", command, KLIBErrGet());
    return -1;
  }
  // Also where there is none, deliberately: the event log then tells of the old name's end.
  if (!RemoveJob(backup, old_task, job)) return -1;
  return found == 0 || SetJob(backup, new_task, job) ? 1 : -1;
}

std::string DaysText(StringBundle& texts, const Job& job) {
  std::string days;
  if (job.weekdays == kDaily) {
    days = texts.Text("schedule_daily", "");
  } else {
    const char* glue = "";
    for (int day = 0; day < kDayCount; ++day) {
      if (!HasDay(job, day)) continue;
      days.append(glue).append(texts.Text(kDays[day], ""));
      glue = ",";
    }
  }
  return days.substr(0, kDaysBytes - 1);
}

char* Section(const char* name) { return const_cast<char*>(name); }

}  // namespace

bool BkpScheduleGet(Json::Value& out, const char* task, __tag_BACKUP_TYPE_ type) {
  if (task == nullptr) {
    LogError("%s:%d Bad parameter!!");
    return false;
  }
  const Backup* backup = BackupOf(type);
  if (backup == nullptr) return false;
  char command[kLookupBytes];
  FormatCommand(*backup, task, command);
  Job job = {};
  const int found = KESTScheduleGet(command, &job);
  if (found < 0) {
    LogError("%s:%d Failed to get backup schedule. szCmd=[%s], errno=[0x%04X]", command, KLIBErrGet());
    return false;
  }
  if (found == 0) {
    job = {};
    job.weekdays = 1;
  }
  out["schedule_enable"] = found != 0;
  Describe(job, out);
  return true;
}

int BkpScheduleSet(Json::Value& info, const char* oldTask, const char* newTask, __tag_BACKUP_TYPE_ type) {
  if (newTask == nullptr) {
    LogError("%s:%d Bad parameters!!");
    return -1;
  }
  const Backup* backup = BackupOf(type);
  if (info.size() == 0) return Rename(backup, oldTask, newTask);

  _tag_schedule_info_ parsed;
  if (!ParseScheduleInfo(info, parsed)) {
    LogError("%s:%d Fail to parse schedule info.");
    return -1;
  }
  Job unread = {};
  if (oldTask != nullptr && !RemoveJob(backup, oldTask, unread)) return -1;
  if (!parsed.enable) return 1;
  Job job = {};
  job.weekdays = parsed.days;
  job.hour = parsed.startHour;
  job.freq = parsed.freq;
  job.lastHour = parsed.endHour;
  job.minute = parsed.startMinute;
  return SetJob(backup, newTask, job) ? 1 : -1;
}

bool ParseScheduleInfo(Json::Value& info, _tag_schedule_info_& out) {
  _tag_schedule_info_ parsed = out;
  try {
    if (!ReadInfo(info, parsed)) return false;
  } catch (const Json::Exception&) {
    // The document may be a client's, and no request may end the program.
    return false;
  }
  out = parsed;
  return true;
}

bool BkpSchedulePrint(_tag_KEST_SCHEDULE& rec, char* buf, int size) {
  if (buf == nullptr || size <= 0) {
    LogError("%s:%d Bad parameters.");
    return false;
  }
  StringBundle texts(Section("common"), Section("schedule"), Section("usbbackup"), nullptr, nullptr, nullptr);
  const std::string days = DaysText(texts, rec);
  const char* colon = texts.Text("colon", "");
  char time[kTimeBytes];
  char interval[kIntervalBytes] = "";
  if (rec.freq == 0) {
    std::snprintf(time, sizeof time, "%02d%s%02d", rec.hour, colon, rec.minute);
  } else {
    // The start's minute also closes the range, deliberately: it is the minute of every run.
    std::snprintf(time, sizeof time, "%02d%s%02d ~ %02d%s%02d", rec.hour, colon, rec.minute, rec.lastHour, colon,
                  rec.minute);
    const char* each = texts.Text("schedule_every_each", "");
    std::snprintf(interval, sizeof interval, ", %s %d %s", each, rec.freq, texts.Text("schedule_hour", ""));
  }
  const char* time_label = texts.Text("schedule_time", "");
  const char* date_label = texts.Text("schedule_date", "");
  std::snprintf(buf, static_cast<size_t>(size), " %s%s %s%s %s%s %s", time_label, colon, time, interval, date_label,
                colon, days.c_str());
  return true;
}
