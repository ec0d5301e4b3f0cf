// A backup task as the programs handle it: of which kind it is, when it runs, and what it may be called.
#ifndef CGI_BACKUP_TASK_H
#define CGI_BACKUP_TASK_H

#include <tarvel/schedule.h>

#include <string>

namespace site {

struct BackupKind {
  const char* word;  ///< in records, forms and replies
  __tag_BACKUP_TYPE_ type;
};

inline constexpr BackupKind kBackupKinds[] = {
    {"local", BACKUP_TYPE_LOCAL},
    {"network", BACKUP_TYPE_NETWORK},
    {"cloud", BACKUP_TYPE_S3},
};

/// Null for a word that names none.
const BackupKind* FindBackupKind(const std::string& word);

/// When a task runs, or would run once it is enabled.
struct BackupSchedule {
  bool advanced = false;
  int days = 1;  ///< bit 0 Sunday to bit 6 Saturday; 127 is daily
  int hour = 0;
  int minute = 0;
  int every = 0;      ///< hours between two runs of a day; 0: one run a day
  int last_hour = 0;  ///< in which a repeated run starts
};

struct BackupTask {
  const BackupKind* kind = nullptr;  ///< null: the record does not say
  BackupSchedule schedule;           ///< as it was last saved; while the task is enabled the scheduler knows better
};

/// Whether a name is one of a task. It stands between quotation marks in a command line and names a file: letters and
/// digits of any script, blanks, "-", "_" and "." are all that it may hold, and neither a dash, a dot nor a blank
/// begins it. Of at most 64 bytes, so that the scheduler finds the job of each kind again.
bool IsTaskName(const std::string& name);

/// What the scheduler says about a task, in the place of what `schedule` has; that stays when the task is disabled.
///
/// @return false when it cannot be asked
bool AskScheduler(const std::string& name, const BackupKind& kind, bool& enabled, BackupSchedule& schedule);

/// Lets a task run by its schedule. A job that it has is replaced in one step: nothing is lost when that fails.
bool EnableTask(const std::string& name, const BackupTask& task);

/// Ends the job of a task, if it has one.
bool DisableTask(const std::string& name, const BackupKind& kind);

/// The library's one-line summary.
std::string Summary(const BackupSchedule& schedule);

}  // namespace site

#endif  // CGI_BACKUP_TASK_H
