#ifndef TESTS_UNIT_FILE_SHARE_FIXTURE_H
#define TESTS_UNIT_FILE_SHARE_FIXTURE_H

#include <cstdlib>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "file_share.h"
#include "share_fixture.h"
#include "support/mock_kestcgi.h"
#include "support/mock_kestdir.h"
#include "support/mock_klib.h"
#include "support/platform_test.h"
#include "support/text_list.h"

namespace tarvel_test {

/// A file manager on a platform that splits paths.
class FileShareTest : public PlatformTest {
 protected:
  FileShareTest() {
    using namespace ::testing;
    EXPECT_CALL(klib(), PslKLIBSzListAlloc(1024)).Times(AnyNumber()).WillRepeatedly([](int) {
      return NewTextList({});
    });
    EXPECT_CALL(klib(), SzKLIBSzListGet(_, _)).Times(AnyNumber()).WillRepeatedly(TextOf);
    EXPECT_CALL(klib(), KLIBStrTok(_, StrEq("/"), _)).Times(AnyNumber()).WillRepeatedly(Split);
    files_.WfmLibSetErr(kBefore);
  }

  int Error() { return files_.WfmLibGetErr(); }
  /// Forgets the error of a call before.
  void ForgetError() { files_.WfmLibSetErr(kBefore); }

  /// A record that lives as long as the test.
  KESTSHARE* Share(const std::string& name) {
    shares_.emplace_back(name);
    return &shares_.back().record;
  }

  /// The next look-up of a share finds this record, or nothing, with this result.
  void FindsShare(const std::string& name, KESTSHARE* record, int result = 0) {
    EXPECT_CALL(dir(), KESTShareGet(::testing::StrEq(name), ::testing::NotNull()))
        .WillOnce([=](const char*, KESTSHARE** slot) {
          if (record != nullptr) *slot = record;
          return result;
        })
        .RetiresOnSaturation();
  }

  /// The next look-up of an account finds this record, or nothing, with this result.
  void FindsUser(const std::string& name, KESTUSER* record, int result = 0) {
    EXPECT_CALL(dir(), KESTUserGet(::testing::StrEq(name), ::testing::NotNull()))
        .WillOnce([=](const char*, KESTUSER** slot) {
          if (record != nullptr) *slot = record;
          return result;
        })
        .RetiresOnSaturation();
  }

  /// No operation sets it.
  static constexpr WEBFMERR kBefore = static_cast<WEBFMERR>(77);
  TarvelFileShare files_;

 private:
  static int Split(const char* text, const char*, PSZLIST* list) {
    std::vector<std::string> pieces;
    const std::string path = text;
    for (size_t begin = 0; (begin = path.find_first_not_of('/', begin)) != std::string::npos;) {
      const size_t end = std::min(path.find('/', begin), path.size());
      pieces.push_back(path.substr(begin, end - begin));
      begin = end;
    }
    *list = NewTextList(pieces);
    return static_cast<int>(pieces.size());
  }

  std::list<KeptShare> shares_;
};

}  // namespace tarvel_test

#endif  // TESTS_UNIT_FILE_SHARE_FIXTURE_H
