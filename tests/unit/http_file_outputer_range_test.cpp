// Files as replies: what a client asks for.

#include <cerrno>
#include <climits>
#include <utility>

#include "http_file_outputer_fixture.h"

namespace tarvel_test {
namespace {

using ::testing::_;
using ::testing::ElementsAre;
using ::testing::InvokeWithoutArgs;
using ::testing::IsEmpty;
using ::testing::IsNull;
using ::testing::Return;
using ::testing::StrEq;

struct RangeRow {
  int line;
  const char* text;
  long long size;
  int result;
  long long start;
  long long end;
};

constexpr long long kMost = LLONG_MAX;

// Start and end matter where the result is 1.
constexpr RangeRow kRangeRows[] = {
    {__LINE__, "0-99", 1000, 1, 0, 99},
    {__LINE__, "0-0", 1000, 1, 0, 0},
    {__LINE__, "999-999", 1000, 1, 999, 999},
    {__LINE__, "0-0", 1, 1, 0, 0},
    {__LINE__, "0099-0100", 1000, 1, 99, 100},
    {__LINE__, "010-012", 1000, 1, 10, 12},  // decimal, never octal
    // up to the end, and beyond it
    {__LINE__, "900-", 1000, 1, 900, 999},
    {__LINE__, "0-", 1000, 1, 0, 999},
    {__LINE__, "900-999", 1000, 1, 900, 999},
    {__LINE__, "900-1000", 1000, 1, 900, 999},
    {__LINE__, "900-5000", 1000, 1, 900, 999},
    {__LINE__, "0-9223372036854775807", 1000, 1, 0, 999},
    // suffixes
    {__LINE__, "-100", 1000, 1, 900, 999},
    {__LINE__, "-1000", 1000, 1, 0, 999},
    {__LINE__, "-1001", 1000, 1, -1, 999},
    {__LINE__, "-2000", 1000, 1, -1000, 999},
    {__LINE__, "-9223372036854776808", 1000, 1, LLONG_MIN, 999},
    {__LINE__, "-9223372036854776809", 1000, -1, 0, 0},
    {__LINE__, "-18446744073709551615", 1000, -1, 0, 0},
    {__LINE__, "-99999999999999999999999999999999", 1000, -1, 0, 0},
    {__LINE__, "-0", 1000, -1, 0, 0},
    {__LINE__, "-", 1000, -1, 0, 0},
    {__LINE__, "-010", 1000, 1, 990, 999},  // decimal, never octal
    {__LINE__, "-0x10", 1000, 0, 0, 0},
    {__LINE__, "- 5", 1000, 1, 995, 999},
    {__LINE__, "-+5", 1000, 1, 995, 999},
    {__LINE__, "--5", 1000, -1, 0, 0},
    {__LINE__, "-5x", 1000, 0, 0, 0},
    {__LINE__, "-5-", 1000, 0, 0, 0},
    {__LINE__, "-x", 1000, 0, 0, 0},
    {__LINE__, "- ", 1000, 0, 0, 0},
    // not there
    {__LINE__, "500-400", 1000, -1, 0, 0},
    {__LINE__, "1-0", 1000, -1, 0, 0},
    {__LINE__, "1000-", 1000, -1, 0, 0},
    {__LINE__, "1000-1000", 1000, -1, 0, 0},
    {__LINE__, "9223372036854775807-", 1000, -1, 0, 0},
    {__LINE__, "0-", 0, -1, 0, 0},
    {__LINE__, "0-0", 0, -1, 0, 0},
    {__LINE__, "-0", 0, -1, 0, 0},
    {__LINE__, "-5", 0, 1, -5, -1},
    // no ranges
    {__LINE__, "", 1000, 0, 0, 0},
    {__LINE__, "abc", 1000, 0, 0, 0},
    {__LINE__, "5", 1000, 0, 0, 0},
    {__LINE__, "a-5", 1000, 0, 0, 0},
    {__LINE__, "5-a", 1000, 0, 0, 0},
    {__LINE__, "1-2x", 1000, 0, 0, 0},
    {__LINE__, "1x-2", 1000, 0, 0, 0},
    {__LINE__, "1 -2", 1000, 0, 0, 0},
    {__LINE__, "1- ", 1000, 0, 0, 0},
    {__LINE__, "1-2 ", 1000, 0, 0, 0},
    {__LINE__, "1-2-3", 1000, 0, 0, 0},
    {__LINE__, "0x1-2", 1000, 0, 0, 0},
    {__LINE__, "1.0-2", 1000, 0, 0, 0},
    {__LINE__, "+-5", 1000, 0, 0, 0},
    {__LINE__, " -5", 1000, 0, 0, 0},
    {__LINE__, " -0-9", 1000, 0, 0, 0},
    {__LINE__, "5--9", 1000, 0, 0, 0},
    // blanks and signs that strtoull passes
    {__LINE__, " 5- 9", 1000, 1, 5, 9},
    {__LINE__, "+5-+9", 1000, 1, 5, 9},
    {__LINE__, "0--0", 1000, 1, 0, 0},
    // beyond the signed 64 bits
    {__LINE__, "9223372036854775808-", 1000, 0, 0, 0},
    {__LINE__, "0-9223372036854775808", 1000, 0, 0, 0},
    {__LINE__, "18446744073709551616-5", 1000, 0, 0, 0},
    {__LINE__, "0-99999999999999999999999999999999", 1000, 0, 0, 0},
    {__LINE__, "99999999999999999999999999999999-", 1000, 0, 0, 0},
    // large files
    {__LINE__, "2147483647-2147483648", 4294967400, 1, 2147483647, 2147483648},
    {__LINE__, "4294967295-4294967296", 4294967400, 1, 4294967295, 4294967296},
    {__LINE__, "4294967296-", 4294967400, 1, 4294967296, 4294967399},
    {__LINE__, "-4294967300", 4294967400, 1, 100, 4294967399},
    {__LINE__, "0-5000000000", 4294967400, 1, 0, 4294967399},
    {__LINE__, "9223372036854775806-", kMost, 1, kMost - 1, kMost - 1},
    {__LINE__, "9223372036854775806-9223372036854775807", kMost, 1, kMost - 1, kMost - 1},
};

class RangeTest : public HttpFileOutputerTest {
 protected:
  // Releases what the call left, as a caller has to.
  int Seek(long long size) {
    const int result = outputer_.SeekHttpRange(&segments_, size);
    if (result > 0) found_.assign(segments_, segments_ + result);
    return result;
  }
  ~RangeTest() override { std::free(segments_); }

  _tag_HTTP_RANGE_SEGMENT unchanged_ = {-7, -8};
  _tag_HTTP_RANGE_SEGMENT* segments_ = nullptr;
  std::vector<_tag_HTTP_RANGE_SEGMENT> found_;
};

TEST_F(RangeTest, EachTextIsARangeOrNot) {
  for (const RangeRow& row : kRangeRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line << ": " << row.text << " of " << row.size);
    _tag_HTTP_RANGE_SEGMENT segment = {-7, -8};
    EXPECT_EQ(row.result, outputer_.GetRangeSegment(row.text, row.size, &segment));
    if (row.result == 1) {
      EXPECT_EQ(row.start, segment.start);
      EXPECT_EQ(row.end, segment.end);
    }
  }
}

TEST_F(RangeTest, TheCopyOfTheTextIsFreedWhateverComesOut) {
  for (const char* text : {"0-1", "5-1", "x", "-", "1-x"}) {
    outputer_.GetRangeSegment(text, 10, &unchanged_);
    EXPECT_THAT(Calls(), ElementsAre(std::string("strdup ") + text, "free"));
  }
}

TEST_F(RangeTest, WithoutATextOrAPlaceForTheRangeThereIsNone) {
  EXPECT_EQ(0, outputer_.GetRangeSegment(nullptr, 10, &unchanged_));
  EXPECT_EQ(0, outputer_.GetRangeSegment("0-1", 10, nullptr));
  EXPECT_EQ(-7, unchanged_.start);
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(RangeTest, LackOfMemoryForTheCopyIsLoggedAndIsNoRange) {
  machine().FailNext("strdup", ENOMEM);
  EXPECT_EQ(0, outputer_.GetRangeSegment("x0-1%s", 10, &unchanged_));
  ExpectLogged("http_file_outputer(#): failed to malloc for string: x0-1%s");
  EXPECT_EQ(-7, unchanged_.start);
}

TEST_F(RangeTest, WithoutAHeaderOrAPlaceForTheRangesThereAreNone) {
  EXPECT_EQ(0, Seek(10));
  EXPECT_EQ(nullptr, segments_);
  HasHeader("bytes=0-1");
  EXPECT_EQ(0, outputer_.SeekHttpRange(nullptr, 10));
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(RangeTest, TheRangesComeInTheOrderOfTheHeaderWithBlanksAroundThemRemoved) {
  AsksFor(" 5-6\t, 1-2 ,\r\n-3\v,,0-");
  ASSERT_EQ(4, Seek(10));
  const long long expected[][2] = {{5, 6}, {1, 2}, {7, 9}, {0, 9}};
  for (size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(expected[i][0], found_[i].start) << i;
    EXPECT_EQ(expected[i][1], found_[i].end) << i;
  }
}

TEST_F(RangeTest, ThePlatformSplitsTrimsAndGetsItsListBackBeforeTheResult) {
  AsksFor("0-1,2-3");
  EXPECT_EQ(2, Seek(10));
  EXPECT_THAT(Calls(),
              ElementsAre("PslKLIBSzListAlloc", "KLIBStrTok", "malloc 32", "SzKLIBSzListGet", "KLIBStrTrimSpace",
                          "strdup 0-1", "free", "SzKLIBSzListGet", "KLIBStrTrimSpace", "strdup 2-3", "free", "free"));
  EXPECT_STREQ("bytes=0-1,2-3", std::getenv("HTTP_RANGE"));
}

TEST_F(RangeTest, TheFirstRangeThatIsNoneEndsTheReadingAndTheArrayIsTheCallers) {
  AsksFor("0-1,9-8,4-5");
  EXPECT_EQ(-1, Seek(10));
  EXPECT_THAT(Calls(),
              ElementsAre("PslKLIBSzListAlloc", "KLIBStrTok", "malloc 48", "SzKLIBSzListGet", "KLIBStrTrimSpace",
                          "strdup 0-1", "free", "SzKLIBSzListGet", "KLIBStrTrimSpace", "strdup 9-8", "free", "free"));
  ASSERT_NE(nullptr, segments_);
  EXPECT_EQ(1, segments_[0].end);
}

TEST_F(RangeTest, WhatIsMalformedAndWhatIsNotThereAreOneAnswer) {
  for (const char* ranges : {"x", "5-4", "0-1,x", "10-", "-0", "0-1;2-3", " , "}) {
    SCOPED_TRACE(ranges);
    AsksFor(ranges);
    EXPECT_EQ(-1, Seek(10));
    std::free(std::exchange(segments_, nullptr));
    ::testing::Mock::VerifyAndClearExpectations(&klib());
  }
}

TEST_F(RangeTest, CommasAloneAreNoRangesAndNothingIsAllocated) {
  AsksFor(",,");
  segments_ = &unchanged_;
  EXPECT_EQ(0, Seek(10));
  EXPECT_EQ(nullptr, segments_);
  EXPECT_THAT(Calls(), ElementsAre("PslKLIBSzListAlloc", "KLIBStrTok", "free"));
}

TEST_F(RangeTest, WithoutAListTheReadingFailsInternally) {
  HasHeader("bytes=0-1");
  EXPECT_CALL(klib(), PslKLIBSzListAlloc(1024)).WillOnce(Return(nullptr));
  segments_ = &unchanged_;
  EXPECT_EQ(-2, Seek(10));
  EXPECT_EQ(nullptr, segments_);
  ExpectLogged("http_file_outputer(#): PslKLIBSzListAlloc() failed!");
}

TEST_F(RangeTest, AFailedSplitIsInternalAndGivesTheListBack) {
  HasHeader("bytes=0-1");
  EXPECT_CALL(klib(), PslKLIBSzListAlloc(1024)).WillOnce(InvokeWithoutArgs([] { return NewTextList({}); }));
  EXPECT_CALL(klib(), KLIBStrTok(StrEq("0-1"), StrEq(","), _)).WillOnce(Return(-1));
  EXPECT_EQ(-2, Seek(10));
  EXPECT_EQ(nullptr, segments_);
  ExpectLogged("http_file_outputer(#): KLIBStrTok() failed!");
  EXPECT_THAT(Calls(), ElementsAre("PslKLIBSzListAlloc", "KLIBStrTok", "free"));
}

TEST_F(RangeTest, LackOfMemoryForTheRangesIsInternalAndNamesTheirNumber) {
  AsksFor("0-1,2-3,4-5");
  machine().FailNext("malloc", ENOMEM);
  EXPECT_EQ(-2, Seek(10));
  EXPECT_EQ(nullptr, segments_);
  ExpectLogged("http_file_outputer(#): malloc for 3 HTTP_RANGE_SEGMENT items failed!");
  EXPECT_THAT(Calls(), ElementsAre("PslKLIBSzListAlloc", "KLIBStrTok", "malloc 48", "free"));
}

TEST_F(RangeTest, AFailedTrimIsNotNoticedAndAMissingPieceIsNoRange) {
  AsksFor("0-1");
  EXPECT_CALL(klib(), KLIBStrTrimSpace(_, IsNull())).WillOnce(Return(-1));
  EXPECT_EQ(1, Seek(10));
  std::free(std::exchange(segments_, nullptr));
  ::testing::Mock::VerifyAndClearExpectations(&klib());
  AsksFor("0-1");
  EXPECT_CALL(klib(), SzKLIBSzListGet(_, 0)).WillOnce(Return(nullptr));
  EXPECT_CALL(klib(), KLIBStrTrimSpace(IsNull(), IsNull())).WillOnce(Return(-1));
  EXPECT_EQ(-1, Seek(10));
}

}  // namespace
}  // namespace tarvel_test
