// What a program asks of its server: names, URLs, conditional replies, mail, zones.

#include <cerrno>
#include <climits>
#include <cstring>
#include <string>
#include <vector>

#include "support/environment.h"
#include "support/mock_kestcgi.h"
#include "support/mock_kestnet.h"
#include "support/mock_klib.h"
#include "support/platform_test.h"
#include "webutils.h"

namespace tarvel_test {
namespace {

using ::testing::_;
using ::testing::AnyNumber;
using ::testing::ElementsAre;
using ::testing::InSequence;
using ::testing::IsEmpty;
using ::testing::IsNull;
using ::testing::NotNull;
using ::testing::Return;
using ::testing::StrEq;

using Texts = std::vector<std::string>;

class ServerTest : public PlatformTest {
 protected:
  MockKestNet& net() { return net_; }

 private:
  ::testing::StrictMock<MockKestNet> net_;
};

class ServerNameTest : public ServerTest {};

TEST_F(ServerNameTest, IsTheHostsName) {
  EXPECT_EQ("nas-of-the-tests", WebUtils::GetServerName());
  EXPECT_THAT(Calls(), ElementsAre("gethostname 256"));
}

TEST_F(ServerNameTest, IsEmptyAndLoggedWhenTheSystemDoesNotTell) {
  machine().FailNext("gethostname", EFAULT);
  EXPECT_EQ("", WebUtils::GetServerName());
  ExpectLogged("webutils:GetServerName(#): getting hostname error.");
}

class DomainTest : public ServerTest {
 protected:
  // The settings name a domain, or a workgroup, as the flags say.
  void Settings(const char* name, int flag_a, int flag_b, int result, bool both) {
    EXPECT_CALL(net(), WINIQuery1(NotNull(), 64, NotNull(), _)).WillOnce([=](char* out, int, int* first, int* second) {
      EXPECT_EQ(std::string(64, '\0'), std::string(out, 64));
      EXPECT_EQ(0, *first);
      EXPECT_EQ(both, second != nullptr);
      std::strcpy(out, name);
      *first = flag_a;
      if (second == nullptr) return result;
      EXPECT_EQ(0, *second);
      *second = flag_b;
      return result;
    });
  }

  std::string domain_ = "as before";
};

TEST_F(DomainTest, ItsNameIsTheSettingsWhenThereIsOne) {
  for (const int flag : {1, 2, -1}) {
    for (const int result : {0, 1}) {
      Settings("OFFICE", flag, 0, result, false);
      EXPECT_EQ("OFFICE", WebUtils::GetDomainName());
    }
  }
}

TEST_F(DomainTest, AWorkgroupIsNone) {
  Settings("WORKGROUP", 0, 1, 0, false);
  EXPECT_EQ("", WebUtils::GetDomainName());
}

TEST_F(DomainTest, SettingsThatCannotBeReadNameNone) {
  Settings("OFFICE", 1, 1, -1, false);
  EXPECT_EQ("", WebUtils::GetDomainName());
}

TEST_F(DomainTest, TheServerIsJoinedWhenTheTestSaysSo) {
  for (const int answer : {0, 1, -1}) {
    domain_ = "as before";
    Settings("OFFICE", -1, 2, 1, true);
    EXPECT_CALL(net(), KESTWinADSJoined()).WillOnce(Return(4711));
    EXPECT_CALL(net(), KESTWinTestJoin(4711)).WillOnce(Return(answer));
    EXPECT_EQ(answer == 0, WebUtils::IsJoinDomain(domain_));
    EXPECT_EQ("OFFICE", domain_);
    EXPECT_THAT(Calls(), ElementsAre("WINIQuery1", "KESTWinADSJoined", "KESTWinTestJoin"));
  }
}

TEST_F(DomainTest, WithoutBothFlagsNothingIsTestedAndTheNameIsTold) {
  const int flags[][2] = {{0, 0}, {1, 0}, {0, 1}};
  for (const auto& pair : flags) {
    domain_ = "as before";
    Settings("OFFICE", pair[0], pair[1], 0, true);
    EXPECT_FALSE(WebUtils::IsJoinDomain(domain_));
    EXPECT_EQ("OFFICE", domain_);
    EXPECT_THAT(Calls(), ElementsAre("WINIQuery1"));
  }
}

TEST_F(DomainTest, SettingsThatCannotBeReadLeaveTheName) {
  for (const int result : {-1, INT_MIN}) {
    Settings("OFFICE", 1, 1, result, true);
    EXPECT_FALSE(WebUtils::IsJoinDomain(domain_));
    EXPECT_EQ("as before", domain_);
  }
}

TEST_F(DomainTest, AnAccountOfItHasABackslashInItsName) {
  for (const char* name : {"OFFICE\\anna", "\\", "a\\", "\\a"}) EXPECT_TRUE(WebUtils::IsDomainObject(name)) << name;
  for (const char* name : {"anna", "", "OFFICE/anna", "anna@office"}) EXPECT_FALSE(WebUtils::IsDomainObject(name));
}

struct UrlRow {
  int line;
  const char* host;
  bool https;
  const char* port;
  const char* url;
};

constexpr UrlRow kUrlRows[] = {
    {__LINE__, "nas:5000", true, "5001", "https://nas:5001"}, {__LINE__, "nas", true, "5001", "https://nas:5001"},
    {__LINE__, "nas:5000", false, "80", "http://nas:80"},     {__LINE__, "nas", false, "", "http://nas:"},
    {__LINE__, "nas", false, "x y%d", "http://nas:x y%d"},    {__LINE__, "", false, "80", "http://:80"},
    {__LINE__, ":5000", true, "80", "https://:80"},           {__LINE__, "a:b:c", true, "80", "https://a:80"},
    {__LINE__, "[::1]:5000", true, "80", "https://[:80"},
};

class UrlTest : public ServerTest {};

TEST_F(UrlTest, IsTheBrowsersHostOnAnotherPort) {
  for (const UrlRow& row : kUrlRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line);
    const Variable host("HTTP_HOST", row.host);
    std::string url = "as before", port = row.port;
    EXPECT_TRUE(WebUtils::GetURLByProtocol(url, row.https, port.data()));
    EXPECT_EQ(row.url, url);
    EXPECT_STREQ(row.host, std::getenv("HTTP_HOST"));
    EXPECT_EQ(row.port, port);
  }
}

TEST_F(UrlTest, WithoutAHostThereIsNone) {
  const Variable host("HTTP_HOST", nullptr);
  std::string url = "as before";
  char port[] = "80";
  EXPECT_FALSE(WebUtils::GetURLByProtocol(url, true, port));
  ExpectLogged("webutils (#) Can't find HTTP_HOST in env");
  EXPECT_EQ("as before", url);
}

class EntityTagTest : public ServerTest {
 protected:
  void Hashes(const std::string& text, std::vector<unsigned char> digest, int result = 0) {
    EXPECT_CALL(klib(), KLIBSmbMd4Hash(StrEq(text), NotNull(), 16))
        .WillOnce([digest, result](const char*, unsigned char* out, int) {
          std::copy(digest.begin(), digest.end(), out);
          return result;
        });
  }

  const std::vector<unsigned char> small_ = std::vector<unsigned char>(16, 0);
  const std::vector<unsigned char> mixed_ = {0x00, 0x01, 0x0f, 0x10, 0xff, 0x80, 0x7f, 0x0a,
                                             0xab, 0xcd, 0xef, 0x02, 0x99, 0x00, 0xf0, 0x11};
  Variable script_{"SCRIPT_NAME", "/cgi/list.cgi"};
  Variable query_{"QUERY_STRING", nullptr};
  Variable known_{"HTTP_IF_NONE_MATCH", nullptr};
};

TEST_F(EntityTagTest, BytesAreWrittenInOrderWithoutLeadingZeros) {
  Hashes("/cgi/list.cgi?", mixed_);
  EXPECT_EQ("01f10-ff807fa-abcdef2-990f011", WebUtils::CreateCGIETag());
  Hashes("/cgi/list.cgi?", small_);
  EXPECT_EQ("0000-0000-0000-0000", WebUtils::CreateCGIETag());
  Hashes("/cgi/list.cgi?", std::vector<unsigned char>(16, 0xfe));
  EXPECT_EQ("fefefefe-fefefefe-fefefefe-fefefefe", WebUtils::CreateCGIETag());
}

TEST_F(EntityTagTest, TheQueryIsPartOfTheAddress) {
  query_.Set("a=1&b=%20");
  Hashes("/cgi/list.cgi?a=1&b=%20", small_);
  WebUtils::CreateCGIETag();
  query_.Set("");
  Hashes("/cgi/list.cgi?", small_);
  WebUtils::CreateCGIETag();
  script_.Set("");
  Hashes("?", small_);
  WebUtils::CreateCGIETag();
}

TEST_F(EntityTagTest, OfTheAddress255BytesCount) {
  query_.Set(std::string(300, 'q').c_str());
  Hashes("/cgi/list.cgi?" + std::string(255 - 14, 'q'), small_);
  EXPECT_EQ("0000-0000-0000-0000", WebUtils::CreateCGIETag());
}

TEST_F(EntityTagTest, WithoutAScriptThereIsNone) {
  script_.Set(nullptr);
  EXPECT_EQ("", WebUtils::CreateCGIETag());
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(EntityTagTest, WithoutADigestThereIsNone) {
  for (const int result : {1, -1}) {
    Hashes("/cgi/list.cgi?", mixed_, result);
    EXPECT_EQ("", WebUtils::CreateCGIETag());
  }
}

TEST_F(EntityTagTest, ABrowserThatHasItIsToldSo) {
  known_.Set("01f10-ff807fa-abcdef2-990f011");
  EXPECT_TRUE(WebUtils::OutputNotModifiedIfMatch("01f10-ff807fa-abcdef2-990f011"));
  EXPECT_EQ("Status: 304 Not Modified\r\nETag: 01f10-ff807fa-abcdef2-990f011\r\n\r\n", Printed());
}

TEST_F(EntityTagTest, AnyOtherTextOfTheBrowserIsNotIt) {
  for (const char* known : {"\"abc\"", "W/\"abc\"", "*", "abc, def", "ABC", "abc ", "", "ab", "abcd"}) {
    known_.Set(known);
    EXPECT_FALSE(WebUtils::OutputNotModifiedIfMatch("abc")) << known;
  }
  known_.Set(nullptr);
  EXPECT_FALSE(WebUtils::OutputNotModifiedIfMatch("abc"));
  EXPECT_EQ("", Printed());
}

TEST_F(EntityTagTest, AnEmptyOneIsNone) {
  known_.Set("");
  EXPECT_FALSE(WebUtils::OutputNotModifiedIfMatch(""));
}

class UserMailTest : public ServerTest {
 protected:
  void ExpectAllocated() { EXPECT_CALL(klib(), PshKLIBSzHashAlloc(512)).WillOnce(Return(hash_)); }
  void ExpectTexts() {
    EXPECT_CALL(cgi(), KestCgiInit(StrEq("/usr/kest/kestman/tarvel"), _));
    EXPECT_CALL(cgi(), KestCgiLoadText(_, ElementsAre(StrEq("common"), IsNull(), IsNull(), IsNull(), IsNull(), IsNull(),
                                                      IsNull())));
  }
  void ExpectSent(const std::string& password, int result = 0) {
    EXPECT_CALL(klib(), KLIBSzHashSetValue(hash_, StrEq("%USER_NAME%"), StrEq("anna"))).WillOnce(Return(result));
    EXPECT_CALL(klib(), KLIBSzHashSetValue(hash_, StrEq("%PASSWD%"), StrEq(password))).WillOnce(Return(result));
    EXPECT_CALL(net(), KESTMailSendEventToUser(StrEq("NewUser"), hash_, StrEq("anna@example.org")))
        .WillOnce(Return(result));
  }
  void Send(const std::string& password) {
    WebUtils::SendUserInfoMail("anna", password, "anna@example.org", "NewUser");
  }

 private:
  char block_ = 0;
  PSZHASH hash_ = reinterpret_cast<PSZHASH>(&block_);
};

TEST_F(UserMailTest, NameAndPasswordAreSent) {
  ExpectAllocated();
  ExpectTexts();
  ExpectSent("secret");
  Send("secret");
  EXPECT_THAT(Calls(), ElementsAre("PshKLIBSzHashAlloc", "KestCgiInit", "KestCgiLoadText", "KLIBSzHashSetValue",
                                   "KLIBSzHashSetValue", "KESTMailSendEventToUser", "KLIBSzHashFree", "KestCgiFree"));
}

TEST_F(UserMailTest, WithoutAPasswordATextSaysSo) {
  ExpectAllocated();
  ExpectTexts();
  const std::string text(300, 't');
  EXPECT_CALL(cgi(), KestCgiGetText(_, StrEq("no_pw"), StrEq(""))).WillOnce(Return(text.c_str()));
  ExpectSent(text);
  Send("");
}

TEST_F(UserMailTest, APasswordHas254BytesAtMost) {
  for (const size_t length : {254U, 255U, 1000U}) {
    ExpectAllocated();
    ExpectTexts();
    ExpectSent(std::string(254, 'p'));
    Send(std::string(length, 'p'));
    ::testing::Mock::VerifyAndClearExpectations(&cgi());
    EXPECT_CALL(cgi(), KestCgiFree(_)).Times(AnyNumber());
  }
}

TEST_F(UserMailTest, FailuresAreNotTold) {
  ExpectAllocated();
  ExpectTexts();
  ExpectSent("secret", -1);
  Send("secret");
}

TEST_F(UserMailTest, WithoutARecipientNothingIsDone) {
  WebUtils::SendUserInfoMail("anna", "secret", "", "NewUser");
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(UserMailTest, WithoutMemoryNothingIsDone) {
  EXPECT_CALL(klib(), PshKLIBSzHashAlloc(512)).WillOnce(Return(nullptr));
  Send("secret");
  EXPECT_THAT(Calls(), ElementsAre("PshKLIBSzHashAlloc"));
}

class TimeZoneTest : public ServerTest {
 protected:
  // The platform needs so many bytes and delivers these names.
  void Zones(int first_result, int needed, const Texts& names, int count) {
    InSequence in_order;
    EXPECT_CALL(net(), KESTZoneEnum(nullptr, 0, NotNull())).WillOnce([=](char*, int, int* size) {
      EXPECT_EQ(0, *size);
      *size = needed;
      return first_result;
    });
    EXPECT_CALL(net(), KESTZoneEnum(NotNull(), needed, NotNull())).WillOnce([=](char* buf, int, int*) {
      char** const table = reinterpret_cast<char**>(static_cast<void*>(buf));
      char* text = buf + names.size() * sizeof(char*);
      for (size_t i = 0; i < names.size(); ++i) {
        table[i] = text;
        text = stpcpy(text, names[i].c_str()) + 1;
      }
      return count;
    });
  }
};

TEST_F(TimeZoneTest, NamesAreListedInOrder) {
  for (const int first : {-1, 0, 3}) {
    Zones(first, 200, {"Europe/Berlin", "", "Asia/Taipei"}, 3);
    EXPECT_EQ((Texts{"Europe/Berlin", "", "Asia/Taipei"}), WebUtils::EnumTimeZones());
    EXPECT_THAT(Calls(), ElementsAre("KESTZoneEnum", "malloc 200", "KESTZoneEnum", "free"));
  }
}

TEST_F(TimeZoneTest, NoNamesAreAnEmptyList) {
  for (const int count : {0, -1, INT_MIN}) {
    Zones(0, 100, {"UTC"}, count);
    EXPECT_EQ(Texts(), WebUtils::EnumTimeZones());
  }
}

TEST_F(TimeZoneTest, NothingNeededIsAskedForAllTheSame) {
  Zones(0, 0, {}, 0);
  EXPECT_EQ(Texts(), WebUtils::EnumTimeZones());
  EXPECT_THAT(Calls(), ElementsAre("KESTZoneEnum", "malloc 0", "KESTZoneEnum", "free"));
}

TEST_F(TimeZoneTest, WithoutMemoryTheListIsEmpty) {
  machine().FailNext("malloc", ENOMEM);
  EXPECT_CALL(net(), KESTZoneEnum(nullptr, 0, _)).WillOnce([](char*, int, int* size) {
    *size = 300;
    return 0;
  });
  EXPECT_EQ(Texts(), WebUtils::EnumTimeZones());
  EXPECT_THAT(Calls(), ElementsAre("KESTZoneEnum", "malloc 300"));
}

TEST_F(TimeZoneTest, ASizeBelowZeroIsNone) {
  EXPECT_CALL(net(), KESTZoneEnum(nullptr, 0, _)).WillOnce([](char*, int, int* size) {
    *size = -1;
    return 0;
  });
  EXPECT_EQ(Texts(), WebUtils::EnumTimeZones());
  EXPECT_THAT(Calls(), ElementsAre("KESTZoneEnum"));
}

class AppleZoneTest : public ServerTest {
 protected:
  struct Zone {
    uint32_t flags;
    const char* name;
  };

  std::string Current(const std::vector<Zone>& zones, int result) {
    records_.assign(zones.size(), KESTAPPLEZONE());
    for (size_t i = 0; i < zones.size(); ++i) {
      records_[i].flags = zones[i].flags;
      std::memcpy(records_[i].name, zones[i].name, std::min(std::strlen(zones[i].name), sizeof records_[i].name));
      if (i > 0) records_[i - 1].next = &records_[i];
    }
    EXPECT_CALL(net(), KESTAppleZoneGet(nullptr, NotNull()))
        .WillOnce([this, result](const char*, KESTAPPLEZONE** list) {
          EXPECT_EQ(nullptr, *list);
          if (!records_.empty()) *list = records_.data();
          return result;
        });
    return WebUtils::GetCurrentAppleZone();
  }

 private:
  std::vector<KESTAPPLEZONE> records_;
};

TEST_F(AppleZoneTest, TheFirstWithTheLowestBitIsCurrent) {
  EXPECT_EQ("b", Current({{0, "a"}, {1, "b"}, {1, "c"}}, 0));
  EXPECT_EQ("b", Current({{2, "a"}, {3, "b"}}, 0));
  EXPECT_EQ("a", Current({{0xffffffffU, "a"}}, 0));
  EXPECT_THAT(Calls(), ElementsAre("KESTAppleZoneGet", "KESTAppleZoneFree", "KESTAppleZoneGet", "KESTAppleZoneFree",
                                   "KESTAppleZoneGet", "KESTAppleZoneFree"));
}

TEST_F(AppleZoneTest, WithoutOneTheNameIsEmpty) {
  EXPECT_EQ("", Current({{0, "a"}, {2, "b"}}, 0));
  EXPECT_EQ("", Current({}, 0));
}

TEST_F(AppleZoneTest, ANameThatFillsItsFieldIsWhole) {
  EXPECT_EQ(std::string(36, 'z'), Current({{1, "zzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzzz"}, {0xffffffffU, "behind"}}, 0));
}

TEST_F(AppleZoneTest, AfterAFailureTheListIsGivenBackUnread) {
  for (const int result : {1, -1}) {
    EXPECT_EQ("", Current({{1, "a"}}, result));
    EXPECT_EQ("", Current({}, result));
  }
}

}  // namespace
}  // namespace tarvel_test
