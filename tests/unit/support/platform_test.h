#ifndef TESTS_UNIT_SUPPORT_PLATFORM_TEST_H
#define TESTS_UNIT_SUPPORT_PLATFORM_TEST_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <json/value.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "support/log_capture.h"
#include "support/machine.h"
#include "support/stdout_capture.h"

namespace tarvel_test {

// Each is as long to compile as GoogleMock itself: a test that expects calls includes support/mock_<header>.h.
class MockKestCgi;
class MockKestDir;
class MockKestSched;
class MockKestStorage;
class MockKlib;

/// A fresh directory that goes with its object.
class ScratchDirectory {
 public:
  ScratchDirectory();
  ~ScratchDirectory();
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;

  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

/// Fixture of every unit test: a fresh platform of strict mocks, a fresh file tree, silence.
///
/// A test fails when the library makes a platform call that it did not expect, when something handed out is not given
/// back, and when a log line or printed bytes are left that the test did not ask for. On a failure the calls made, the
/// log and the output are shown.
class PlatformTest : public ::testing::Test {
 protected:
  PlatformTest();
  ~PlatformTest() override;

  MockKestCgi& cgi();
  MockKestDir& dir();
  MockKestSched& sched();
  MockKestStorage& storage();
  MockKlib& klib();
  Machine& machine() { return machine_; }

  /// Claims the oldest log line, at LOG_ERR; "#" stands for the line number.
  void ExpectLogged(const std::string& text);
  /// The same at LOG_DEBUG.
  void ExpectLoggedForDebugging(const std::string& text);

  /// Claims what was printed since the last time.
  std::string Printed() { return output_.Take(); }
  /// What of it has left the stdio buffer; it stays to be claimed.
  std::string Flushed() const { return output_.Flushed(); }

  /// The calls made into the platform and into libc since the last time.
  std::vector<std::string> Calls() { return machine_.TakeCalls(); }

  /// Lets the first `new` of `call` fail, then the second, and so on until it gets through. Each failure must pass as
  /// std::bad_alloc and leave as many blocks as there were before. The calls noted are dropped.
  ///
  /// @return how often it failed
  int FailuresUntilItSucceeds(const std::function<void()>& call);

  /// A path of a file that does not exist yet.
  std::string ScratchPath(const std::string& name) const { return scratch_.path() + "/" + name; }
  /// Writes a file, fixed paths included, with the directories above it.
  void WriteFile(const std::string& path, const std::string& content);
  /// Content of a file, fixed paths included; "<missing>" when there is none.
  std::string FileContent(const std::string& path);
  bool FileExists(const std::string& path);

  /// Expects the calls with which a request object is made: context, cookies.
  void ExpectRequest();
  /// Lets the request have these decoded form parameters; any number of look-ups, in any order.
  void HasForm(std::map<std::string, std::string> form);

 private:
  ScratchDirectory scratch_;
  Machine machine_;
  LogCapture log_;
  struct Mocks;
  std::unique_ptr<Mocks> mocks_;
  std::map<std::string, std::string> form_;
  StdoutCapture output_;
};

/// A document of one line, quotes written as ': Doc("{'a': [1]}").
Json::Value Doc(std::string text);

}  // namespace tarvel_test

#endif  // TESTS_UNIT_SUPPORT_PLATFORM_TEST_H
