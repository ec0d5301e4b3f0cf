// The request's language: cookie, setting, what the browser accepts, English. German and English are shipped.
#include <gtest/gtest.h>

#include <string>

#include "cgi_request.h"
#include "system_file.h"

namespace {

class CgiLanguage : public testing::Test {
 protected:
  CgiLanguage() {
    german_.Write("[s]\n");
    english_.Write("[s]\n");
    settings_.Write("language=\"auto\"\n");
  }

  static std::string Chosen(const std::string& cookie, const std::string& accepted) {
    CgiRequest request = CgiRequest::Get("");
    if (!cookie.empty()) request.Set("HTTP_COOKIE", cookie);
    if (!accepted.empty()) request.Set("HTTP_ACCEPT_LANGUAGE", accepted);
    return request.Run([] {
      CgiContext context;
      printf("%s", KestCgiGetLang(context.get()));
    });
  }

  SystemFile settings_{"/etc/kestinfo.conf"};
  SystemFile german_{"/usr/kest/kestman/tarvel/texts/de.ini"};
  SystemFile english_{"/usr/kest/kestman/tarvel/texts/en.ini"};
};

TEST_F(CgiLanguage, TheCookieComesFirst) {
  EXPECT_EQ("de", Chosen("lang=de", "en"));
  settings_.Write("language=\"en\"\n");
  EXPECT_EQ("de", Chosen("a=1; lang=de", "en"));
}

TEST_F(CgiLanguage, ThenTheSetting) {
  settings_.Write("language=\"de\"\n");
  EXPECT_EQ("de", Chosen("", "en"));
  EXPECT_EQ("de", Chosen("slang=en", "en"));
}

TEST_F(CgiLanguage, ThenWhatTheBrowserAccepts) {
  EXPECT_EQ("de", Chosen("", "de"));
  EXPECT_EQ("de", Chosen("", "de-AT,en;q=0.9"));
  EXPECT_EQ("de", Chosen("", "DE-de"));
  EXPECT_EQ("en", Chosen("", "en;q=0.8,de;q=0.7"));
  EXPECT_EQ("de", Chosen("", "en;q=0.7,de;q=0.8"));
  EXPECT_EQ("de", Chosen("", "fr,de;q=0.3"));
  EXPECT_EQ("en", Chosen("", "de;q=0,en;q=0.1"));
  EXPECT_EQ("de", Chosen("", "*;q=0.1,de;q=0.2"));
  EXPECT_EQ("en", Chosen("", "*,de;q=0.2"));
  EXPECT_EQ("de", Chosen("", " fr , de ; q=1.000 "));
}

TEST_F(CgiLanguage, ElseEnglish) {
  EXPECT_EQ("en", Chosen("", ""));
  EXPECT_EQ("en", Chosen("", "fr,it;q=0.5"));
  settings_.Remove();
  EXPECT_EQ("en", Chosen("", ""));
}

TEST_F(CgiLanguage, WhatIsNotShippedDoesNotCount) {
  EXPECT_EQ("en", Chosen("lang=fr", ""));
  EXPECT_EQ("de", Chosen("lang=fr", "de"));
  settings_.Write("language=\"fr\"\n");
  EXPECT_EQ("de", Chosen("", "de"));
  german_.Remove();
  EXPECT_EQ("en", Chosen("lang=de", "de"));
}

TEST_F(CgiLanguage, NoValueReachesOutOfTheFolderOfTexts) {
  SystemFile outside("/usr/kest/kestman/tarvel/xx.ini");
  outside.Write("[s]\n");
  for (const char* value :
       {"../xx", "..", ".", "", "/", "de/", "./de", "de.ini", "d", "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"}) {
    EXPECT_EQ("en", Chosen(std::string("lang=") + value, "")) << value;
    EXPECT_EQ("en", Chosen("", value)) << value;
  }
}

TEST_F(CgiLanguage, OddHeadersAreRead) {
  for (const char* header :
       {",,,", ";", ";;q=1", "de;q", "de;q=", "de;q=x", "de;q=2", "de;x=1", "q=1", "-", "\xFF\xFE"}) {
    EXPECT_EQ("en", Chosen("", header)) << header;
  }
  std::string many;
  for (int i = 0; i < 1000; ++i) many += "fr,";
  EXPECT_EQ("en", Chosen("", many + "de"));
}

TEST_F(CgiLanguage, ItStaysTheSameForAWholeRequest) {
  EXPECT_EQ("de de", CgiRequest::Get("").Set("HTTP_COOKIE", "lang=de").Run([] {
    CgiContext first, second;
    const char* const language = KestCgiGetLang(first.get());
    setenv("HTTP_COOKIE", "lang=en", 1);
    printf("%s %s", language, KestCgiGetLang(second.get()));
  }));
}

TEST_F(CgiLanguage, ANullContextHasOneToo) {
  EXPECT_EQ("en", CgiRequest::Get("").Run([] { printf("%s", KestCgiGetLang(nullptr)); }));
}

}  // namespace
