// JSON bodies that nobody sends in good faith: what counts as JSON, and what a program then finds.
#include <string>

#include "tarvel_fixture.h"

namespace tarvel_test {
namespace {

struct Row {
  int line;
  std::string body;
  bool is_json;
  const char* a;  // the member "a" as text; nullptr: no such member, or not looked at
};

std::string Nested(size_t levels) { return std::string(levels, '[') + std::string(levels, ']'); }

const Row kRows[] = {
    // The reader's limit counts containers.
    {__LINE__, Nested(1000), true, nullptr},
    {__LINE__, Nested(1001), false, nullptr},
    {__LINE__, Nested(1500), false, nullptr},
    {__LINE__, Nested(500000), false, nullptr},
    {__LINE__, std::string(500000, '['), false, nullptr},
    // A first half needs its second one; a second half alone is carried as it is.
    {__LINE__, "{\"a\": \"\\ud83d\\ude00\"}", true, "\xF0\x9F\x98\x80"},
    {__LINE__, "{\"a\": \"\\ud800\"}", false, nullptr},
    {__LINE__, "{\"a\": \"\\ud800\\u0041\"}", true, nullptr},
    {__LINE__, "{\"a\": \"\\udc00\"}", true, "\xED\xB0\x80"},
    {__LINE__, "{\"a\": \"\xFF\xC0\"}", true, "\xFF\xC0"},
    {__LINE__, "{\"a\": \"x\\u0000y\"}", true, nullptr},
    {__LINE__, "\xEF\xBB\xBF{\"a\": 1}", false, nullptr},
    {__LINE__, "{\"a\": 1, \"a\": 2}", true, "2"},
    // What stands behind the document is not looked at.
    {__LINE__, "{\"a\": 1} and more", true, "1"},
    {__LINE__, "{\"a\": 1}{\"a\": 2}", true, "1"},
    {__LINE__, "{\"a\": 1 /* c */} // c", true, "1"},
    {__LINE__, "{\"a\": ", false, nullptr},
    {__LINE__, "{\"a\": 1,}", false, nullptr},
    {__LINE__, "{'a': 1}", false, nullptr},
    {__LINE__, "[1, 2", false, nullptr},
    {__LINE__, "", false, nullptr},
    {__LINE__, " \t\r\n", false, nullptr},
    {__LINE__, "7", true, nullptr},
    {__LINE__, "null", true, nullptr},
    // Whole numbers keep every digit up to 64 bits, larger ones become floating; one without a value is none.
    {__LINE__, "{\"a\": 2147483648}", true, "2147483648"},
    {__LINE__, "{\"a\": 9007199254740993}", true, "9007199254740993"},
    {__LINE__, "{\"a\": 9223372036854775808}", true, "9223372036854775808"},
    {__LINE__, "{\"a\": -9223372036854775808}", true, "-9223372036854775808"},
    {__LINE__, "{\"a\": 18446744073709551616}", true, "1.8446744073709552e+19"},
    {__LINE__, "{\"a\": 1e400}", false, nullptr},
};

TEST_F(TarvelTest, HostileJsonIsOneOrTheOther) {
  for (const Row& row : kRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line << ": " << row.body.substr(0, 60));
    Tarvel& request = Request();
    std::string body = row.body;
    EXPECT_EQ(row.is_json, request.LoadJSONParam(body.data()));
    EXPECT_EQ(row.body, body) << "the text is not changed";
    if (row.a != nullptr) {
      const Json::Value* const document = request.In();
      ASSERT_NE(nullptr, document);
      EXPECT_EQ(row.a, (*document)["a"].asString());
    }
    EndRequest();
    Calls();
  }
}

}  // namespace
}  // namespace tarvel_test
