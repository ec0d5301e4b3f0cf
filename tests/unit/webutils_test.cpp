#include "webutils.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "support/mock_kestcgi.h"
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

TEST_F(EncodeHtmlTest, ALongTextIsEncodedLikeAShortOne) {
  std::string text, expected;
  while (text.size() < 1 << 20) {
    text += "&<>\xff \"";
    expected += "&amp;&lt;&gt;\xff&nbsp;\"";
  }
  EXPECT_EQ(expected, WebUtils::EncodeHtml(text, true));
  for (const size_t bytes : {1023u, 1024u, 1025u, 2048u, 2049u}) {
    const std::string encoded = WebUtils::EncodeHtml(std::string(bytes, ' ') + "<", true);
    EXPECT_EQ(6 * bytes + 4, encoded.size());
    EXPECT_EQ("&nbsp;&lt;", encoded.substr(encoded.size() - 10));
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

TEST_F(EncodeURLTest, TheTextIsHandedOverAsItIs) {
  std::string bytes;
  for (int byte = 1; byte <= UCHAR_MAX; ++byte) bytes += static_cast<char>(byte);
  while (bytes.size() < 1 << 20) bytes += "a\xc3 %41";
  EXPECT_CALL(cgi(), KestCgiURLEncode(StrEq(bytes), NotNull(), static_cast<int>(3 * bytes.size())))
      .WillOnce([](const char*, char* buffer, int size) {
        std::memset(buffer, '%', static_cast<size_t>(size));
        return size;
      });
  EXPECT_EQ(std::string(3 * bytes.size(), '%'), WebUtils::EncodeURL(bytes.c_str()));
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

TEST_F(StringExplodeTest, DelimitersBehindANulAreNone) {
  using std::string_literals::operator""s;
  EXPECT_EQ((Texts{"a", "b;c"}), WebUtils::StringExplode("a,b;c", ",\0;"s));
  EXPECT_EQ((Texts{"a,b"}), WebUtils::StringExplode("a,b", "\0,"s));
}

TEST_F(StringExplodeTest, EveryByteMayBeADelimiterOrNot) {
  for (int byte = 1; byte <= UCHAR_MAX; ++byte) {
    const char other = byte == 'a' ? 'b' : 'a';
    const std::string delimiter(1, static_cast<char>(byte)), text(3, other);
    EXPECT_EQ((Texts{text, text}), WebUtils::StringExplode(text + delimiter + text, delimiter)) << "byte " << byte;
    EXPECT_EQ((Texts{delimiter}), WebUtils::StringExplode(delimiter, std::string(1, other))) << "byte " << byte;
  }
}

TEST_F(StringExplodeTest, ACharacterOfSeveralBytesIsSeveralDelimiters) {
  EXPECT_EQ((Texts{"a", "\xb6z"}), WebUtils::StringExplode("a\xc3\xb6z", "\xc3\xa4"));
}

TEST_F(StringExplodeTest, AMebibyteOfPiecesOrOfDelimitersIsTakenApart) {
  EXPECT_EQ((Texts{std::string(1 << 20, 'a'), "b"}), WebUtils::StringExplode(std::string(1 << 20, 'a') + ",b", ","));
  EXPECT_EQ((Texts{"a"}), WebUtils::StringExplode(std::string(1 << 20, ',') + "a", ","));
  std::string text;
  for (int i = 0; i < 1 << 19; ++i) text += "a,";
  EXPECT_EQ(Texts(1 << 19, "a"), WebUtils::StringExplode(text, ","));
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

TEST_F(StringImplodeTest, GlueInsideAnItemIsNotMarked) {
  const std::string joined = WebUtils::StringImplode({"a,b", ",", "c"}, ",");
  EXPECT_EQ("a,b,,,c", joined);
  EXPECT_EQ((Texts{"a", "b", "c"}), WebUtils::StringExplode(joined, ",")) << "and so it separates";
}

TEST_F(StringImplodeTest, AMebibyteIsJoined) {
  const std::string item(1 << 20, 'a');
  EXPECT_EQ(item + "::" + item, WebUtils::StringImplode({item, item}, "::"));
  EXPECT_EQ("a" + item + "a", WebUtils::StringImplode({"a", "a"}, item.c_str()));
}

class StringLeftStripTest : public PlatformTest {};

TEST_F(StringLeftStripTest, BlanksTabsAndLineFeedsGo) { EXPECT_EQ("a", WebUtils::StringLeftStrip(" \n\t \ta")); }

TEST_F(StringLeftStripTest, NoOtherByteGoes) {
  for (int byte = 1; byte <= UCHAR_MAX; ++byte) {
    if (std::strchr(" \n\t", byte) != nullptr) continue;
    const std::string text = {static_cast<char>(byte), ' ', 'a'};
    EXPECT_EQ(text, WebUtils::StringLeftStrip((" \n" + text).c_str())) << "byte " << byte;
  }
}

TEST_F(StringLeftStripTest, ACarriageReturnStays) { EXPECT_EQ("\r\n a", WebUtils::StringLeftStrip("\r\n a")); }

TEST_F(StringLeftStripTest, AMebibyteOfBlanksGoes) {
  EXPECT_EQ("a", WebUtils::StringLeftStrip((std::string(1 << 20, ' ') + "a").c_str()));
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

TEST_F(IsValidExtensionTest, ANameOrExtensionOfAMebibyteIsCompared) {
  const std::string name(1 << 20, 'a');
  EXPECT_TRUE(WebUtils::IsValidExtension((name + ".JPG").c_str(), ".jpg"));
  EXPECT_TRUE(WebUtils::IsValidExtension(("b" + name).c_str(), name.c_str()));
  EXPECT_FALSE(WebUtils::IsValidExtension(name.c_str(), name.c_str()));
}

class TextsWithoutMemoryTest : public PlatformTest {};

TEST_F(TextsWithoutMemoryTest, PassTheExceptionAndLoseNothing) {
  const std::string text(3000, '&');
  const Texts items(5, "an item that is longer than a short text");
  const std::string list = WebUtils::StringImplode(items, ",");
  const struct {
    const char* name;
    std::function<void()> call;
  } calls[] = {{"EncodeHtml", [&] { WebUtils::EncodeHtml(text, false); }},
               {"StringExplode", [&] { WebUtils::StringExplode(list, ","); }},
               {"StringImplode", [&] { WebUtils::StringImplode(items, ","); }},
               {"StringLeftStrip", [&] { WebUtils::StringLeftStrip(text.c_str()); }}};
  for (const auto& [name, call] : calls) {
    SCOPED_TRACE(name);
    EXPECT_GE(FailuresUntilItSucceeds(call), 1);
  }
}

}  // namespace
}  // namespace tarvel_test
