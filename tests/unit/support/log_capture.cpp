#include "support/log_capture.h"

#include <gtest/gtest.h>
#include <syslog.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <utility>

namespace tarvel_test {

namespace {

LogCapture* current = nullptr;

// The text with its line number, the first number in it, written as "#"; without one it stays as it is.
std::string WithoutLineNumber(const std::string& text) {
  const size_t begin = text.find_first_of("0123456789");
  if (begin == std::string::npos) return text;
  size_t end = text.find_first_not_of("0123456789", begin);
  if (end == std::string::npos) end = text.size();
  return text.substr(0, begin) + "#" + text.substr(end);
}

}  // namespace

LogCapture::LogCapture() { current = this; }

LogCapture::~LogCapture() { current = nullptr; }

LogCapture* LogCapture::Current() { return current; }

void LogCapture::Add(int priority, std::string text) { lines_.push_back({priority, std::move(text)}); }

void LogCapture::Expect(int priority, const std::string& text) {
  if (lines_.empty()) {
    ADD_FAILURE() << "nothing logged, expected: " << text;
    return;
  }
  const LogLine line = lines_.front();
  lines_.erase(lines_.begin());
  EXPECT_EQ(text, WithoutLineNumber(line.text));
  EXPECT_EQ(priority, line.priority) << line.text;
}

}  // namespace tarvel_test

// In place of syslog, by the linker's --wrap; a fortified build calls the second one.
extern "C" {
__attribute__((format(printf, 2, 3))) void WrapSyslog(int priority, const char* format, ...) __asm__("__wrap_syslog");
__attribute__((format(printf, 3, 4))) void WrapSyslogChk(int priority, int flag, const char* format,
                                                         ...) __asm__("__wrap___syslog_chk");
}

namespace {

__attribute__((format(printf, 2, 0))) void Keep(int priority, const char* format, va_list arguments) {
  char text[8192];
  std::vsnprintf(text, sizeof text, format, arguments);
  auto* log = tarvel_test::LogCapture::Current();
  if (log != nullptr) log->Add(priority, text);
}

}  // namespace

void WrapSyslog(int priority, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  Keep(priority, format, arguments);
  va_end(arguments);
}

void WrapSyslogChk(int priority, int, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  Keep(priority, format, arguments);
  va_end(arguments);
}
