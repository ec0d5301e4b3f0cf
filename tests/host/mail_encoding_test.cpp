#include "host/mail/mail_encoding.h"

#include <gtest/gtest.h>

#include "host/mail/mail_address.h"
#include "host/mail/mail_template.h"

namespace kest {
namespace {

// RFC 4648 section 10.
TEST(MailEncodingTest, Base64IsThatOfTheRfc) {
  const char* const rows[][2] = {{"", ""},
                                 {"f", "Zg=="},
                                 {"fo", "Zm8="},
                                 {"foo", "Zm9v"},
                                 {"foob", "Zm9vYg=="},
                                 {"fooba", "Zm9vYmE="},
                                 {"foobar", "Zm9vYmFy"},
                                 {"\xFB\xFF\xFE", "+//+"}};
  for (const auto& row : rows) EXPECT_EQ(row[1], Base64(row[0])) << row[0];
}

TEST(MailEncodingTest, APlainHeaderStandsAsItIs) {
  EXPECT_EQ("Subject: Your account\n", HeaderLine("Subject", "Your account"));
  EXPECT_EQ("Subject: \n", HeaderLine("Subject", ""));
}

TEST(MailEncodingTest, AHeaderThatIsNotAsciiIsEncoded) {
  EXPECT_EQ("Subject: =?UTF-8?B?w7w=?=\n", HeaderLine("Subject", "\xC3\xBC"));
  EXPECT_EQ("Subject: =?UTF-8?B?PT9VVEYtOD9CP3h4Pz0=?=\n", HeaderLine("Subject", "=?UTF-8?B?xx?=")) << "looks encoded";
}

TEST(MailEncodingTest, ALongHeaderIsFoldedBetweenCharacters) {
  std::string text;
  for (int i = 0; i < 40; ++i) text += "a\xE2\x82\xAC";
  const std::string header = HeaderLine("Subject", text);
  size_t words = 0;
  for (size_t start = 0; start < header.size();) {
    const size_t end = header.find('\n', start);
    EXPECT_GE(76u, end - start);
    EXPECT_EQ("?=", header.substr(end - 2, 2));
    EXPECT_EQ(0u, header.find("=?UTF-8?B?", start) - start - (start == 0 ? 9 : 1))
        << "a continued line begins with a blank";
    start = end + 1;
    ++words;
  }
  EXPECT_EQ(5u, words) << "160 bytes, 32 whole ones of at most 33 each";
}

TEST(MailEncodingTest, NoTextLeavesItsHeader) {
  EXPECT_EQ("Subject: a  Bcc: eve@example.org\n", HeaderLine("Subject", "a\r\nBcc: eve@example.org"));
  EXPECT_EQ("Subject: a b c d\n", HeaderLine("Subject",
                                             "a\nb\tc\x7f"
                                             "d"));
}

TEST(MailEncodingTest, ABodyHasShortLinesAndNetworkLineEnds) {
  EXPECT_EQ("YQ0KYg0K\n", EncodedBody("a\nb\n"));
  EXPECT_EQ("YQ0KYg0K\n", EncodedBody("a\r\nb\r\n"));
  const std::string body = EncodedBody(std::string(200, 'x'));
  EXPECT_EQ(76u, body.find('\n'));
  EXPECT_EQ('\n', body.back());
  EXPECT_EQ("", EncodedBody(""));
}

TEST(MailEncodingTest, BytesThatAreNoUtf8AreReplaced) {
  EXPECT_EQ("a\xEF\xBF\xBDz", AsUtf8("a\xFFz"));
  EXPECT_EQ("\xEF\xBF\xBD", AsUtf8("\xC3")) << "half a character";
  EXPECT_EQ("\xEF\xBF\xBD\xEF\xBF\xBD", AsUtf8("\xC0\xAF")) << "an overlong slash";
  EXPECT_EQ("\xC3\xBC\xF0\x9F\x98\x80", AsUtf8("\xC3\xBC\xF0\x9F\x98\x80"));
}

TEST(MailAddressTest, IsOneNameAtOneHost) {
  for (const char* address : {"anna@example.org", "a.b+c@x-y.example", "root@localhost", "o'neil@example.org", "1@2"}) {
    EXPECT_TRUE(IsMailAddress(address)) << address;
  }
}

TEST(MailAddressTest, NothingElseIsOne) {
  for (const char* text :
       {"",      "anna",   "@",    "a@",    "@b",         "a@b@c",         "a@b,c@d",    "a@b c@d",    "a@b\nBcc: c@d",
        "a@b\r", " a@b",   "a@b ", "<a@b>", "Anna <a@b>", "\"a b\"@c",     "a;b@c",      "a:b@c",      ".a@b",
        "a.@b",  "a..b@c", "a@.b", "a@b.",  "a@b..c",     "a@[127.0.0.1]", "\xC3\xBC@b", "a@\xC3\xBC", "a\\@b",
        "(a)@b", "a@b_c"}) {
    EXPECT_FALSE(IsMailAddress(text)) << text;
  }
}

TEST(MailAddressTest, HasABound) {
  EXPECT_TRUE(IsMailAddress(std::string(64, 'a') + "@" + std::string(189, 'b')));
  EXPECT_FALSE(IsMailAddress(std::string(64, 'a') + "@" + std::string(190, 'b')));
  EXPECT_FALSE(IsMailAddress(std::string(65, 'a') + "@b"));
}

TEST(MailTemplateTest, IsASubjectAnEmptyLineAndABody) {
  MailText text;
  ASSERT_TRUE(ParseMailTemplate("Subject: Hello %A%\n\nfirst\nlast\n", &text));
  EXPECT_EQ("Hello %A%", text.subject);
  EXPECT_EQ("first\nlast\n", text.body);
  ASSERT_TRUE(ParseMailTemplate("\xEF\xBB\xBFSubject:  x \r\n\r\nb\r\n", &text)) << "as other systems' editors write";
  EXPECT_EQ("x", text.subject);
}

TEST(MailTemplateTest, AnythingElseIsNone) {
  MailText text = {"s", "b"};
  for (const char* other : {"", "\n", "Subject: x", "Subject: x\n", "Subject: x\n\n", "Subject: x\n\n \n",
                            "Subject:\n\nb\n", "Subject: x\nTo: y\n\nb\n", "subject: x\n\nb\n", "b\n"}) {
    EXPECT_FALSE(ParseMailTemplate(other, &text)) << other;
  }
  EXPECT_EQ("s", text.subject);
  EXPECT_EQ("b", text.body);
}

TEST(MailTemplateTest, PlaceholdersGetTheirValues) {
  const std::map<std::string, std::string> values = {{"%A%", "1"}, {"%B%", "%A%"}, {"%E%", ""}};
  EXPECT_EQ("1", WithValues("%A%", values));
  EXPECT_EQ("x1y1z", WithValues("x%A%y%A%z", values));
  EXPECT_EQ("%A%", WithValues("%B%", values)) << "a value is not looked through again";
  EXPECT_EQ("", WithValues("%E%", values));
  EXPECT_EQ("%C% 100% %", WithValues("%C% 100% %", values)) << "unknown ones stand";
  EXPECT_EQ("100%1", WithValues("100%%A%", values));
  EXPECT_EQ("%C1", WithValues("%C%A%", values));
  EXPECT_EQ("", WithValues("", values));
}

}  // namespace
}  // namespace kest
