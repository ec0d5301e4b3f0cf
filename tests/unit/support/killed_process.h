#ifndef TESTS_UNIT_SUPPORT_KILLED_PROCESS_H
#define TESTS_UNIT_SUPPORT_KILLED_PROCESS_H

#include <functional>

namespace tarvel_test {

/// Runs `call` in a child process that is killed at its first noted call into the platform or libc, before anything
/// comes of it, then in one that is killed at its second, and so on until one gets through. What such a process has
/// left is there for `look`, which is run after each.
///
/// @return how many were killed
int KilledAtEachCall(const std::function<void()>& call, const std::function<void()>& look);

/// For the machine: a call is about to be made.
void DieIfDue();

}  // namespace tarvel_test

#endif  // TESTS_UNIT_SUPPORT_KILLED_PROCESS_H
