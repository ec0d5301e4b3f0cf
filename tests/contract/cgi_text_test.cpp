// Localised texts, whatever somebody wrote into the files.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "cgi_request.h"
#include "scratch_directory.h"
#include "system_file.h"

namespace {

char* const kEnd = nullptr;

class CgiText : public testing::Test {
 protected:
  CgiText() {
    shipped_.Write("[s]\n");
    settings_.Write("");
    std::filesystem::create_directory(module_.Path("texts"));
  }

  void English(const std::string& bytes) const { module_.Write("texts/en.ini", bytes); }
  void German(const std::string& bytes) const { module_.Write("texts/de.ini", bytes); }

  // What a request in this language finds under a key of two sections: the number of sections, then the text.
  std::string Look(const char* language, const char* key, const char* first = "one", const char* second = "two") const {
    return CgiRequest::Get("").Set("HTTP_COOKIE", std::string("lang=") + language).Run([&] {
      CgiContext context(module_.Path().c_str());
      printf("%d ", KestCgiLoadText(context.get(), first, second, kEnd));
      printf("%s", KestCgiGetText(context.get(), key, "?"));
    });
  }

  // The text "a" of section "one" in a file of these bytes.
  std::string Text(const std::string& bytes) const {
    English(bytes);
    return Look("en", "a");
  }

  std::string Encoded(const std::string& text) const {
    English("[one]\na=\"" + text + "\"\n");
    return CgiRequest::Get("").Run([&] {
      CgiContext context(module_.Path().c_str());
      KestCgiLoadText(context.get(), "one", kEnd);
      printf("%s", KestCgiGetEncodeText(context.get(), "a", "?"));
    });
  }

  ScratchDirectory module_;
  SystemFile settings_{"/etc/kestinfo.conf"};
  SystemFile shipped_{"/usr/kest/kestman/tarvel/texts/de.ini"};
};

TEST_F(CgiText, TheRequestsLanguageIsRead) {
  English("[one]\na=\"English\"\n");
  German("[one]\na=\"Deutsch\"\n");
  EXPECT_EQ("1 English", Look("en", "a"));
  EXPECT_EQ("1 Deutsch", Look("de", "a"));
}

TEST_F(CgiText, WhatALanguageLacksComesFromEnglish) {
  English("[one]\na=\"English\"\nb=\"only English\"\n[two]\nc=\"English two\"\n");
  German("[one]\na=\"Deutsch\"\n");
  EXPECT_EQ("2 Deutsch", Look("de", "a"));
  EXPECT_EQ("2 only English", Look("de", "b"));
  EXPECT_EQ("2 English two", Look("de", "c"));
  std::filesystem::remove(module_.Path("texts/de.ini"));
  EXPECT_EQ("2 English", Look("de", "a"));
}

TEST_F(CgiText, AKeyThatALanguageLacksComesFromEnglishToo) {
  English("[one]\na=\"English\"\nb=\"only English\"\n[two]\nc=\"English two\"\n");
  German("[one]\na=\"Deutsch\"\n[two]\nc=\"Deutsch zwei\"\n");
  EXPECT_EQ("2 only English", Look("de", "b"));
}

TEST_F(CgiText, ATextOfTheLanguageComesBeforeEveryEnglishOne) {
  English("[one]\nk=\"English one\"\n");
  German("[one]\nx=\"1\"\n[two]\nk=\"Deutsch zwei\"\n");
  EXPECT_EQ("2 Deutsch zwei", Look("de", "k"));
}

TEST_F(CgiText, OnlyTheNamedSectionsAreFoundInTheirOrder) {
  English("[two]\na=\"second\"\n[other]\nb=\"hidden\"\n[one]\na=\"first\"\n");
  EXPECT_EQ("2 first", Look("en", "a", "one", "two"));
  EXPECT_EQ("2 second", Look("en", "a", "two", "one"));
  EXPECT_EQ("2 ?", Look("en", "b"));
  EXPECT_EQ("1 first", Look("en", "a", "one", "absent"));
  EXPECT_EQ("0 ?", Look("en", "a", "absent", nullptr));
}

TEST_F(CgiText, TheFirstNullEndsTheList) {
  English("[one]\na=\"1\"\n[two]\nb=\"2\"\n");
  EXPECT_EQ("1 1 ?", CgiRequest::Get("").Run([&] {
    CgiContext context(module_.Path().c_str());
    const int found = KestCgiLoadText(context.get(), "one", kEnd, "two", kEnd);
    printf("%d %s %s", found, KestCgiGetText(context.get(), "a", "?"), KestCgiGetText(context.get(), "b", "?"));
  }));
}

TEST_F(CgiText, ASecondCallAddsSections) {
  English("[one]\na=\"1\"\n[two]\na=\"hidden\"\nb=\"2\"\n");
  EXPECT_EQ("1 1 1 2", CgiRequest::Get("").Run([&] {
    CgiContext context(module_.Path().c_str());
    printf("%d ", KestCgiLoadText(context.get(), "one", kEnd));
    printf("%d ", KestCgiLoadText(context.get(), "two", kEnd));
    printf("%s %s", KestCgiGetText(context.get(), "a", "?"), KestCgiGetText(context.get(), "b", "?"));
  }));
}

TEST_F(CgiText, AnUnknownKeyGivesTheSecondArgumentItself) {
  CgiContext context(module_.Path().c_str());
  EXPECT_EQ(0, KestCgiLoadText(context.get(), "one", kEnd));
  const char second[] = "<second>";
  EXPECT_EQ(second, KestCgiGetText(context.get(), "a", second));
  EXPECT_EQ(second, KestCgiGetEncodeText(context.get(), "a", second));
  EXPECT_EQ(nullptr, KestCgiGetText(context.get(), "a", nullptr));
  EXPECT_EQ(nullptr, KestCgiGetEncodeText(context.get(), "a", nullptr));
}

TEST_F(CgiText, NullArgumentsFail) {
  CgiContext context(module_.Path().c_str());
  EXPECT_LT(KestCgiLoadText(nullptr, "one", kEnd), 0);
  EXPECT_STREQ("d", KestCgiGetText(nullptr, "a", "d"));
  EXPECT_STREQ("d", KestCgiGetText(context.get(), nullptr, "d"));
  EXPECT_STREQ("d", KestCgiGetEncodeText(nullptr, "a", "d"));
  EXPECT_STREQ("d", KestCgiGetEncodeText(context.get(), nullptr, "d"));
}

TEST_F(CgiText, OddFilesAreReadAsTheyAreMeant) {
  EXPECT_EQ("1 x", Text("[one]\na=\"x\""));
  EXPECT_EQ("1 x", Text("[one]\r\na=\"x\"\r\n"));
  EXPECT_EQ("1 x", Text("\xEF\xBB\xBF[one]\na=\"x\"\n"));
  EXPECT_EQ("1 x", Text("  [ one ]  \n  a = \"x\"  \n"));
  EXPECT_EQ("1 x", Text("; comment\n# comment\n[one]\n;a=\"0\"\n#a=\"0\"\na=\"x\"\n"));
  EXPECT_EQ("1 x", Text("[one]\na=\"x\"\na=\"y\"\n"));
  EXPECT_EQ("1 x", Text("[one]\nb=\"1\"\n[three]\na=\"0\"\n[one]\na=\"x\"\n"));
  EXPECT_EQ("1 x; y # z", Text("[one]\na=\"x; y # z\"\n"));
  EXPECT_EQ("1 [x]", Text("[one]\na=\"[x]\"\n"));
  EXPECT_EQ("1 " + std::string(100000, 'x'), Text("[one]\na=\"" + std::string(100000, 'x') + "\"\n"));
}

TEST_F(CgiText, WhatIsBrokenIsPassedOverAlone) {
  EXPECT_EQ("0 ?", Text(""));
  EXPECT_EQ("0 ?", Text("a=\"x\"\n"));
  EXPECT_EQ("0 ?", Text("[one\na=\"x\"\n"));
  EXPECT_EQ("0 ?", Text("[onex\na=\"x\"\n"));
  EXPECT_EQ("0 ?", Text("[ONE]\na=\"x\"\n"));
  EXPECT_EQ("1 ?", Text("[one]\nb=\"1\"\n[broken\na=\"x\"\n"));
  EXPECT_EQ("1 y", Text("[one]\na=\"half a rec\na=\"y\"\n"));
  EXPECT_EQ("1 y", Text(std::string("[one]\na=\"x\0\"\n", 13) + "a=\"y\"\n"));
  EXPECT_EQ("0 ?", Text(std::string(1000, '\0')));
  EXPECT_EQ("1 x", Text("[one]\nno equals sign\na=\"x\"\n"));
}

TEST_F(CgiText, OneMebibyteIsReadAndOneByteMoreIsNot) {
  const std::string texts = "[one]\na=\"x\"\n";
  const std::string filler(1024 * 1024 - texts.size(), '#');
  EXPECT_EQ("1 x", Text(texts + filler));
  EXPECT_EQ("0 ?", Text(texts + filler + "#"));
  const std::string end = "\n[one]\na=\"x\"\n";
  EXPECT_EQ("1 x", Text("[two]\n" + std::string(1024 * 1024 - end.size() - 6, '=') + end));
}

TEST_F(CgiText, WhatIsNoReadableFileHasNoTexts) {
  EXPECT_EQ("0 ?", Look("en", "a"));
  std::filesystem::create_directory(module_.Path("texts/en.ini"));
  EXPECT_EQ("0 ?", Look("en", "a"));
  std::filesystem::remove(module_.Path("texts/en.ini"));
  ASSERT_EQ(0, mkfifo(module_.Path("texts/en.ini").c_str(), 0644));
  EXPECT_EQ("0 ?", Look("en", "a")) << "a pipe, which must not hold the request up";
}

TEST_F(CgiText, AFileThatMayNotBeReadHasNoTexts) {
  if (geteuid() == 0) GTEST_SKIP() << "root reads every file";
  English("[one]\na=\"x\"\n");
  ASSERT_EQ(0, chmod(module_.Path("texts/en.ini").c_str(), 0));
  EXPECT_EQ("0 ?", Look("en", "a"));
}

TEST_F(CgiText, AnEncodedTextStandsSafelyInAScript) {
  EXPECT_EQ("it\\'s \\\"so\\\" \\\\n", Encoded("it's \"so\" \\n"));
  EXPECT_EQ("\\u003c/script\\u003e\\u003c!--\\u0026quot;", Encoded("</script><!--&quot;"));
  EXPECT_EQ("a\\tb\\u0001\\u007f", Encoded("a\tb\x01\x7f"));
  EXPECT_EQ("a\\rb", Encoded("a\rb"));
  EXPECT_EQ("\\u2028\\u2029\xE2\x80\xA6\xC3\xA4", Encoded("\xE2\x80\xA8\xE2\x80\xA9\xE2\x80\xA6\xC3\xA4"));
  EXPECT_EQ("\xE2\x80", Encoded("\xE2\x80"));
  EXPECT_EQ("plain text/100%", Encoded("plain text/100%"));
  EXPECT_EQ("", Encoded(""));
}

TEST_F(CgiText, TextsStayValidUntilTheContextEnds) {
  English("[one]\na=\"<a>\"\nb=\"<b>\"\n");
  CgiContext context(module_.Path().c_str());
  KestCgiLoadText(context.get(), "one", kEnd);
  const char* const plain = KestCgiGetText(context.get(), "a", "?");
  const char* const encoded = KestCgiGetEncodeText(context.get(), "a", "?");
  for (int i = 0; i < 100; ++i) KestCgiLoadText(context.get(), "one", kEnd);
  KestCgiGetEncodeText(context.get(), "b", "?");
  EXPECT_STREQ("<a>", plain);
  EXPECT_STREQ("\\u003ca\\u003e", encoded);
  EXPECT_EQ(encoded, KestCgiGetEncodeText(context.get(), "a", "?"));
}

}  // namespace
