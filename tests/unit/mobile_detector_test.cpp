#include "mobile_detector.h"

#include <regex.h>

#include <cctype>
#include <cerrno>
#include <cstring>
#include <memory>
#include <string>

#include "support/environment.h"
#include "support/mock_kestcgi.h"
#include "support/mock_klib.h"
#include "support/platform_test.h"

namespace tarvel_test {
namespace {

using ::testing::_;
using ::testing::AnyNumber;
using ::testing::ElementsAre;
using ::testing::InSequence;
using ::testing::IsNull;
using ::testing::Return;
using ::testing::StartsWith;
using ::testing::StrEq;

constexpr char kIPad[] = "Mozilla/5.0 (iPad; U; CPU OS 3_2 like Mac OS X; en-us) AppleWebKit/531.21.10 Mobile Safari";
constexpr char kIPhone[] = "Mozilla/5.0 (iPhone; U; CPU iPhone OS 4_0 like Mac OS X; en-us) Mobile/8A293 Safari";
constexpr char kDesktop[] = "Mozilla/5.0 (X11; Linux x86_64; rv:109.0) Gecko/20100101 Firefox/115.0";
constexpr char kPpcMac[] = "Mozilla/5.0 (Macintosh; U; PPC Mac OS X; en) Safari";
constexpr char kPhone7[] = "Mozilla/4.0 (compatible; MSIE 7.0; Windows Phone OS 7.0; IEMobile/7.0)";

char* LowerInPlace(char* text) {
  for (char* byte = text; *byte != '\0'; ++byte) {
    *byte = static_cast<char>(std::tolower(static_cast<unsigned char>(*byte)));
  }
  return text;
}

// The six flags in a form that a failure prints.
std::string Flags(const MobileDetector& browser) {
  std::string flags;
  if (browser.IsMobile()) flags += "mobile ";
  if (browser.IsIOS()) flags += "ios ";
  if (browser.IsAndroid()) flags += "android ";
  if (browser.IsIEMobile()) flags += "iemobile ";
  if (browser.IsMobileDetected()) flags += "detected ";
  if (browser.IsIPad()) flags += "ipad ";
  return flags;
}

std::string Repeated(const std::string& word, size_t bytes) {
  std::string text;
  while (text.size() + word.size() <= bytes) text += word;
  return text;
}

/// One request from a browser; cookie and parameter "forceDesktop" are absent unless the test sets them.
class MobileDetectorTest : public PlatformTest {
 protected:
  MobileDetectorTest() {
    ExpectRequest();
    EXPECT_CALL(klib(), SzKLIBStrCaseLower(_)).Times(AnyNumber()).WillRepeatedly(LowerInPlace);
    EXPECT_CALL(cgi(), KestCgiGetParamLine()).Times(AnyNumber()).WillRepeatedly(Return(nullptr));
    EXPECT_CALL(cgi(), KestCgiGetInCookies(_, StrEq("forceDesktop"), _))
        .Times(AnyNumber())
        .WillRepeatedly([this](KESTCGI*, const char*, const char* def) { return cookie_ != nullptr ? cookie_ : def; });
    EXPECT_CALL(cgi(), KestCgiGetCGIParam(_, StrEq("forceDesktop"), IsNull()))
        .Times(AnyNumber())
        .WillRepeatedly([this](KESTCGI*, const char*, const char*) { return parameter_; });
  }

  void Agent(const char* agent) { user_agent_.Set(agent); }
  void UaOs(const char* value) { ua_os_.Set(value); }
  void WapProfile(const char* value) { wap_profile_.Set(value); }
  void Cookie(const char* value) { cookie_ = value; }
  void Parameter(const char* value) { parameter_ = value; }

  void ExpectCookieQueued(const char* value) {
    EXPECT_CALL(cgi(),
                KestCgiSetCookies(_, StrEq("forceDesktop"), StrEq(value), IsNull(), StrEq("/"), IsNull(), IsNull()))
        .WillOnce(Return(1));
  }

  std::string Detected() {
    if (!request_) {
      request_ = std::make_unique<Tarvel>(false);
      Calls();
    }
    const MobileDetector browser(*request_);
    return Flags(browser);
  }
  std::string DetectedFor(const char* agent) {
    Agent(agent);
    return Detected();
  }
  Tarvel& Request() {
    if (!request_) request_ = std::make_unique<Tarvel>(false);
    return *request_;
  }

 private:
  Variable user_agent_{"HTTP_USER_AGENT", nullptr};
  Variable ua_os_{"HTTP_UA_OS", nullptr};
  Variable wap_profile_{"HTTP_X_WAP_PROFILE", nullptr};
  const char* cookie_ = nullptr;
  const char* parameter_ = nullptr;
  std::unique_ptr<Tarvel> request_;
};

struct AgentRow {
  int line;
  const char* agent;
  const char* flags;
};

constexpr AgentRow kAgentRows[] = {
    {__LINE__, kDesktop, ""},
    {__LINE__, "", ""},
    {__LINE__, kIPhone, "mobile ios detected "},
    {__LINE__, "Mozilla/5.0 (iPod; U; CPU like Mac OS X; en)", "mobile ios detected "},
    {__LINE__, "Mozilla/5.0 (Linux; U; Android 2.2; en-us; Nexus One)", "mobile android detected "},
    {__LINE__, "xIPHONEx", "mobile ios detected "},
    {__LINE__, "xipodx", "mobile ios detected "},
    {__LINE__, "xanDRoidx", "mobile android detected "},
    {__LINE__, "iphone android", "mobile ios detected "},
    {__LINE__, "android ipod", "mobile ios detected "},
    {__LINE__, kIPad, "detected ipad "},
    {__LINE__, "android iphone ipad", "detected ipad "},
    {__LINE__, kPhone7, ""},
    {__LINE__, "SymbianOS", "mobile detected "},
    {__LINE__, "symbianos/9.4", "mobile detected "},
    {__LINE__, "Windows CE", "mobile detected "},
    {__LINE__, "Windows  CE", ""},
    {__LINE__, "PPC", "mobile detected "},
    {__LINE__, "PDA", "mobile detected "},
    {__LINE__, "updates", "mobile detected "},
    {__LINE__, "PalmOS", "mobile detected "},
    {__LINE__, "BlackBerry9000/4.6.0.167", "mobile detected "},
    {__LINE__, "Vodafone", "mobile detected "},
    {__LINE__, "Opera Mobi", "mobile detected "},
    {__LINE__, "Opera Mini", "mobile detected "},
    {__LINE__, "Opera/9.80 (Windows NT 6.1)", ""},
    {__LINE__, "UP.Browser", "mobile detected "},
    {__LINE__, "UPxBrowser", ""},
    {__LINE__, "AvantGo", "mobile detected "},
    {__LINE__, "EudoraWeb", "mobile detected "},
    {__LINE__, "PLink", "mobile detected "},
    {__LINE__, "uplinked", "mobile detected "},
    {__LINE__, "Plucker", "mobile detected "},
    {__LINE__, "NetFront", "mobile detected "},
    {__LINE__, "Xiino", "mobile detected "},
    {__LINE__, "Blazer", "mobile detected "},
    {__LINE__, "WebPro", "mobile detected "},
    {__LINE__, "ProxiNet", "mobile detected "},
    {__LINE__, "Elaine", "mobile detected "},
    {__LINE__, "Mozilla/4.0 (compatible; MSIE 4.01; Windows CE; PPC; 240x320)", "mobile iemobile detected "},
    {__LINE__, "Android IEMobile", "mobile android iemobile detected "},
    {__LINE__, "iPhone msie", "mobile ios iemobile detected "},
    {__LINE__, "MSIE 6.0; PDA", "mobile iemobile detected "},
    {__LINE__, "IEMobile", ""},
    {__LINE__, "MSIE 8.0", ""},
    {__LINE__, kPpcMac, ""},
    {__LINE__, "PPC Safari", ""},
    {__LINE__, "ppc and much more safari", ""},
    {__LINE__, "PPC Mac OS X", ""},
    {__LINE__, "PPCSafari iPhone", ""},
    {__LINE__, "Safari PPC", "mobile detected "},
    {__LINE__, "Mac OS X PPC", "mobile detected "},
};

TEST_F(MobileDetectorTest, TheAgentTellsTheFamily) {
  for (const AgentRow& row : kAgentRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line << ": " << row.agent);
    EXPECT_EQ(row.flags, DetectedFor(row.agent));
  }
}

TEST_F(MobileDetectorTest, WithoutAnAgentTheHeadersDoNotCount) {
  UaOs("Windows CE (Pocket PC)");
  WapProfile("http://example.org/profile");
  EXPECT_EQ("", Detected());
}

TEST_F(MobileDetectorTest, AMobileHeaderMakesAnUnknownBrowserMobile) {
  Agent(kDesktop);
  UaOs("Windows CE (Pocket PC)");
  EXPECT_EQ("mobile detected ", Detected());
  UaOs(nullptr);
  WapProfile("http://example.org/profile");
  EXPECT_EQ("mobile detected ", Detected());
}

TEST_F(MobileDetectorTest, AnEmptyMobileHeaderCountsToo) {
  Agent(kDesktop);
  UaOs("");
  EXPECT_EQ("mobile detected ", Detected());
  UaOs(nullptr);
  WapProfile("");
  EXPECT_EQ("mobile detected ", Detected());
}

TEST_F(MobileDetectorTest, AMobileExplorerIsKnownByItsHeader) {
  Agent(kPhone7);
  UaOs("Windows Phone");
  EXPECT_EQ("mobile iemobile detected ", Detected());
}

TEST_F(MobileDetectorTest, APowerPcMacIsADesktopWhateverItsHeadersSay) {
  Agent(kPpcMac);
  UaOs("x");
  WapProfile("http://example.org/profile");
  EXPECT_EQ("", Detected());
}

TEST_F(MobileDetectorTest, TheMacIsSoughtInTheAgentItselfAndBeforeItIsCopied) {
  Request();
  Calls();
  EXPECT_CALL(klib(), SzKLIBStrCaseLower(_)).Times(0);
  EXPECT_EQ("", DetectedFor(kPpcMac));
  EXPECT_THAT(Calls(), ElementsAre(_, _, "KestCgiGetParamLine", "regexec 0 0", "KestCgiGetInCookies",
                                   "KestCgiGetCGIParam", "regfree", "regfree"));
}

TEST_F(MobileDetectorTest, EverythingElseIsSoughtInTheCopy) {
  Request();
  const auto becomes = [](const char* text) { return [text](char* copy) { return std::strcpy(copy, text); }; };
  EXPECT_CALL(klib(), SzKLIBStrCaseLower(StrEq("A long enough agent")))
      .WillOnce(becomes("plucker"))
      .WillOnce(becomes("iphone msie"))
      .WillOnce(becomes("PPC Safari"));
  EXPECT_EQ("mobile detected ", DetectedFor("A long enough agent"));
  EXPECT_EQ("mobile ios iemobile detected ", DetectedFor("A long enough agent"));
  EXPECT_EQ("mobile detected ", DetectedFor("A long enough agent"));
}

TEST_F(MobileDetectorTest, WithoutACopyNothingIsDetected) {
  UaOs("x");
  Request();
  machine().FailNext("strdup", ENOMEM);
  EXPECT_EQ("", DetectedFor(kIPhone));
  EXPECT_CALL(klib(), SzKLIBStrCaseLower(StrEq(kIPhone))).WillOnce(Return(nullptr));
  EXPECT_EQ("", DetectedFor(kIPhone)) << "and the copy is released, says the fixture";
}

TEST_F(MobileDetectorTest, MakesItsCallsInOrderAndReleasesTheCopyBeforeTheChoiceIsRead) {
  Agent(kIPhone);
  const Tarvel& request = Request();
  ASSERT_NE(nullptr, &request);
  Calls();
  Detected();
  EXPECT_THAT(
      Calls(),
      ElementsAre("regcomp PPC.*(Mac OS X|Safari) 3",
                  "regcomp (SymbianOS|Windows CE|PPC|PDA|PalmOS|BlackBerry|Vodafone|Opera Mobi|Opera Mini|"
                  "UP\\.Browser|AvantGo|EudoraWeb|PLink|Plucker|NetFront|Xiino|Blazer|WebPro|ProxiNet|Elaine) 3",
                  "KestCgiGetParamLine", StartsWith("strdup "), "SzKLIBStrCaseLower", "free", "KestCgiGetInCookies",
                  "KestCgiGetCGIParam", "regfree", "regfree"));
}

TEST_F(MobileDetectorTest, TheFamiliesAreSoughtBeforeTheOtherNames) {
  Agent(kDesktop);
  Request();
  Calls();
  Detected();
  EXPECT_THAT(Calls(), ElementsAre(_, _, "KestCgiGetParamLine", _, "SzKLIBStrCaseLower", "regexec 0 0", "free",
                                   "KestCgiGetInCookies", "KestCgiGetCGIParam", "regfree", "regfree"));
}

TEST_F(MobileDetectorTest, ThePatternOfMobileBrowsersIsReleasedFirst) {
  Detected();
  const auto released = machine().ledger().Returned("compiled pattern");
  ASSERT_EQ(2U, released.size());
  EXPECT_EQ(static_cast<const char*>(released[1]) + sizeof(regex_t), released[0])
      << "it stands behind the other in the object";
}

TEST_F(MobileDetectorTest, APatternForWhichMemoryIsShortMatchesNothing) {
  Request();
  machine().FailNext("regcomp", REG_ESPACE);
  EXPECT_EQ("mobile detected ", DetectedFor(kPpcMac)) << "no longer told from a pocket PC";
  machine().FailNext("regcomp", REG_ESPACE);
  machine().FailNext("regcomp", REG_ESPACE);
  EXPECT_EQ("", DetectedFor("PPC"));
}

TEST_F(MobileDetectorTest, WithoutTheSecondPatternTheFamiliesAndHeadersStillCount) {
  Request();
  for (const char* agent : {"BlackBerry", kPpcMac}) {
    machine().FailAfter("regcomp", 1, REG_ESPACE);
    EXPECT_EQ("", DetectedFor(agent));
  }
  machine().FailAfter("regcomp", 1, REG_ESPACE);
  EXPECT_EQ("mobile android detected ", DetectedFor("Android"));
  UaOs("");
  machine().FailAfter("regcomp", 1, REG_ESPACE);
  EXPECT_EQ("mobile detected ", DetectedFor("BlackBerry"));
}

TEST_F(MobileDetectorTest, ASearchForWhichMemoryIsShortFindsNothing) {
  Request();
  machine().FailNext("regexec", REG_ESPACE);
  EXPECT_EQ("mobile detected ", DetectedFor(kPpcMac));
  machine().FailNext("regexec", REG_ESPACE);
  EXPECT_EQ("", DetectedFor("BlackBerry"));
}

TEST_F(MobileDetectorTest, ParametersThatAreReadAlreadyAreNotAskedForAgain) {
  EXPECT_CALL(cgi(), KestCgiGetParamLine()).WillOnce(Return("forceDesktop=1"));
  EXPECT_CALL(cgi(), KestCgiParseCGIParam(_, StrEq("forceDesktop=1")));
  Request().LoadIn();
  Detected();
}

TEST_F(MobileDetectorTest, ParametersThatNobodyHasReadAreRead) {
  EXPECT_CALL(cgi(), KestCgiGetParamLine()).WillOnce(Return("a=1"));
  EXPECT_CALL(cgi(), KestCgiParseCGIParam(_, StrEq("a=1")));
  Detected();
  EXPECT_FALSE(Request().LoadIn());
}

TEST_F(MobileDetectorTest, AnAgentOf64KibibytesIsReadToItsEnd) {
  const std::string filler(65536, 'x');
  EXPECT_EQ("", DetectedFor(filler.c_str()));
  EXPECT_EQ("mobile ios detected ", DetectedFor((filler + "iPhone").c_str()));
  EXPECT_EQ("mobile detected ", DetectedFor((filler + "UP.Browser").c_str()));
  EXPECT_EQ("", DetectedFor(("PPC" + filler + "Safari").c_str()));
  EXPECT_EQ("mobile detected ", DetectedFor(("PPC" + filler).c_str()));
  EXPECT_EQ("", DetectedFor(Repeated("Opera Mob", 65536).c_str()));
}

TEST_F(MobileDetectorTest, AnAgentOf64KibibytesOfOddBytesIsADesktop) {
  std::string bytes;
  for (int i = 0; i < 65536; ++i) bytes += static_cast<char>(i % 3 == 0 ? 1 + i % 31 : 128 + i % 128);
  EXPECT_EQ("", DetectedFor(bytes.c_str()));
}

// Each "PPC" is a place where a Mac may begin: searched one by one, they would take the square of the agent's length.
TEST_F(MobileDetectorTest, AnAgentOf64KibibytesOfPocketPcsIsNotSearchedForAMac) {
  const std::string agent = Repeated("pPc", 65536);
  Request();
  for (const std::string& named : {agent, "Safari Mac OS X " + agent}) {
    Calls();
    EXPECT_EQ("mobile detected ", DetectedFor(named.c_str()));
    EXPECT_THAT(Calls(), ElementsAre(_, _, "KestCgiGetParamLine", StartsWith("strdup "), "SzKLIBStrCaseLower",
                                     "regexec 0 0", "free", "KestCgiGetInCookies", "KestCgiGetCGIParam", _, _));
  }
}

TEST_F(MobileDetectorTest, AMacIsFoundBehindTheFirstOfManyPocketPcs) {
  const std::string agent = Repeated("PPC", 65536);
  EXPECT_EQ("", DetectedFor((agent + "SAFARI").c_str()));
  EXPECT_EQ("", DetectedFor(("Safari" + agent + "mac os x").c_str()));
}

TEST_F(MobileDetectorTest, AnIPadGetsTheDesktopUntilItHasChosenOtherwise) {
  Agent(kIPad);
  EXPECT_EQ("detected ipad ", Detected());
  Cookie("0");
  EXPECT_EQ("mobile ios detected ipad ", Detected());
  Cookie("1");
  EXPECT_EQ("detected ipad ", Detected());
}

TEST_F(MobileDetectorTest, AnyOtherBrowserGetsTheMobilePagesUntilItHasChosenOtherwise) {
  Agent("Android msie");
  EXPECT_EQ("mobile android iemobile detected ", Detected());
  Cookie("1");
  EXPECT_EQ("detected ", Detected());
  Agent(kIPhone);
  EXPECT_EQ("detected ", Detected());
}

TEST_F(MobileDetectorTest, TheCookieIsReadWithTheDefaultOfTheBrowser) {
  Request();
  InSequence in_order;
  EXPECT_CALL(cgi(), KestCgiGetInCookies(_, StrEq("forceDesktop"), StrEq("1"))).WillOnce(Return("1"));
  EXPECT_CALL(cgi(), KestCgiGetInCookies(_, StrEq("forceDesktop"), StrEq("0"))).WillOnce(Return("0"));
  EXPECT_CALL(cgi(), KestCgiGetInCookies(_, StrEq("forceDesktop"), StrEq("0"))).WillOnce(Return("0"));
  DetectedFor(kIPad);
  DetectedFor(kIPhone);
  DetectedFor(kDesktop);
}

struct ChoiceRow {
  int line;
  const char* cookie;
  const char* parameter;
  bool desktop;
  bool queued;
};

constexpr ChoiceRow kChoiceRows[] = {
    {__LINE__, nullptr, nullptr, false, false},
    {__LINE__, "0", nullptr, false, false},
    {__LINE__, "1", nullptr, true, false},
    {__LINE__, "2", nullptr, true, false},
    {__LINE__, "-1", nullptr, true, false},
    {__LINE__, "", nullptr, false, false},
    {__LINE__, "yes", nullptr, false, false},
    {__LINE__, "1yes", nullptr, true, false},
    {__LINE__, "0", "1", true, true},
    {__LINE__, "1", "0", false, true},
    {__LINE__, "1", "1", true, false},
    {__LINE__, "0", "0", false, false},
    {__LINE__, "1", "2", true, true},
    {__LINE__, "2", "1", true, true},
    {__LINE__, nullptr, "1", true, true},
    {__LINE__, nullptr, "0", false, false},
    {__LINE__, "0", "yes", false, false},
    {__LINE__, "1", "yes", true, false},
    {__LINE__, "1", "", true, false},
    {__LINE__, "1", " ", true, false},
    {__LINE__, "1", "0x", true, false},
    {__LINE__, "1", "0 ", true, false},
    {__LINE__, "1", "0.0", true, false},
    {__LINE__, "0", "0x1", false, false},
    {__LINE__, "0", "a", false, false},
    {__LINE__, "010", "8", true, true},
    {__LINE__, "10", "11", true, true},
    {__LINE__, "011", "11", true, false},
    {__LINE__, "0", " 1", true, true},
    {__LINE__, "0", "+1", true, true},
    {__LINE__, "0", "-1", true, true},
    {__LINE__, "0", "001", true, true},
    {__LINE__, "1", "001", true, false},
    {__LINE__, "1", "-0", false, true},
    {__LINE__, "0", "99999999999999999999999999999999", true, true},
};

TEST_F(MobileDetectorTest, TheParameterDecidesAndSticksWhereItIsANewNumber) {
  Agent("BlackBerry");
  Request();
  for (const ChoiceRow& row : kChoiceRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line);
    Cookie(row.cookie);
    Parameter(row.parameter);
    if (row.queued) ExpectCookieQueued(row.parameter);
    EXPECT_EQ(row.desktop ? "detected " : "mobile detected ", Detected());
  }
}

TEST_F(MobileDetectorTest, AChoiceSticksOnADesktopAndWithoutAnAgentToo) {
  Request();
  Parameter("1");
  ExpectCookieQueued("1");
  EXPECT_EQ("", DetectedFor(kDesktop));
  ExpectCookieQueued("1");
  EXPECT_EQ("", DetectedFor(nullptr));
}

TEST_F(MobileDetectorTest, AnIPadThatAsksForTheDesktopChangesNothing) {
  Agent(kIPad);
  Parameter("1");
  EXPECT_EQ("detected ipad ", Detected());
  Parameter("0");
  ExpectCookieQueued("0");
  EXPECT_EQ("mobile ios detected ipad ", Detected());
}

TEST_F(MobileDetectorTest, FailingToQueueTheCookieDoesNotChangeTheAnswer) {
  Agent(kIPhone);
  Parameter("1");
  Request();
  EXPECT_CALL(cgi(), KestCgiSetCookies(_, _, _, _, _, _, _)).WillOnce(Return(0));
  EXPECT_EQ("detected ", Detected());
}

TEST_F(MobileDetectorTest, EveryFurtherQuestionQueuesTheCookieAgain) {
  Agent(kIPhone);
  Parameter("1");
  Request();
  ExpectCookieQueued("1");
  MobileDetector browser(Request());
  Calls();
  ExpectCookieQueued("1");
  EXPECT_TRUE(browser.IsForceDesktop());
  EXPECT_THAT(Calls(), ElementsAre("KestCgiGetInCookies", "KestCgiGetCGIParam", "KestCgiSetCookies"));
}

TEST_F(MobileDetectorTest, DetectingAgainBringsBackWhatTheChoiceHasClearedAndClearsNothing) {
  Agent(kIPad);
  MobileDetector browser(Request());
  EXPECT_EQ("detected ipad ", Flags(browser));
  browser.DetectMobileDevice();
  EXPECT_EQ("mobile ios detected ipad ", Flags(browser));
  Agent(kDesktop);
  browser.DetectMobileDevice();
  EXPECT_EQ("mobile ios detected ipad ", Flags(browser));
}

// A number beyond long is the greatest long, on 32-bit machines the greatest int too.
TEST_F(MobileDetectorTest, ANumberBeyondLongIsTheGreatestLong) {
  Agent(kIPhone);
  Cookie("2147483647");
  Parameter("2147483648");
  Request();
  if (sizeof(long) > 4) ExpectCookieQueued("2147483648");
  EXPECT_EQ("detected ", Detected());
  Cookie("9223372036854775807");
  Parameter("9223372036854775808");
  EXPECT_EQ("detected ", Detected());
}

}  // namespace
}  // namespace tarvel_test
