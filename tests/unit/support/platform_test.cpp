#include "support/platform_test.h"

#include <json/reader.h>
#include <syslog.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <new>
#include <sstream>
#include <utility>

#include "support/allocations.h"
#include "support/mock_kestcgi.h"
#include "support/mock_kestdir.h"
#include "support/mock_kestsched.h"
#include "support/mock_keststorage.h"
#include "support/mock_klib.h"

namespace tarvel_test {

using ::testing::_;
using ::testing::AnyNumber;
using ::testing::StrEq;

ScratchDirectory::ScratchDirectory() {
  std::string name = (std::filesystem::temp_directory_path() / "tarvel_unit_XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) ADD_FAILURE() << "no scratch directory";
  path_ = name;
}

ScratchDirectory::~ScratchDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

struct PlatformTest::Mocks {
  ::testing::StrictMock<MockKestCgi> cgi;
  ::testing::StrictMock<MockKestDir> dir;
  ::testing::StrictMock<MockKestSched> sched;
  ::testing::StrictMock<MockKestStorage> storage;
  ::testing::StrictMock<MockKlib> klib;
};

MockKestCgi& PlatformTest::cgi() { return mocks_->cgi; }
MockKestDir& PlatformTest::dir() { return mocks_->dir; }
MockKestSched& PlatformTest::sched() { return mocks_->sched; }
MockKestStorage& PlatformTest::storage() { return mocks_->storage; }
MockKlib& PlatformTest::klib() { return mocks_->klib; }

PlatformTest::PlatformTest() : machine_(scratch_.path()), mocks_(std::make_unique<Mocks>()) {
  // The ledger watches over these; only tests of the order name them.
  EXPECT_CALL(cgi(), KestCgiFree(_)).Times(AnyNumber());
  EXPECT_CALL(dir(), KESTShareFree(_)).Times(AnyNumber());
  EXPECT_CALL(storage(), KESTMountVolInfoFree(_)).Times(AnyNumber());
  EXPECT_CALL(storage(), RAIDSystemFree(_)).Times(AnyNumber());
}

PlatformTest::~PlatformTest() {
  const std::string printed = output_.Take();
  if (!HasFailure()) {
    for (const auto& kind : machine_.ledger().Outstanding()) ADD_FAILURE() << "leaked: " << kind;
    for (const auto& line : log_.lines()) ADD_FAILURE() << "unexpected log line: " << line.text;
    for (const auto& call : machine_.UnusedFaults()) ADD_FAILURE() << "was to fail and was never called: " << call;
    EXPECT_EQ("", printed) << "unexpected output";
  }
  if (!HasFailure()) return;
  std::fprintf(stderr, "--- calls since the last look:\n");
  for (const auto& call : machine_.TakeCalls()) std::fprintf(stderr, "  %s\n", call.c_str());
  std::fprintf(stderr, "--- log lines not claimed:\n");
  for (const auto& line : log_.lines()) std::fprintf(stderr, "  %s\n", line.text.c_str());
  std::fprintf(stderr, "--- printed and not claimed:\n%s\n---\n", printed.c_str());
}

void PlatformTest::ExpectLogged(const std::string& text) { log_.Expect(LOG_ERR, text); }

void PlatformTest::ExpectLoggedForDebugging(const std::string& text) { log_.Expect(LOG_DEBUG, text); }

int PlatformTest::FailuresUntilItSucceeds(const std::function<void()>& call) {
  constexpr int kEndless = 1000;
  Calls();
  for (int failures = 0; failures < kEndless; ++failures) {
    const long before = LiveAllocations();
    bool failed = false;
    try {
      const FailingNew failing(failures);
      call();
    } catch (const std::bad_alloc&) {
      failed = true;
    }
    {
      const UncountedNew memory;
      Calls();
    }
    EXPECT_EQ(before, LiveAllocations()) << "blocks, after the failure of number " << failures;
    if (!failed) return failures;
  }
  ADD_FAILURE() << "no end of failures";
  return kEndless;
}

void PlatformTest::WriteFile(const std::string& path, const std::string& content) {
  const std::filesystem::path real = machine_.RealPath(path);
  std::filesystem::create_directories(real.parent_path());
  std::ofstream(real, std::ios::binary) << content;
}

std::string PlatformTest::FileContent(const std::string& path) {
  std::ifstream file(machine_.RealPath(path), std::ios::binary);
  if (!file) return "<missing>";
  return {std::istreambuf_iterator<char>(file), {}};
}

bool PlatformTest::FileExists(const std::string& path) { return std::filesystem::exists(machine_.RealPath(path)); }

void PlatformTest::ExpectRequest() {
  EXPECT_CALL(cgi(), KestCgiInit(StrEq(""), _));
  EXPECT_CALL(cgi(), KestCgiLoadInCookies(_));
}

void PlatformTest::HasForm(std::map<std::string, std::string> form) {
  form_ = std::move(form);
  EXPECT_CALL(cgi(), KestCgiGetCGIParam(_, _, _))
      .Times(AnyNumber())
      .WillRepeatedly([this](KESTCGI*, const char* name, const char* def) {
        const auto field = form_.find(name);
        return field != form_.end() ? field->second.c_str() : def;
      });
}

Json::Value Doc(std::string text) {
  std::replace(text.begin(), text.end(), '\'', '"');
  Json::Value document;
  std::istringstream stream(text);
  std::string errors;
  if (!Json::parseFromStream(Json::CharReaderBuilder(), stream, &document, &errors)) ADD_FAILURE() << errors << text;
  return document;
}

}  // namespace tarvel_test
