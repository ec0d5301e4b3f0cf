#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>

namespace {

// Standard output belongs to the library while a test runs, so failures are told on standard error as well.
class FailuresOnStderr : public ::testing::EmptyTestEventListener {
  void OnTestPartResult(const ::testing::TestPartResult& result) override {
    if (!result.failed()) return;
    std::fprintf(stderr, "%s:%d: %s\n", result.file_name() != nullptr ? result.file_name() : "?", result.line_number(),
                 result.message());
  }
};

}  // namespace

int main(int argc, char** argv) {
  ::testing::InitGoogleMock(&argc, argv);
  ::testing::UnitTest::GetInstance()->listeners().Append(new FailuresOnStderr);
  return RUN_ALL_TESTS();
}
