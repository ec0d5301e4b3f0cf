#include <signal.h>
#include <stdlib.h>

#include <cerrno>
#include <string>

#include "host/klib/error_code.h"
#include "host/klib/file_read.h"
#include "host/storage/guarded_call.h"
#include "host/storage/kernel_file.h"
#include "platform/keststorage.h"

namespace kest {
namespace {

struct FileService {
  const char* pid_file;
  const char* name;  // as the kernel shows it, with its LF
};

// Each reads its configuration again when it gets SIGHUP.
constexpr FileService kFileServices[] = {
    {"/run/samba/smbd.pid", "smbd\n"},
    {"/run/proftpd.pid", "proftpd\n"},
    {"/run/vsftpd/vsftpd.pid", "vsftpd\n"},
};

constexpr size_t kPidFileMax = 64;

// The process of a service; 0 when it does not run. An old file may name a process that is something else today.
pid_t ProcessOf(const FileService& service) {
  std::string text;
  if (!ReadWholeFile(service.pid_file, kPidFileMax, &text)) return 0;
  const long pid = strtol(text.c_str(), nullptr, 10);
  if (pid <= 1 || pid > 1 << 30) return 0;
  std::string name;
  if (!ReadKernelFile(("/proc/" + std::to_string(pid) + "/comm").c_str(), &name)) return 0;
  return name == service.name ? static_cast<pid_t>(pid) : 0;
}

}  // namespace
}  // namespace kest

void ErrServicesHup(void) {
  kest::Guarded([] {
    for (const kest::FileService& service : kest::kFileServices) {
      const pid_t pid = kest::ProcessOf(service);
      if (pid > 0 && kill(pid, SIGHUP) != 0) kest::FailWith(kest::ErrorCodeOf(errno));
    }
    return 0;
  });
}
