#include "template.h"

#include <sys/time.h>

#include <csignal>
#include <cstdio>
#include <memory>
#include <new>
#include <string>

#include "support/allocations.h"
#include "support/platform_test.h"

namespace tarvel_test {
namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::KilledBySignal;
using ::testing::Not;
using ::testing::SizeIs;
using std::string_literals::operator""s;
using WebUtils::Template;

std::string Filled(const std::string& text, const Json::Value& values) {
  return Template(text.c_str()).ApplyValues(values);
}

class TemplateTest : public PlatformTest {};

TEST_F(TemplateTest, IsAPatternAndATextAndNothingMore) {
  static_assert(sizeof(Template) == sizeof(regex_t) + sizeof(std::string));
}

TEST_F(TemplateTest, ThePatternIsCompiledOncePerObjectAndReleasedWithIt) {
  {
    Template page("{a}");
    page.ApplyValues(Json::Value());
    page.ApplyValues(Json::Value());
  }
  EXPECT_THAT(Calls(), ElementsAre("regcomp \\{([^\\{\\}]*)\\} 1", "regexec 1 4", "regexec 1 5", "regexec 1 4",
                                   "regexec 1 5", "regfree"));
  { Template empty; }
  EXPECT_THAT(Calls(), ElementsAre("regcomp \\{([^\\{\\}]*)\\} 1", "regfree"));
}

TEST_F(TemplateTest, OnlyTheFirstSearchIsAtTheBeginningOfALine) {
  static_assert(REG_EXTENDED == 1 && REG_NOTBOL == 1 && REG_STARTEND == 4);
  Filled("{a}{b} {c}", Doc("{'b': 1}"));
  EXPECT_THAT(Calls(),
              ElementsAre(HasSubstr("regcomp"), "regexec 1 4", "regexec 1 5", "regexec 1 5", "regexec 1 5", "regfree"));
}

TEST_F(TemplateTest, AFailedCompilationAbortsWithTheAssertionsMessage) {
  const auto make = [this] {
    machine().FailNext("regcomp", REG_ESPACE);
    Template page("text");
  };
  EXPECT_EXIT(make(), KilledBySignal(SIGABRT), HasSubstr(": template:"));
  EXPECT_EXIT(make(), KilledBySignal(SIGABRT),
              HasSubstr(": void WebUtils::Template::InitTemplate(): Assertion "
                        "`0 == regcomp(&_regobj, \"\\\\{([^\\\\{\\\\}]*)\\\\}\", 1)' failed."));
}

TEST_F(TemplateTest, WithoutMemoryForTheTextNothingIsCompiled) {
  const std::string text(100, 'x');
  FailingNew failing(0);
  EXPECT_THROW(Template page(text.c_str()), std::bad_alloc);
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(TemplateTest, AMemberReplacesItsPlaceholder) {
  EXPECT_EQ("Hello Ann!", Filled("Hello {name}!", Doc("{'name': 'Ann'}")));
}

TEST_F(TemplateTest, APlaceholderWithoutAMemberStays) {
  EXPECT_EQ("Hello {name}!", Filled("Hello {name}!", Doc("{}")));
  EXPECT_EQ("Hello {name}!", Filled("Hello {name}!", Json::Value()));
  EXPECT_EQ("{Name} x {b}", Filled("{Name} {name} {b}", Doc("{'name': 'x'}")));
}

TEST_F(TemplateTest, NeighboursAreBothReplaced) { EXPECT_EQ("12", Filled("{a}{b}", Doc("{'a': '1', 'b': '2'}"))); }

TEST_F(TemplateTest, TheInnerPairOfBracesIsThePlaceholder) {
  EXPECT_EQ("{x}", Filled("{{a}}", Doc("{'a': 'x', '{a}': 'y'}")));
}

TEST_F(TemplateTest, WhatAReplacementBringsTogetherIsNoPlaceholder) {
  EXPECT_EQ("{b}", Filled("{{a}}", Doc("{'a': 'b', 'b': 'y'}")));
}

TEST_F(TemplateTest, BlanksBelongToTheName) {
  EXPECT_EQ("{ a }", Filled("{ a }", Doc("{'a': 'x'}")));
  EXPECT_EQ("x{a}", Filled("{ a }{a}", Doc("{' a ': 'x'}")));
}

TEST_F(TemplateTest, LineFeedsBelongToTheName) {
  Json::Value values;
  values["a\nb"] = "x";
  EXPECT_EQ("-x-", Filled("-{a\nb}-", values));
}

TEST_F(TemplateTest, ABackslashBetweenTheBracesMakesItNoPlaceholder) {
  EXPECT_EQ("{a\\b} x", Filled("{a\\b} {c}", Doc("{'a\\\\b': 'y', 'c': 'x'}")));
  EXPECT_EQ("\\x\\", Filled("\\{c}\\", Doc("{'c': 'x'}")));
}

TEST_F(TemplateTest, UnbalancedBracesAreText) {
  for (const char* text : {"{", "}", "}{", "{{", "}}", "a { b", "a } b", "{a", "a}", "}a{", "{\\}"}) {
    EXPECT_EQ(text, Filled(text, Doc("{'a': 'x', '': 'y', ' b': 'z'}")));
  }
  EXPECT_EQ("{x", Filled("{{a}", Doc("{'a': 'x'}")));
  EXPECT_EQ("x}", Filled("{a}}", Doc("{'a': 'x'}")));
}

TEST_F(TemplateTest, AMebibyteOfUnbalancedBracesIsText) {
  for (const std::string piece : {"{", "}", "{a", "a}", "{\\}", "{\n"}) {
    std::string text;
    while (text.size() < 1 << 20) text += piece;
    EXPECT_TRUE(text == Filled(text, Doc("{'b': 'x'}"))) << piece;
    EXPECT_TRUE(text + "x}" == Filled(text + "{b}}", Doc("{'b': 'x'}"))) << piece;
  }
}

TEST_F(TemplateTest, AValueIsNeitherEscapedNorSearched) {
  EXPECT_EQ("{b} <i>{}</i> y", Filled("{a} {b}", Doc("{'a': '{b} <i>{}</i>', 'b': 'y'}")));
}

TEST_F(TemplateTest, ANameIsLookedUpByItsFirst128BytesAndReplacedWhole) {
  const std::string name(128, 'n');
  Json::Value values;
  values[name] = "x";
  for (const unsigned length : {128u, 129u, 200u}) {
    EXPECT_EQ("-x-", Filled("-{" + std::string(length, 'n') + "}-", values)) << length;
  }
  const std::string shorter = "-{" + std::string(127, 'n') + "}-";
  EXPECT_EQ(shorter, Filled(shorter, values));
  values = Json::Value();
  values[name + "n"] = "x";
  const std::string longer = "-{" + name + "n}-";
  EXPECT_EQ(longer, Filled(longer, values)) << "a name of 129 bytes is never found";
}

TEST_F(TemplateTest, ANameOf129CharactersIsCutInBytesEvenInsideACharacter) {
  std::string name;
  for (int i = 0; i < 129; ++i) name += i == 63 ? "n" : "\xc3\xa4";
  Json::Value values;
  values[name.substr(0, 128)] = "x";
  ASSERT_EQ('\xc3', name[127]);
  EXPECT_EQ("-x-", Filled("-{" + name + "}-", values));
}

TEST_F(TemplateTest, AfterALongNameAShortOneIsFoundByItself) {
  EXPECT_EQ("12", Filled("{long}{l}", Doc("{'long': 1, 'l': 2}")));
}

TEST_F(TemplateTest, ScalarsBecomeTheTextThatJsoncppGives) {
  const Json::Value values = Doc("{'n': -7, 'd': 0.5, 't': true, 'z': null, 'e': ''}");
  EXPECT_EQ("-7 0.5 true [] []", Filled("{n} {d} {t} [{z}] [{e}]", values));
}

TEST_F(TemplateTest, ANulInAValueIsInserted) {
  Json::Value values;
  values["a"] = "x\0y"s;
  EXPECT_EQ("-x\0y-"s, Filled("-{a}-", values));
}

TEST_F(TemplateTest, WhatJsoncppRefusesPassesToTheProgram) {
  for (const char* values : {"[1]", "'text'", "7", "true"}) {
    EXPECT_THROW(Filled("{a}", Doc(values)), Json::LogicError) << values;
    EXPECT_EQ("no placeholder", Filled("no placeholder", Doc(values)));
  }
  EXPECT_THROW(Filled("{a}", Doc("{'a': {}}")), Json::LogicError);
  EXPECT_THROW(Filled("{a}", Doc("{'a': [1]}")), Json::LogicError);
  EXPECT_EQ("x", Filled("{b}", Doc("{'a': [1], 'b': 'x'}"))) << "only what is wanted is looked at";
}

TEST_F(TemplateTest, OneTemplateIsAppliedManyTimes) {
  Template page("{a}!");
  EXPECT_EQ("1!", page.ApplyValues(Doc("{'a': 1}")));
  EXPECT_EQ("{a}!", page.ApplyValues(Doc("{}")));
  EXPECT_EQ("2!", page.ApplyValues(Doc("{'a': 2}")));
}

TEST_F(TemplateTest, TheValuesStayAsTheyAre) {
  const Json::Value values = Doc("{'a': 1}");
  Filled("{a} {b}", values);
  EXPECT_EQ(Doc("{'a': 1}"), values);
}

TEST_F(TemplateTest, BytesThatAreNoTextAreCopied) {
  std::string text;
  for (int byte = 1; byte <= 255; ++byte) {
    if (byte != '{') text += static_cast<char>(byte);
  }
  EXPECT_EQ(text, Filled(text, Json::Value()));
  Json::Value values;
  values["\xff\xfe"] = "x";
  EXPECT_EQ("x\xc3", Filled("{\xff\xfe}\xc3", values));
}

TEST_F(TemplateTest, AValueOfAMegabyteAndAThousandPlaceholdersAreInserted) {
  Json::Value values;
  values["big"] = std::string(1 << 20, 'v');
  EXPECT_EQ((1u << 20) + 2, Filled("<{big}>", values).size());
  EXPECT_EQ(std::string(3 << 20, 'v'), Filled("{big}{big}{big}", values));
  std::string text, expected;
  for (int i = 0; i < 1000; ++i) {
    text += "{a}" + std::string(97, '.');
    expected += "xy" + std::string(97, '.');
  }
  EXPECT_EQ(expected, Filled(text, Doc("{'a': 'xy'}")));
}

TEST_F(TemplateTest, ASearchThatRunsOutOfMemoryCountsAsTheLast) {
  Template page("{a} {a} {a}");
  machine().FailAfter("regexec", 1, REG_ESPACE);
  EXPECT_EQ("x {a} {a}", page.ApplyValues(Doc("{'a': 'x'}")));
}

TEST_F(TemplateTest, WithoutMemoryForTheResultNothingIsLost) {
  Template page("{a} and {b}, which are two");
  const Json::Value values = Doc("{'a': 'a text that is longer than the whole page with its names', 'b': 'x'}");
  EXPECT_GE(FailuresUntilItSucceeds([&] { page.ApplyValues(values); }), 2);
  EXPECT_EQ("a text that is longer than the whole page with its names and x, which are two", page.ApplyValues(values));
}

class EmptyPlaceholderTest : public PlatformTest {
 protected:
  // Ends the process after a tenth of a second of its own computing, however slow the machine is.
  void ApplyWithAnAlarm(const char* text) {
    Template page(text);
    struct itimerval alarm = {{0, 0}, {0, 100000}};
    setitimer(ITIMER_VIRTUAL, &alarm, nullptr);
    page.ApplyValues(Doc("{'a': 'x', '': 'y'}"));
  }
};

TEST_F(EmptyPlaceholderTest, NeverReturns) {
  for (const char* text : {"a {} b", "{}", "{{}}", "{a}{}", "{a\n{}", "function(){}"}) {
    SCOPED_TRACE(text);
    EXPECT_EXIT(ApplyWithAnAlarm(text), KilledBySignal(SIGVTALRM), "");
  }
}

TEST_F(EmptyPlaceholderTest, OneThatNoSearchReachesDoesNoHarm) {
  EXPECT_EQ("{}", Filled("{a}", Doc("{'a': '{}'}")));
  EXPECT_EQ("{\\}", Filled("{\\}", Doc("{}")));
}

TEST_F(EmptyPlaceholderTest, TheSearchStaysWhereItIsWithTheSameFlags) {
  machine().FailAfter("regexec", 500, REG_ESPACE);
  EXPECT_EQ("a {} {a}", Filled("a {} {a}", Doc("{'a': 'x'}")));
  auto calls = Calls();
  EXPECT_THAT(calls, SizeIs(503));
  EXPECT_THAT(calls, Not(Contains("regexec 1 5")));

  machine().FailAfter("regexec", 500, REG_ESPACE);
  EXPECT_EQ("x {} {a}", Filled("{a} {} {a}", Doc("{'a': 'x'}")));
  calls = Calls();
  ASSERT_THAT(calls, SizeIs(503));
  calls.erase(calls.begin(), calls.begin() + 2);
  calls.pop_back();
  EXPECT_THAT(calls, Each("regexec 1 5"));
}

class TemplateStreamTest : public PlatformTest {
 protected:
  using Stream = std::unique_ptr<FILE, int (*)(FILE*)>;

  // A file of this content, open at its beginning.
  Stream Open(const std::string& content) {
    WriteFile(ScratchPath("page"), content);
    Stream stream(std::fopen(ScratchPath("page").c_str(), "r"), std::fclose);
    Calls();
    return stream;
  }
  // The template's text as it was read.
  std::string Read(const std::string& content) {
    Template page;
    page.ReadFromStream(Open(content).get());
    return page.ApplyValues(Json::Value());
  }
};

TEST_F(TemplateStreamTest, AFileIsReadToItsEnd) {
  for (const char* content : {"one line", "one line\n", "two\nlines", "\n\n{a}\r\n\n"})
    EXPECT_EQ(content, Read(content));
}

TEST_F(TemplateStreamTest, AnEmptyFileIsAnEmptyTemplate) {
  Template page("before {a}");
  page.ReadFromStream(Open("").get());
  EXPECT_EQ("", page.ApplyValues(Doc("{'a': 'x'}")));
}

TEST_F(TemplateStreamTest, ANewTemplateIsEmpty) { EXPECT_EQ("", Template().ApplyValues(Doc("{'a': 'x'}"))); }

TEST_F(TemplateStreamTest, WhatIsReadReplacesTheTextBefore) {
  Template page("before");
  page.ReadFromStream(Open("first {a}").get());
  page.ReadFromStream(Open("second {a}").get());
  EXPECT_EQ("second x", page.ApplyValues(Doc("{'a': 'x'}")));
}

TEST_F(TemplateStreamTest, LongLinesAreReadWholeAndAPlaceholderMayCrossAPiece) {
  const std::string line(5000, 'l');
  EXPECT_EQ(line + "\n" + line, Read(line + "\n" + line));
  Template page;
  page.ReadFromStream(Open(std::string(2045, '.') + "{abc}").get());
  EXPECT_EQ(std::string(2045, '.') + "x", page.ApplyValues(Doc("{'abc': 'x'}")));
}

TEST_F(TemplateStreamTest, ANulHidesTheRestOfItsLine) {
  EXPECT_EQ("abef", Read("ab\0cd\nef"s));
  EXPECT_EQ("", Read("\0"s));
}

TEST_F(TemplateStreamTest, ANulInALongLineHidesTheRestOfItsPieceOf2047Bytes) {
  std::string line(3000, 'a');
  line[10] = '\0';
  line[2047] = 'b';
  EXPECT_EQ(std::string(10, 'a') + "b" + std::string(952, 'a'), Read(line));
}

TEST_F(TemplateStreamTest, ReadingBeginsWhereTheStreamStands) {
  const Stream stream = Open("skipped\nread");
  char skipped[9];
  ASSERT_NE(nullptr, std::fgets(skipped, sizeof skipped, stream.get()));
  Template page;
  page.ReadFromStream(stream.get());
  EXPECT_EQ("read", page.ApplyValues(Json::Value()));
}

TEST_F(TemplateStreamTest, TheStreamStaysOpen) {
  const Stream stream = Open("text");
  Template page;
  page.ReadFromStream(stream.get());
  EXPECT_NE(0, std::feof(stream.get()));
  std::rewind(stream.get());
  EXPECT_EQ('t', std::fgetc(stream.get()));
}

TEST_F(TemplateStreamTest, AReadErrorCountsAsTheEnd) {
  const auto fail_behind_a_line = [](void* cookie, char* buffer, size_t) -> ssize_t {
    bool* told = static_cast<bool*>(cookie);
    if (*told) return -1;
    *told = true;
    const std::string line = "line\nhalf";
    line.copy(buffer, line.size());
    return static_cast<ssize_t>(line.size());
  };
  bool told = false;
  const Stream stream(fopencookie(&told, "r", {fail_behind_a_line, nullptr, nullptr, nullptr}), std::fclose);
  Template page("before");
  page.ReadFromStream(stream.get());
  EXPECT_EQ("line\n", page.ApplyValues(Json::Value()));
}

}  // namespace
}  // namespace tarvel_test
