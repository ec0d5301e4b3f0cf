#ifndef TESTS_UNIT_SUPPORT_LEDGER_H
#define TESTS_UNIT_SUPPORT_LEDGER_H

#include <string>
#include <utility>
#include <vector>

namespace tarvel_test {

/// What was handed out during a test and must come back: platform contexts, records, lists, blocks from malloc. A wrong
/// or second return fails the test at once; what is still out when the test ends is a leak.
class Ledger {
 public:
  void Take(const char* kind, const void* thing);
  void Give(const char* kind, const void* thing);
  /// True when the thing was out as this kind; it is in again.
  bool GiveIfHeld(const char* kind, const void* thing);
  bool Holds(const char* kind, const void* thing) const;
  /// The things of a kind that came back, in the order of their return.
  std::vector<const void*> Returned(const char* kind) const;
  /// Kinds of everything still out, in the order of taking.
  std::vector<std::string> Outstanding() const;

 private:
  std::vector<std::pair<std::string, const void*>> held_;
  std::vector<std::pair<std::string, const void*>> returned_;
};

}  // namespace tarvel_test

#endif  // TESTS_UNIT_SUPPORT_LEDGER_H
