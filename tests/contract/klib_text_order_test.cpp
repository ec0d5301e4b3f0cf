// Sets of names and sorted listings stand on this order: were it no strict weak ordering, they would be undefined.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "guarded_text.h"
#include "platform/klib.h"

namespace {

int Sign(int value) { return (value > 0) - (value < 0); }

int Order(const std::string& a, const std::string& b) { return Sign(KLIBUnicodeUTF8StrCaseCmp(a.c_str(), b.c_str())); }

struct Texts {
  const char* a;
  const char* b;
};

TEST(KlibTextOrderTest, TextsThatDifferInCaseAreEqual) {
  const Texts rows[] = {
      {"", ""},
      {"admin", "ADMIN"},
      {"Müller", "mÜLLER"},
      {"ΣΊΣΥΦΟΣ", "σίσυφος"},                    // a final sigma folds like any other
      {"ЯБЛОКО", "яблоко"},                      //
      {"\xE2\x84\xAA", "k"},                     // Kelvin sign
      {"\xF0\x90\x90\x80", "\xF0\x90\x90\xA8"},  // Deseret, four bytes
      {"\xFF", "\xFF"},
  };
  for (const Texts& row : rows) {
    EXPECT_EQ(0, Order(row.a, row.b)) << row.a << " and " << row.b;
    EXPECT_EQ(0, Order(row.b, row.a)) << row.b << " and " << row.a;
  }
}

TEST(KlibTextOrderTest, TheFirstDifferentCharacterDecides) {
  const Texts rows[] = {
      {"", "a"},
      {"a", "aa"},
      {"A", "b"},
      {"a", "B"},
      {"Z", "ä"},
      {"ab\xC3\xA4", "AB\xC3\xB6"},
      {"\xEF\xBF\xBD", "\xF0\x90\x80\x80"},  // U+FFFD before U+10000: code points, not UTF-16 units
      {"\xF4\x8F\xBF\xBF", "\x80"},          // every character before every stray byte
      {"\x80", "\xFF"},
      {"a\xC3\xA4", "a\xC3"},
  };
  for (const Texts& row : rows) {
    EXPECT_EQ(-1, Order(row.a, row.b)) << row.a << " before " << row.b;
    EXPECT_EQ(1, Order(row.b, row.a)) << row.b << " after " << row.a;
  }
}

TEST(KlibTextOrderTest, TextsAreNotNormalised) { EXPECT_NE(0, Order("\xC3\xA4", "a\xCC\x88")); }

TEST(KlibTextOrderTest, NoTextCountsAsAnEmptyOne) {
  EXPECT_EQ(0, KLIBUnicodeUTF8StrCaseCmp(nullptr, nullptr));
  EXPECT_EQ(0, KLIBUnicodeUTF8StrCaseCmp(nullptr, ""));
  EXPECT_LT(KLIBUnicodeUTF8StrCaseCmp(nullptr, "a"), 0);
  EXPECT_GT(KLIBUnicodeUTF8StrCaseCmp("a", nullptr), 0);
}

TEST(KlibTextOrderTest, ATextIsReadUpToItsEndOnly) {
  for (const char* text : {"", "a", "ä", "\xC3", "\xE2\x82", "\xF0\x9F\x93", "ab\xF4\x8F"}) {
    const GuardedText left(text), right(text);
    EXPECT_EQ(0, KLIBUnicodeUTF8StrCaseCmp(left.get(), right.get())) << text;
  }
}

// Few different pieces, so that equal beginnings, case pairs and halves of characters meet often.
std::vector<std::string> RandomTexts(unsigned seed, int count) {
  const char* const pieces[] = {"a",
                                "A",
                                "b",
                                "B",
                                "ä",
                                "Ä",
                                "ς",
                                "Σ",
                                "σ",
                                "İ",
                                "ß",
                                "ẞ",
                                "\xC3",
                                "\xA4",
                                "\xE2\x82",
                                "\xFF",
                                "\xF0\x9F",
                                "\x80",
                                "k",
                                "\xE2\x84\xAA",
                                "ss",
                                "\xC0",
                                "\xED\xA0",
                                "\xEF\xBF\xBD",
                                "z",
                                "ﬁ",
                                "\xF0\x90\x90\x80"};
  std::mt19937 random(seed);
  std::vector<std::string> texts;
  for (int i = 0; i < count; ++i) {
    std::string text;
    for (size_t length = random() % 4; length > 0; --length) text += pieces[random() % std::size(pieces)];
    texts.push_back(text);
  }
  return texts;
}

TEST(KlibTextOrderTest, ItIsAStrictWeakOrderingOverAllByteStrings) {
  for (unsigned seed = 1; seed <= 8; ++seed) {
    const std::vector<std::string> texts = RandomTexts(seed, 40);
    std::vector<std::vector<int>> order(texts.size(), std::vector<int>(texts.size()));
    for (size_t i = 0; i < texts.size(); ++i) {
      for (size_t j = 0; j < texts.size(); ++j) order[i][j] = Order(texts[i], texts[j]);
    }
    for (size_t i = 0; i < texts.size(); ++i) {
      ASSERT_EQ(0, order[i][i]) << texts[i];
      for (size_t j = 0; j < texts.size(); ++j) {
        ASSERT_EQ(-order[j][i], order[i][j]) << texts[i] << " | " << texts[j];
        for (size_t k = 0; k < texts.size(); ++k) {
          // Of a <= b and b <= c follows a <= c, and the equality holds exactly when both do.
          if (order[i][j] > 0 || order[j][k] > 0) continue;
          ASSERT_EQ(std::min(order[i][j], order[j][k]), order[i][k])
              << texts[i] << " | " << texts[j] << " | " << texts[k];
        }
      }
    }
  }
}

TEST(KlibTextOrderTest, AsciiTextsComeInTheOrderOfTheirLowerCase) {
  std::mt19937 random(7);
  for (int round = 0; round < 2000; ++round) {
    std::string texts[2], lower[2];
    for (int i = 0; i < 2; ++i) {
      for (size_t length = random() % 4; length > 0; --length) texts[i] += static_cast<char>(1 + random() % 127);
      lower[i] = texts[i];
      SzKLIBStrCaseLower(&lower[i][0]);
    }
    ASSERT_EQ(Sign(lower[0].compare(lower[1])), Order(texts[0], texts[1])) << texts[0] << " | " << texts[1];
  }
}

}  // namespace
