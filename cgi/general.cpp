// general.cgi: the settings form "General".
//
//   GET  action=load                       {"data": {field: value, ...}, "success": true}
//   POST action=apply&description=...&...  the same with the values as they are stored now, or the failure:
//        {"errors": {field: message}, "success": false}, {"errinfo": {"sec", "key"}, "success": false}
//
// Each field is the setting of the same name.
#include <sys/stat.h>
#include <tarvel/kest_conf.h>

#include <cstdlib>
#include <string>

#include "languages.h"
#include "name_text.h"
// The library reads settings and has no call that writes one: the platform's key/value call does.
#include "platform/klib.h"
#include "settings_form.h"

namespace {

constexpr char kSettingsFile[] = "/etc/kestinfo.conf";
constexpr char kSettingsLine[] = "%s=\"%s\"\n";

constexpr const char* kFields[] = {
    "description",      "language",        "timezone",     "admin_port_http", "admin_port_https",
    "maintenance_date", "allowed_address", "allowed_mask", "notify",          "log_level",
};

void Declare(FormValidator& form) {
  const char* on_off[] = {"on", "off"};
  int log_levels[] = {0, 1, 2, 3};
  form.AddTextField("description", 64, true);
  form.AddStringList("language", {std::begin(site::kLanguages), std::end(site::kLanguages)});
  form.AddTextField("timezone", false);
  form.AddNumberField("admin_port_http", 1, 65535);
  form.AddNumberField("admin_port_https", 1, 65535);
  form.AddDateTimeField("maintenance_date", "%Y/%m/%d");
  form.AddIPV4("allowed_address");
  form.AddIPV4Mask("allowed_mask");
  form.AddStringList("notify", on_off, 2);
  form.AddIntegerList("log_level", log_levels, 4);
}

// Without "." in its alphabet a name cannot leave the folder of the zones.
bool IsTimeZone(const std::string& name) {
  static const char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_+-/";
  struct stat zone;
  return name.find_first_not_of(kAlphabet) == std::string::npos &&
         stat(("/usr/share/zoneinfo/" + name).c_str(), &zone) == 0 && S_ISREG(zone.st_mode);
}

// The current value of a setting, or its factory default.
std::string Stored(KestConf& settings, const char* field) {
  std::string key = field;
  char none[] = "";
  const char* factory = settings.Def(key.data(), none);
  return settings.Info(key.data(), const_cast<char*>(factory));
}

bool Store(const char* field, const std::string& value) {
  return KLIBFileSetKeyValue(kSettingsFile, field, value.c_str(), kSettingsLine) >= 0;
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
    for (const char* field : kFields) data[field] = Stored(settings, field);
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
    if (atoi(request.In("admin_port_http", "")) == atoi(request.In("admin_port_https", ""))) {
      refuse("admin_port_https", "error_port_twice");
    }
    return fine;
  }

  // The platform sets one key at a time. When one cannot be written, those before it get their old values back.
  const char* StoreAll() {
    KestConf before;
    for (const char* const& field : kFields) {
      const std::string value = request.In(field, "");
      if (value == Stored(before, field) || Store(field, value)) continue;
      return PutBack(before, &field) ? "error_save_failed" : "error_saved_partly";
    }
    return nullptr;
  }

  bool PutBack(KestConf& before, const char* const* end) {
    bool all = true;
    for (const char* const* field = kFields; field != end; ++field) {
      const std::string value = Stored(before, *field);
      if (value != request.In(*field, "")) all = Store(*field, value) && all;
    }
    return all;
  }
};

}  // namespace

int main() { return GeneralForm().Run(); }
