// Parameters in the URL and in urlencoded bodies.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cgi_request.h"

namespace {

// The request's parameters as a program sees them: "name=[value] " for each name asked for that is there.
std::string Parameters(const CgiRequest& request, const std::vector<std::string>& names) {
  return request.Run([&] {
    CgiContext context;
    char* const line = KestCgiGetParamLine();
    if (line != nullptr) KestCgiParseCGIParam(context.get(), line);
    free(line);
    for (const std::string& name : names) {
      const char* const value = KestCgiGetCGIParam(context.get(), name.c_str(), nullptr);
      if (value != nullptr) printf("%s=[%s] ", name.c_str(), value);
    }
    KestCgiPrintHTTPHeader(context.get());
  });
}

// What parsing a line gives: its result, then the refusal if any.
std::string ParseResult(const CgiRequest& request, std::string line) {
  return request.Run([&] {
    CgiContext context;
    printf("%d ", KestCgiParseCGIParam(context.get(), &line[0]));
    KestCgiPrintHTTPHeader(context.get());
  });
}

struct Row {
  int line;
  const char* query;
  const char* name;
  const char* value;  // nullptr: absent
};

const Row kDecoded[] = {
    {__LINE__, "a=foo+bar", "a", "foo bar"},
    {__LINE__, "a=%2B", "a", "+"},
    {__LINE__, "a=%2b", "a", "+"},
    {__LINE__, "a=%09", "a", "\t"},
    {__LINE__, "a=%2509", "a", "%09"},
    {__LINE__, "a=%252509", "a", "%2509"},
    {__LINE__, "a=%F8", "a", "\xF8"},
    {__LINE__, "a=%E5%AE%89", "a", "\xE5\xAE\x89"},
    {__LINE__, "a=%0D%0A", "a", "\r\n"},
    {__LINE__, "a%20b=1", "a b", "1"},
    {__LINE__, "a+b=1", "a b", "1"},
    {__LINE__, "a%3Db=c%26d", "a=b", "c&d"},
    {__LINE__, "a=%", "a", "%"},
    {__LINE__, "a=%9", "a", "%9"},
    {__LINE__, "a=% 9", "a", "% 9"},
    {__LINE__, "a=%-1", "a", "%-1"},
    {__LINE__, "a=%GG", "a", "%GG"},
    {__LINE__, "a=%2", "a", "%2"},
    {__LINE__, "a=%2&b=1", "b", "1"},
    {__LINE__, "a=%%41", "a", "%A"},
    {__LINE__, "a=%4%41", "a", "%4A"},
    {__LINE__, "a=x%", "a", "x%"},
    {__LINE__, "foo=bar&baz&foo2=bar2", "baz", ""},
    {__LINE__, "foo=bar&baz&foo2=bar2", "foo2", "bar2"},
    {__LINE__, "k=v1=v2", "k", "v1=v2"},
    {__LINE__, "a=1&a=2", "a", "1"},
    {__LINE__, "&&&", "", nullptr},
    {__LINE__, "=", "", nullptr},
    {__LINE__, "=x", "", nullptr},
    {__LINE__, "=x&a=1", "a", "1"},
    {__LINE__, "&&a=1&&", "a", "1"},
    {__LINE__, "A=1", "a", nullptr},
    {__LINE__, "a=1;b=2", "a", "1;b=2"},
    {__LINE__, "", "a", nullptr},
};

TEST(CgiParameter, EachByteOfAQueryIsDecodedOnce) {
  for (const Row& row : kDecoded) {
    const std::string expected = row.value == nullptr ? "" : std::string(row.name) + "=[" + row.value + "] ";
    EXPECT_EQ(expected + kNoRefusal, Parameters(CgiRequest::Get(row.query), {row.name}))
        << "row of line " << row.line << ": " << row.query;
  }
}

TEST(CgiParameter, ABodyIsDecodedLikeAQuery) {
  for (const Row& row : kDecoded) {
    const std::string expected = row.value == nullptr ? "" : std::string(row.name) + "=[" + row.value + "] ";
    EXPECT_EQ(expected + kNoRefusal, Parameters(CgiRequest::Post(row.query), {row.name}))
        << "row of line " << row.line << ": " << row.query;
  }
}

TEST(CgiParameter, ANulInANameOrValueRefusesTheRequest) {
  for (const char* query : {"a=%00", "a=x%00y", "%00=1", "b=1&a%00=1", "a=%2500%00"}) {
    EXPECT_EQ(RefusalBlock("400 Bad Request", "nul_byte"), Parameters(CgiRequest::Get(query), {"a", "b"})) << query;
  }
}

TEST(CgiParameter, ARawNulInABodyRefusesTheRequest) {
  EXPECT_EQ(RefusalBlock("400 Bad Request", "nul_byte"),
            Parameters(CgiRequest::Post(std::string("a=1\0&b=2", 8)), {"a", "b"}));
}

TEST(CgiParameter, TheBodyWinsOverTheUrl) {
  CgiRequest request = CgiRequest::Post("a=body&b=1");
  request.Set("QUERY_STRING", "a=url&c=2");
  EXPECT_EQ(std::string("a=[body] b=[1] c=[2] ") + kNoRefusal, Parameters(request, {"a", "b", "c"}));
}

TEST(CgiParameter, TheUrlIsDecodedOncePerContext) {
  EXPECT_EQ("3 1", CgiRequest::Post("").Set("QUERY_STRING", "b=1&c=1").Run([] {
    CgiContext context;
    std::string line = "a=1";
    printf("%d ", KestCgiParseCGIParam(context.get(), &line[0]));
    printf("%d", KestCgiParseCGIParam(context.get(), &line[0]));
  }));
}

TEST(CgiParameter, ARefusedUrlLeavesNothingOfTheBody) {
  CgiRequest request = CgiRequest::Post("a=1");
  EXPECT_EQ(RefusalBlock("400 Bad Request", "nul_byte"), Parameters(request.Set("QUERY_STRING", "b=%00"), {"a", "b"}));
}

TEST(CgiParameter, APostWithoutABodyStillHasItsUrl) {
  CgiRequest request = CgiRequest::Post("");
  request.Set("QUERY_STRING", "a=url").Unset("CONTENT_LENGTH");
  EXPECT_EQ(std::string("a=[url] ") + kNoRefusal, Parameters(request, {"a"}));
}

TEST(CgiParameter, TheContentTypeDoesNotMatterForAPlainBody) {
  for (const char* type : {"application/x-www-form-urlencoded;charset=UTF-8", "APPLICATION/X-WWW-FORM-URLENCODED",
                           "application/x-www-form-urlencoded;", "text/plain", ""}) {
    EXPECT_EQ(std::string("a=[1] ") + kNoRefusal, Parameters(CgiRequest::Post("a=1", type), {"a"})) << type;
  }
  CgiRequest without = CgiRequest::Post("a=1");
  EXPECT_EQ(std::string("a=[1] ") + kNoRefusal, Parameters(without.Unset("CONTENT_TYPE"), {"a"}));
}

TEST(CgiParameter, ThousandParametersAreTakenAndOneMoreIsRefused) {
  std::string line = "n0=x";
  for (int i = 1; i < 1000; ++i) line += "&n" + std::to_string(i) + "=x";
  EXPECT_EQ(std::string("1000 ") + kNoRefusal, ParseResult(CgiRequest::Get(""), line));
  EXPECT_EQ("-1 " + RefusalBlock("413 Content Too Large", "too_many_parameters"),
            ParseResult(CgiRequest::Get(""), line + "&m=x"));
}

TEST(CgiParameter, TenThousandParametersAreRefusedAndNoneIsKept) {
  std::string body;
  for (int i = 0; i < 10000; ++i) body += "n" + std::to_string(i) + "=x&";
  EXPECT_EQ(RefusalBlock("413 Content Too Large", "too_many_parameters"),
            Parameters(CgiRequest::Post(body), {"n0", "n9999"}));
}

TEST(CgiParameter, ANameOf256BytesIsTakenAndALongerOneIsRefused) {
  const std::string longest(256, 'n');
  EXPECT_EQ(longest + "=[1] " + kNoRefusal, Parameters(CgiRequest::Get(longest + "=1"), {longest}));
  EXPECT_EQ(RefusalBlock("413 Content Too Large", "name_too_long"),
            Parameters(CgiRequest::Get("a=1&" + longest + "n=1"), {"a"}));
  // The limit is one of decoded bytes.
  std::string escaped;
  for (int i = 0; i < 256; ++i) escaped += "%6e";
  EXPECT_EQ(longest + "=[1] " + kNoRefusal, Parameters(CgiRequest::Get(escaped + "=1"), {longest}));
}

TEST(CgiParameter, ANameOfOneMegabyteIsRefused) {
  const std::string body = std::string(1024 * 1024 - 2, 'n') + "=1";
  EXPECT_EQ(RefusalBlock("413 Content Too Large", "name_too_long"), Parameters(CgiRequest::Post(body), {"n"}));
}

TEST(CgiParameter, ParsingAddsBehindWhatIsThere) {
  EXPECT_EQ("1 2 [1] [2] [3]", CgiRequest::Get("").Run([] {
    CgiContext context;
    std::string first = "a=1", second = "a=9&b=2", third = "c=3";
    printf("%d ", KestCgiParseCGIParam(context.get(), &first[0]));
    printf("%d", KestCgiParseCGIParam(context.get(), &second[0]));
    KestCgiParseCGIParam(context.get(), &third[0]);
    first = second = third = "gone";
    for (const char* name : {"a", "b", "c"}) printf(" [%s]", KestCgiGetCGIParam(context.get(), name, "?"));
  }));
}

TEST(CgiParameter, TheLineIsNotChangedByParsingIt) {
  std::string line = "a=%41&b";
  CgiContext context;
  EXPECT_EQ(2, KestCgiParseCGIParam(context.get(), &line[0]));
  EXPECT_EQ("a=%41&b", line);
}

TEST(CgiParameter, ValuesStayValidWhileMoreIsParsed) {
  CgiContext context;
  std::string line = "a=first";
  KestCgiParseCGIParam(context.get(), &line[0]);
  const char* const value = KestCgiGetCGIParam(context.get(), "a", nullptr);
  for (int i = 0; i < 100; ++i) {
    std::string more = "n" + std::to_string(i) + "=" + std::string(1000, 'x');
    KestCgiParseCGIParam(context.get(), &more[0]);
  }
  EXPECT_STREQ("first", value);
}

TEST(CgiParameter, AnAbsentNameGivesTheDefaultItself) {
  CgiContext context;
  const char def[] = "default";
  EXPECT_EQ(def, KestCgiGetCGIParam(context.get(), "a", def));
  EXPECT_EQ(nullptr, KestCgiGetCGIParam(context.get(), "a", nullptr));
}

TEST(CgiParameter, NullArgumentsFail) {
  CgiContext context;
  char line[] = "a=1";
  EXPECT_LT(KestCgiParseCGIParam(nullptr, line), 0);
  EXPECT_LT(KestCgiParseCGIParam(context.get(), nullptr), 0);
  EXPECT_STREQ("d", KestCgiGetCGIParam(nullptr, "a", "d"));
  EXPECT_STREQ("d", KestCgiGetCGIParam(context.get(), nullptr, "d"));
  EXPECT_LT(KestCgiInit("", nullptr), 0);
  KestCgiFree(nullptr);
}

TEST(CgiParameter, AReleasedContextStillGivesDefaults) {
  KESTCGI context;
  ASSERT_EQ(0, KestCgiInit("", &context));
  KestCgiFree(&context);
  EXPECT_STREQ("d", KestCgiGetCGIParam(&context, "a", "d"));
  EXPECT_EQ(0, KestCgiPrintHTTPHeader(&context));
  KestCgiFree(&context);
}

}  // namespace
