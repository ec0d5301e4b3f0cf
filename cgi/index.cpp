// index.cgi: a page of the site in its frame.
//
//   GET /NAME   site/pages/NAME.html inside site/frame/desktop.html or, on a phone, site/frame/mobile.html
//               forceDesktop=1 or 0 chooses the layout on a phone or tablet, from then on
//
// Without a session the answer leads to the login; a page that does not exist is said so in the frame.
#include <tarvel/app_banner.h>
#include <tarvel/mobile_detector.h>
#include <tarvel/string_bundle.h>
#include <tarvel/tarvel.h>
#include <tarvel/template.h>
#include <tarvel/webutils.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "who.h"

namespace {

constexpr char kSite[] = "/usr/kest/kestman/site/";
constexpr char kMissing[] = "frame/not_found";
constexpr size_t kNameMax = 64;
// A page leaves in one write.
constexpr size_t kPageBytes = 128 * 1024;

// The applications that this appliance has beside the management: "File Vento" alone.
constexpr int kApplications = 2;

struct Entry {
  const char* group;  ///< text of the group that it stands in; null for a link by itself
  const char* page;
  const char* href;
  const char* text;
  bool for_administrators;
};

// Entries of a group stand together. A group with one page for somebody is that page's link.
constexpr Entry kNavigation[] = {
    {nullptr, "index", "/", "frame:nav_index", false},
    {"frame:group_system", "general", "/general.html", "frame:nav_general", true},
    {"frame:group_system", "charts", "/charts.html", "frame:nav_charts", false},
    {"frame:group_people", "users", "/users.html", "frame:nav_users", true},
    {"frame:group_people", "groups", "/groups.html", "frame:nav_groups", true},
    {"frame:group_people", "account_mail", "/account_mail.html", "frame:nav_account_mail", true},
    {"frame:group_storage", "volumes", "/volumes.html", "frame:nav_volumes", true},
    {"frame:group_storage", "shares", "/shares.html", "frame:nav_shares", true},
    {"frame:group_storage", "disks", "/disks.html", "frame:nav_disks", true},
    {"frame:group_storage", "backups", "/backups.html", "frame:nav_backups", true},
    {"frame:group_services", "vhosts", "/vhosts.html", "frame:nav_vhosts", true},
    {"frame:group_services", "ports", "/ports.html", "frame:nav_ports", true},
    {"frame:group_files", "files", "/files.html", "frame:nav_files", false},
};

// Words of the templates, by the placeholder that is their key, too.
constexpr const char* kWords[] = {"name", "skip", "pages", "languages", "menu", "script"};

// The page's name out of the path; "" when it has not the form of one.
std::string PageName() {
  const char* path = getenv("PATH_INFO");
  if (path == nullptr || path[0] != '/') return "";
  const std::string name = path + 1;
  const bool is_word = name.find_first_not_of("abcdefghijklmnopqrstuvwxyz_") == std::string::npos;
  return is_word && name.size() <= kNameMax ? name : "";
}

std::string AddressOf(const std::string& page) { return page.empty() || page == "index" ? "/" : "/" + page + ".html"; }

using Text = std::unique_ptr<char, decltype(&free)>;

// A text of the site in one read; null when there is none.
Text ReadText(Tarvel& request, const std::string& name) {
  return {request.szReadFile((kSite + name + ".html").c_str()), &free};
}

std::string Escaped(const std::string& text) {
  std::string escaped = WebUtils::EncodeHtml(text, false);
  // EncodeHtml leaves quotation marks alone, and some of these texts stand in attributes.
  for (size_t at = 0; (at = escaped.find('"', at)) != std::string::npos;) escaped.replace(at, 1, "&quot;");
  return escaped;
}

// The placeholders that depend on nothing but the request.
class Frame {
 public:
  Frame(Tarvel& request, const MobileDetector& browser, const std::string& page)
      : request_(request),
        browser_(browser),
        page_(page),
        who_(site::AskWho(site::kActivity)),
        texts_(Argument("frame"), Argument("common"), nullptr, nullptr, nullptr, nullptr) {}

  std::string Fill(const char* layout, const char* body) {
    // The body's head elements come first, then its <main>.
    const char* main = strstr(body, "<main");
    if (main == nullptr) main = body;
    values_["head"] = std::string(body, main);
    values_["content"] = main;
    AddAccount();
    AddWords();
    AddBanner();
    values_["navigation"] = Navigation();
    values_["layout_switch"] = LayoutSwitch();
    return WebUtils::Template(layout).ApplyValues(values_);
  }

 private:
  static char* Argument(const char* text) { return const_cast<char*>(text); }

  std::string Word(const char* key) { return Escaped(texts_.Text(key, "")); }

  void AddAccount() {
    values_["user"] = Escaped(request_.GetLoginUserName());
    values_["may"] = who_.administrator ? "settings upload" : "upload";
    values_["seconds_left"] = who_.seconds_left;
  }

  void AddWords() {
    const std::string language = request_.GetUILanguage();
    values_["language"] = language;
    values_["is_en"] = language == "en";
    values_["is_de"] = language == "de";
    for (const char* key : kWords) values_[key] = Word(key);
  }

  void AddBanner() {
    KestAppBanner banner(request_);
    // The welcome holds no markup of its own, but an account's name, which may have angle brackets in it.
    values_["welcome"] = WebUtils::EncodeHtml(banner.CreateWelcome(), false);
    values_["desktop_link"] = banner.CreateDesktopLink();
    values_["logout_link"] = banner.CreateLogoutLink();
    values_["applications"] = request_.GetAppLinkAsString(kApplications, request_.IsAdmin(), false);
    const std::string rule = request_.GetIEPNGFixStyle();
    values_["style"] = rule.empty() ? "" : "<style>" + rule + "</style>\n";
  }

  std::string Navigation() {
    std::string list;
    for (auto entry = std::begin(kNavigation); entry != std::end(kNavigation);) {
      const char* const group = entry->group;
      std::vector<const Entry*> open;
      do {
        if (!entry->for_administrators || who_.administrator) open.push_back(entry);
        ++entry;
      } while (group != nullptr && entry != std::end(kNavigation) && IsGroup(*entry, group));
      const bool folds = group != nullptr && open.size() > 1;
      list.append(folds ? Group(group, open) : Links(open));
    }
    return list;
  }

  static bool IsGroup(const Entry& entry, const char* group) {
    return entry.group != nullptr && strcmp(entry.group, group) == 0;
  }

  std::string Links(const std::vector<const Entry*>& entries) {
    std::string list;
    for (const Entry* entry : entries) {
      list.append("<li><a href=\"").append(entry->href).append("\" data-text=\"").append(entry->text);
      list.append(page_ == entry->page ? "\" aria-current=\"page\">" : "\">").append(Named(entry->text));
      list.append("</a></li>");
    }
    return list;
  }

  // Of the groups one is open at a time; on a phone, where an open one covers nothing, that of the page is.
  std::string Group(const char* text, const std::vector<const Entry*>& entries) {
    const auto is_here = [&](const Entry* entry) { return page_ == entry->page; };
    const bool here = std::any_of(entries.begin(), entries.end(), is_here);
    std::string group = "<li><details name=\"pages\"";
    group.append(here && browser_.IsMobile() ? " open>" : ">").append("<summary data-text=\"").append(text);
    group.append(here ? "\" aria-current=\"true\">" : "\">").append(Named(text)).append("</summary><ul>");
    return group.append(Links(entries)).append("</ul></details></li>");
  }

  // The words of a text by its full name.
  std::string Named(const char* text) { return Word(strchr(text, ':') + 1); }

  // Only where it would change something: on a phone or tablet.
  std::string LayoutSwitch() {
    if (!browser_.IsMobileDetected()) return "";
    return browser_.IsMobile() ? "<a class=\"layout\" href=\"?forceDesktop=1\" data-text=\"frame:to_desktop\">" +
                                     Word("to_desktop") + "</a>"
                               : "<a class=\"layout\" href=\"?forceDesktop=0\" data-text=\"frame:to_mobile\">" +
                                     Word("to_mobile") + "</a>";
  }

  Tarvel& request_;
  const MobileDetector& browser_;
  const std::string& page_;
  const site::Who who_;
  StringBundle texts_;
  Json::Value values_;
};

int Fail(Tarvel& request) {
  char type[] = "text/plain; charset=\"UTF-8\"";
  request.AddHeader("Status", "500 Internal Server Error");
  request.WriteHeader(type);
  fputs("The page could not be made.\n", stdout);
  return 0;
}

int Show(Tarvel& request, const std::string& page) {
  const MobileDetector browser(request);
  auto body = page.empty() ? Text(nullptr, &free) : ReadText(request, "pages/" + page);
  if (body == nullptr) {
    request.AddHeader("Status", "404 Not Found");
    body = ReadText(request, kMissing);
  }
  const auto layout = ReadText(request, browser.IsMobile() ? "frame/mobile" : "frame/desktop");
  if (body == nullptr || layout == nullptr) return Fail(request);
  const std::string text = Frame(request, browser, page).Fill(layout.get(), body.get());
  char type[] = "text/html; charset=\"UTF-8\"";
  request.WriteHeader(type);
  fwrite(text.data(), 1, text.size(), stdout);
  return 0;
}

}  // namespace

int main() {
  static char output[kPageBytes];
  setvbuf(stdout, output, _IOFBF, sizeof output);
  Tarvel request(true);
  request.AddHeader("Cache-Control", "no-store");
  const std::string page = PageName();
  const std::string login = "/login.html?next=" + AddressOf(page);
  if (!request.IsAuthorized(login.c_str(), site::kActivity, KEST_CGI_POSITION_ACCOUNT)) return 0;
  return Show(request, page);
}
