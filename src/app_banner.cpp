#include "app_banner.h"

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "internal/bounded_text.h"
#include "kest_conf.h"
#include "platform/kestdir.h"

namespace {

using tarvel_internal::BoundedText;

constexpr size_t kStripBytes = 4096;
constexpr size_t kIconBytes = 256;
constexpr size_t kLinkBytes = 256;
constexpr size_t kLogoutBytes = 512;
constexpr auto kScriptTexts = static_cast<StringBundle::STRMODULE>(5);

struct Application {
  const char* name;
  int bit;
  const char* support_key;
  const char* run_key;
  const char* span_id;
  const char* icon_path;
  const char* gap;
  const char* url;
};

constexpr Application kManagement = {
    "Management",
    0,
    nullptr,
    nullptr,
    "application-link-management",
    "/tarvel/images/application_management.png",
    " ",
    "/tarvel/index.cgi",
};

// In the order of the strip, which is not the order of the bits. The audio icon's second blank is deliberate.
constexpr Application kApplications[] = {
    {"File Vento", 2, "supportfilevento", "runfilevento", "application-link-file",
     "/tarvel/images/application_file.png", " ", "/webfm/index.cgi"},
    {"Audio Vento", 4, "support_audio", "runaudiovento", "application-link-audio",
     "/tarvel/images/application_audio.png", "  ", "/audio/index.cgi"},
    {"Surveillance Vento", 16, "supportsurveillance", "runsurveillance", "application-link-surveillance",
     "/tarvel/images/application_surveillance.png", " ", "/surveillance/cgi/index.cgi"},
    {"Download Vento", 8, "support_download", "download_enabled", "application-link-download",
     "/tarvel/images/application_download.png", " ", "/download/index.cgi"},
};

// The links to the applications, piece by piece in one buffer; what finds no room is cut.
class Strip {
 public:
  explicit Strip(bool icon_only) : icon_only_(icon_only) { Append("&nbsp;\n"); }

  void Add(const Application& application, bool visible) {
    if (has_entry_ && !icon_only_) Append("&nbsp;&nbsp;\n");
    has_entry_ = true;
    Append(visible ? "<span id=\"%s\">" : "<span id=\"%s\" style=\"display:none;\">", application.span_id);
    AppendLink(application);
    Append("</span>\n");
  }

  const char* text() const { return text_; }

 private:
  void AppendLink(const Application& application) {
    const std::string icon = BoundedText<kIconBytes>(
        "<img class=\"miniicon\" src=\"%s\" title=\"%s\"%swidth=\"24\" height=\"28\" align=\"middle\">",
        application.icon_path, application.name, application.gap);
    if (icon_only_) {
      Append("<a href=\"%s\">%s</a>", application.url, icon.c_str());
    } else {
      Append("%s <a href=\"%s\">%s</a>", icon.c_str(), application.url, application.name);
    }
  }

  __attribute__((format(printf, 2, 3))) void Append(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(text_ + used_, sizeof text_ - used_, format, arguments);
    va_end(arguments);
    used_ = std::min(used_ + static_cast<size_t>(length), sizeof text_ - 1);
  }

  const bool icon_only_;
  bool has_entry_ = false;
  size_t used_ = 0;
  char text_[kStripBytes];
};

int PrivilegesOf(const char* user) {
  if (*user == '\0') return 0;
  const int mask = KESTUserPrivilegeGet(user);
  return mask == -1 ? 0 : mask;  // every other negative number is a mask
}

char* Argument(const char* text) { return const_cast<char*>(text); }

bool IsYes(const char* value) { return std::strcmp(value, "yes") == 0; }

bool IsSupported(KestConf& conf, const Application& application) {
  return IsYes(conf.Def(Argument(application.support_key), Argument("")));
}

bool IsRunning(KestConf& conf, const Application& application) {
  return IsYes(conf.Info(Argument(application.run_key), Argument("")));
}

}  // namespace

std::string Tarvel::GetAppLinkAsString(int enabledMask, bool withManagement, bool iconOnly) {
  const int privileges = PrivilegesOf(login_user_);
  KestConf conf;
  Strip strip(iconOnly);
  if (withManagement) strip.Add(kManagement, true);
  for (const Application& application : kApplications) {
    if (!IsSupported(conf, application) || (privileges & application.bit) == 0) continue;
    strip.Add(application, IsRunning(conf, application) && (enabledMask & application.bit) != 0);
  }
  return strip.text();
}

std::string Tarvel::GetIEPNGFixStyle() {
  const char* const agent = std::getenv("HTTP_USER_AGENT");
  if (agent == nullptr) return "";
  if (std::strstr(agent, "MSIE 6") == nullptr && std::strstr(agent, "MSIE 5.5") == nullptr) return "";
  return "img, .fixpng {behavior: url(\"/scripts/iepngfix.htc\");}";
}

KestAppBanner::KestAppBanner(Tarvel& request)
    : request_(request),
      texts_(kScriptTexts, const_cast<char*>("uicommon"), nullptr, nullptr, nullptr, nullptr, nullptr) {}

// Deliberately nothing is escaped, neither texts nor names: a string table may hold HTML.
std::string KestAppBanner::CreateDesktopLink() {
  return BoundedText<kLinkBytes>("<a href=\"%s?desktop=1\">%s</a>", "/index.cgi", texts_.Text("desktop", ""));
}

std::string KestAppBanner::CreateLogoutLink() {
  std::string link =
      BoundedText<kLogoutBytes>("<a href=\"%s/modules/logout.cgi\">%s</a>&nbsp;", "/tarvel", texts_.Text("logout", ""));
  if (request_.IsAdmin()) {
    link += BoundedText<kLogoutBytes>(
        " | <a id=\"appbanner-powermenu-trigger\" href=\"#\" onclick=\"KEST.AppBanner.show(this);\">%s "
        "&#x25BC;</a>&nbsp;",
        texts_.Text("poweroff_opt", ""));
  }
  return link;
}

std::string KestAppBanner::CreateWelcome() {
  return BoundedText<kLinkBytes>("%s %s", texts_.Text("welcome", ""), request_.GetLoginUserName().c_str());
}
