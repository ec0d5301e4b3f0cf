// Cookies in and out.
#include <gtest/gtest.h>

#include <string>

#include "cgi_request.h"

namespace {

// The cookie's value in brackets, or "none".
std::string Cookie(const std::string& header, const std::string& name) {
  return CgiRequest::Get("").Set("HTTP_COOKIE", header).Run([&] {
    CgiContext context;
    KestCgiLoadInCookies(context.get());
    const char* const value = KestCgiGetInCookies(context.get(), name.c_str(), nullptr);
    printf(value == nullptr ? "none" : "[%s]", value);
  });
}

// The header block of a reply with one cookie, or "refused".
std::string SetCookie(const char* name, const char* value, const char* expires = nullptr, const char* path = nullptr,
                      const char* domain = nullptr, const char* secure = nullptr) {
  return CgiRequest::Get("").Run([=] {
    CgiContext context;
    const int result = KestCgiSetCookies(context.get(), name, value, expires, path, domain, secure);
    if (result != 1) printf("refused(%d)", result);
    KestCgiPrintHTTPHeader(context.get());
  });
}

struct Row {
  int line;
  const char* header;
  const char* name;
  const char* expected;
};

TEST(CgiCookie, AHeaderIsTakenApartAtItsSemicolons) {
  const Row rows[] = {
      {__LINE__, "a=1;b=2; c=3", "a", "[1]"},
      {__LINE__, "a=1;b=2; c=3", "b", "[2]"},
      {__LINE__, "a=1;b=2; c=3", "c", "[3]"},
      {__LINE__, "id=1; idx=2; xid=3", "id", "[1]"},
      {__LINE__, "idx=2; xid=3", "id", "none"},
      {__LINE__, "a", "a", "none"},
      {__LINE__, "a; b=2", "b", "[2]"},
      {__LINE__, "", "a", "none"},
      {__LINE__, ";;;", "", "none"},
      {__LINE__, ";;;a=1;;", "a", "[1]"},
      {__LINE__, "=1", "", "none"},
      {__LINE__, "a=", "a", "[]"},
      {__LINE__, "a=\"quoted\"", "a", "[quoted]"},
      {__LINE__, "a=\"", "a", "[\"]"},
      {__LINE__, "a=\"\"", "a", "[]"},
      {__LINE__, "a=\"x", "a", "[\"x]"},
      {__LINE__, "a=b=c", "a", "[b=c]"},
      {__LINE__, "  a  =  1  ", "a", "[1]"},
      {__LINE__, "a=\xC3\xA4\xFF", "a", "[\xC3\xA4\xFF]"},
      {__LINE__, "a=first; a=second", "a", "[first]"},
      {__LINE__, "A=1", "a", "none"},
      {__LINE__, "a=%41+b", "a", "[%41+b]"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(row.expected, Cookie(row.header, row.name)) << "row of line " << row.line << ": " << row.header;
  }
}

TEST(CgiCookie, WithoutAHeaderThereAreNone) {
  EXPECT_EQ("0 d", CgiRequest::Get("").Run([] {
    CgiContext context;
    printf("%d ", KestCgiLoadInCookies(context.get()));
    printf("%s", KestCgiGetInCookies(context.get(), "a", "d"));
  }));
}

TEST(CgiCookie, MoreThanTwoHundredAreCutOffWithoutRefusal) {
  std::string header;
  for (int i = 0; i < 300; ++i) header += "c" + std::to_string(i) + "=v;";
  EXPECT_EQ("[v]", Cookie(header, "c199"));
  EXPECT_EQ("none", Cookie(header, "c200"));
}

TEST(CgiCookie, ReadingAgainReplacesWhatWasRead) {
  EXPECT_EQ("2 2 [1] 1 [none]", CgiRequest::Get("").Set("HTTP_COOKIE", "a=1;b=2").Run([] {
    CgiContext context;
    printf("%d ", KestCgiLoadInCookies(context.get()));
    printf("%d ", KestCgiLoadInCookies(context.get()));
    const char* const kept = KestCgiGetInCookies(context.get(), "a", "");
    setenv("HTTP_COOKIE", "b=9", 1);
    const int count = KestCgiLoadInCookies(context.get());
    // A value handed out before stays valid.
    printf("[%s] %d [%s]", kept, count, KestCgiGetInCookies(context.get(), "a", "none"));
  }));
}

TEST(CgiCookie, ReadingAgainKnowsTheCookiesOfThisReply) {
  EXPECT_EQ("[new][2][gone]", CgiRequest::Get("").Set("HTTP_COOKIE", "id=old;b=2;c=3").Run([] {
    CgiContext context;
    KestCgiLoadInCookies(context.get());
    KestCgiSetCookies(context.get(), "id", "newer", nullptr, nullptr, nullptr, nullptr);
    KestCgiSetCookies(context.get(), "id", "new", nullptr, nullptr, nullptr, nullptr);
    KestCgiSetCookies(context.get(), "c", "", "Thu, 01 Jan 1970 00:00:00 GMT", nullptr, nullptr, nullptr);
    KestCgiLoadInCookies(context.get());
    for (const char* name : {"id", "b", "c"}) printf("[%s]", KestCgiGetInCookies(context.get(), name, "gone"));
  }));
}

TEST(CgiCookie, EachAttributeIsSentWhenGiven) {
  EXPECT_EQ("Set-Cookie: a=1\r\n\r\n", SetCookie("a", "1"));
  EXPECT_EQ("Set-Cookie: a=\r\n\r\n", SetCookie("a", ""));
  EXPECT_EQ("Set-Cookie: a=1; Path=/x\r\n\r\n", SetCookie("a", "1", nullptr, "/x"));
  EXPECT_EQ("Set-Cookie: a=1; Domain=nas.example\r\n\r\n", SetCookie("a", "1", nullptr, nullptr, "nas.example"));
  EXPECT_EQ("Set-Cookie: a=1; Secure\r\n\r\n", SetCookie("a", "1", nullptr, nullptr, nullptr, "1"));
  EXPECT_EQ("Set-Cookie: a=1; Expires=Thu, 01 Jan 1970 00:00:00 GMT; Path=/; Domain=d; Secure\r\n\r\n",
            SetCookie("a", "1", "Thu, 01 Jan 1970 00:00:00 GMT", "/", "d", "secure"));
}

TEST(CgiCookie, NothingThatCouldBreakTheHeaderIsSent) {
  const std::string refused = std::string("refused(0)") + kNoRefusal;
  for (const char* value :
       {"a\rb", "a\nb", "a\r\nX: y", "a;b", "a b", "a,b", "a\"b", "a\\b", "a\tb", "\x7f", "\xC3\xA4"}) {
    EXPECT_EQ(refused, SetCookie("a", value)) << value;
  }
  for (const char* name : {"", "a b", "a=b", "a;b", "a\r\nb", "a\xC3\xA4", "a,b", "a:b", "\"a\""}) {
    EXPECT_EQ(refused, SetCookie(name, "1")) << name;
  }
  for (const char* attribute : {"/\r\nX: y", "/\n", "/; Secure", "/\x01"}) {
    EXPECT_EQ(refused, SetCookie("a", "1", attribute)) << attribute;
    EXPECT_EQ(refused, SetCookie("a", "1", nullptr, attribute)) << attribute;
    EXPECT_EQ(refused, SetCookie("a", "1", nullptr, nullptr, attribute)) << attribute;
  }
  EXPECT_EQ(refused, SetCookie("a", std::string(8000, 'x').c_str()));
}

TEST(CgiCookie, ARefusedCookieIsNotKnownEither) {
  EXPECT_EQ("none", CgiRequest::Get("").Run([] {
    CgiContext context;
    KestCgiSetCookies(context.get(), "a", std::string(8000, 'x').c_str(), nullptr, nullptr, nullptr, nullptr);
    KestCgiSetCookies(context.get(), "a", "1;", nullptr, nullptr, nullptr, nullptr);
    KestCgiLoadInCookies(context.get());
    printf("%s", KestCgiGetInCookies(context.get(), "a", "none"));
  }));
}

TEST(CgiCookie, NullArgumentsFail) {
  CgiContext context;
  EXPECT_EQ(0, KestCgiSetCookies(context.get(), nullptr, "1", nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(0, KestCgiSetCookies(context.get(), "a", nullptr, nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(0, KestCgiSetCookies(nullptr, "a", "1", nullptr, nullptr, nullptr, nullptr));
  EXPECT_LT(KestCgiLoadInCookies(nullptr), 0);
  EXPECT_STREQ("d", KestCgiGetInCookies(nullptr, "a", "d"));
  EXPECT_STREQ("d", KestCgiGetInCookies(context.get(), nullptr, "d"));
}

}  // namespace
