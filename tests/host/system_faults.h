#ifndef TESTS_HOST_SYSTEM_FAULTS_H_
#define TESTS_HOST_SYSTEM_FAULTS_H_

#include <string>

/// Makes one system call of the code under test fail, from construction to the end of the scope.
///
///     FailingCall disk_full("write", ENOSPC);          // the first write
///     FailingCall second("fsync", EIO, 2);              // the second fsync
class FailingCall {
 public:
  static constexpr int kEvery = 0;
  /// As the error: the process is killed at the call.
  static constexpr int kKilled = -1;

  FailingCall(const char* call, int error, int nth = 1);
  ~FailingCall();
  FailingCall(const FailingCall&) = delete;
  FailingCall& operator=(const FailingCall&) = delete;

  /// Whether the call came at all: a fault that never struck shows nothing.
  bool Struck() const;
};

/// For wrapped calls in other files: whether this one is to fail, with errno.
bool FaultStrikes(const char* call);

/// Moves the clock that the code under test sees, in seconds.
void AdvanceClock(long seconds);

#endif  // TESTS_HOST_SYSTEM_FAULTS_H_
