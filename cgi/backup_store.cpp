#include "backup_store.h"

#include <dirent.h>
#include <fcntl.h>
#include <strings.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

// The library reads settings only; records of the same form are read by the platform's key/value call.
#include "platform/klib.h"

namespace site {

namespace {

constexpr char kFolder[] = "/usr/kest/etc/backup";
constexpr size_t kValueBytes = 16;
// No task may be called so.
constexpr char kUnfinished[] = ".new";

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};

std::string ReadText(const std::string& file, const char* key) {
  char value[kValueBytes] = "";
  return KLIBFileGetKeyValue(file.c_str(), key, value, sizeof value, 0) > 0 ? value : "";
}

// A number from `least` to `most`; anything else leaves what is there.
void ReadNumber(const std::string& file, const char* key, int least, int most, int& number) {
  const std::string text = ReadText(file, key);
  char* end = nullptr;
  const long read = std::strtol(text.c_str(), &end, 10);
  if (!text.empty() && *end == '\0' && read >= least && read <= most) number = static_cast<int>(read);
}

std::string Line(const char* key, const std::string& value) { return std::string(key) + "=\"" + value + "\"\n"; }

std::string RecordOf(const BackupTask& task) {
  const BackupSchedule& schedule = task.schedule;
  return Line("kind", task.kind->word) + Line("advanced", schedule.advanced ? "yes" : "no") +
         Line("days", std::to_string(schedule.days)) + Line("hour", std::to_string(schedule.hour)) +
         Line("minute", std::to_string(schedule.minute)) + Line("every", std::to_string(schedule.every)) +
         Line("last_hour", std::to_string(schedule.last_hour));
}

bool WriteAll(int file, const std::string& text) {
  for (size_t at = 0; at < text.size();) {
    const ssize_t written = write(file, text.data() + at, text.size() - at);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    at += static_cast<size_t>(written);
  }
  return true;
}

}  // namespace

bool ListBackupTasks(std::vector<std::string>& names) {
  const std::unique_ptr<DIR, CloseFolder> folder(opendir(kFolder));
  if (!folder) return errno == ENOENT;
  errno = 0;
  while (const dirent* entry = readdir(folder.get())) {
    if (IsTaskName(entry->d_name)) names.emplace_back(entry->d_name);
    errno = 0;
  }
  if (errno != 0) return false;
  std::sort(names.begin(), names.end(), [](const std::string& one, const std::string& other) {
    const int order = strcasecmp(one.c_str(), other.c_str());
    return order != 0 ? order < 0 : one < other;
  });
  return true;
}

bool ReadBackupTask(const std::string& name, BackupTask& task) {
  const std::string file = std::string(kFolder) + "/" + name;
  char kind[kValueBytes];
  if (KLIBFileGetKeyValue(file.c_str(), "kind", kind, sizeof kind, 0) < 0) return false;
  task.kind = FindBackupKind(kind);
  BackupSchedule& schedule = task.schedule;
  schedule.advanced = ReadText(file, "advanced") == "yes";
  ReadNumber(file, "days", 1, 127, schedule.days);
  ReadNumber(file, "hour", 0, 23, schedule.hour);
  ReadNumber(file, "minute", 0, 59, schedule.minute);
  ReadNumber(file, "every", 0, 23, schedule.every);
  ReadNumber(file, "last_hour", 0, 23, schedule.last_hour);
  return true;
}

BackupChange::BackupChange() {
  if (mkdir(kFolder, 0755) != 0 && errno != EEXIST) return;
  Descriptor folder(open(kFolder, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (folder.IsOpen() && flock(folder.get(), LOCK_EX) == 0) folder_ = std::move(folder);
}

bool BackupChange::Has(const std::string& name) const {
  return faccessat(folder_.get(), name.c_str(), F_OK, AT_SYMLINK_NOFOLLOW) == 0;
}

bool BackupChange::Write(const std::string& name, const BackupTask& task) {
  // What a killed process left under this name is nobody's.
  unlinkat(folder_.get(), kUnfinished, 0);
  const Descriptor file(openat(folder_.get(), kUnfinished, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
  if (!file.IsOpen()) return false;
  const bool written = WriteAll(file.get(), RecordOf(task)) && fsync(file.get()) == 0 &&
                       renameat(folder_.get(), kUnfinished, folder_.get(), name.c_str()) == 0;
  if (!written) unlinkat(folder_.get(), kUnfinished, 0);
  return written && fsync(folder_.get()) == 0;
}

bool BackupChange::Link(const std::string& name, const std::string& second) {
  return linkat(folder_.get(), name.c_str(), folder_.get(), second.c_str(), 0) == 0 && fsync(folder_.get()) == 0;
}

bool BackupChange::Remove(const std::string& name) {
  return unlinkat(folder_.get(), name.c_str(), 0) == 0 && fsync(folder_.get()) == 0;
}

}  // namespace site
