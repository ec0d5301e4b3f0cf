#include "system_faults.h"

#include <sys/stat.h>
#include <sys/types.h>
#include <time.h>

#include <cerrno>
#include <csignal>
#include <cstdarg>

namespace {

struct Fault {
  std::string call;
  int error = 0;
  int nth = 0;
  int seen = 0;
  bool struck = false;
};

Fault fault;
long clock_offset_s = 0;

bool Strikes(const char* call) {
  if (fault.call != call) return false;
  ++fault.seen;
  if (fault.nth != FailingCall::kEvery && fault.seen != fault.nth) return false;
  fault.struck = true;
  if (fault.error == FailingCall::kKilled) raise(SIGKILL);
  errno = fault.error;
  return true;
}

}  // namespace

FailingCall::FailingCall(const char* call, int error, int nth) { fault = {call, error, nth, 0, false}; }
FailingCall::~FailingCall() { fault = {}; }
bool FailingCall::Struck() const { return fault.struck; }

bool FaultStrikes(const char* call) { return Strikes(call); }

void AdvanceClock(long seconds) { clock_offset_s += seconds; }

// The linker sends the calls of the code under test here; __real_ is the system's own. Both names of the calls that
// exist with 64-bit offsets are caught, whichever the C library's headers choose.
extern "C" {

int __real_open(const char* path, int flags, ...);
int __real_mkostemp(char* name, int flags);
ssize_t __real_write(int fd, const void* bytes, size_t count);
ssize_t __real_pwrite64(int fd, const void* bytes, size_t count, off64_t at);
int __real_fsync(int fd);
int __real_fdatasync(int fd);
int __real_rename(const char* from, const char* to);
int __real_fchmod(int fd, mode_t mode);
int __real_fstat(int fd, struct stat* status);
int __real_flock(int fd, int operation);
int __real_clock_gettime(clockid_t clock, struct timespec* now);

int __wrap_open(const char* path, int flags, ...) {
  va_list more;
  va_start(more, flags);
  const mode_t mode = static_cast<mode_t>(va_arg(more, int));
  va_end(more);
  return Strikes("open") ? -1 : __real_open(path, flags, mode);
}
int __wrap_open64(const char* path, int flags, mode_t mode) { return __wrap_open(path, flags, mode); }

int __wrap_mkostemp(char* name, int flags) { return Strikes("mkostemp") ? -1 : __real_mkostemp(name, flags); }
int __wrap_mkostemp64(char* name, int flags) { return __wrap_mkostemp(name, flags); }

ssize_t __wrap_write(int fd, const void* bytes, size_t count) {
  return Strikes("write") ? -1 : __real_write(fd, bytes, count);
}
// SQLite names the one with 64-bit offsets.
ssize_t __wrap_pwrite64(int fd, const void* bytes, size_t count, off64_t at) {
  return Strikes("pwrite") ? -1 : __real_pwrite64(fd, bytes, count, at);
}
int __wrap_fsync(int fd) { return Strikes("fsync") ? -1 : __real_fsync(fd); }
int __wrap_fdatasync(int fd) { return Strikes("fsync") ? -1 : __real_fdatasync(fd); }
int __wrap_rename(const char* from, const char* to) { return Strikes("rename") ? -1 : __real_rename(from, to); }
int __wrap_fchmod(int fd, mode_t mode) { return Strikes("fchmod") ? -1 : __real_fchmod(fd, mode); }
int __wrap_fstat(int fd, struct stat* status) { return Strikes("fstat") ? -1 : __real_fstat(fd, status); }
int __wrap_fstat64(int fd, struct stat* status) { return __wrap_fstat(fd, status); }
int __wrap_flock(int fd, int operation) { return Strikes("flock") ? -1 : __real_flock(fd, operation); }

int __wrap_clock_gettime(clockid_t clock, struct timespec* now) {
  const int result = __real_clock_gettime(clock, now);
  now->tv_sec += clock_offset_s;
  return result;
}

// Waiting takes no time in a test: the clock moves instead, and the other process gets the processor.
int __wrap_nanosleep(const struct timespec* wanted, struct timespec*) {
  clock_offset_s += fault.call == "flock" ? 1 : 0;
  struct timespec turn = *wanted;
  return clock_nanosleep(CLOCK_MONOTONIC, 0, &turn, nullptr);
}

}  // extern "C"
