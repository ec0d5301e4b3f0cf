#ifndef TESTS_UNIT_SUPPORT_CURRENT_MOCK_H
#define TESTS_UNIT_SUPPORT_CURRENT_MOCK_H

#include <cstdio>
#include <cstdlib>

#include "support/allocations.h"
#include "support/machine.h"

namespace tarvel_test {

/// Base of the mock classes, one per platform header: the C functions of that header forward to the object that lives.
template <class Mock>
class CurrentMock {
 public:
  CurrentMock() { current_ = static_cast<Mock*>(this); }
  ~CurrentMock() { current_ = nullptr; }
  CurrentMock(const CurrentMock&) = delete;
  CurrentMock& operator=(const CurrentMock&) = delete;

  /// The mock that a C function of the platform forwards to; the call is noted under the function's name.
  static Mock& Called(const char* function) {
    if (current_ == nullptr) {
      std::fprintf(stderr, "%s was called outside of a PlatformTest\n", function);
      std::abort();
    }
    Machine::Current()->Note(function);
    return *current_;
  }
  /// The same for a function of which nobody asks when it is called.
  static Mock& Silently() { return *current_; }

  /// Called() by an expression whose memory does not count.
  class Uncounted {
   public:
    explicit Uncounted(const char* function) : mock_(Called(function)) {}
    Mock* operator->() { return &mock_; }

   private:
    UncountedNew memory_;
    Mock& mock_;
  };

 private:
  static inline Mock* current_ = nullptr;
};

}  // namespace tarvel_test

#endif  // TESTS_UNIT_SUPPORT_CURRENT_MOCK_H
