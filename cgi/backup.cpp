// backup.cgi: the form of one backup task, a new one or one that is there.
//
//   GET  action=load[&task=NAME]    {"data": {field: value, ...}, "success": true}; without a task what a new one
//   starts
//                                   with
//   POST action=apply&task=&name=...&...   makes a task; with a name as "task" it changes that one. Answers as load
//   does,
//        or with the failure: {"errors": {field: message}, "success": false}, {"errinfo": {"sec", "key"}, "success":
//        false}
//
// The data also say "zone", the clock by which a task starts: "UTC", or "UTC+05:30" as it is now.
//
// Of "schedule" = "basic" the fields "start" and "basic_weekday" count, of "advance" "start", the seven days,
// "frequency" and "lasttime".
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>

#include "backup_store.h"
#include "settings_form.h"

namespace {

constexpr int kDaily = 127;

// In the order of the mask's bits.
constexpr const char* kDays[] = {
    "schedule_sun", "schedule_mon", "schedule_tue", "schedule_wed", "schedule_thu", "schedule_fri", "schedule_sat",
};

// "HH:MM", both digits; strptime alone lets blanks lead, and the library cuts a time at 7 bytes.
bool ReadTime(const std::string& text, site::BackupSchedule& schedule) {
  static const char kDigits[] = "0123456789";
  if (text.size() != 5 || text[2] != ':' || text.find_first_not_of(kDigits) != 2 ||
      text.find_first_not_of(kDigits, 3) != std::string::npos) {
    return false;
  }
  schedule.hour = atoi(text.c_str());
  schedule.minute = atoi(text.c_str() + 3);
  return schedule.hour <= 23 && schedule.minute <= 59;
}

// The scheduler goes by the machine's clock, not by the setting "timezone" nor by the browser's.
std::string Zone() {
  const time_t now = time(nullptr);
  struct tm local;
  char offset[8] = "";
  if (localtime_r(&now, &local) != nullptr) strftime(offset, sizeof offset, "%z", &local);
  const std::string digits = offset;  // "+hhmm"
  if (digits.size() != 5 || digits.substr(1) == "0000") return "UTC";
  return "UTC" + digits.substr(0, 3) + ":" + digits.substr(3);
}

Json::Value Fields(const std::string& name, const site::BackupTask& task, bool enabled) {
  const site::BackupSchedule& schedule = task.schedule;
  Json::Value data;
  data["task"] = data["name"] = name;
  data["kind"] = task.kind->word;
  data["enable"] = enabled ? "on" : "off";
  data["schedule"] = schedule.advanced ? "advance" : "basic";
  char start[32];
  std::snprintf(start, sizeof start, "%02d:%02d", schedule.hour, schedule.minute);
  data["start"] = start;
  data["basic_weekday"] = std::to_string(schedule.advanced ? kDaily : schedule.days);
  for (int day = 0; day < 7; ++day) data[kDays[day]] = (schedule.days >> day & 1) != 0 ? "on" : "off";
  data["frequency"] = std::to_string(schedule.every);
  data["lasttime"] = std::to_string(schedule.last_hour);
  data["zone"] = Zone();
  return data;
}

class BackupForm : public site::SettingsForm {
 public:
  int Load() override {
    const std::string name = Value("task");
    return name.empty() ? Succeed(Fields("", NewTask(), true)) : Show(name);
  }

 protected:
  int Save() override {
    const std::string old = Value("task");
    site::BackupTask task;
    if (!old.empty() && !site::IsTaskName(old)) return Fail("error_backup_gone");
    if (!CheckRules() || !CheckFurther(old, task)) return Fail(nullptr);
    const std::string name = old.empty() ? Value("name") : old;

    site::BackupChange change;
    if (!change.IsOpen()) return Fail("error_save_failed");
    site::BackupTask before;
    if (old.empty() ? change.Has(name) : !site::ReadBackupTask(name, before) || before.kind == nullptr) {
      if (!old.empty()) return Fail("error_backup_gone");
      Refuse("name", "error_backup_name_taken");
      return Fail(nullptr);
    }
    // The job's command line depends on the kind.
    if (!old.empty() && before.kind != task.kind) {
      Refuse("kind", "error_backup_kind_stays");
      return Fail(nullptr);
    }
    if (!change.Write(name, task)) return Fail("error_save_failed");
    const bool scheduled =
        Value("enable") == "on" ? site::EnableTask(name, task) : old.empty() || site::DisableTask(name, *task.kind);
    if (scheduled) return Show(name);
    const bool whole = old.empty() ? change.Remove(name) : change.Write(name, before);
    return Fail(whole ? "error_save_failed" : "error_saved_partly");
  }

 private:
  static site::BackupTask NewTask() {
    site::BackupTask task;
    task.kind = &site::kBackupKinds[0];
    task.schedule.days = kDaily;
    task.schedule.hour = task.schedule.last_hour = 3;
    return task;
  }

  int Number(const char* field) { return atoi(request.In(field, "")); }

  int Show(const std::string& name) {
    site::BackupTask task;
    bool enabled = false;
    if (!site::IsTaskName(name) || !site::ReadBackupTask(name, task) || task.kind == nullptr) {
      return Fail("error_backup_gone");
    }
    if (!site::AskScheduler(name, *task.kind, enabled, task.schedule)) return Fail("error_no_scheduler");
    return Succeed(Fields(name, task, enabled));
  }

  bool CheckRules() {
    const std::vector<std::string> on_off = {"on", "off"};
    FormValidator form;
    std::vector<std::string> kinds;
    for (const site::BackupKind& kind : site::kBackupKinds) kinds.emplace_back(kind.word);
    form.AddTextField("task", true);
    form.AddStringList("kind", kinds);
    form.AddStringList("enable", on_off);
    form.AddStringList("schedule", {"basic", "advance"});
    form.AddTextField("start", false);
    if (Value("schedule") == "advance") {
      for (const char* day : kDays) form.AddStringList(day, on_off);
      form.AddNumberField("frequency", 0, 23);
      form.AddNumberField("lasttime", 0, 23);
    } else {
      form.AddStringList("basic_weekday", {"127", "1", "2", "4", "8", "16", "32", "64"});
    }
    if (Value("task").empty()) form.AddTextField("name", false);
    return form.Validate(*this);
  }

  // What no rule of its own can say. Asked only when each field is right by itself.
  bool CheckFurther(const std::string& old, site::BackupTask& task) {
    task.kind = site::FindBackupKind(Value("kind"));
    if (old.empty()) Demand(site::IsTaskName(Value("name")), "name", "error_backup_name");
    ReadSchedule(task.schedule);
    return IsFine();
  }

  void ReadSchedule(site::BackupSchedule& schedule) {
    Demand(ReadTime(Value("start"), schedule), "start", "error_backup_time");
    schedule.advanced = Value("schedule") == "advance";
    schedule.last_hour = schedule.hour;
    schedule.days = Number("basic_weekday");
    if (!schedule.advanced) return;
    schedule.days = 0;
    for (int day = 0; day < 7; ++day) schedule.days |= Value(kDays[day]) == "on" ? 1 << day : 0;
    Demand(schedule.days != 0, kDays[0], "error_backup_no_day");
    schedule.every = Number("frequency");
    if (schedule.every == 0) return;
    schedule.last_hour = Number("lasttime");
    Demand(schedule.last_hour >= schedule.hour, "lasttime", "error_backup_last_hour");
  }
};

}  // namespace

int main() { return BackupForm().Run(); }
