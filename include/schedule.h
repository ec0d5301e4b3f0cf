#ifndef TARVEL_SCHEDULE_H
#define TARVEL_SCHEDULE_H

#include <json/value.h>

#include "platform/kestsched.h"
#include "tarvel_export.h"

/// @file
/// Schedules of backup tasks.
///
/// A backup task runs from the platform's scheduler, which knows a job by its command line:
///
/// | kind of backup       | command line of the task NAME               |
/// |----------------------|---------------------------------------------|
/// | BACKUP_TYPE_NETWORK  | `/usr/kest/bin/kestnetbkp -a "NAME"`        |
/// | BACKUP_TYPE_LOCAL    | `/usr/kest/bin/kestlocalbkp -a "NAME"`      |
/// | BACKUP_TYPE_S3       | `/usr/kest/bin/kestnetbkps3 --s3add "NAME"` |
///
/// The name stands in it as it is: a program admits no name that a command line cannot carry safely (quotation marks,
/// dollar signs, backquotes, backslashes, line breaks). A job is looked up and removed by the first 223 bytes of its
/// command line but stored with up to 1023, so one with a longer command line is never found again.
///
///     Json::Value info;
///     info["enable"] = true;
///     info["type"] = "basic";
///     info["days"] = 127;             // every day
///     info["starttime"] = "03:30";
///     BkpScheduleSet(info, nullptr, "photos", BACKUP_TYPE_LOCAL);      // 1
///
///     Json::Value shown;
///     BkpScheduleGet(shown, "photos", BACKUP_TYPE_LOCAL);              // {"schedule_enable": true, "hour": 3, ...}
///
///     Json::Value rename;
///     BkpScheduleSet(rename, "photos", "pictures", BACKUP_TYPE_LOCAL); // 1
///
/// Weekdays are a mask: bit 0 is Sunday, bit 6 Saturday, 127 daily. Times are the appliance's local time. What is
/// logged goes to syslog at LOG_ERR, begins with the source name `schedule` and the line number, and is named at each
/// function; "0x%04X" is KLIBErrGet().

/// Kinds of backup. Any other value is refused.
enum __tag_BACKUP_TYPE_ : int {
  BACKUP_TYPE_NETWORK = 0,  ///< to another machine
  BACKUP_TYPE_LOCAL = 1,    ///< to a folder or an external disk
  BACKUP_TYPE_S3 = 2,       ///< to a cloud store
};

/// What a page submits, read.
struct _tag_schedule_info_ {
  bool enable = false;     ///< whether the task is to run by itself
  bool advanced = false;   ///< whether the fields for repeated runs were given
  int days = 0;            ///< weekdays
  int startHour = 0;       ///< of the first run of a day
  int startMinute = 0;     ///< of every run
  int endHour = 0;         ///< last hour in which a repeated run starts
  int endMinute = 0;       ///< read, and of no account
  int freq = 0;            ///< hours between two runs of a day; 0: one run a day
  int iteration = 0;       ///< read, and of no account
  char startTime[8] = {};  ///< the start as it was submitted, cut to 7 bytes
  char endTime[8] = {};    ///< the end as it was submitted, cut to 7 bytes
};

/// A task's schedule, as the pages show it.
///
/// | member                               | value                                                              |
/// |--------------------------------------|--------------------------------------------------------------------|
/// | "schedule_enable"                    | bool: there is a schedule                                          |
/// | "schedule"                           | "basic": one weekday or daily, and once a day; else "advance"      |
/// | "basic_weekday"                      | the weekdays when "basic", else 127                                |
/// | "hour", "minute"                     | time of the first run                                              |
/// | "schedule_days"                      | "daily" when the weekdays are 127, else "manual"                   |
/// | "from_hr", "from_min"                | time of the first run, once more                                   |
/// | "frequency"                          | hours between two runs of a day                                    |
/// | "lasttime"                           | last hour in which a repeated run starts                           |
/// | "weekday"                            | the weekdays                                                       |
/// | "schedule_sun", "schedule_mon", "schedule_tue", "schedule_wed", "schedule_thu", "schedule_fri", "schedule_sat" | 0 or 1 |
///
/// A task without schedule is shown as one that runs on Sundays at 0:00.
///
/// @param out   an object, or null; these members are written, others stay
/// @param task  name of the task; null is a failure (logged: "Bad parameter!!")
/// @param type  kind of the backup; any other value is a failure, not logged
/// @return true when `out` has the members; false on a failure, also when the scheduler cannot be read (logged: "Failed
///         to get backup schedule. szCmd=[%s], errno=[0x%04X]"): `out` is then as before
TARVEL_EXPORT bool BkpScheduleGet(Json::Value& out, const char* task, __tag_BACKUP_TYPE_ type);

/// Sets, changes, renames or removes a task's schedule.
///
/// | `info`                    | what happens                                                                      |
/// |---------------------------|-----------------------------------------------------------------------------------|
/// | without members           | the old task's schedule, if there is one, becomes the new task's                  |
/// | "enable" is false         | the old task's schedule is removed, if `oldTask` is given                         |
/// | "enable" is true          | the same, and then the new task gets the schedule that `info` describes           |
///
/// Each removal and each setting is entered in the event log, with the schedule's summary (BkpSchedulePrint(), 127
/// bytes) and the task's name. A removal stands when the setting behind it fails.
///
/// @param info     what ParseScheduleInfo() reads; a scalar is without members. It is not changed
/// @param oldTask  name of the task until now; null for a new one
/// @param newTask  name of the task from now on; null is a failure (logged: "Bad parameters!!")
/// @param type     kind of the backup; any other value is a failure as soon as a command line is needed, not logged
/// @return 1 when done, also when there was nothing to rename; 0 when a task is to be renamed to its own name, and
///         nothing is touched; -1 on a failure (logged: "Fail to parse schedule info.", "Failed to get backup schedule.
///         szCmd=[%s] kesterr=[0x%04X]", "KESTScheduleRemove([%s]) failed!! kesterr=[0x%04X]", or "schedule setting is
///         failed : %d,%d,%d,%d,%s, kesterr=[0x%04X]" with hour, minute, frequency, last hour and command line)
TARVEL_EXPORT int BkpScheduleSet(Json::Value& info, const char* oldTask, const char* newTask, __tag_BACKUP_TYPE_ type);

/// Reads what a page submits.
///
/// | member | type | read | meaning |
/// |---|---|---|---|
/// | "enable" | bool | always | when false, nothing else is read and the other fields stay |
/// | "type" | string | when enabled | exactly "basic", or anything else for "advanced" |
/// | "days" | int | when enabled | weekdays |
/// | "starttime" | string | when enabled | "H:M"; without a colon just the hour |
/// | "endtime" | string | when advanced | "H:M"; an hour of 0, midnight included, becomes the start's |
/// | "freq", "iteration" | int | when advanced | hours between two runs; of no account |
///
/// Missing members count as false, 0 and "". Times are cut to 7 bytes before they are read; numbers are read as
/// `strtol` reads them, and no range is checked.
///
/// @param info  the document, an object or null; it may be a client's and is not changed
/// @param out   receives the fields; one that is not read stays
/// @return true when read; false when `info` or a member is of another type, and when memory is short (logged: "Failed
///         to duplicate string"): `out` is then as before
TARVEL_EXPORT bool ParseScheduleInfo(Json::Value& info, _tag_schedule_info_& out);

/// A schedule in one localised line like " Time: 03:07 Date: Sun,Tue": a blank, the text of "schedule_time", the text
/// of "colon", a blank, the time, for repeated runs a comma and the interval, a blank, the text of "schedule_date", the
/// text of "colon", a blank, the days.
///
/// The texts are those of the sections "common", "schedule" and "usbbackup". The time has at most 29 bytes, the
/// interval 49, the days 1023; what is longer is cut.
///
/// @param rec   the schedule; a frequency other than 0 is one of repeated runs
/// @param buf   receives the line, NUL-terminated and cut to `size` - 1 bytes; null is a failure
/// @param size  bytes of `buf`, at least 1
/// @return true when written; false on a failure (logged: "Bad parameters.")
TARVEL_EXPORT bool BkpSchedulePrint(_tag_KEST_SCHEDULE& rec, char* buf, int size);

#endif  // TARVEL_SCHEDULE_H
