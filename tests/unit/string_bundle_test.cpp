#include "string_bundle.h"

#include "support/mock_kestcgi.h"
#include "support/platform_test.h"

namespace tarvel_test {
namespace {

using ::testing::_;
using ::testing::ElementsAre;
using ::testing::InSequence;
using ::testing::IsNull;
using ::testing::Return;
using ::testing::StrEq;

class StringBundleTest : public PlatformTest {
 protected:
  void ExpectOpened(const char* root) {
    EXPECT_CALL(cgi(), KestCgiInit(StrEq(root), _));
    EXPECT_CALL(cgi(), KestCgiLoadText(_, _));
  }

  char common_[7] = "common";
};

struct RootRow {
  int line;
  int module;
  const char* root;
};

constexpr RootRow kRootRows[] = {
    {__LINE__, 0, "/usr/kest/kestman/tarvel"},
    {__LINE__, 1, "/usr/kest/kestman/audio"},
    {__LINE__, 2, "/usr/kest/kestman/download"},
    {__LINE__, 3, "/usr/kest/kestman/webfm"},
    {__LINE__, 4, "/usr/kest/kestman/surveillance"},
    {__LINE__, 5, "/usr/kest/kestman/scripts"},
    {__LINE__, 6, "/usr/kest/kestman/tarvel"},
    {__LINE__, 7, "/usr/kest/kestman/tarvel"},
    {__LINE__, -1, "/usr/kest/kestman/tarvel"},
    {__LINE__, 0x7fffffff, "/usr/kest/kestman/tarvel"},
    {__LINE__, -0x7fffffff - 1, "/usr/kest/kestman/tarvel"},
};

TEST_F(StringBundleTest, EachModuleHasItsRootAndEveryOtherValueTheFirstOne) {
  for (const RootRow& row : kRootRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line << ": module " << row.module);
    ExpectOpened(row.root);
    StringBundle texts(static_cast<StringBundle::STRMODULE>(row.module), common_, nullptr, nullptr, nullptr, nullptr,
                       nullptr);
    ::testing::Mock::VerifyAndClearExpectations(&cgi());
    EXPECT_CALL(cgi(), KestCgiFree(_));
  }
}

TEST_F(StringBundleTest, WithoutAModuleTheFirstRootIsUsed) {
  ExpectOpened("/usr/kest/kestman/tarvel");
  StringBundle texts(common_, nullptr, nullptr, nullptr, nullptr, nullptr);
}

TEST_F(StringBundleTest, ASingleSectionIsFollowedByNullsOnly) {
  EXPECT_CALL(cgi(), KestCgiInit(_, _));
  EXPECT_CALL(cgi(), KestCgiLoadText(
                         _, ElementsAre(StrEq("common"), IsNull(), IsNull(), IsNull(), IsNull(), IsNull(), IsNull())));
  StringBundle texts(common_, nullptr, nullptr, nullptr, nullptr, nullptr);
}

TEST_F(StringBundleTest, SixSectionsKeepTheirPlacesAndEndWithANull) {
  char a[] = "a", b[] = "b", c[] = "c", d[] = "d", e[] = "e", f[] = "f";
  EXPECT_CALL(cgi(), KestCgiInit(StrEq("/usr/kest/kestman/webfm"), _));
  EXPECT_CALL(cgi(), KestCgiLoadText(_, ElementsAre(a, b, c, d, e, f, IsNull())));
  StringBundle texts(static_cast<StringBundle::STRMODULE>(3), a, b, c, d, e, f);
}

TEST_F(StringBundleTest, ANullBetweenSectionsIsNotClosedUp) {
  char a[] = "a", c[] = "c";
  EXPECT_CALL(cgi(), KestCgiInit(_, _));
  EXPECT_CALL(cgi(), KestCgiLoadText(_, ElementsAre(a, IsNull(), c, IsNull(), IsNull(), IsNull(), IsNull())));
  StringBundle texts(a, nullptr, c, nullptr, nullptr, nullptr);
}

TEST_F(StringBundleTest, OpensLoadsAndFreesInThatOrder) {
  ExpectOpened("/usr/kest/kestman/tarvel");
  { StringBundle texts(common_, nullptr, nullptr, nullptr, nullptr, nullptr); }
  EXPECT_THAT(Calls(), ElementsAre("KestCgiInit", "KestCgiLoadText", "KestCgiFree"));
}

TEST_F(StringBundleTest, IsItsContextAndNothingMore) {
  static_assert(sizeof(StringBundle) == sizeof(KESTCGI));
  KESTCGI* context = nullptr;
  EXPECT_CALL(cgi(), KestCgiInit(_, _)).WillOnce([&](const char*, KESTCGI* ctx) {
    context = ctx;
    return -1;
  });
  EXPECT_CALL(cgi(), KestCgiLoadText(_, _)).WillOnce(Return(-1));
  StringBundle texts(common_, nullptr, nullptr, nullptr, nullptr, nullptr);
  EXPECT_EQ(static_cast<void*>(&texts), context);
}

TEST_F(StringBundleTest, TextHandsItsSecondArgumentOnUnchanged) {
  ExpectOpened("/usr/kest/kestman/tarvel");
  const char key[] = "ok", second[] = "?";
  EXPECT_CALL(cgi(), KestCgiGetText(_, key, second)).WillOnce(Return("OK"));
  EXPECT_CALL(cgi(), KestCgiGetText(_, key, IsNull())).WillOnce(Return(nullptr));
  StringBundle texts(common_, nullptr, nullptr, nullptr, nullptr, nullptr);
  EXPECT_STREQ("OK", texts.Text(key, second));
  EXPECT_EQ(nullptr, texts.Text(key, nullptr));
}

TEST_F(StringBundleTest, TextJscriptIsTheEncodedText) {
  ExpectOpened("/usr/kest/kestman/tarvel");
  const char key[] = "ok", second[] = "?";
  EXPECT_CALL(cgi(), KestCgiGetEncodeText(_, key, second)).WillOnce(Return("O\\u004b"));
  EXPECT_CALL(cgi(), KestCgiGetEncodeText(_, key, IsNull())).WillOnce(Return(nullptr));
  StringBundle texts(common_, nullptr, nullptr, nullptr, nullptr, nullptr);
  EXPECT_STREQ("O\\u004b", texts.TextJscript(key, second));
  EXPECT_EQ(nullptr, texts.TextJscript(key, nullptr));
}

}  // namespace
}  // namespace tarvel_test
