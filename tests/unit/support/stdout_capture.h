#ifndef TESTS_UNIT_SUPPORT_STDOUT_CAPTURE_H
#define TESTS_UNIT_SUPPORT_STDOUT_CAPTURE_H

#include <string>

namespace tarvel_test {

/// Keeps what is printed while it lives, byte for byte.
class StdoutCapture {
 public:
  StdoutCapture();
  ~StdoutCapture();
  StdoutCapture(const StdoutCapture&) = delete;
  StdoutCapture& operator=(const StdoutCapture&) = delete;

  /// Everything printed since the last time, flushed or not.
  std::string Take();
  /// What has been flushed of it so far; it stays to be taken.
  std::string Flushed() const;

 private:
  int file_;
  int original_;
  long taken_ = 0;
};

}  // namespace tarvel_test

#endif  // TESTS_UNIT_SUPPORT_STDOUT_CAPTURE_H
