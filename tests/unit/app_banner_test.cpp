#include "app_banner.h"

#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "support/environment.h"
#include "support/mock_kestcgi.h"
#include "support/mock_kestdir.h"
#include "tarvel_fixture.h"

namespace tarvel_test {
namespace {

using ::testing::_;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::InSequence;
using ::testing::IsNull;
using ::testing::Not;
using ::testing::Return;
using ::testing::StrEq;

constexpr int kFile = 2, kAudio = 4, kDownload = 8, kSurveillance = 16, kAll = 30;
constexpr bool kWithManagement = true, kIconOnly = true;

// The whole entries, as a browser gets them.
constexpr char kManagement[] =
    "<span id=\"application-link-management\">"
    "<img class=\"miniicon\" src=\"/tarvel/images/application_management.png\" title=\"Management\" width=\"24\" "
    "height=\"28\" align=\"middle\"> <a href=\"/tarvel/index.cgi\">Management</a></span>\n";
constexpr char kManagementIcon[] =
    "<span id=\"application-link-management\"><a href=\"/tarvel/index.cgi\">"
    "<img class=\"miniicon\" src=\"/tarvel/images/application_management.png\" title=\"Management\" width=\"24\" "
    "height=\"28\" align=\"middle\"></a></span>\n";
constexpr char kAudioIcon[] =
    "<img class=\"miniicon\" src=\"/tarvel/images/application_audio.png\" title=\"Audio Vento\"  width=\"24\" "
    "height=\"28\" align=\"middle\">";

struct ApplicationRow {
  int line;
  int bit;
  const char* support_key;
  const char* run_key;
  const char* id;
  const char* icon;
  const char* url;
  const char* name;
};

constexpr ApplicationRow kApplicationRows[] = {
    {__LINE__, 2, "supportfilevento", "runfilevento", "application-link-file",
     "<img class=\"miniicon\" src=\"/tarvel/images/application_file.png\" title=\"File Vento\" width=\"24\" "
     "height=\"28\" align=\"middle\">",
     "/webfm/index.cgi", "File Vento"},
    {__LINE__, 4, "support_audio", "runaudiovento", "application-link-audio", kAudioIcon, "/audio/index.cgi",
     "Audio Vento"},
    {__LINE__, 16, "supportsurveillance", "runsurveillance", "application-link-surveillance",
     "<img class=\"miniicon\" src=\"/tarvel/images/application_surveillance.png\" title=\"Surveillance Vento\" "
     "width=\"24\" height=\"28\" align=\"middle\">",
     "/surveillance/cgi/index.cgi", "Surveillance Vento"},
    {__LINE__, 8, "support_download", "download_enabled", "application-link-download",
     "<img class=\"miniicon\" src=\"/tarvel/images/application_download.png\" title=\"Download Vento\" width=\"24\" "
     "height=\"28\" align=\"middle\">",
     "/download/index.cgi", "Download Vento"},
};

std::string Span(const ApplicationRow& row, bool visible) {
  return "<span id=\"" + std::string(row.id) + (visible ? "\">" : "\" style=\"display:none;\">");
}

std::string FullEntry(const ApplicationRow& row, bool visible) {
  return Span(row, visible) + row.icon + " <a href=\"" + row.url + "\">" + row.name + "</a></span>\n";
}

std::string IconEntry(const ApplicationRow& row, bool visible) {
  return Span(row, visible) + "<a href=\"" + row.url + "\">" + row.icon + "</a></span>\n";
}

/// A request of a user who is logged in, or of nobody.
class PageTest : public TarvelTest {
 protected:
  void LoggedInAs(const std::string& user) {
    EXPECT_CALL(cgi(), KestCgiIsAuthorized(_, _, _, _, _))
        .WillOnce([user](KESTCGI*, char* name, int, CgiAuthRequest*, _tag_cgi_position) {
          std::strcpy(name, user.c_str());
          return 1;
        });
    ASSERT_TRUE(Request().IsAuthorized(nullptr, 1, static_cast<_tag_cgi_position>(0)));
    Calls();
  }
};

class AppLinkTest : public PageTest {
 protected:
  using Values = std::map<std::string, std::string>;

  // Everything supported and running, whether the user may or not.
  static Values AllSupported() {
    Values values;
    for (const ApplicationRow& row : kApplicationRows) values[row.support_key] = "yes";
    return values;
  }
  static Values AllRunning() {
    Values values;
    for (const ApplicationRow& row : kApplicationRows) values[row.run_key] = "yes";
    return values;
  }

  void SettingsAre(Values factory, Values current) {
    Request();
    factory_ = std::move(factory);
    current_ = std::move(current);
    const auto look_up = [](const Values& values, const char* key, const char* fallback) {
      EXPECT_STREQ("", fallback) << key;
      const auto found = values.find(key);
      return found != values.end() ? found->second.c_str() : fallback;
    };
    EXPECT_CALL(cgi(), KestCgiInit(StrEq(""), _));
    EXPECT_CALL(cgi(), KestCgiLoadInfo(_));
    EXPECT_CALL(cgi(), KestCgiGetDef(_, _, _))
        .WillRepeatedly([this, look_up](KESTCGI*, const char* key, const char* fallback) {
          machine().Note(std::string("factory value of ") + key);
          return look_up(factory_, key, fallback);
        });
    EXPECT_CALL(cgi(), KestCgiGetInfo(_, _, _))
        .WillRepeatedly([this, look_up](KESTCGI*, const char* key, const char* fallback) {
          machine().Note(std::string("current value of ") + key);
          return look_up(current_, key, fallback);
        });
  }
  void UserMay(int privileges) {
    LoggedInAs("anna");
    EXPECT_CALL(dir(), KESTUserPrivilegeGet(StrEq("anna"))).WillOnce(Return(privileges));
  }
  // All applications are supported and running.
  std::string LinksFor(int privileges, int enabled, bool with_management, bool icon_only) {
    UserMay(privileges);
    SettingsAre(AllSupported(), AllRunning());
    return Request().GetAppLinkAsString(enabled, with_management, icon_only);
  }

 private:
  Values factory_;
  Values current_;
};

TEST_F(AppLinkTest, AllApplicationsStandInTheirOrder) {
  std::string expected = "&nbsp;\n" + std::string(kManagement);
  for (const ApplicationRow& row : kApplicationRows) expected += "&nbsp;&nbsp;\n" + FullEntry(row, true);
  EXPECT_EQ(expected, LinksFor(kAll, kAll, kWithManagement, !kIconOnly));
}

TEST_F(AppLinkTest, WithIconsOnlyEachLinkWrapsItsIconAndNothingStandsBetween) {
  std::string expected = "&nbsp;\n" + std::string(kManagementIcon);
  for (const ApplicationRow& row : kApplicationRows) expected += IconEntry(row, true);
  EXPECT_EQ(expected, LinksFor(kAll, kAll, kWithManagement, kIconOnly));
}

TEST_F(AppLinkTest, WithoutManagementTheFirstEntryHasNoSeparator) {
  const std::string links = LinksFor(kAll, kAll, !kWithManagement, !kIconOnly);
  EXPECT_EQ(0U, links.find("&nbsp;\n" + FullEntry(kApplicationRows[0], true) + "&nbsp;&nbsp;\n<span"));
  EXPECT_THAT(links, Not(HasSubstr("management")));
}

TEST_F(AppLinkTest, EachApplicationNeedsItsOwnBitAndItsOwnSettings) {
  for (const ApplicationRow& row : kApplicationRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line << ": " << row.name);
    UserMay(row.bit);
    SettingsAre({{row.support_key, "yes"}}, {{row.run_key, "yes"}});
    EXPECT_EQ("&nbsp;\n" + FullEntry(row, true), Request().GetAppLinkAsString(row.bit, !kWithManagement, !kIconOnly));

    UserMay(kAll & ~row.bit);
    SettingsAre({{row.support_key, "yes"}}, {{row.run_key, "yes"}});
    EXPECT_EQ("&nbsp;\n", Request().GetAppLinkAsString(kAll, !kWithManagement, !kIconOnly));

    UserMay(kAll);
    AppLinkTest::Values factory = AllSupported();
    factory.erase(row.support_key);
    SettingsAre(factory, AllRunning());
    EXPECT_THAT(Request().GetAppLinkAsString(kAll, !kWithManagement, !kIconOnly), Not(HasSubstr(row.id)));

    EXPECT_EQ("&nbsp;\n" + IconEntry(row, false), LinksFor(row.bit, kAll & ~row.bit, !kWithManagement, kIconOnly));
  }
}

TEST_F(AppLinkTest, BitsOfNoApplicationShowNothingAndEnableNothing) {
  EXPECT_EQ("&nbsp;\n", LinksFor(~kAll, kAll, !kWithManagement, !kIconOnly));
  std::string hidden = "&nbsp;\n";
  for (const ApplicationRow& row : kApplicationRows) hidden += IconEntry(row, false);
  EXPECT_EQ(hidden, LinksFor(kAll, ~kAll, !kWithManagement, kIconOnly));
}

TEST_F(AppLinkTest, SettingsThatCannotBeReadShowNoApplication) {
  UserMay(kAll);
  Request();
  EXPECT_CALL(cgi(), KestCgiInit(StrEq(""), _)).WillOnce(Return(-1));
  EXPECT_CALL(cgi(), KestCgiLoadInfo(_)).WillOnce(Return(-1));
  EXPECT_CALL(cgi(), KestCgiGetDef(_, _, _)).Times(4).WillRepeatedly([](KESTCGI*, const char*, const char* fallback) {
    return fallback;
  });
  EXPECT_EQ("&nbsp;\n" + std::string(kManagement), Request().GetAppLinkAsString(kAll, kWithManagement, !kIconOnly));
}

TEST_F(AppLinkTest, ASupportedApplicationThatDoesNotRunIsThereAndHidden) {
  UserMay(kFile);
  SettingsAre({{"supportfilevento", "yes"}}, {{"runfilevento", "no"}});
  EXPECT_EQ("&nbsp;\n" + FullEntry(kApplicationRows[0], false),
            Request().GetAppLinkAsString(kAll, !kWithManagement, !kIconOnly));
}

TEST_F(AppLinkTest, WithAnEmptyMaskAllButManagementAreHiddenAndStillSeparated) {
  std::string expected = "&nbsp;\n" + std::string(kManagement);
  for (const ApplicationRow& row : kApplicationRows) expected += "&nbsp;&nbsp;\n" + FullEntry(row, false);
  EXPECT_EQ(expected, LinksFor(kAll, 0, kWithManagement, !kIconOnly));
}

TEST_F(AppLinkTest, OnlyExactlyYesIsYes) {
  for (const char* value : {"", "Yes", "YES", "yes ", "y", "1", "true", "no"}) {
    SCOPED_TRACE(value);
    UserMay(kFile | kAudio);
    SettingsAre({{"supportfilevento", value}, {"support_audio", "yes"}}, {{"runaudiovento", value}});
    EXPECT_EQ("&nbsp;\n" + FullEntry(kApplicationRows[1], false),
              Request().GetAppLinkAsString(kAll, !kWithManagement, !kIconOnly));
  }
}

TEST_F(AppLinkTest, SupportIsTheFactoryValueAndRunningTheCurrentOne) {
  UserMay(kFile);
  SettingsAre({{"runfilevento", "yes"}}, {{"supportfilevento", "yes"}});
  EXPECT_EQ("&nbsp;\n", Request().GetAppLinkAsString(kAll, !kWithManagement, !kIconOnly));
}

TEST_F(AppLinkTest, NobodyGetsManagementAtMostAndNoPrivilegeIsAskedFor) {
  SettingsAre(AllSupported(), AllRunning());
  EXPECT_EQ("&nbsp;\n", Request().GetAppLinkAsString(kAll, !kWithManagement, !kIconOnly));
  SettingsAre(AllSupported(), AllRunning());
  EXPECT_EQ("&nbsp;\n" + std::string(kManagement), Request().GetAppLinkAsString(kAll, kWithManagement, !kIconOnly));
  SettingsAre(AllSupported(), AllRunning());
  EXPECT_EQ("&nbsp;\n" + std::string(kManagementIcon), Request().GetAppLinkAsString(kAll, kWithManagement, kIconOnly));
}

TEST_F(AppLinkTest, AUserWhosePrivilegesAreUnknownHasNone) {
  EXPECT_EQ("&nbsp;\n", LinksFor(-1, kAll, !kWithManagement, !kIconOnly));
}

TEST_F(AppLinkTest, OtherNegativePrivilegesAreAMask) {
  const std::string links = LinksFor(-1 & ~kAudio & ~kDownload, kAll, !kWithManagement, !kIconOnly);
  EXPECT_EQ("&nbsp;\n" + FullEntry(kApplicationRows[0], true) + "&nbsp;&nbsp;\n" + FullEntry(kApplicationRows[2], true),
            links);
}

TEST_F(AppLinkTest, PrivilegesAreAskedFirstThenEachSettingWhenItIsNeeded) {
  UserMay(kSurveillance);
  SettingsAre({{"supportfilevento", "yes"}, {"supportsurveillance", "yes"}}, {});
  Request().GetAppLinkAsString(kAll, kWithManagement, kIconOnly);
  EXPECT_THAT(Calls(), ElementsAre("KESTUserPrivilegeGet", "KestCgiInit", "KestCgiLoadInfo",  //
                                   "KestCgiGetDef", "factory value of supportfilevento",      //
                                   "KestCgiGetDef", "factory value of support_audio",         //
                                   "KestCgiGetDef", "factory value of supportsurveillance",   //
                                   "KestCgiGetInfo", "current value of runsurveillance",      //
                                   "KestCgiGetDef", "factory value of support_download", "KestCgiFree"));
}

class PngFixTest : public TarvelTest {
 protected:
  std::string StyleFor(const char* agent) {
    const Variable user_agent("HTTP_USER_AGENT", agent);
    return Request().GetIEPNGFixStyle();
  }
};

constexpr char kPngFix[] = "img, .fixpng {behavior: url(\"/scripts/iepngfix.htc\");}";

struct AgentRow {
  int line;
  const char* agent;
  const char* style;
};

constexpr AgentRow kAgentRows[] = {
    {__LINE__, "Mozilla/4.0 (compatible; MSIE 6.0; Windows NT 5.1)", kPngFix},
    {__LINE__, "Mozilla/4.0 (compatible; MSIE 5.5; Windows 98)", kPngFix},
    {__LINE__, "MSIE 6", kPngFix},
    {__LINE__, "MSIE 61", kPngFix},
    {__LINE__, "MSIE 7.0; MSIE 6.0", kPngFix},
    {__LINE__, "Mozilla/4.0 (compatible; MSIE 7.0; Windows NT 6.0)", ""},
    {__LINE__, "Mozilla/4.0 (compatible; MSIE 5.0; Windows 98)", ""},
    {__LINE__, "MSIE 5x5", ""},
    {__LINE__, "msie 6.0", ""},
    {__LINE__, "MSIE  6.0", ""},
    {__LINE__, "", ""},
    {__LINE__, nullptr, ""},
};

TEST_F(PngFixTest, OldExplorersGetTheRuleAndNobodyElse) {
  for (const AgentRow& row : kAgentRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line);
    EXPECT_EQ(row.style, StyleFor(row.agent));
  }
}

TEST_F(PngFixTest, AnAgentOf64KibibytesIsReadToItsEnd) {
  const std::string blanks(65536, ' ');
  EXPECT_EQ("", StyleFor(blanks.c_str()));
  EXPECT_EQ(kPngFix, StyleFor((blanks.substr(6) + "MSIE 6").c_str()));
}

TEST_F(PngFixTest, ThePlatformIsNotAsked) {
  StyleFor("MSIE 6");
  EXPECT_THAT(Calls(), ElementsAre());
}

class AppBannerTest : public PageTest {
 protected:
  KestAppBanner& Banner() {
    if (!banner_) {
      Tarvel& request = Request();
      EXPECT_CALL(cgi(), KestCgiInit(StrEq("/usr/kest/kestman/scripts"), _));
      EXPECT_CALL(cgi(), KestCgiLoadText(_, ElementsAre(StrEq("uicommon"), IsNull(), IsNull(), IsNull(), IsNull(),
                                                        IsNull(), IsNull())));
      banner_ = std::make_unique<KestAppBanner>(request);
    }
    return *banner_;
  }
  void EndBanner() { banner_.reset(); }

  void TextIs(const char* key, const std::string& text) {
    texts_[key] = text;
    EXPECT_CALL(cgi(), KestCgiGetText(_, StrEq(key), StrEq(""))).WillOnce(Return(texts_[key].c_str()));
  }

 private:
  std::map<std::string, std::string> texts_;
  std::unique_ptr<KestAppBanner> banner_;
};

TEST_F(AppBannerTest, LoadsItsSectionAndFreesItAtTheEnd) {
  Banner();
  EndBanner();
  EXPECT_THAT(Calls(), ElementsAre("KestCgiInit", "KestCgiLoadText", "KestCgiFree"));
}

TEST_F(AppBannerTest, HoldsTheRequestAndTheTextsAndNothingMore) {
  static_assert(sizeof(KestAppBanner) == sizeof(Tarvel*) + sizeof(StringBundle));
  const KESTCGI* context = nullptr;
  Banner();
  EXPECT_CALL(cgi(), KestCgiGetText(_, _, _)).WillOnce([&](KESTCGI* ctx, const char*, const char* second) {
    context = ctx;
    return second;
  });
  Banner().CreateDesktopLink();
  EXPECT_EQ(reinterpret_cast<char*>(&Banner()) + sizeof(Tarvel*), reinterpret_cast<const char*>(context));
}

TEST_F(AppBannerTest, TheDesktopLinkHasTheTextOfDesktop) {
  Banner();
  TextIs("desktop", "Desktop");
  EXPECT_EQ("<a href=\"/index.cgi?desktop=1\">Desktop</a>", Banner().CreateDesktopLink());
}

TEST_F(AppBannerTest, AnUnknownTextIsEmpty) {
  Banner();
  EXPECT_CALL(cgi(), KestCgiGetText(_, _, _)).WillOnce([](KESTCGI*, const char*, const char* second) {
    return second;
  });
  EXPECT_EQ("<a href=\"/index.cgi?desktop=1\"></a>", Banner().CreateDesktopLink());
}

TEST_F(AppBannerTest, TextsThatCannotBeLoadedAreEmpty) {
  LoggedInAs("admin");
  EXPECT_CALL(cgi(), KestCgiInit(StrEq("/usr/kest/kestman/scripts"), _)).WillOnce(Return(-1));
  EXPECT_CALL(cgi(), KestCgiLoadText(_, _)).WillOnce(Return(-1));
  EXPECT_CALL(cgi(), KestCgiGetText(_, _, _)).Times(4).WillRepeatedly([](KESTCGI*, const char*, const char* second) {
    return second;
  });
  KestAppBanner banner(Request());
  EXPECT_EQ(" admin", banner.CreateWelcome());
  EXPECT_EQ("<a href=\"/index.cgi?desktop=1\"></a>", banner.CreateDesktopLink());
  EXPECT_THAT(banner.CreateLogoutLink(), HasSubstr("onclick=\"KEST.AppBanner.show(this);\"> &#x25BC;</a>&nbsp;"));
}

TEST_F(AppBannerTest, TheLogoutTextIsAskedForBeforeThePowerMenus) {
  LoggedInAs("admin");
  Banner();
  InSequence in_order;
  EXPECT_CALL(cgi(), KestCgiGetText(_, StrEq("logout"), StrEq(""))).WillOnce(Return("Log out"));
  EXPECT_CALL(cgi(), KestCgiGetText(_, StrEq("poweroff_opt"), StrEq(""))).WillOnce(Return("Power"));
  Banner().CreateLogoutLink();
}

TEST_F(AppBannerTest, AnOrdinaryUserLogsOutWithoutAPowerMenu) {
  LoggedInAs("anna");
  Banner();
  Calls();
  TextIs("logout", "Log out");
  EXPECT_EQ("<a href=\"/tarvel/modules/logout.cgi\">Log out</a>&nbsp;", Banner().CreateLogoutLink());
  EXPECT_THAT(Calls(), ElementsAre("KestCgiGetText"));
}

TEST_F(AppBannerTest, NobodyHasNoPowerMenu) {
  Banner();
  TextIs("logout", "Log out");
  EXPECT_EQ("<a href=\"/tarvel/modules/logout.cgi\">Log out</a>&nbsp;", Banner().CreateLogoutLink());
}

TEST_F(AppBannerTest, TheAdministratorHasThePowerMenuBehindTheLogout) {
  for (const char* name : {"admin", "Admin"}) {
    LoggedInAs(name);
    Banner();
    TextIs("logout", "Log out");
    TextIs("poweroff_opt", "Power");
    EXPECT_EQ(
        "<a href=\"/tarvel/modules/logout.cgi\">Log out</a>&nbsp; | <a id=\"appbanner-powermenu-trigger\" href=\"#\" "
        "onclick=\"KEST.AppBanner.show(this);\">Power &#x25BC;</a>&nbsp;",
        Banner().CreateLogoutLink());
  }
}

TEST_F(AppBannerTest, TheWelcomeNamesTheUser) {
  LoggedInAs("anna");
  Banner();
  TextIs("welcome", "Welcome");
  EXPECT_EQ("Welcome anna", Banner().CreateWelcome());
}

TEST_F(AppBannerTest, TheWelcomeOfNobodyEndsWithTheBlank) {
  Banner();
  TextIs("welcome", "Welcome");
  EXPECT_EQ("Welcome ", Banner().CreateWelcome());
}

TEST_F(AppBannerTest, NeitherTextsNorNamesAreEscaped) {
  LoggedInAs("<i>&\"%s");
  Banner();
  TextIs("welcome", "<b>%d</b>");
  EXPECT_EQ("<b>%d</b> <i>&\"%s", Banner().CreateWelcome());
  TextIs("desktop", "<\"&%n>");
  EXPECT_EQ("<a href=\"/index.cgi?desktop=1\"><\"&%n></a>", Banner().CreateDesktopLink());
}

TEST_F(AppBannerTest, ADesktopLinkHas255BytesAtMost) {
  const std::string open = "<a href=\"/index.cgi?desktop=1\">", close = "</a>";
  const std::string fits(255 - open.size() - close.size(), 'd');
  Banner();
  TextIs("desktop", fits);
  EXPECT_EQ(open + fits + close, Banner().CreateDesktopLink());
  TextIs("desktop", fits + "d");
  EXPECT_EQ(open + fits + "d</a", Banner().CreateDesktopLink());
  TextIs("desktop", std::string(100000, 'd'));
  EXPECT_EQ(open + std::string(255 - open.size(), 'd'), Banner().CreateDesktopLink());
}

TEST_F(AppBannerTest, EachHalfOfTheLogoutLinkHas511BytesAtMost) {
  const std::string open = "<a href=\"/tarvel/modules/logout.cgi\">", close = "</a>&nbsp;";
  const std::string menu =
      " | <a id=\"appbanner-powermenu-trigger\" href=\"#\" onclick=\"KEST.AppBanner.show(this);\">";
  const std::string end = " &#x25BC;</a>&nbsp;";
  const std::string fits(511 - open.size() - close.size(), 'l'), menu_fits(511 - menu.size() - end.size(), 'p');
  LoggedInAs("admin");
  Banner();
  TextIs("logout", fits);
  TextIs("poweroff_opt", menu_fits);
  EXPECT_EQ(open + fits + close + menu + menu_fits + end, Banner().CreateLogoutLink());
  TextIs("logout", fits + "l");
  TextIs("poweroff_opt", menu_fits + "p");
  EXPECT_EQ(open + fits + "l</a>&nbsp" + menu + menu_fits + "p &#x25BC;</a>&nbsp", Banner().CreateLogoutLink());
}

TEST_F(AppBannerTest, AWelcomeHas255BytesAtMost) {
  LoggedInAs(std::string(492, 'n'));
  Banner();
  TextIs("welcome", "Welcome");
  EXPECT_EQ("Welcome " + std::string(247, 'n'), Banner().CreateWelcome());
  TextIs("welcome", std::string(255, 'w'));
  EXPECT_EQ(std::string(255, 'w'), Banner().CreateWelcome());
}

}  // namespace
}  // namespace tarvel_test
