#include "webutils.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <string>
#include <vector>

#include "support/platform_test.h"

namespace tarvel_test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::NotNull;
using ::testing::Return;
using ::testing::StrEq;

using Texts = std::vector<std::string>;

class EncodeHtmlTest : public PlatformTest {};

TEST_F(EncodeHtmlTest, AmpersandAndAngleBracketsBecomeEntities) {
  EXPECT_EQ("a&lt;b &amp; c", WebUtils::EncodeHtml("a<b & c", false));
  EXPECT_EQ("&lt;p&gt;", WebUtils::EncodeHtml("<p>", false));
}

TEST_F(EncodeHtmlTest, OnlyWithNbspBlanksBecomeOnes) {
  EXPECT_EQ("a&lt;b&nbsp;&amp;&nbsp;c", WebUtils::EncodeHtml("a<b & c", true));
  EXPECT_EQ(" x ", WebUtils::EncodeHtml(" x ", false));
}

TEST_F(EncodeHtmlTest, QuotationMarksAndApostrophesStay) {
  for (const bool nbsp : {false, true}) EXPECT_EQ("\"it's\"", WebUtils::EncodeHtml("\"it's\"", nbsp));
}

TEST_F(EncodeHtmlTest, WhatIsEncodedAlreadyIsEncodedAgain) {
  EXPECT_EQ("&amp;amp;&amp;nbsp;", WebUtils::EncodeHtml("&amp;&nbsp;", true));
}

TEST_F(EncodeHtmlTest, AnEmptyTextStaysEmpty) {
  for (const bool nbsp : {false, true}) EXPECT_EQ("", WebUtils::EncodeHtml("", nbsp));
}

TEST_F(EncodeHtmlTest, EveryOtherByteIsCopied) {
  for (int byte = 0; byte <= UCHAR_MAX; ++byte) {
    if (std::strchr("&<> ", byte) != nullptr && byte != 0) continue;
    const std::string text = {'<', static_cast<char>(byte), static_cast<char>(byte)};
    EXPECT_EQ("&lt;" + text.substr(1), WebUtils::EncodeHtml(text, true)) << "byte " << byte;
  }
}

class EncodeURLTest : public PlatformTest {
 protected:
  // What EncodeURL() makes of `text` while the platform writes `written` and gives `result`.
  std::string Encoded(const char* text, const std::string& written, int result) {
    EXPECT_CALL(cgi(), KestCgiURLEncode(text, NotNull(), static_cast<int>(3 * std::strlen(text))))
        .WillOnce([written, result](const char*, char* buffer, int) {
          std::memcpy(buffer, written.data(), written.size());
          return result;
        });
    return WebUtils::EncodeURL(text);
  }
};

TEST_F(EncodeURLTest, ThePlatformEncodesAndTheBufferHoldsOneByteMoreThanItMayWrite) {
  EXPECT_EQ("a%20b", Encoded("a b", "a%20b", 5));
  EXPECT_THAT(Calls(), ElementsAre("malloc 10", "KestCgiURLEncode", "free"));
}

TEST_F(EncodeURLTest, AResultThatFillsTheBufferIsTerminatedByTheByteMore) {
  EXPECT_EQ("%25%25%25", Encoded("%%%", "%25%25%25", 9));
}

TEST_F(EncodeURLTest, TheBufferIsZeroedBeforeThePlatformWrites) {
  EXPECT_CALL(cgi(), KestCgiURLEncode(StrEq("ab"), NotNull(), 6)).WillOnce([](const char*, char* buffer, int) {
    EXPECT_EQ(std::string(7, '\0'), std::string(buffer, 7));
    return 0;
  });
  EXPECT_EQ("", WebUtils::EncodeURL("ab"));
}

TEST_F(EncodeURLTest, TheResultEndsAtTheFirstNulWhateverThePlatformAnswers) {
  using std::string_literals::operator""s;
  EXPECT_EQ("a", Encoded("abc", "a\0c"s, 3));
  EXPECT_EQ("ab", Encoded("abc", "ab", -1));
}

TEST_F(EncodeURLTest, AnEmptyTextIsHandedOverToo) {
  EXPECT_EQ("", Encoded("", "", 0));
  EXPECT_THAT(Calls(), ElementsAre("malloc 1", "KestCgiURLEncode", "free"));
}

TEST_F(EncodeURLTest, WithoutMemoryTheResultIsEmptyAndThePlatformIsNotCalled) {
  machine().FailNext("malloc", ENOMEM);
  EXPECT_EQ("", WebUtils::EncodeURL("abc"));
  EXPECT_THAT(Calls(), ElementsAre("malloc 10"));
}

TEST_F(EncodeURLTest, NullIsEmptyAndAsksForNothing) {
  EXPECT_EQ("", WebUtils::EncodeURL(nullptr));
  EXPECT_THAT(Calls(), IsEmpty());
}

// One stretch of memory seen again and again: a text of any length that takes no room.
class RepeatedText {
 public:
  explicit RepeatedText(size_t length)
      : bytes_((length / kPieceBytes + 1) * kPieceBytes), file_(memfd_create("repeated", 0)) {
    void* room = mmap(nullptr, bytes_ + kPieceBytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (room == MAP_FAILED || ftruncate(file_, kPieceBytes) != 0) return;
    text_ = static_cast<char*>(room);
    for (size_t at = 0; at < bytes_; at += kPieceBytes) Map(at, MAP_SHARED | MAP_FIXED, file_);
    std::memset(text_, 'a', kPieceBytes);
    // The last piece is a page of its own, so that the text can end in it.
    Map(bytes_ - kPieceBytes, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1);
    std::memset(text_ + bytes_ - kPieceBytes, 'a', length % kPieceBytes);
  }
  ~RepeatedText() {
    if (text_ != nullptr) munmap(text_, bytes_ + kPieceBytes);
    close(file_);
  }
  RepeatedText(const RepeatedText&) = delete;
  RepeatedText& operator=(const RepeatedText&) = delete;

  const char* get() const { return text_; }

 private:
  static constexpr size_t kPieceBytes = 16 * 1024 * 1024;

  void Map(size_t at, int flags, int file) {
    if (mmap(text_ + at, kPieceBytes, PROT_READ | PROT_WRITE, flags, file, 0) == MAP_FAILED) ADD_FAILURE() << at;
  }

  size_t bytes_;
  int file_;
  char* text_ = nullptr;
};

TEST_F(EncodeURLTest, ATextWhoseEncodedLengthMayExceedAnIntIsNotEncoded) {
  const RepeatedText text(INT_MAX / 3 + 1);
  ASSERT_NE(nullptr, text.get());
  machine().FailNext("malloc", ENOMEM);
  EXPECT_EQ("", WebUtils::EncodeURL(text.get()));
  ASSERT_THAT(Calls(), IsEmpty());
  // One byte less is asked for.
  EXPECT_EQ("", WebUtils::EncodeURL(text.get() + 1));
  EXPECT_THAT(Calls(), ElementsAre("malloc 2147483647"));
}

class StringExplodeTest : public PlatformTest {};

TEST_F(StringExplodeTest, RunsOfDelimitersCountAsOneAndThoseAtTheEndsAsNone) {
  EXPECT_EQ((Texts{"a", "b"}), WebUtils::StringExplode(",a,,b,", ","));
}

TEST_F(StringExplodeTest, EachDelimiterSeparatesByItself) {
  EXPECT_EQ((Texts{"a", "b", "c"}), WebUtils::StringExplode("a;b,c", ",;"));
  EXPECT_EQ((Texts{"a", "b"}), WebUtils::StringExplode("a,;b", ";,"));
}

TEST_F(StringExplodeTest, PiecesAreNotTrimmed) {
  EXPECT_EQ((Texts{" a", " b\t"}), WebUtils::StringExplode(" a, b\t", ","));
}

TEST_F(StringExplodeTest, AnEmptyTextHasNoPieces) { EXPECT_EQ(Texts(), WebUtils::StringExplode("", ",")); }

TEST_F(StringExplodeTest, DelimitersAloneHaveNoPieces) { EXPECT_EQ(Texts(), WebUtils::StringExplode(",,;", ",;")); }

TEST_F(StringExplodeTest, WithoutDelimitersTheTextIsOnePiece) {
  EXPECT_EQ((Texts{",a,"}), WebUtils::StringExplode(",a,", ""));
  EXPECT_EQ((Texts{"a,b"}), WebUtils::StringExplode("a,b", ";"));
}

TEST_F(StringExplodeTest, WhatStandsBehindANulIsNotLookedAt) {
  using std::string_literals::operator""s;
  EXPECT_EQ((Texts{"a", "b"}), WebUtils::StringExplode("a,b\0c,d"s, ","));
  EXPECT_EQ(Texts(), WebUtils::StringExplode("\0a"s, ","));
}

TEST_F(StringExplodeTest, TheTextStaysAsItIs) {
  const std::string text = "a,b,c";
  EXPECT_EQ(3u, WebUtils::StringExplode(text, ",").size());
  EXPECT_EQ("a,b,c", text);
}

class StringImplodeTest : public PlatformTest {};

TEST_F(StringImplodeTest, GlueStandsBetweenNeighboursOnly) {
  EXPECT_EQ("a, b, c", WebUtils::StringImplode({"a", "b", "c"}, ", "));
}

TEST_F(StringImplodeTest, ASingleItemHasNoGlue) { EXPECT_EQ("a", WebUtils::StringImplode({"a"}, ",")); }

TEST_F(StringImplodeTest, NoItemsAreTheEmptyText) { EXPECT_EQ("", WebUtils::StringImplode({}, ",")); }

TEST_F(StringImplodeTest, EmptyItemsAreJoinedToo) { EXPECT_EQ(",,", WebUtils::StringImplode({"", "", ""}, ",")); }

TEST_F(StringImplodeTest, EmptyAndNullGlueJoinWithoutAnything) {
  EXPECT_EQ("ab", WebUtils::StringImplode({"a", "b"}, ""));
  EXPECT_EQ("ab", WebUtils::StringImplode({"a", "b"}, nullptr));
}

TEST_F(StringImplodeTest, BytesOfItemsAreKeptNulIncluded) {
  using std::string_literals::operator""s;
  EXPECT_EQ("a\0b,\xff"s, WebUtils::StringImplode({"a\0b"s, "\xff"}, ","));
}

class StringLeftStripTest : public PlatformTest {};

TEST_F(StringLeftStripTest, BlanksTabsAndLineFeedsGo) { EXPECT_EQ("a", WebUtils::StringLeftStrip(" \n\t \ta")); }

TEST_F(StringLeftStripTest, NoOtherWhiteSpaceGoes) {
  for (const std::string text : {"\ra", "\va", "\fa",
                                 "\xa0"
                                 "a"})
    EXPECT_EQ(text, WebUtils::StringLeftStrip(text.c_str()));
  EXPECT_EQ("\r a", WebUtils::StringLeftStrip(" \r a"));
}

TEST_F(StringLeftStripTest, WhatStandsInsideAndAtTheEndStays) {
  EXPECT_EQ("a b \n\t", WebUtils::StringLeftStrip("a b \n\t"));
}

TEST_F(StringLeftStripTest, AnEmptyAnAllBlankAndANullTextAreEmpty) {
  EXPECT_EQ("", WebUtils::StringLeftStrip(""));
  EXPECT_EQ("", WebUtils::StringLeftStrip(" \n\t"));
  EXPECT_EQ("", WebUtils::StringLeftStrip(nullptr));
}

struct ExtensionRow {
  int line;
  const char* name;
  const char* extension;
  bool valid;
};

constexpr ExtensionRow kExtensionRows[] = {
    {__LINE__, "photo.JPG", ".jpg", true},
    {__LINE__, "photo.jpg", ".JPG", true},
    {__LINE__, "photo.jpg.exe", ".jpg", false},
    {__LINE__, "photo.jpg", ".png", false},
    {__LINE__, "a.jpg", ".jpg", true},
    {__LINE__, ".jpg", ".jpg", false},
    {__LINE__, "jpg", ".jpg", false},
    {__LINE__, "xjpg", "jpg", true},
    {__LINE__, "photo.jpg", "jpg", true},
    {__LINE__, "a.tar.gz", ".tar.gz", true},
    {__LINE__, "a.jpg ", ".jpg", false},
    {__LINE__, "a.\xc3\x84", ".\xc3\x84", true},
    {__LINE__, "a.\xc3\xa4", ".\xc3\x84", false},
    {__LINE__, "", ".jpg", false},
    {__LINE__, "a.jpg", "", false},
    {__LINE__, "", "", false},
    {__LINE__, nullptr, ".jpg", false},
    {__LINE__, "a.jpg", nullptr, false},
    {__LINE__, nullptr, nullptr, false},
};

class IsValidExtensionTest : public PlatformTest {};

TEST_F(IsValidExtensionTest, TheNameIsLongerAndEndsWithTheExtensionInAnyCase) {
  for (const ExtensionRow& row : kExtensionRows) {
    EXPECT_EQ(row.valid, WebUtils::IsValidExtension(row.name, row.extension)) << __FILE__ << ":" << row.line;
  }
}

}  // namespace
}  // namespace tarvel_test
