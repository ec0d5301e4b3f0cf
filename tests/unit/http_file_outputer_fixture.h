#ifndef TESTS_UNIT_HTTP_FILE_OUTPUTER_FIXTURE_H
#define TESTS_UNIT_HTTP_FILE_OUTPUTER_FIXTURE_H

#include <sys/resource.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "http_file_outputer.h"
#include "support/environment.h"
#include "support/mock_klib.h"
#include "support/platform_test.h"
#include "support/text_list.h"

namespace tarvel_test {

struct CloseTestFile {
  void operator()(FILE* file) const { std::fclose(file); }
};
using TestFile = std::unique_ptr<FILE, CloseTestFile>;

/// While it lives no file grows beyond so many bytes: a long reply that should have ended fills neither disk nor
/// memory.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) : signal_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &before_);
    const struct rlimit limit = {bytes, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, signal_);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  struct rlimit before_;
  void (*signal_)(int);
};

/// A request for a file, without "HTTP_RANGE" unless the test sets it.
class HttpFileOutputerTest : public PlatformTest {
 protected:
  void HasHeader(const std::string& value) { header_.Set(value.c_str()); }

  /// "HTTP_RANGE" is "bytes=" and these ranges; the platform splits them, and its list moves on the way.
  void AsksFor(const std::string& ranges) {
    HasHeader("bytes=" + ranges);
    ExpectSplit(ranges);
  }

  void ExpectSplit(const std::string& ranges) {
    using namespace ::testing;
    EXPECT_CALL(klib(), PslKLIBSzListAlloc(1024)).WillOnce(InvokeWithoutArgs([] { return NewTextList({}); }));
    EXPECT_CALL(klib(), KLIBStrTok(StrEq(ranges), StrEq(","), NotNull()))
        .WillOnce([](const char* text, const char*, PSZLIST* list) {
          const std::vector<std::string> pieces = CommaPieces(text);
          *list = NewTextList(pieces);
          return static_cast<int>(pieces.size());
        });
    EXPECT_CALL(klib(), SzKLIBSzListGet(_, _)).Times(AnyNumber()).WillRepeatedly(Invoke(TextOf));
    EXPECT_CALL(klib(), KLIBStrTrimSpace(_, IsNull())).Times(AnyNumber()).WillRepeatedly([](char* text, char*) {
      TrimInPlace(text);
      return 0;
    });
  }

  TestFile Open(const std::string& path) {
    TestFile file(std::fopen(path.c_str(), "rb"));
    if (!file) ADD_FAILURE() << path << " cannot be opened";
    Calls();
    return file;
  }

  /// A file that is as long as said and holds zeros, but for the texts at their offsets.
  std::string SparseFile(long long size, const std::vector<std::pair<long long, std::string>>& texts) {
    const std::string path = ScratchPath("sparse");
    std::ofstream file(path, std::ios::binary);
    for (const auto& [offset, text] : texts) file.seekp(offset) << text;
    file.seekp(size - 1) << '\0';
    return path;
  }

  /// So many bytes, none of which tells the same of its offset as its neighbours do.
  static std::string Pattern(size_t bytes) {
    std::string text(bytes, '\0');
    for (size_t i = 0; i < bytes; ++i) text[i] = static_cast<char>(i % 251);
    return text;
  }

  HTTPFileOutputer outputer_;

 private:
  Variable header_{"HTTP_RANGE", nullptr};
};

}  // namespace tarvel_test

#endif  // TESTS_UNIT_HTTP_FILE_OUTPUTER_FIXTURE_H
