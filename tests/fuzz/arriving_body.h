#ifndef TESTS_FUZZ_ARRIVING_BODY_H_
#define TESTS_FUZZ_ARRIVING_BODY_H_

#include <cstddef>
#include <string>

/// While it lives, standard input holds these bytes, and each read gets so many of them at most: a body comes over the
/// network in pieces. Targets that use it wrap read() at link time.
class ArrivingBody {
 public:
  ArrivingBody(const std::string& bytes, size_t step);
  ~ArrivingBody();
  ArrivingBody(const ArrivingBody&) = delete;
  ArrivingBody& operator=(const ArrivingBody&) = delete;
};

#endif  // TESTS_FUZZ_ARRIVING_BODY_H_
