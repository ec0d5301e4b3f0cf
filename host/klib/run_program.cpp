#include "host/klib/run_program.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "host/klib/file_descriptor.h"
#include "host/klib/file_read.h"

namespace kest {
namespace {

class SpawnActions {
 public:
  SpawnActions() { posix_spawn_file_actions_init(&actions_); }
  ~SpawnActions() { posix_spawn_file_actions_destroy(&actions_); }
  SpawnActions(const SpawnActions&) = delete;
  SpawnActions& operator=(const SpawnActions&) = delete;

  bool LeaveNothingOpenBut(int input, int output) {
    return Give(output, STDOUT_FILENO) && Give(input, STDIN_FILENO) && Give(-1, STDERR_FILENO) &&
           posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1) == 0;
  }
  const posix_spawn_file_actions_t* get() const { return &actions_; }

 private:
  bool Give(int file, int as) {
    return file >= 0 ? posix_spawn_file_actions_adddup2(&actions_, file, as) == 0
                     : posix_spawn_file_actions_addopen(&actions_, as, "/dev/null", O_RDWR, 0) == 0;
  }

  posix_spawn_file_actions_t actions_;
};

// Signals as they are by nature, whatever the caller ignores or blocks.
class SpawnAttributes {
 public:
  SpawnAttributes() {
    posix_spawnattr_init(&attributes_);
    sigset_t set;
    sigemptyset(&set);
    posix_spawnattr_setsigmask(&attributes_, &set);
    for (const int signal : {SIGPIPE, SIGCHLD, SIGTERM, SIGINT, SIGHUP, SIGALRM, SIGXFSZ}) sigaddset(&set, signal);
    posix_spawnattr_setsigdefault(&attributes_, &set);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }
  ~SpawnAttributes() { posix_spawnattr_destroy(&attributes_); }
  SpawnAttributes(const SpawnAttributes&) = delete;
  SpawnAttributes& operator=(const SpawnAttributes&) = delete;

  const posix_spawnattr_t* get() const { return &attributes_; }

 private:
  posix_spawnattr_t attributes_;
};

int Fail(int error) {
  errno = error;
  return -1;
}

pid_t WaitUninterrupted(pid_t pid, int* status, int options) {
  for (;;) {
    const pid_t done = waitpid(pid, status, options);
    if (done >= 0 || errno != EINTR) return done;
  }
}

// Looks again after 1, 2, 4, ... and then every 50 milliseconds: the programs are short ones as a rule.
int Wait(pid_t pid, int timeout_s) {
  constexpr long kLongestPauseNs = 50 * 1000 * 1000;
  struct timespec start, now, pause = {0, 1000 * 1000};
  clock_gettime(CLOCK_MONOTONIC, &start);
  int status = 0;
  for (;;) {
    const pid_t done = WaitUninterrupted(pid, &status, WNOHANG);
    if (done < 0) return -1;
    if (done == pid) return WIFEXITED(status) ? WEXITSTATUS(status) : Fail(EINTR);
    clock_gettime(CLOCK_MONOTONIC, &now);
    if (now.tv_sec - start.tv_sec > timeout_s) break;
    nanosleep(&pause, nullptr);
    pause.tv_nsec = std::min(pause.tv_nsec * 2, kLongestPauseNs);
  }
  kill(pid, SIGKILL);
  WaitUninterrupted(pid, &status, 0);
  return Fail(ETIMEDOUT);
}

}  // namespace

int RunProgram(const char* const* arguments, int timeout_s, int input, int output) {
  SpawnActions actions;
  const SpawnAttributes attributes;
  if (!actions.LeaveNothingOpenBut(input, output)) return Fail(ENOMEM);
  const char* const environment[] = {"PATH=/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL=C", nullptr};
  pid_t pid = 0;
  const int error = posix_spawn(&pid, arguments[0], actions.get(), attributes.get(),
                                const_cast<char* const*>(arguments), const_cast<char* const*>(environment));
  return error != 0 ? Fail(error) : Wait(pid, timeout_s);
}

// A file in memory, not a pipe: nobody has to read while the program writes.
int ReadProgram(const char* const* arguments, int timeout_s, std::string* output) {
  const FileDescriptor file(memfd_create("output", MFD_CLOEXEC));
  if (!file.IsOpen()) return -1;
  const int status = RunProgram(arguments, timeout_s, -1, file.Get());
  const std::string path = "/proc/self/fd/" + std::to_string(file.Get());
  return status >= 0 && ReadWholeFile(path.c_str(), kTextFileMax, output) ? status : -1;
}

}  // namespace kest
