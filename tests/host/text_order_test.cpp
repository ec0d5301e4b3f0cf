// The comparison of texts orders sets and sorts, which walk out of their memory when it is no strict weak ordering.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "platform/klib.h"

namespace {

// Letters whose foldings meet: in ASCII, across the ASCII border, to several characters, beyond the BMP; and bytes that
// are no UTF-8.
const char* const kPieces[] = {"a",
                               "A",
                               "b",
                               "z",
                               "_",
                               "[",
                               "0",
                               " ",
                               "k",
                               "K",
                               "\u212A",
                               "s",
                               "\u017F",
                               "ss",
                               "\u00DF",
                               "\u1E9E",
                               "\u00E9",
                               "\u00C9",
                               "i",
                               "I",
                               "\u0130",
                               "\u0131",
                               "\u03C3",
                               "\u03C2",
                               "\u03A3",
                               "\u01C5",
                               "\uFB03",
                               "ffi",
                               "\u0390",
                               "\u1FD3",
                               "\U0001F600",
                               "\U00010400",
                               "\U00010428",
                               "\uFFFF",
                               "\xFF",
                               "\x80",
                               "\xC3",
                               "\xC0\x80",
                               "\xED\xA0\x80",
                               "\xF4\x90\x80\x80",
                               "\xE2\x84",
                               "\x01"};

std::vector<std::string> SampleTexts() {
  std::vector<std::string> texts = {""};
  for (const char* piece : kPieces) texts.push_back(piece);
  std::mt19937 random(1);
  const size_t pieces = std::size(kPieces);
  for (int i = 0; i < 110; ++i) {
    std::string text;
    for (size_t n = 2 + random() % 2; n > 0; --n) text += kPieces[random() % pieces];
    texts.push_back(text);
  }
  return texts;
}

int Compare(const std::string& a, const std::string& b) { return KLIBUnicodeUTF8StrCaseCmp(a.c_str(), b.c_str()); }

TEST(TextOrderTest, IsAStrictWeakOrderingOfAllByteStrings) {
  const std::vector<std::string> texts = SampleTexts();
  const size_t count = texts.size();
  std::vector<int> sign(count * count);
  for (size_t a = 0; a < count; ++a) {
    for (size_t b = 0; b < count; ++b) sign[a * count + b] = Compare(texts[a], texts[b]);
  }
  for (size_t a = 0; a < count; ++a) {
    ASSERT_EQ(0, sign[a * count + a]);
    for (size_t b = 0; b < count; ++b) {
      ASSERT_EQ(sign[a * count + b], -sign[b * count + a]) << texts[a] << " / " << texts[b];
      for (size_t c = 0; c < count; ++c) {
        // Transitivity of "before" and of "equal" in one: with a <= b and b <= c the third follows.
        const int ab = sign[a * count + b];
        const int bc = sign[b * count + c];
        if (ab > 0 || bc > 0) continue;
        ASSERT_EQ(std::min(ab, bc), sign[a * count + c]) << texts[a] << " / " << texts[b] << " / " << texts[c];
      }
    }
  }
}

TEST(TextOrderTest, CaseDoesNotCountWhateverTheScript) {
  EXPECT_EQ(0, Compare("ALICE", "alice"));
  EXPECT_EQ(0, Compare("\u00C9mile", "\u00E9MILE"));
  EXPECT_EQ(0, Compare("STRASSE", "stra\u00DFe"));
  EXPECT_EQ(0, Compare("\u03A3\u03C2", "\u03C3\u03C3"));
  EXPECT_EQ(0, Compare("\U00010400", "\U00010428"));
  EXPECT_EQ(0, Compare("\u212A", "k"));
  EXPECT_EQ(0, Compare("o\uFB03ce", "OFFICE"));
}

TEST(TextOrderTest, NoNormalisationTakesPlace) { EXPECT_NE(0, Compare("\u00E9", "e\u0301")); }

TEST(TextOrderTest, BytesThatAreNoCharacterComeLastAndStandForThemselves) {
  EXPECT_LT(Compare("\U0010FFFF", "\x80"), 0);
  EXPECT_LT(Compare("a\x80", "a\x81"), 0);
  EXPECT_LT(Compare("\xC3", "\xC4"), 0);
  EXPECT_GT(Compare("\xED\xA0\x80", "\uFFFD"), 0);
  EXPECT_NE(0, Compare("\xC0\x80", ""));
}

TEST(TextOrderTest, APrefixComesFirst) {
  EXPECT_LT(Compare("abc", "ABCD"), 0);
  EXPECT_LT(Compare("", "a"), 0);
  EXPECT_LT(Compare("\u00E9", "\u00C9a"), 0);
}

}  // namespace
