#include "background.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

namespace site {

namespace {

constexpr char kFolder[] = "/usr/kest/var/";

// Open-file-description locks (fcntl(2)): kept across fork, and looked at without being taken.
struct flock WholeFile() {
  struct flock whole = {};
  whole.l_type = F_WRLCK;
  whole.l_whence = SEEK_SET;
  return whole;
}

// A web server waits for the end of a program's standard output, wherever it is open.
bool LeaveServer(int kept) {
  if (setsid() < 0) return false;
  const Descriptor nowhere(open("/dev/null", O_RDWR | O_CLOEXEC));
  for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
    if (dup2(nowhere.get(), fd) < 0) return false;
  }
  close_range(STDERR_FILENO + 1, static_cast<unsigned>(kept) - 1, 0);
  close_range(static_cast<unsigned>(kept) + 1, ~0U, 0);
  for (const int signal_number : {SIGHUP, SIGPIPE, SIGTERM, SIGINT, SIGCHLD}) signal(signal_number, SIG_DFL);
  return true;
}

bool EndedWell(pid_t process) {
  int status = -1;
  while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// Ends without what a program does at its end: the reply and the request belong to the process that began them.
[[noreturn]] void Work(const std::function<void()>& work) {
  try {
    work();
  } catch (...) {
    _exit(1);
  }
  _exit(0);
}

}  // namespace

WorkLock::WorkLock(const std::string& name)
    : file_(open((kFolder + name + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600)) {}

bool WorkLock::Take() {
  struct flock whole = WholeFile();
  return fcntl(file_.get(), F_OFD_SETLK, &whole) == 0;
}

bool WorkLock::IsTaken() const {
  struct flock whole = WholeFile();
  return fcntl(file_.get(), F_OFD_GETLK, &whole) == 0 && whole.l_type != F_UNLCK;
}

bool RunInBackground(const WorkLock& lock, const std::function<void()>& work) {
  const pid_t first = fork();
  if (first < 0) return false;
  if (first > 0) return EndedWell(first);
  // The second process is nobody's child, so nobody has to wait for it.
  if (!LeaveServer(lock.descriptor())) _exit(1);
  const pid_t second = fork();
  if (second == 0) Work(work);
  _exit(second < 0 ? 1 : 0);
}

}  // namespace site
