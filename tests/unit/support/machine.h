#ifndef TESTS_UNIT_SUPPORT_MACHINE_H
#define TESTS_UNIT_SUPPORT_MACHINE_H

#include <string>
#include <vector>

#include "support/ledger.h"

namespace tarvel_test {

/// The machine below the library during one test. Every call of the library into libc that matters, and every call of
/// the platform, passes here: it is noted, can be made to fail, and finds the library's fixed paths in a directory of
/// the test's own. (The linker replaces the libc calls, see libc_calls.cpp; the noted names are the plain ones on every
/// architecture: "open", not "open64".)
class Machine {
 public:
  /// Becomes the current machine. Fixed paths such as /usr/kest/etc are looked for below `root`.
  explicit Machine(std::string root);
  ~Machine();
  Machine(const Machine&) = delete;
  Machine& operator=(const Machine&) = delete;

  /// Null outside of a test.
  static Machine* Current();

  void Note(const std::string& call);
  /// The calls noted since the last time, oldest first, e.g. "setsid", "KestCgiInit", "open /tmp/tarvel/modules/x".
  std::vector<std::string> TakeCalls();

  /// The next libc call of this name fails with `error_number`; a further one fails the call after that, and so on.
  void FailNext(const char* call, int error_number) { FailAfter(call, 0, error_number); }
  /// The same after `successes` further calls of this name.
  void FailAfter(const char* call, int successes, int error_number);
  /// The next read gives at most `bytes`, with errno as it is.
  void ShortenNextRead(long bytes);

  /// Where a path that the library uses really is: below the root for the fixed paths, otherwise itself.
  std::string RealPath(const std::string& path) const;

  Ledger& ledger() { return ledger_; }

  /// For the replaced calls: true when this call is to fail; errno is set then.
  bool Fails(const char* call);
  /// For the replaced read: how many bytes it may give.
  long ReadLimit(long wanted);
  /// Faults that were ordered and never met, a mistake in the test.
  std::vector<std::string> UnusedFaults() const;

 private:
  struct Fault {
    std::string call;
    int successes;
    int error_number;
  };

  std::string root_;
  Ledger ledger_;
  std::vector<std::string> calls_;
  std::vector<Fault> faults_;
  long read_limit_ = -1;
};

}  // namespace tarvel_test

#endif  // TESTS_UNIT_SUPPORT_MACHINE_H
