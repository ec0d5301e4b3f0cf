#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "guarded_text.h"
#include "platform/klib.h"

namespace {

struct Pair {
  const char* in;
  const char* out;
};

const Pair kTrimmed[] = {
    {"", ""},
    {" ", ""},
    {" \t\r\n\v\f", ""},
    {"a", "a"},
    {"  a", "a"},
    {"a  ", "a"},
    {"\tDocumentRoot \"/volume1/web\"\r\n", "DocumentRoot \"/volume1/web\""},
    {" \" quoted \" ", "\" quoted \""},
    {" a b\tc ", "a b\tc"},
    {"\xC2\xA0x\xC2\xA0", "\xC2\xA0x\xC2\xA0"},  // a no-break space is no white space here
    {" \xFF ", "\xFF"},
    {" \x85 ", "\x85"},
};

TEST(KlibTextTest, TrimmingInPlaceBeginsAtTheSameAddress) {
  for (const Pair& row : kTrimmed) {
    std::string text = row.in;
    EXPECT_EQ(0, KLIBStrTrimSpace(&text[0], nullptr)) << '"' << row.in << '"';
    EXPECT_STREQ(row.out, text.c_str()) << '"' << row.in << '"';
  }
}

TEST(KlibTextTest, TrimmingOntoItselfIsTrimmingInPlace) {
  for (const Pair& row : kTrimmed) {
    std::string text = row.in;
    EXPECT_EQ(0, KLIBStrTrimSpace(&text[0], &text[0])) << '"' << row.in << '"';
    EXPECT_STREQ(row.out, text.c_str()) << '"' << row.in << '"';
  }
}

TEST(KlibTextTest, TrimmingIntoABufferLeavesTheTextAlone) {
  for (const Pair& row : kTrimmed) {
    const GuardedText text(row.in);
    std::string buffer(std::strlen(row.in) + 2, '#');
    EXPECT_EQ(0, KLIBStrTrimSpace(const_cast<char*>(text.get()), &buffer[0])) << '"' << row.in << '"';
    EXPECT_STREQ(row.out, buffer.c_str()) << '"' << row.in << '"';
    EXPECT_EQ('#', buffer.back()) << "written behind the buffer for \"" << row.in << '"';
  }
}

TEST(KlibTextTest, TrimmingNothingFails) {
  char buffer[] = "kept";
  EXPECT_LT(KLIBStrTrimSpace(nullptr, buffer), 0);
  EXPECT_LT(KLIBStrTrimSpace(nullptr, nullptr), 0);
  EXPECT_STREQ("kept", buffer);
}

TEST(KlibTextTest, OnlyAsciiLettersBecomeLowerCase) {
  std::string every_byte, expected;
  for (int byte = 1; byte < 256; ++byte) {
    every_byte += static_cast<char>(byte);
    expected += static_cast<char>(byte >= 'A' && byte <= 'Z' ? byte + 32 : byte);
  }
  EXPECT_EQ(&every_byte[0], SzKLIBStrCaseLower(&every_byte[0]));
  EXPECT_EQ(expected, every_byte);
}

TEST(KlibTextTest, LowerCaseOfNoTextIsNoText) { EXPECT_EQ(nullptr, SzKLIBStrCaseLower(nullptr)); }

struct Count {
  const char* what;
  const char* text;
  int characters;
};

TEST(KlibTextTest, CharactersAreCountedNotBytes) {
  const Count rows[] = {
      {"nothing", "", 0},
      {"ASCII", "Photos 2026", 11},
      {"umlauts", "Müßiggänger", 11},
      {"three bytes", "写真", 2},
      {"four bytes", "\xF0\x9F\x93\xB7 camera", 8},
      {"a combining mark counts for itself", "a\xCC\x88", 2},
      {"largest code point", "\xF4\x8F\xBF\xBF", 1},
      {"lone continuation bytes", "\x80\xBF", 2},
      {"bytes that never occur", "\xFE\xFF", 2},
      {"cut off at the end", "a\xE2\x82", 3},
      {"cut off by another character", "\xE2\x82z", 3},
      {"overlong", "\xC0\xAF", 2},
      {"surrogate", "\xED\xA0\x80", 3},
      {"beyond the last code point", "\xF4\x90\x80\x80", 4},
  };
  for (const Count& row : rows) {
    const GuardedText text(row.text);
    EXPECT_EQ(row.characters, KLIBUnicodeUTF8StrCountChar(text.get())) << row.what;
  }
}

TEST(KlibTextTest, NoTextHasNoCharacters) { EXPECT_EQ(0, KLIBUnicodeUTF8StrCountChar(nullptr)); }

}  // namespace
