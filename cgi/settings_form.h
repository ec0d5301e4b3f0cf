// What the settings forms of the site have in common: every request is answered, and only a page of this site saves.
#ifndef CGI_SETTINGS_FORM_H
#define CGI_SETTINGS_FORM_H

#include <tarvel/form_handler.h>
#include <tarvel/string_bundle.h>

#include <string>

#include "reply.h"

namespace site {

class SettingsForm : public ServerFormHandler {
 public:
  /// Serves the request; the return value is the program's exit status.
  int Run() {
    request.AddHeader("Cache-Control", "no-store");
    Process();
    if (!answered_) ReportFailMessage("error", "error_unknown_action", 0);
    return 0;
  }

  int Authenticate() override {
    const int allowed = ServerFormHandler::Authenticate();
    answered_ = allowed == 0;
    return allowed;
  }

  int Apply() override {
    if (IsOwnPost()) return Save();
    AddChangeRefusal(request);
    return Fail("error_not_posted");
  }

 protected:
  /// Answers action=apply with Succeed() or Fail().
  virtual int Save() = 0;

  int Succeed(const Json::Value& data) {
    answered_ = true;
    ReportSuccess(data);
    return 1;
  }

  /// With a key of the section "error": a failure of the whole form. Without: what was recorded beside the fields.
  int Fail(const char* key) {
    if (key != nullptr) SetFormErrInfo("error", key, 0);
    answered_ = true;
    ReportError();
    return 0;
  }

  /// Records the words of a key of the section "error" beside a field, `value` where they have a place for it.
  void Refuse(const char* field, const char* key, const std::string& value = "") {
    static constexpr char kPlace[] = "{value}";
    char section[] = "error";
    StringBundle texts(section, nullptr, nullptr, nullptr, nullptr, nullptr);
    std::string words = texts.Text(key, "");
    const size_t at = words.find(kPlace);
    if (at != std::string::npos) words.replace(at, sizeof kPlace - 1, value);
    SetFieldInvalid(field, words.c_str());
  }

  /// Refuses a field unless it is right.
  void Demand(bool right, const char* field, const char* key) {
    if (!right) Refuse(field, key);
    fine_ = fine_ && right;
  }

  /// Whether everything demanded was right.
  bool IsFine() const { return fine_; }

  /// A field's text; "" when the request has none.
  std::string Value(const char* field) { return request.In(field, ""); }

 private:
  bool answered_ = false;
  bool fine_ = true;
};

}  // namespace site

#endif  // CGI_SETTINGS_FORM_H
