#ifndef TESTS_UNIT_SUPPORT_ALLOCATIONS_H
#define TESTS_UNIT_SUPPORT_ALLOCATIONS_H

namespace tarvel_test {

/// Lets one of the following `new` expressions fail, wherever in the program it is: the one after `successes` that
/// succeed. The object's end lifts it.
class FailingNew {
 public:
  explicit FailingNew(int successes);
  ~FailingNew();
  FailingNew(const FailingNew&) = delete;
  FailingNew& operator=(const FailingNew&) = delete;
};

/// While it lives every `new` succeeds and none is counted by FailingNew: for the tests' own bookkeeping inside a call
/// of the library's, where not even an exception could pass.
class SteadyNew {
 public:
  SteadyNew();
  ~SteadyNew();
  SteadyNew(const SteadyNew&) = delete;
  SteadyNew& operator=(const SteadyNew&) = delete;

 private:
  int successes_;
};

/// While it lives, `new` neither fails nor counts: what the tests' own platform remembers of a call is not the
/// library's.
class UncountedNew {
 public:
  UncountedNew();
  ~UncountedNew();
  UncountedNew(const UncountedNew&) = delete;
  UncountedNew& operator=(const UncountedNew&) = delete;
};

/// Blocks from `new` that are not deleted yet.
long LiveAllocations();

}  // namespace tarvel_test

#endif  // TESTS_UNIT_SUPPORT_ALLOCATIONS_H
