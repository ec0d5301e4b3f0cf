#include "host/schedule/command_line.h"

#include <gtest/gtest.h>

namespace kest {
namespace {

using Words = std::vector<std::string>;

Words Split(std::string_view line) {
  Words words{"untouched"};
  return SplitCommandLine(line, &words) ? words : Words{"refused", words[0]};
}

TEST(CommandLineTest, WordsStandBetweenBlanks) {
  EXPECT_EQ((Words{"/bin/true"}), Split("/bin/true"));
  EXPECT_EQ((Words{"/bin/a", "-b", "c"}), Split("  /bin/a  -b c "));
}

TEST(CommandLineTest, QuotesHoldOneWordTogether) {
  EXPECT_EQ((Words{"/usr/kest/bin/kestnetbkp", "-a", "my photos"}), Split("/usr/kest/bin/kestnetbkp -a \"my photos\""));
  EXPECT_EQ((Words{"/bin/a", "", "x"}), Split("/bin/a \"\" x"));
  EXPECT_EQ((Words{"/bin/my program"}), Split("\"/bin/my program\""));
}

TEST(CommandLineTest, NothingButQuoteAndBlankHasAMeaning) {
  const std::string odd = "$(id) `id` ; | & > < % \\ ' * ~ # ! \xC3\xBC \xFF";
  EXPECT_EQ((Words{"/bin/a", odd}), Split("/bin/a \"" + odd + "\""));
  EXPECT_EQ((Words{"/bin/a", "\\", ";id", "'x'"}), Split("/bin/a \\ ;id 'x'"));
}

TEST(CommandLineTest, WhatCanBeReadInTwoWaysIsRefused) {
  const Words refused{"refused", "untouched"};
  for (const char* line : {"/bin/a \"b", "/bin/a b\"", "/bin/a b\"c\"", "/bin/a \"b\"c", "/bin/a \"b\"\"c\"",
                           "/bin/a \"b\" \"", "/bin/a \"a\"b\"", "/bin/a \"\"x\"\""}) {
    EXPECT_EQ(refused, Split(line)) << line;
  }
}

TEST(CommandLineTest, ControlCharactersAreRefused) {
  const Words refused{"refused", "untouched"};
  for (const char* line : {"/bin/a \"b\nc\"", "/bin/a\n", "/bin/a\tb", "/bin/a \"\r\"", "/bin/a \x7f", "/bin/a \x01"}) {
    EXPECT_EQ(refused, Split(line)) << line;
  }
}

TEST(CommandLineTest, AProgramIsNamedByItsWholePath) {
  const Words refused{"refused", "untouched"};
  for (const char* line : {"", " ", "true", "\"\"", "./a", "PATH=x /bin/a"}) EXPECT_EQ(refused, Split(line)) << line;
}

}  // namespace
}  // namespace kest
