// Must compile and link: programs rely on the very types of these operations and on the layout of these records. The
// request, its forms and its replies.
#include <tarvel/app_banner.h>
#include <tarvel/form_handler.h>
#include <tarvel/http_file_outputer.h>
#include <tarvel/kest_conf.h>
#include <tarvel/mobile_detector.h>
#include <tarvel/ofc_chart.h>
#include <tarvel/string_bundle.h>
#include <tarvel/tarvel.h>
#include <tarvel/template.h>
#include <tarvel/webutils.h>

#include <cstddef>
#include <cstdio>
#include <string>
#include <type_traits>
#include <vector>

template <typename Function>
void Is(Function) {}

using Text = const std::string&;
using Texts = std::vector<std::string>;

static_assert(std::is_constructible_v<Tarvel, bool> && !std::is_polymorphic_v<Tarvel>);
static_assert(sizeof(KestConf) == sizeof(KESTCGI) && sizeof(StringBundle) == sizeof(KESTCGI));
static_assert(!std::is_polymorphic_v<KestAppBanner> && !std::is_polymorphic_v<MobileDetector>);
static_assert(!std::is_polymorphic_v<WebUtils::Template> && std::is_empty_v<HTTPFileOutputer>);
static_assert(std::is_abstract_v<FieldValidator> && std::has_virtual_destructor_v<FieldValidator>);
static_assert(std::is_abstract_v<ServerFormHandler> && std::has_virtual_destructor_v<ServerFormHandler>);

using Range = _tag_HTTP_RANGE_SEGMENT;
static_assert(sizeof(Range) == 16 && offsetof(Range, start) == 0 && offsetof(Range, end) == 8);

void Request() {
  Is<bool (Tarvel::*)()>(&Tarvel::LoadIn);
  Is<int (Tarvel::*)(char*)>(&Tarvel::LoadIn);
  Is<bool (Tarvel::*)(char*)>(&Tarvel::LoadJSONParam);
  Is<Json::Value* (Tarvel::*)()>(&Tarvel::In);
  Is<const char* (Tarvel::*)(const char*, const char*)>(&Tarvel::In);
  Is<bool (Tarvel::*)()>(&Tarvel::IsUploadRequest);
  Is<bool (Tarvel::*)(char*, int)>(&Tarvel::FindUploadTmpPath);
  Is<const char* (Tarvel::*)(const char*, const char*)>(&Tarvel::GetCookie);
  Is<const char* (Tarvel::*)()>(&Tarvel::GetSessionID);
  Is<int (Tarvel::*)(char*, int)>(&Tarvel::GetSessionFilePath);
  Is<const char* (Tarvel::*)()>(&Tarvel::GetUILanguage);
  Is<int (Tarvel::*)()>(&Tarvel::UpdateCookiesHash);
  Is<bool (Tarvel::*)(char*, char*, char*)>(&Tarvel::AddCookieToHeader);
  Is<std::string (Tarvel::*)() const>(&Tarvel::GetLoginUserName);
  Is<int (Tarvel::*)(const char*, const char*)>(&Tarvel::AddHeader);
  Is<bool (Tarvel::*)(char*)>(&Tarvel::WriteHeader);
  Is<void (Tarvel::*)(const char*)>(&Tarvel::SetDefaultContentType);
  Is<bool (Tarvel::*)(Json::Value&)>(&Tarvel::WriteBody);
  Is<int (Tarvel::*)(const char*)>(&Tarvel::Redirect);
  Is<char* (Tarvel::*)(const char*)>(&Tarvel::szReadFile);
  Is<bool (Tarvel::*)(const char*, int, _tag_cgi_position)>(&Tarvel::IsAuthorized);
  Is<int (Tarvel::*)(_tag_login_params*)>(&Tarvel::Login);
  Is<int (Tarvel::*)(_tag_login_params*)>(&Tarvel::LoginNoAuth);
  Is<bool (Tarvel::*)()>(&Tarvel::Logout);
  Is<bool (Tarvel::*)() const>(&Tarvel::IsAdmin);
  Is<bool (Tarvel::*)(const char*, Json::Value&)>(&Tarvel::ReadTmp);
  Is<bool (Tarvel::*)(const char*, Json::Value&)>(&Tarvel::WriteTmp);
  Is<bool (Tarvel::*)(const char*)>(&Tarvel::IsModuleDataExist);
  Is<bool (Tarvel::*)(const char*, Json::Value&)>(&Tarvel::ReadModuleData);
  Is<bool (Tarvel::*)(const char*, Json::Value&)>(&Tarvel::WriteModuleData);
  Is<int (Tarvel::*)(const char*)>(&Tarvel::RemoveModuleData);
  Is<bool (Tarvel::*)(Json::Value&)>(&Tarvel::LoadConfig);
  Is<bool (Tarvel::*)(Json::Value&)>(&Tarvel::SaveConfig);
  Is<std::string (Tarvel::*)(int, bool, bool)>(&Tarvel::GetAppLinkAsString);
  Is<std::string (Tarvel::*)()>(&Tarvel::GetIEPNGFixStyle);
}

void Settings() {
  Is<const char* (KestConf::*)(char*, char*)>(&KestConf::Info);
  Is<const char* (KestConf::*)(char*, char*)>(&KestConf::Def);
  Is<const char* (StringBundle::*)(const char*, const char*)>(&StringBundle::Text);
  Is<const char* (StringBundle::*)(const char*, const char*)>(&StringBundle::TextJscript);
  Is<std::string (KestAppBanner::*)()>(&KestAppBanner::CreateDesktopLink);
  Is<std::string (KestAppBanner::*)()>(&KestAppBanner::CreateLogoutLink);
  Is<std::string (KestAppBanner::*)()>(&KestAppBanner::CreateWelcome);
  Is<void (MobileDetector::*)()>(&MobileDetector::DetectMobileDevice);
  Is<bool (MobileDetector::*)()>(&MobileDetector::IsForceDesktop);
}

void Texting() {
  Is<std::string (*)(Text, bool)>(&WebUtils::EncodeHtml);
  Is<std::string (*)(const char*)>(&WebUtils::EncodeURL);
  Is<Texts (*)(Text, Text)>(&WebUtils::StringExplode);
  Is<std::string (*)(const Texts&, const char*)>(&WebUtils::StringImplode);
  Is<std::string (*)(const char*)>(&WebUtils::StringLeftStrip);
  Is<bool (*)(const char*, const char*)>(&WebUtils::IsValidExtension);
  Is<void (WebUtils::Template::*)()>(&WebUtils::Template::InitTemplate);
  Is<void (WebUtils::Template::*)(FILE*)>(&WebUtils::Template::ReadFromStream);
  Is<std::string (WebUtils::Template::*)(const Json::Value&)>(&WebUtils::Template::ApplyValues);
}

void Forms() {
  Is<bool (FieldValidator::*)(Text)>(&FieldValidator::Validate);
  Is<std::string (FieldValidator::*)()>(&FieldValidator::GetInvalidErrKey);
  Is<void (FormValidator::*)(const char*, unsigned, bool)>(&FormValidator::AddTextField);
  Is<void (FormValidator::*)(const char*, bool)>(&FormValidator::AddTextField);
  Is<void (FormValidator::*)(const char*, int, int)>(&FormValidator::AddNumberField);
  Is<void (FormValidator::*)(const char*)>(&FormValidator::AddIPV4);
  Is<void (FormValidator::*)(const char*)>(&FormValidator::AddIPV4Mask);
  Is<void (FormValidator::*)(const char*, const char*)>(&FormValidator::AddDateTimeField);
  Is<void (FormValidator::*)(const char*, int*, int)>(&FormValidator::AddIntegerList);
  Is<bool (FormValidator::*)(ServerFormHandler&)>(&FormValidator::Validate);
  Is<bool (FormValidator::*)(Tarvel&)>(&FormValidator::Validate);
  Is<int (ServerFormHandler::*)()>(&ServerFormHandler::Process);
  Is<int (ServerFormHandler::*)()>(&ServerFormHandler::Load);
  Is<int (ServerFormHandler::*)()>(&ServerFormHandler::Apply);
  Is<int (ServerFormHandler::*)()>(&ServerFormHandler::Authenticate);
  Is<void (ServerFormHandler::*)(const char*, const char*)>(&ServerFormHandler::SetFieldInvalid);
  Is<void (ServerFormHandler::*)(const char*, const char*, int)>(&ServerFormHandler::SetFormErrInfo);
  Is<bool (ServerFormHandler::*)(const char**, int)>(&ServerFormHandler::ValidNullFields);
  Is<void (ServerFormHandler::*)(const Json::Value&)>(&ServerFormHandler::ReportSuccess);
  Is<void (ServerFormHandler::*)()>(&ServerFormHandler::ReportError);
  Is<void (ServerFormHandler::*)()>(&ServerFormHandler::ReportInvalid);
  Is<void (ServerFormHandler::*)(Text, Text, unsigned)>(&ServerFormHandler::ReportFailMessage);
  Is<void (FormValidator::*)(const char*, const Texts&)>(&FormValidator::AddStringList);
  Is<void (FormValidator::*)(const char*, const char**, int)>(&FormValidator::AddStringList);
}

void Replies() {
  Is<int (HTTPFileOutputer::*)(const char*, const char*)>(&HTTPFileOutputer::Output);
  Is<int (HTTPFileOutputer::*)(FILE*, const char*, const char*)>(&HTTPFileOutputer::Output);
  Is<std::string (HTTPFileOutputer::*)(const char*)>(&HTTPFileOutputer::GetMimeType);
  Is<int (HTTPFileOutputer::*)(_tag_HTTP_RANGE_SEGMENT**, long long)>(&HTTPFileOutputer::SeekHttpRange);
  Is<int (HTTPFileOutputer::*)(const char*, long long, _tag_HTTP_RANGE_SEGMENT*)>(&HTTPFileOutputer::GetRangeSegment);
  Is<int (HTTPFileOutputer::*)(FILE*, FILE*, long long, long long)>(&HTTPFileOutputer::DumpFile);
  Is<void (*)(const char*, const char*, Json::Value&)>(&OFCChart::TitleSet);
  Is<void (*)(const char*, const char*, Json::Value&)>(&OFCChart::XLegendSet);
  Is<void (*)(const char*, const char*, Json::Value&)>(&OFCChart::YLegendSet);
  Is<void (*)(_tag_KEST_CHART_LINE_ELEM_*, Json::Value&)>(&OFCChart::LineElemConfSet);
  Is<void (*)(_tag_KEST_CHART_PIE_ELEM_*, Json::Value&)>(&OFCChart::PieElemConfSet);
  Is<void (*)(_tag_KEST_CHART_X_AXIS_*, Json::Value&)>(&OFCChart::XAxisSet);
  Is<void (*)(_tag_KEST_CHART_Y_AXIS_*, Json::Value&)>(&OFCChart::YAxisSet);
}

// A form in the words of its author.
class Form : public ServerFormHandler {
 public:
  Form() = default;
  explicit Form(bool loadParams) : ServerFormHandler(loadParams) {}
  int Load() override { return request.IsAdmin() ? 1 : 0; }
  int Apply() override {
    FormValidator rules;
    rules.AddTextField("name", 5, false);
    rules.AddTextField("note", true);
    return rules.Validate(*this) && rules.Validate(request) ? 1 : 0;
  }
  int Authenticate() override { return 1; }
};

int main() {
  // Fields in their order.
  const char* texts[] = {"a", nullptr};
  _tag_KEST_CHART_LINE_ELEM_ line = {1, 2, 3, "colour", "family", "text"};
  _tag_KEST_CHART_PIE_ELEM_ pie = {1, 2, 0.5F, texts};
  _tag_KEST_CHART_Y_AXIS_ y = {1, 2, 3, 4, true, false, "stroke", "grid", "colour", texts};
  _tag_KEST_CHART_X_AXIS_ x = {1, 2, 3, 4, 5, true, false, "grid", "colour", texts};
  Json::Value chart;
  OFCChart::LineElemConfSet(&line, chart["line"]);
  OFCChart::PieElemConfSet(&pie, chart["pie"]);
  OFCChart::YAxisSet(&y, chart["y"]);
  OFCChart::XAxisSet(&x, chart["x"]);

  Form form;
  char common[] = "common";
  StringBundle(static_cast<StringBundle::STRMODULE>(7), common, nullptr, nullptr, nullptr, nullptr, nullptr);
  WebUtils::Template page("Hello {name}!"), empty;
  Tarvel request(false);
  MobileDetector browser(request);
  KestAppBanner banner(request);
  return form.Process();
}
