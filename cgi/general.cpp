// general.cgi: the settings form "General".
//
//   GET  action=load                       {"data": {field: value, ...}, "success": true}
//   POST action=apply&description=...&...  the same with the values as they are stored now, or the failure:
//        {"errors": {field: message}, "success": false}, {"errinfo": {"sec", "key"}, "success": false}
//
// Each field is the setting of the same name.
#include <tarvel/webutils.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "languages.h"
#include "name_text.h"
#include "settings_form.h"
#include "settings_store.h"

namespace {

constexpr const char* kFields[] = {
    "description",     "language",     "timezone", "session_timeout", "maintenance_date",
    "allowed_address", "allowed_mask", "notify",   "log_level",
};

constexpr int kWeek_min = 7 * 24 * 60;

void Declare(FormValidator& form) {
  const char* on_off[] = {"on", "off"};
  int log_levels[] = {0, 1, 2, 3};
  form.AddTextField("description", 64, true);
  form.AddStringList("language", {std::begin(site::kLanguages), std::end(site::kLanguages)});
  form.AddTextField("timezone", false);
  form.AddNumberField("session_timeout", 1, kWeek_min);
  form.AddDateTimeField("maintenance_date", "%Y/%m/%d");
  form.AddIPV4("allowed_address");
  form.AddIPV4Mask("allowed_mask");
  form.AddStringList("notify", on_off, 2);
  form.AddIntegerList("log_level", log_levels, 4);
}

// One that the appliance offers (time_zones.cgi): beside the zones its folder has files that are none.
bool IsTimeZone(const std::string& name) {
  const std::vector<std::string> zones = WebUtils::EnumTimeZones();
  return std::find(zones.begin(), zones.end(), name) != zones.end();
}

class GeneralForm : public site::SettingsForm {
 public:
  int Load() override { return Show(); }

 protected:
  int Save() override {
    FormValidator form;
    Declare(form);
    if (!form.Validate(*this) || !CheckFurther()) return Fail(nullptr);
    const char* failure = StoreAll();
    return failure == nullptr ? Show() : Fail(failure);
  }

 private:
  int Show() {
    KestConf settings;
    Json::Value data;
    for (const char* field : kFields) data[field] = site::StoredSetting(settings, field);
    return Succeed(data);
  }

  // What no rule of its own can say. Asked only when each field is right by itself.
  bool CheckFurther() {
    bool fine = true;
    const auto refuse = [&](const char* field, const char* key) {
      Refuse(field, key);
      fine = false;
    };
    for (const char* field : kFields) {
      if (!site::IsPlainText(request.In(field, ""))) refuse(field, "error_field_characters");
    }
    if (!IsTimeZone(request.In("timezone", ""))) refuse("timezone", "error_unknown_timezone");
    return fine;
  }

  // The rule of numbers takes blanks before one; those who read the setting do not.
  std::string Written(const char* field) {
    const char* value = request.In(field, "");
    return strcmp(field, "session_timeout") == 0 ? std::to_string(atoi(value)) : value;
  }

  const char* StoreAll() {
    std::vector<std::pair<std::string, std::string>> values;
    for (const char* field : kFields) values.emplace_back(field, Written(field));
    return site::StoreSettings(values);
  }
};

}  // namespace

int main() { return GeneralForm().Run(); }
