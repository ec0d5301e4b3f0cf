#ifndef TESTS_UNIT_SUPPORT_LOG_CAPTURE_H
#define TESTS_UNIT_SUPPORT_LOG_CAPTURE_H

#include <string>
#include <vector>

namespace tarvel_test {

struct LogLine {
  int priority;
  std::string text;
};

/// Keeps what goes to syslog while it lives; nothing reaches the system's log.
class LogCapture {
 public:
  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  static LogCapture* Current();
  void Add(int priority, std::string text);

  /// Lines that no test has claimed yet.
  const std::vector<LogLine>& lines() const { return lines_; }

  /// Claims the oldest line: it must have this priority and this text, in which one "#" stands for the line number of
  /// the source: "tarvel(#)no path for upload". Fails the test otherwise.
  void Expect(int priority, const std::string& text);

 private:
  std::vector<LogLine> lines_;
};

}  // namespace tarvel_test

#endif  // TESTS_UNIT_SUPPORT_LOG_CAPTURE_H
