#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "guarded_text.h"
#include "platform/klib.h"
#include "text_list.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Texts = std::vector<std::string>;

struct Split {
  const char* text;
  const char* delims;
  Texts pieces;
};

TEST(KlibTokenTest, PiecesAreWhatStandsBetweenDelimiters) {
  const Split rows[] = {
      {"0-99,200-299,-5", ",", {"0-99", "200-299", "-5"}},
      {"/volume1/photo/a b", "/", {"volume1", "photo", "a b"}},
      {"one", ",", {"one"}},
      {"", ",", {}},
      {",,,", ",", {}},
      {",a,,b,", ",", {"a", "b"}},
      {"a;b,c d", ";, ", {"a", "b", "c", "d"}},
      {"a,b", "", {"a,b"}},
      {"", "", {}},
      {" a , b ", ",", {" a ", " b "}},
      {"\"a,b\",c", ",", {"\"a", "b\"", "c"}},
      {"ä,ö\xFF,\xC3", ",", {"ä", "ö\xFF", "\xC3"}},
  };
  for (const Split& row : rows) {
    TextList list;
    EXPECT_EQ(static_cast<int>(row.pieces.size()), KLIBStrTok(row.text, row.delims, list.Slot())) << row.text;
    EXPECT_EQ(row.pieces, list.Texts()) << row.text;
  }
}

// The text may be memory of the environment, or a constant.
TEST(KlibTokenTest, TheTextIsNeverWrittenTo) {
  const GuardedText text("bytes=0-1, 2-3 ,,-4");
  const GuardedText delims(", ");
  TextList list(1);
  EXPECT_EQ(3, KLIBStrTok(text.get(), delims.get(), list.Slot()));
  EXPECT_THAT(list.Texts(), ElementsAre("bytes=0-1", "2-3", "-4"));
}

TEST(KlibTokenTest, PiecesGoBehindWhatTheListHolds) {
  TextList list(8, {"there before"});
  EXPECT_EQ(2, KLIBStrTok("a,b", ",", list.Slot()));
  EXPECT_THAT(list.Texts(), ElementsAre("there before", "a", "b"));
}

TEST(KlibTokenTest, ATextOfTheListItselfCanBeSplit) {
  TextList list(1, {"a,bb,ccc,dddd,eeeee"});
  EXPECT_EQ(5, KLIBStrTok(SzKLIBSzListGet(list.get(), 0), ",", list.Slot()));
  EXPECT_THAT(list.Texts(), ElementsAre("a,bb,ccc,dddd,eeeee", "a", "bb", "ccc", "dddd", "eeeee"));
}

TEST(KlibTokenTest, TenThousandPiecesAreCounted) {
  std::string text;
  for (int i = 0; i < 10000; ++i) text += "ab,";
  TextList list(1);
  EXPECT_EQ(10000, KLIBStrTok(text.c_str(), ",", list.Slot()));
  EXPECT_EQ(Texts(10000, "ab"), list.Texts());
}

TEST(KlibTokenTest, MissingArgumentsAreRefused) {
  TextList list;
  PSZLIST none = nullptr;
  EXPECT_LT(KLIBStrTok(nullptr, ",", list.Slot()), 0);
  EXPECT_LT(KLIBStrTok("a", nullptr, list.Slot()), 0);
  EXPECT_LT(KLIBStrTok("a", ",", nullptr), 0);
  EXPECT_LT(KLIBStrTok("a", ",", &none), 0);
  EXPECT_THAT(list.Texts(), IsEmpty());
}

// Whatever the text: joined again, the pieces are the text without its delimiters, and no piece is empty.
TEST(KlibTokenTest, NothingButDelimitersIsLost) {
  std::mt19937 random(20);
  for (int round = 0; round < 500; ++round) {
    std::string text(random() % 40, '\0');
    for (char& c : text) c = "ab,;/\xC3\xA4\xFF"[random() % 8];
    TextList list(1);
    const int count = KLIBStrTok(text.c_str(), ",;/", list.Slot());
    const Texts pieces = list.Texts();
    std::string joined, expected;
    for (const std::string& piece : pieces) {
      EXPECT_FALSE(piece.empty());
      joined += piece;
    }
    for (const char c : text) {
      if (std::strchr(",;/", c) == nullptr) expected += c;
    }
    ASSERT_EQ(expected, joined) << text;
    ASSERT_EQ(static_cast<int>(pieces.size()), count) << text;
  }
}

}  // namespace
