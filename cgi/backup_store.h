// The records of the backup tasks: a file for each in /usr/kest/etc/backup, called as the task, with lines key="value".
// The scheduler knows jobs by their command lines only and lists none; this folder is the list.
#ifndef CGI_BACKUP_STORE_H
#define CGI_BACKUP_STORE_H

#include <string>
#include <vector>

#include "backup_task.h"
#include "descriptor.h"

namespace site {

/// The names of all tasks, in the order of people's lists. None where no task has been made yet.
///
/// @return false when the folder cannot be read
bool ListBackupTasks(std::vector<std::string>& names);

/// The record of a task. Of one that others have written or damaged what cannot be understood counts as missing.
///
/// @param name  IsTaskName()
/// @return false when there is none or it cannot be read
bool ReadBackupTask(const std::string& name, BackupTask& task);

/// The right to change records. Others wait for as long as it lives, so that two requests at once do not mix what they
/// tell the scheduler.
class BackupChange {
 public:
  /// Makes the folder when it is missing.
  BackupChange();

  /// False when the folder cannot be had; nothing else may be called then.
  bool IsOpen() const { return folder_.IsOpen(); }

  bool Has(const std::string& name) const;

  /// Writes a record, whole or not at all: a reader sees the old one or the new one, also when this process is killed.
  bool Write(const std::string& name, const BackupTask& task);

  /// Gives a record a second name, which must be free. To rename is to do this, tell the scheduler, and remove the
  /// first one: whenever that ends, no job is without a task in the list.
  bool Link(const std::string& name, const std::string& second);

  bool Remove(const std::string& name);

 private:
  Descriptor folder_;
};

}  // namespace site

#endif  // CGI_BACKUP_STORE_H
